#include "Drivers/Isl6812x.h"

#include "Drivers/Arguments.h"
#include "Drivers/Registers.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

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
   page =
      static_cast< uint8_t >( argumentOr< int >( args.driverArgs, "localId", Utils::stoi, page ) );
   return new TempSensor( this );
}

pl_status Isl6812x::setPage_() {
   pl_status status = write8( ham(), kPage, page );
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "Failed to write to page register" );
   }
   return status;
}

// A page that cannot be set is traced, and ignored: the chip may be on it already.
pl_status Isl6812x::getTemperature( float* celsius ) {
   pl_trace( 6, "%s", __PRETTY_FUNCTION__ );
   ( void )setPage_();
   uint16_t degrees;
   if ( pl_status status = ham()->read16( kReadTemperature, &degrees, kRegSize ) ) {
      return status;
   }
   *celsius = degrees;
   return PL_STATUS_OK;
}

pl_status Isl6812x::setThreshold( Threshold threshold, float celsius ) {
   auto command = static_cast< uint8_t >( threshold );
   ( void )setPage_();
   return write16( ham(), command, wholeDegrees( celsius ) );
}

pl_status Isl6812x::getThreshold( Threshold threshold, float* celsius ) {
   auto command = static_cast< uint8_t >( threshold );
   ( void )setPage_();
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
