#include "Drivers/LM73.h"

#include <stdexcept>

#include "Drivers/Arguments.h"
#include "Drivers/Degrees.h"
#include "Drivers/Registers.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

constexpr uint8_t kTemperature = 0x00;    // 16 bits, high byte first, read only
constexpr uint8_t kConfiguration = 0x01;  // 8 bits
constexpr uint8_t kHighLimit = 0x02;      // 16 bits, high byte first
constexpr uint8_t kLowLimit = 0x03;       // 16 bits, high byte first
constexpr uint8_t kControl = 0x04;        // 8 bits

constexpr uint8_t kConfigurationDefault = 0x40;
constexpr uint8_t kAlertActiveHigh = 0x10;
constexpr uint8_t kControlDefault = 0x08;
constexpr uint8_t kResolutionMask = 0x60;
constexpr int kResolutionShift = 5;

constexpr double kCoarsestResolution = 0.25;
constexpr double kLowLimitRatio = 0.95;

LM73::Resolution resolutionOf( const std::string& text ) {
   switch ( Utils::truncate( kCoarsestResolution / Utils::stof( text ) ) ) {
      case 1:
         return LM73::Resolution::QuarterDegree;
      case 2:
         return LM73::Resolution::EighthDegree;
      case 4:
         return LM73::Resolution::SixteenthDegree;
      case 8:
         return LM73::Resolution::ThirtySecondDegree;
      default:
         throw std::invalid_argument( "Resolution " + text + " invalid" );
   }
}

}  // namespace

Component::HardwareDevice* LM73::create( const FactoryArgs& args, Ham::Ham* ) {
   Resolution resolution = Resolution::QuarterDegree;
   if ( const std::string* text = findArgument( args.driverArgs, "resolution" ) ) {
      resolution = resolutionOf( *text );
   }
   int inverted = argumentOr( args.driverArgs, "invertAlertPolarity", Utils::stoi, 0 );
   return new LM73( resolution, inverted != 0 );
}

LM73::LM73( Resolution resolution, bool invertAlertPolarity )
    : resolution_( resolution ),
      control_( kControlDefault ),
      configuration_( invertAlertPolarity ? kConfigurationDefault | kAlertActiveHigh
                                          : kConfigurationDefault ) {}

// The chip keeps its power-on resolution.
void LM73::init() {
   pl_status result = write8( ham(), kControl, control_ );
   LUMEN_ASSERT( result == PL_STATUS_OK );
   result = write8( ham(), kConfiguration, configuration_ );
   LUMEN_ASSERT( result == PL_STATUS_OK );
}

pl_status LM73::setResolution( Resolution resolution ) {
   uint8_t code = ( static_cast< uint8_t >( resolution ) & 3 ) << kResolutionShift;
   uint8_t control = ( control_ & ~kResolutionMask ) | code;
   if ( pl_status status = write8( ham(), kControl, control ) ) {
      return status;
   }
   control_ = control;
   resolution_ = resolution;
   return PL_STATUS_OK;
}

Component::LogicalDevice::TempSensor* LM73::newTempSensor( const DriverArgs& ) {
   LUMEN_ASSERT( instance_ == NULL );
   pl_trace( 5, "Creating LM73" );
   instance_ = new TempSensor( this );
   return instance_;
}

pl_status LM73::getTemperature( float* celsius ) {
   pl_trace( 6, "%s", __PRETTY_FUNCTION__ );
   return read128ths( ham(), kTemperature, celsius );
}

pl_status LM73::setThreshold( float celsius ) {
   if ( pl_status status = write16( ham(), kHighLimit, limitToRegister( celsius ) ) ) {
      return status;
   }
   auto low = static_cast< float >( celsius * kLowLimitRatio );
   return write16( ham(), kLowLimit, limitToRegister( low ) );
}

pl_status LM73::getThreshold( float* celsius ) {
   return read128ths( ham(), kHighLimit, celsius );
}

uint16_t LM73::limitToRegister( float celsius ) {
   return degreesTo128ths( celsius ) & Utils::byteSwap( tempMask_.front() );
}

void LM73::TempSensor::criticalThresholdIs( float value ) {
   criticalThreshold = value;
   LUMEN_ASSERT( device_->setThreshold( value ) == PL_STATUS_OK );
}

const Utils::ExpectedValues& LM73::expectedValues() {
   static const Utils::ExpectedValues values = {
      { kTemperature, { 0x800C, 2 } },  // 25 degrees
      { kConfiguration, { kConfigurationDefault, 1 } },
      { kHighLimit, { 0xE07F, 2 } },  // 255.75 degrees
      { kLowLimit, { 0x0080, 2 } },   // -256 degrees
      { kControl, { kControlDefault, 1 } },
   };
   return values;
}

}  // namespace Drivers
