#include "Components/Gpio.h"

#include "Components/HardwareDevice.h"
#include "Components/LogicalDevice.h"
#include "Ham/Ham.h"
#include "Ham/SimHam.h"
#include "Utils/Assert.h"
#include "Utils/Numbers.h"

namespace {

constexpr uint8_t kRegSize = 1;

}  // namespace

pl_status pl_gpio_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_gpio* pl_gpio_add( const char* deviceArgsJson ) {
   using namespace Component;
   auto gpio = LogicalDevice::addObject(
      deviceArgsJson, LogicalDevice::kSilent, nullptr,
      []( DeviceBase* device, const auto& args ) { return device->newGpio( args ); } );
   return gpio ? gpio->record() : nullptr;
}

namespace Component::LogicalDevice {

const pl_gpio_ops Gpio::ops_ = {
   .size = sizeof( pl_gpio_ops ),
   .bit_set = bitSetCallback,
   .bit_clear = bitClearCallback,
   .bit_read = bitReadCallback,
};

Gpio::Gpio() : record_{ .host = nullptr, .ops = &ops_, .priv = this } {}

pl_status Gpio::bitSetCallback( pl_gpio* gpio ) {
   pl_trace( 4, "%s", __FUNCTION__ );
   return objectOf< Gpio >( gpio )->bitSet();
}

pl_status Gpio::bitClearCallback( pl_gpio* gpio ) {
   pl_trace( 4, "%s", __FUNCTION__ );
   return objectOf< Gpio >( gpio )->bitClear();
}

pl_status Gpio::bitReadCallback( pl_gpio* gpio, unsigned int* value ) {
   pl_trace( 4, "%s", __FUNCTION__ );
   return objectOf< Gpio >( gpio )->bitRead( value );
}

RegGpio::RegGpio( HardwareDevice* device, const Drivers::DriverArgs& args ) : device_( device ) {
   auto it = args.driverArgs.find( "register" );
   LUMEN_ASSERT( it != args.driverArgs.end() );
   register_ = Utils::stoi( it->second );
   it = args.driverArgs.find( "bitpos" );
   LUMEN_ASSERT( it != args.driverArgs.end() );
   bitPosition_ = Utils::stoi( it->second );
}

pl_status RegGpio::bitRead( unsigned int* value ) {
   uint8_t byte;
   if ( pl_status status = readRegister( &byte ) ) {
      return status;
   }
   *value = Utils::shiftRight( byte, bitPosition_ ) & 1;
   return PL_STATUS_OK;
}

pl_status RegGpio::bitSet() {
   uint8_t byte = 0x00;
   if ( !noRead_ ) {
      if ( pl_status status = readRegister( &byte ) ) {
         return status;
      }
   }
   return writeRegister( static_cast< uint8_t >( byte | Utils::shiftLeft( 1, bitPosition_ ) ) );
}

pl_status RegGpio::bitClear() {
   uint8_t byte = 0xFF;
   if ( !noRead_ ) {
      if ( pl_status status = readRegister( &byte ) ) {
         return status;
      }
   }
   return writeRegister( static_cast< uint8_t >( byte & ~Utils::shiftLeft( 1, bitPosition_ ) ) );
}

pl_status RegGpio::readRegister( uint8_t* byte ) {
   return device_->ham()->read8( static_cast< Ham::Ham::Register >( register_ ), byte, kRegSize );
}

pl_status RegGpio::writeRegister( uint8_t byte ) {
   auto reg = static_cast< Ham::Ham::Register >( register_ );
   Ham::saveReg( device_->ham(), reg );
   return device_->ham()->write8( reg, byte, false, kRegSize );
}

}  // namespace Component::LogicalDevice
