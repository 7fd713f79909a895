#include "Drivers/Corvid/TarnStatusLed.h"

namespace Drivers {

namespace {

constexpr size_t kBlue = 2;

}  // namespace

const std::array< TarnStatusLed::StatusLed::LightConfig, 8 > TarnStatusLed::StatusLed::configs = { {
   { false, { true, true, false } },    // off
   { false, { true, false, false } },   // good
   { false, { false, false, false } },  // warning
   { false, { false, true, false } },   // bad
   { false, { false, true, false } },   // inactive
   { true, { true, true, true } },      // unknown
   { true, { true, true, true } },      // beacon
   { false, { false, true, false } },
} };

const TarnStatusLed::StatusLed::LightConfig TarnStatusLed::StatusLed::redBeaconConfig = {
   true, { false, true, false } };

Component::HardwareDevice* TarnStatusLed::create( const FactoryArgs& args, Ham::Ham* ham ) {
   pl_trace( 0, "Creating new TarnStatusLed Device" );
   int banks[] = { Utils::stoi( LUMEN_FOUND_ARGUMENT( args, "bank-io-0" ) ),
                   Utils::stoi( LUMEN_FOUND_ARGUMENT( args, "bank-io-1" ) ) };
   const uint8_t bankConfig[] = { static_cast< uint8_t >( banks[ 0 ] ),
                                  static_cast< uint8_t >( banks[ 1 ] ) };
   auto pca9555 = new GenericPCA9555( bankConfig );
   pca9555->hamIs( ham );
   return new TarnStatusLed( pca9555 );
}

void TarnStatusLed::init() {
   pca9555_->init();
}

Component::LogicalDevice::Led* TarnStatusLed::newLed( const DriverArgs& args ) {
   return new StatusLed( this, args );
}

TarnStatusLed::StatusLed::StatusLed( TarnStatusLed* device, const DriverArgs& args )
    : pca9555_( device->expander() ) {
   readPin( args.driverArgs, "Red", ledPins_[ 0 ] );
   readPin( args.driverArgs, "Green", ledPins_[ 1 ] );
   readPin( args.driverArgs, "Blue", ledPins_[ 2 ] );
   LUMEN_ASSERT( ledPins_[ 1 ].present && ledPins_[ 0 ].present );
}

void TarnStatusLed::StatusLed::readPin( const Arguments& args,
                                        const std::string& colour,
                                        LedPin& pin ) {
   const std::string* number = findArgument( args, ( "pin" + colour ).c_str() );
   if ( number && !number->empty() ) {
      unsigned long tmp = Utils::stoul( *number );
      LUMEN_ASSERT( tmp < 8 );
      pin.pin = tmp & 7;
      pin.present = 1;
   }
   if ( const std::string* bank = findArgument( args, ( "bank" + colour ).c_str() ) ) {
      unsigned long tmp = Utils::stoul( *bank );
      LUMEN_ASSERT_TEXT( tmp < static_cast< unsigned >( pca9555_->numBanks_ ),
                         "tmp < ( unsigned )pca9555_->numBanks_" );
      pin.bank = tmp & 1;
   }
}

pl_status TarnStatusLed::StatusLed::setLightSetting( pl_led_status status ) {
   if ( static_cast< unsigned >( status ) >= configs.size() ) {
      return PL_STATUS_UNSUPPORTED;
   }
   status_ = status;
   if ( configs[ status ].blink ) {
      startBlinking();
   } else {
      stopBlinking();
   }
   return writeLightSetting( status );
}

pl_status TarnStatusLed::StatusLed::writeLightSetting( pl_led_status status ) {
   bool isRedBeacon = status == PL_LED_BEACON && !ledPins_[ kBlue ].present;
   const LightConfig& config = isRedBeacon ? redBeaconConfig : configs[ status ];
   for ( size_t colour = 0; colour < ledPins_.size(); ++colour ) {
      const LedPin& pin = ledPins_[ colour ];
      if ( pin.present ) {
         // As with GPIOs, a bank that could not be read stays as it is and is not saved.
         ( void )pca9555_->writeBit( pin.bank, pin.pin, config.levels[ colour ] );
      }
   }
   pl_status result = pca9555_->save();
   if ( result != PL_STATUS_OK ) {
      pl_trace( 0, "TarnStatusLed::StatusLed::setLightSetting failed!" );
   }
   return result;
}

bool TarnStatusLed::StatusLed::handleBlinkTimer( bool on ) {
   pl_status status = writeLightSetting( on ? PL_LED_OFF : status_ );
   LUMEN_ASSERT( status == PL_STATUS_OK );
   return true;
}

}  // namespace Drivers
