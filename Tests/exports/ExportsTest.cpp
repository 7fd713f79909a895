#include <dlfcn.h>
#include <gmock/gmock.h>

#include <string>

#include "Drivers/Helpers.h"
#include "Utils/NotImplementedException.h"
#include "pl.h"

namespace PlatformLibrary {
class PLSocket;
}
extern PlatformLibrary::PLSocket* _plSock;

namespace {

TEST( Exports, EntryPointsHelpersAndTheConnection ) {
   for ( const char* kind : { "system", "slot", "led", "poe_port", "temp_sensor", "fan", "xcvr",
                              "psu", "gpio", "smbus" } ) {
      for ( const char* step : { "init", "add" } ) {
         std::string name = std::string( "pl_" ) + kind + "_" + step;
         EXPECT_NE( dlsym( RTLD_DEFAULT, name.c_str() ), nullptr ) << name;
      }
   }
   EXPECT_EQ( _plSock, nullptr ) << "nothing has been initialised";

   // That these link is the check.
   using Gpio = Component::LogicalDevice::Gpio;
   Gpio* ( *volatile ofDevice )( Component::HardwareDevice*, uint32_t, uint32_t ) =
      Drivers::getRegGpioForDevice;
   Gpio* ( *volatile ofLabel )( const char*, uint32_t, uint32_t ) = Drivers::getRegGpioForDevice;
   volatile auto byLabel = Drivers::getHardwareDeviceByLabel;
   volatile auto run = Drivers::runCmd;
   volatile auto insert = Drivers::insertDriverArg;
   EXPECT_TRUE( ofDevice && ofLabel && byLabel && run && insert );
   std::string text = Drivers::trim( " " );
   EXPECT_TRUE( Drivers::zeroChecksum( text ) );
   Drivers::FormatFdl fdl( "{a}-{b}" );
   fdl.start();
   fdl.set( "a", "1" );
   EXPECT_EQ( fdl.str(), "1-{b}" );
   fdl.start();
   EXPECT_STREQ( fdl.charPtr(), "{a}-{b}" );
}

TEST( Exports, ExceptionsCanBeCaught ) {
   EXPECT_THROW( pl_led_add( R"({ "driver": "Dummy", "did": 1, "provideHam": 0,
                                  "address": { "address": 1 } })" ),
                 NotImplementedException );
}

TEST( Exports, InsidesStayInside ) {
   for ( const char* name :
         { "_ZN7Drivers7driversB5cxx11E", "_ZN9Component10DeviceBase7devicesE",
           "_ZN8Topology9_topologyE", "_ZN5Utils15assertionFailedEPKcS1_S1_j" } ) {
      EXPECT_EQ( dlsym( RTLD_DEFAULT, name ), nullptr ) << name;
   }
}

}  // namespace
