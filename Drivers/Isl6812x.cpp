#include "Drivers/Isl6812x.h"

#include "Ham/Ham.h"
#include "Ham/SimHam.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

constexpr uint8_t kRegSize = 1;
constexpr uint8_t kPage = 0x00;             // 8 bits
constexpr uint8_t kReadTemperature = 0x8D;  // 16 bits, low byte first, read only

uint16_t wholeDegrees( float celsius ) {
   return static_cast< uint16_t >( Utils::truncate( celsius ) );
}

}  // namespace

Component::HardwareDevice* Isl6812x::create( const FactoryArgs&, Ham::Ham* ) {
   return new Isl6812x;
}

Component::LogicalDevice::TempSensor* Isl6812x::newTempSensor( const DriverArgs& args ) {
   pl_trace( 5, "Creating Isl6812x" );
   if ( auto it = args.driverArgs.find( "localId" ); it != args.driverArgs.end() ) {
      page = static_cast< uint8_t >( Utils::stoi( it->second ) );
   }
   return new TempSensor( this );
}

pl_status Isl6812x::setPage_() {
   Ham::saveReg( ham(), kPage );
   pl_status status = ham()->write8( kPage, page, false, kRegSize );
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "Failed to write to page register" );
   }
   return status;
}

pl_status Isl6812x::getTemperature( float* celsius ) {
   pl_trace( 6, "%s", __PRETTY_FUNCTION__ );
   setPage_();
   uint16_t degrees;
   if ( pl_status status = ham()->read16( kReadTemperature, &degrees, kRegSize ) ) {
      return status;
   }
   *celsius = degrees;
   return PL_STATUS_OK;
}

pl_status Isl6812x::setThreshold( Threshold threshold, float celsius ) {
   auto command = static_cast< uint8_t >( threshold );
   setPage_();
   Ham::saveReg( ham(), command );
   return ham()->write16( command, wholeDegrees( celsius ), false, kRegSize );
}

pl_status Isl6812x::getThreshold( Threshold threshold, float* celsius ) {
   auto command = static_cast< uint8_t >( threshold );
   setPage_();
   uint16_t degrees;
   if ( pl_status status = ham()->read16( command, &degrees, kRegSize ) ) {
      pl_trace( 0, "Failed to read threshold from register %02x", command );
      return status;
   }
   *celsius = degrees;
   return PL_STATUS_OK;
}

void Isl6812x::TempSensor::alertThresholdIs( float value ) {
   alertThreshold = value;
   LUMEN_ASSERT( device_->setThreshold( Threshold::Alert, value ) == PL_STATUS_OK );
   pl_trace( 5, "Alert threshold set to %d ", wholeDegrees( value ) );
}

void Isl6812x::TempSensor::criticalThresholdIs( float value ) {
   criticalThreshold = value;
   LUMEN_ASSERT( device_->setThreshold( Threshold::Critical, value ) == PL_STATUS_OK );
   pl_trace( 5, "Critical threshold set to %d ", wholeDegrees( value ) );
}

const Utils::ExpectedValues& Isl6812x::expectedValues() {
   static const Utils::ExpectedValues values = {
      { kPage, { 0, 1 } },
      { static_cast< uint32_t >( Threshold::Critical ), { 125, 2 } },
      { static_cast< uint32_t >( Threshold::Alert ), { 110, 2 } },
      { kReadTemperature, { 25, 2 } },
   };
   return values;
}

}  // namespace Drivers
