#include "Drivers/Max6658.h"

#include "Drivers/Arguments.h"
#include "Drivers/Degrees.h"
#include "Drivers/Registers.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

using Register = Ham::Ham::Register;

constexpr Register kTemperature = 0x00;     // local; remote 0x01; 8 bits, signed, read only
constexpr Register kExtended = 0x11;        // local; remote 0x10; 8 bits, read only
constexpr Register kConversionRate = 0x0A;  // 8 bits, write only
constexpr Register kAlertWrite = 0x0B;      // local; remote 0x0D; 8 bits, write only
constexpr Register kAlertRead = 0x05;       // local; remote 0x07; 8 bits, read only
constexpr Register kOvertemp1 = 0x20;       // local; remote 0x1F; 8 bits
constexpr uint8_t kOnePerSecond = 0x04;
constexpr int8_t kFault = -128;

// __PRETTY_FUNCTION__ leaves out the class of the class's own types.
constexpr const char* kGetTemperature =
   "pl_status Drivers::Max6658::getTemperature(Drivers::Max6658::DiodeType, float*)";

Register temperatureRegister( Max6658::DiodeType type ) {
   return kTemperature + static_cast< Register >( type );
}

Register extendedRegister( Max6658::DiodeType type ) {
   return kExtended - static_cast< Register >( type );
}

// The alert limits are written at other addresses than they are read from.
Register limitRegister( Max6658::DiodeType type, Max6658::Threshold threshold, Register alert ) {
   auto diode = static_cast< Register >( type );
   return threshold == Max6658::Threshold::Alert ? alert + 2 * diode : kOvertemp1 - diode;
}

}  // namespace

Component::HardwareDevice* Max6658::create( const FactoryArgs&, Ham::Ham* ) {
   return new Max6658;
}

// Ignored: the chip also measures at the rate it wakes up with.
void Max6658::init() {
   ( void )write8( ham(), kConversionRate, kOnePerSecond );
}

Component::LogicalDevice::TempSensor* Max6658::newTempSensor( const DriverArgs& args ) {
   auto channel = static_cast< uint8_t >( LUMEN_INT_ARGUMENT( args, "channel" ) );
   pl_trace( 5, "Creating Max6658 on channel %d", channel );
   LUMEN_ASSERT( channel <= 1 && "invalid channel number" );
   auto type = static_cast< DiodeType >( channel );
   if ( type == DiodeType::local ) {
      pl_trace( 0,
                "WARNING: the internal diode of the Max6658 has a 3 degree error in its "
                "measurements\n" );
   }
   return new TempSensor( this, type );
}

pl_status Max6658::getTemperature( DiodeType type, float* celsius ) {
   pl_trace( 6, "%s: %02x", kGetTemperature, static_cast< unsigned >( type ) );
   ham()->prepare();
   auto degreesId = ham()->addRead8( temperatureRegister( type ), kRegSize );
   auto extendedId = ham()->addRead8( extendedRegister( type ), kRegSize );
   if ( pl_status status = ham()->execute() ) {
      return status;
   }
   Ham::saveReg( ham(), temperatureRegister( type ) );
   uint8_t degrees = ham()->get8( degreesId );
   if ( static_cast< int8_t >( degrees ) == kFault ) {
      pl_trace( 0, "Diode %d is in fault status", static_cast< int >( type ) );
      return PL_STATUS_IO_ERROR;
   }
   Ham::saveReg( ham(), extendedRegister( type ) );
   *celsius = degreesFromEighths( static_cast< int8_t >( degrees ), ham()->get8( extendedId ) );
   return PL_STATUS_OK;
}

pl_status Max6658::setThreshold( DiodeType type, Threshold threshold, float celsius ) {
   Register reg = limitRegister( type, threshold, kAlertWrite );
   return write8( ham(), reg, static_cast< uint8_t >( Utils::truncate( celsius ) ) );
}

pl_status Max6658::getThreshold( DiodeType type, Threshold threshold, float* celsius ) {
   return readWholeDegrees( ham(), limitRegister( type, threshold, kAlertRead ), celsius );
}

void Max6658::TempSensor::alertThresholdIs( float value ) {
   alertThreshold = value;
   LUMEN_ASSERT( device_->setThreshold( type_, Threshold::Alert, value ) == PL_STATUS_OK );
}

void Max6658::TempSensor::criticalThresholdIs( float value ) {
   criticalThreshold = value;
   LUMEN_ASSERT( device_->setThreshold( type_, Threshold::Overtemp1, value ) == PL_STATUS_OK );
}

const Utils::ExpectedValues& Max6658::expectedValues() {
   static const Utils::ExpectedValues values = [] {
      Utils::ExpectedValues registers = { { kConversionRate, { 0, 1 } } };
      for ( DiodeType type : { DiodeType::local, DiodeType::remote } ) {
         registers[ temperatureRegister( type ) ] = { 25, 1 };
         registers[ extendedRegister( type ) ] = { 0, 1 };
         registers[ limitRegister( type, Threshold::Alert, kAlertWrite ) ] = { 70, 1 };
         registers[ limitRegister( type, Threshold::Alert, kAlertRead ) ] = { 70, 1 };
         registers[ limitRegister( type, Threshold::Overtemp1, kAlertRead ) ] = { 85, 1 };
      }
      return registers;
   }();
   return values;
}

}  // namespace Drivers
