#include "Components/Gpio.h"

#include "Components/EntryPoint.h"
#include "Components/HardwareDevice.h"
#include "Drivers/Arguments.h"
#include "Ham/Ham.h"
#include "Ham/SimHam.h"

namespace {

constexpr uint8_t kRegSize = 1;

}  // namespace

pl_status pl_gpio_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_gpio* pl_gpio_add( const char* deviceArgsJson ) {
   using namespace Component;
   return LogicalDevice::recordOf(
      LogicalDevice::addObject( deviceArgsJson, &DeviceBase::newGpio ) );
}

namespace Component::LogicalDevice {

const pl_gpio_ops Gpio::ops_ = {
   .size = sizeof( pl_gpio_ops ),
   .bit_set = bitSetCallback,
   .bit_clear = bitClearCallback,
   .bit_read = bitReadCallback,
};

RegGpio::RegGpio( HardwareDevice* device, const Drivers::DriverArgs& args )
    : device_( device ),
      register_( Utils::stoi( LUMEN_FOUND_ARGUMENT( args, "register" ) ) ),
      bitPosition_( Utils::stoi( LUMEN_FOUND_ARGUMENT( args, "bitpos" ) ) ) {}

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
