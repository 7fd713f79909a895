#include "Drivers/LM73.h"

#include <stdexcept>

#include "Ham/Ham.h"
#include "Ham/SimHam.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

constexpr uint8_t kRegSize = 1;
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
constexpr float kStepsPerDegree = 128;

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
   if ( auto it = args.driverArgs.find( "resolution" ); it != args.driverArgs.end() ) {
      resolution = resolutionOf( it->second );
   }
   auto inverted = args.driverArgs.find( "invertAlertPolarity" );
   bool invertAlertPolarity =
      inverted != args.driverArgs.end() && Utils::stoi( inverted->second ) != 0;
   return new LM73( resolution, invertAlertPolarity );
}

LM73::LM73( Resolution resolution, bool invertAlertPolarity )
    : resolution_( resolution ),
      control_( kControlDefault ),
      configuration_( invertAlertPolarity ? kConfigurationDefault | kAlertActiveHigh
                                          : kConfigurationDefault ) {}

// The chip keeps its power-on resolution.
void LM73::init() {
   Ham::saveReg( ham(), kControl );
   pl_status result = ham()->write8( kControl, control_, false, kRegSize );
   LUMEN_ASSERT( result == PL_STATUS_OK );
   Ham::saveReg( ham(), kConfiguration );
   result = ham()->write8( kConfiguration, configuration_, false, kRegSize );
   LUMEN_ASSERT( result == PL_STATUS_OK );
}

pl_status LM73::setResolution( Resolution resolution ) {
   uint8_t code = ( static_cast< uint8_t >( resolution ) & 3 ) << kResolutionShift;
   uint8_t control = ( control_ & ~kResolutionMask ) | code;
   Ham::saveReg( ham(), kControl );
   if ( pl_status status = ham()->write8( kControl, control, false, kRegSize ) ) {
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
   return readDegrees( kTemperature, celsius );
}

pl_status LM73::setThreshold( float celsius ) {
   Ham::saveReg( ham(), kHighLimit );
   if ( pl_status status =
           ham()->write16( kHighLimit, limitToRegister( celsius ), false, kRegSize ) ) {
      return status;
   }
   auto low = static_cast< float >( celsius * kLowLimitRatio );
   Ham::saveReg( ham(), kLowLimit );
   return ham()->write16( kLowLimit, limitToRegister( low ), false, kRegSize );
}

pl_status LM73::getThreshold( float* celsius ) {
   return readDegrees( kHighLimit, celsius );
}

pl_status LM73::readDegrees( uint8_t reg, float* celsius ) {
   uint16_t word;
   if ( pl_status status = ham()->read16( reg, &word, kRegSize ) ) {
      return status;
   }
   *celsius = registerToTemperature( word );
   return PL_STATUS_OK;
}

float LM73::registerToTemperature( uint16_t word ) {
   return static_cast< int16_t >( Utils::byteSwap( word ) ) / kStepsPerDegree;
}

uint16_t LM73::limitToRegister( float celsius ) {
   auto steps = static_cast< uint16_t >( Utils::truncate( celsius * kStepsPerDegree ) );
   return Utils::byteSwap( steps & tempMask_.front() );
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
