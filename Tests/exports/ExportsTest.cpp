#include <dlfcn.h>
#include <gmock/gmock.h>

#include "Drivers/Helpers.h"
#include "Utils/NotImplementedException.h"
#include "pl.h"

namespace PlatformLibrary {
class PLSocket;
}
extern PlatformLibrary::PLSocket* _plSock;

namespace {

using ::testing::Each;
using ::testing::NotNull;

template < typename Function >
void* address( Function* function ) {
   return reinterpret_cast< void* >( function );
}

TEST( Exports, EntryPointsHelpersAndTheConnection ) {
   Component::LogicalDevice::Gpio* ( *ofDevice )( Component::HardwareDevice*, uint32_t, uint32_t ) =
      Drivers::getRegGpioForDevice;
   Component::LogicalDevice::Gpio* ( *ofLabel )( const char*, uint32_t, uint32_t ) =
      Drivers::getRegGpioForDevice;
   void* const exported[] = { address( pl_system_init ),
                              address( pl_system_add ),
                              address( pl_slot_init ),
                              address( pl_slot_add ),
                              address( pl_led_init ),
                              address( pl_led_add ),
                              address( pl_poe_port_init ),
                              address( pl_poe_port_add ),
                              address( pl_temp_sensor_init ),
                              address( pl_temp_sensor_add ),
                              address( pl_fan_init ),
                              address( pl_fan_add ),
                              address( pl_xcvr_init ),
                              address( pl_xcvr_add ),
                              address( pl_psu_init ),
                              address( pl_psu_add ),
                              address( pl_gpio_init ),
                              address( pl_gpio_add ),
                              address( pl_smbus_init ),
                              address( pl_smbus_add ),
                              address( Drivers::runCmd ),
                              address( Drivers::insertDriverArg ),
                              address( Drivers::getHardwareDeviceByLabel ),
                              address( Drivers::trim ),
                              address( Drivers::zeroChecksum ),
                              address( ofDevice ),
                              address( ofLabel ) };
   EXPECT_THAT( exported, Each( NotNull() ) );
   EXPECT_EQ( _plSock, nullptr ) << "nothing has been initialised";

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
