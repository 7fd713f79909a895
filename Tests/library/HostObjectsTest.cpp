#include <gmock/gmock.h>

#include <functional>
#include <iomanip>
#include <sstream>

#include "Components/Fan.h"
#include "Components/HardwareDevice.h"
#include "Components/Led.h"
#include "Components/MultiDevice.h"
#include "Components/NotImplementedException.h"
#include "Components/TempSensor.h"
#include "Tests/support/EveryKind.h"
#include "Tests/support/TraceLog.h"
#include "Topology/Topology.h"
#include "pl.h"

using ::testing::AllOf;
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::ElementsAreArray;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::ThrowsMessage;

namespace {

// Device arguments of a new device, without a HAM.
std::string document( const std::string& driver, const std::string& driverArgs = "" ) {
   static int did = 3000;
   return R"({ "driver": ")" + driver + R"(", "did": )" + std::to_string( did++ ) +
          R"(, "provideHam": 0, "address": { "address": 80 }, "driverArgs": { "id": 1, )" +
          R"("type": "sfp")" + driverArgs + " } }";
}

// Has no object of any kind to give.
class Nothing : public Component::HardwareDevice {
 public:
   Component::LogicalDevice::PoePort* newPoePort( const DriverArgs& ) override { return {}; }
   Component::LogicalDevice::TempSensor* newTempSensor( const DriverArgs& ) override { return {}; }
   Component::LogicalDevice::Slot* newSlot( const DriverArgs& ) override { return {}; }
   Component::LogicalDevice::SfpXcvr* newSfpXcvr( unsigned int, const DriverArgs& ) override {
      return {};
   }
   Component::LogicalDevice::Led* newLed( const DriverArgs& ) override { return {}; }
   Component::LogicalDevice::Fan* newFan( const DriverArgs& ) override { return {}; }
   Component::LogicalDevice::Psu* newPsu( const DriverArgs& ) override { return {}; }
   Component::LogicalDevice::SmbusProxy* newSmbusProxy( const DriverArgs& ) override { return {}; }
   Component::LogicalDevice::Gpio* newGpio( const DriverArgs& ) override { return {}; }
};

// The fans of its two roles, and access to what it has added.
class Chassis : public Component::MultiDevice {
 public:
   Component::LogicalDevice::Fan* newFan( const DriverArgs& args ) override {
      pl_fan* fan = addFan( args.driverArgs.at( "role" ) );
      return fan ? static_cast< Component::LogicalDevice::Fan* >( fan->priv ) : nullptr;
   }

   using MultiDevice::fans;
   using MultiDevice::gpios;
   using MultiDevice::leds;
   using MultiDevice::psus;
   using MultiDevice::slots;
   using MultiDevice::xcvrs;
};

class HostObjects : public testing::Test {
 protected:
   HostObjects() {
      every_kind_register();
      Drivers::drivers[ "Nothing" ] = []( const auto&, Ham::Ham* ) { return new Nothing; };
      Drivers::drivers[ "Chassis" ] = []( const auto&, Ham::Ham* ) { return new Chassis; };
   }

   Tests::TraceLog traces;
};

constexpr int kSilent = -1;

struct Kind {
   const char* operation;
   void* ( *add )( const char* json );
   int level;  // of the traces that say which step failed
};

constexpr Kind kKinds[] = {
   { "newSlot", []( const char* json ) -> void* { return pl_slot_add( json ); }, 0 },
   { "newLed", []( const char* json ) -> void* { return pl_led_add( json ); }, 0 },
   { "newPoePort", []( const char* json ) -> void* { return pl_poe_port_add( json ); }, kSilent },
   { "newTempSensor", []( const char* json ) -> void* { return pl_temp_sensor_add( json, 1, 2 ); },
     kSilent },
   { "newFan", []( const char* json ) -> void* { return pl_fan_add( json ); }, 0 },
   { "newSfpXcvr", []( const char* json ) -> void* { return pl_xcvr_add( json ); }, 0 },
   { "newPsu", []( const char* json ) -> void* { return pl_psu_add( json ); }, 2 },
   { "newGpio", []( const char* json ) -> void* { return pl_gpio_add( json ); }, kSilent },
   { "newSmbusProxy", []( const char* json ) -> void* { return pl_smbus_add( json, 9 ); }, 0 },
};

class EachKind : public HostObjects, public testing::WithParamInterface< Kind > {
 protected:
   // Adds in vain; what was traced.
   std::vector< std::string > linesOf( const std::string& json ) {
      traces.take();
      EXPECT_EQ( GetParam().add( json.c_str() ), nullptr );
      std::vector< std::string > lines = traces.take();
      if ( GetParam().operation == std::string( "newSmbusProxy" ) ) {
         EXPECT_EQ( lines.at( 0 ), "7 pl_smbus_add( '" + json + "', 9 )" );
         lines.erase( lines.begin() );
      }
      return lines;
   }

   std::vector< std::string > withFailure( std::vector< std::string > lines, std::string failure ) {
      if ( GetParam().level != kSilent ) {
         lines.push_back( std::to_string( GetParam().level ) + " " + failure );
      }
      return lines;
   }
};

TEST_P( EachKind, TracesTheStepThatFailed ) {
   EXPECT_THAT(
      linesOf( "{" ),
      ElementsAreArray( withFailure(
         { "0 parsing devArgs = {",
           "0 failed to load device from json: Missing a name for object member. offset 1",
           "0 failed to parse json object as a device" },
         "DeviceBase::create() failed" ) ) );

   Drivers::DriverArgs args;
   std::string json = document( "NoSuch" );
   args.parseJSON( json.c_str() );
   EXPECT_THAT( linesOf( json ),
                ElementsAreArray( withFailure(
                   { "0 parsing devArgs = " + json,
                     "0 looking for already existing device " + std::to_string( args.did ),
                     "0 creating HardwareDevice NoSuch", "0 driver NoSuch not found",
                     "0 factory function returned a null object" },
                   "DeviceBase::create() failed" ) ) );

   json = document( "Nothing" );
   args.parseJSON( json.c_str() );
   EXPECT_THAT( linesOf( json ),
                ElementsAreArray( withFailure(
                   { "0 parsing devArgs = " + json,
                     "0 looking for already existing device " + std::to_string( args.did ),
                     "0 creating HardwareDevice Nothing", "0 calling factory function for Nothing",
                     "0 Nothing device created" },
                   std::string( GetParam().operation ) + "() failed" ) ) );
}

TEST_P( EachKind, IsRefusedByNameWhereADriverDoesNotHaveIt ) {
   std::string multi = R"({ "did": 4000, "driver": "Chassis", "isMultiDevice": true,
      "multiDeviceArgs": {}, "driverArgs": { "id": 1, "type": "sfp", "role": "none" } })";
   bool isGpio = GetParam().operation == std::string( "newGpio" );
   bool isFan = GetParam().operation == std::string( "newFan" );
   std::vector< std::string > refusing;
   if ( !isGpio ) {
      refusing.push_back( document( "Dummy" ) );
   }
   if ( !isFan ) {
      refusing.push_back( multi );
   }
   for ( const std::string& json : refusing ) {
      try {
         GetParam().add( json.c_str() );
         ADD_FAILURE() << json;
      } catch ( const NotImplementedException& exception ) {
         EXPECT_EQ( exception.what(), std::string( "Not implemented " ) + GetParam().operation );
      }
   }
   if ( isGpio ) {
      EXPECT_NE( GetParam().add( document( "Dummy", R"(, "register": 1, "bitpos": 1)" ).c_str() ),
                 nullptr )
         << "every hardware device has register GPIOs";
   }
}

TEST_P( EachKind, OfOneDeviceIdSharesTheDevice ) {
   std::string json = document( "EveryKind" );
   void* first = GetParam().add( json.c_str() );
   EXPECT_THAT( traces.take(), Contains( "0 EveryKind device created" ) );
   void* second = GetParam().add( json.c_str() );
   EXPECT_THAT( traces.take(),
                AllOf( Contains( "0 using previously instanciated HardwareDevice EveryKind" ),
                       Not( Contains( "0 EveryKind device created" ) ) ) );
   EXPECT_NE( first, nullptr );
   EXPECT_NE( second, nullptr );
   EXPECT_NE( first, second );
}

INSTANTIATE_TEST_SUITE_P(, EachKind, testing::ValuesIn( kKinds ), []( const auto& row ) {
   return std::string( row.param.operation );
} );

TEST_F( HostObjects, TemperatureSensorsGetTheirAlertLimitBeforeTheCriticalOne ) {
   pl_temp_sensor* sensor = pl_temp_sensor_add( document( "EveryKind" ).c_str(), 75.5f, 90 );
   auto lines = traces.take();
   std::ostringstream object;
   object << EVERY_KIND_LEVEL << ' ' << sensor->priv;
   EXPECT_THAT(
      std::vector( lines.end() - 4, lines.end() ),
      ElementsAre( "0 setting alert threshold", object.str() + " alertThresholdIs 75.5",
                   "0 setting critical threshold", object.str() + " criticalThresholdIs 90" ) );
}

TEST_F( HostObjects, BasesOfSensorAndFanRecordAndAnswerNothing ) {
   struct : Component::LogicalDevice::TempSensor {
      pl_status getTemperature( float* celsius ) override {
         *celsius = criticalThreshold - alertThreshold;
         return PL_STATUS_OK;
      }
   } sensor;
   sensor.alertThresholdIs( 70 );
   sensor.criticalThresholdIs( 95 );
   float celsius = 0;
   sensor.record()->ops->get_temperature( sensor.record(), &celsius );
   EXPECT_EQ( celsius, 25 );

   struct : Component::LogicalDevice::Fan {
      pl_status getRpm( int* ) override { return PL_STATUS_DEVICE_ERROR; }
      pl_status setRpm( int ) override { return PL_STATUS_DEVICE_ERROR; }
   } fan;
   char untouched[] = "";
   char* text = untouched;
   EXPECT_EQ( fan.record()->ops->debug_info( fan.record(), &text ), PL_STATUS_OK );
   EXPECT_EQ( text, untouched );
}

TEST_F( HostObjects, OnlyLedsThatCanBlinkMakeTheTimerAndMakeItOnce ) {
   struct Leds : Component::LogicalDevice::Led {
      using Led::blinkTimer_;
   };
   Leds::blinkTimer_ = nullptr;
   pl_led_add( document( "EveryKind" ).c_str() );
   EXPECT_EQ( Leds::blinkTimer_, nullptr );
   traces.take();
   pl_led_add( document( "EveryKind", R"(, "blinks": 1)" ).c_str() );
   EXPECT_EQ( traces.take().back(), "0 creating unique led blink timer" );
   EXPECT_NE( Leds::blinkTimer_, nullptr );
   pl_led_add( document( "EveryKind", R"(, "blinks": 1)" ).c_str() );
   EXPECT_EQ( traces.take().back(), "0 EveryKind device created" );
}

std::string quoted( const std::string& text ) {
   std::ostringstream quotation;
   quotation << std::quoted( text );
   return quotation.str();
}

std::string chassis( int did, const std::string& member, const char* role = "left" ) {
   return R"({ "did": )" + std::to_string( did ) + R"(, "driver": "Chassis", )" +
          R"("isMultiDevice": true, "driverArgs": { "role": ")" + role +
          R"(" }, "multiDeviceArgs": { "left": )" + quoted( member ) + R"(, "broken": "{" } })";
}

TEST_F( HostObjects, MultiDevicesAddTheirMembersThroughTheEntryPoints ) {
   std::string member = document( "EveryKind" );
   std::string json = chassis( 4001, member );
   Drivers::DriverArgs args;
   auto device = dynamic_cast< Chassis* >( Component::DeviceBase::create( json.c_str(), args ) );
   ASSERT_NE( device, nullptr );
   EXPECT_EQ( traces.take().back(), "0 Chassis MultiDevice created" );
   EXPECT_EQ( device->getDeviceDriverArg( "left" ), member );

   struct Row {
      std::function< void*( std::string ) > add;
      std::function< size_t() > added;
      const char* traced;
   };
   const Row rows[] = {
      { [ & ]( auto role ) { return device->addSlot( role ); },
        [ & ] { return device->slots.size(); }, nullptr },
      { [ & ]( auto role ) { return device->addLed( role ); },
        [ & ] { return device->leds.size(); }, nullptr },
      { [ & ]( auto role ) { return device->addPsu( role ); },
        [ & ] { return device->psus.size(); }, nullptr },
      { [ & ]( auto role ) { return device->addFan( role ); },
        [ & ] { return device->fans.size(); }, "addFan" },
      { [ & ]( auto role ) { return device->addXcvr( role ); },
        [ & ] { return device->xcvrs.size(); }, "addXcvr" },
      { [ & ]( auto role ) { return device->addGpio( role ); },
        [ & ] { return device->gpios.size(); }, "addGpio" },
   };
   for ( const Row& row : rows ) {
      traces.take();
      EXPECT_NE( row.add( "left" ), nullptr );
      auto lines = traces.take();
      size_t traced = row.traced ? 1 : 0;
      if ( row.traced ) {
         EXPECT_EQ( lines.at( 0 ),
                    std::string( "6 MultiDevice::" ) + row.traced + " driver args = " + member );
      }
      EXPECT_EQ( lines.at( traced ), "0 parsing devArgs = " + member );
      EXPECT_EQ( row.add( "broken" ), nullptr );
      EXPECT_EQ( row.added(), 2u ) << "what failed is in the list, as null";
      traces.take();
      EXPECT_EQ( row.add( "right" ), nullptr );
      EXPECT_EQ( row.added(), 2u );
      EXPECT_THAT( traces.take(),
                   ElementsAre( "0 Failed to find driverArgs for driver key 'right'" ) );
   }
   EXPECT_EQ( device->slots.back(), nullptr );
   device->deviceDriverArgsIs( { { "right", member } } );
   EXPECT_NE( device->addSlot( "right" ), nullptr );
   EXPECT_EQ( device->getDeviceDriverArg( "left" ), nullptr );
}

TEST_F( HostObjects, MultiDevicesAreSharedLikeOthers ) {
   std::string json = chassis( 4002, document( "EveryKind" ) );
   EXPECT_NE( pl_fan_add( json.c_str() ), nullptr );
   EXPECT_THAT( traces.take(),
                IsSupersetOf( { "0 creating HardwareDevice Chassis",
                                "0 Chassis MultiDevice created", "0 EveryKind device created" } ) );
   EXPECT_NE( pl_fan_add( json.c_str() ), nullptr );
   EXPECT_THAT( traces.take(),
                Contains( "0 using previously instanciated HardwareDevice Chassis" ) );
   EXPECT_EQ( pl_fan_add( chassis( 4002, "", "right" ).c_str() ), nullptr );
   EXPECT_EQ( traces.take().back(), "0 newFan() failed" );
}

TEST_F( HostObjects, RawEndpointsAreFoundByTheirLabel ) {
   ASSERT_EQ( Topology::loadTopology( R"([
                 { "type": "LinuxFs", "ham": "", "devices": [
                   { "label": "fs<0x01>", "did": 4005, "driver": "TMP75",
                     "address": { "address": 1 } } ] },
                 { "type": "I2C", "ham": "LumenSmbus", "id": 0, "devices": [
                   { "label": "smbus3<0x05>", "did": 4003, "driver": "TMP75",
                     "address": { "address": 5 } },
                   { "label": "smbus3<0x4c>", "did": 4004, "driver": "TMP75",
                     "address": { "address": 76 } },
                   { "label": "smbus3<0xaf>", "did": 4006 } ] } ])" ),
              PL_STATUS_OK );
   for ( uint8_t address : { 0x05, 0x4C } ) {
      traces.take();
      pl_smbus* smbus = pl_smbus_add( "smbus3", address );
      ASSERT_NE( smbus, nullptr );
      EXPECT_EQ( traces.lines.at( 0 ),
                 "7 pl_smbus_add( 'smbus3', " + std::to_string( address ) + " )" );
      EXPECT_THAT( traces.lines, Contains( "0 SmbusProxyDriver device created" ) );
      EXPECT_THAT( [ & ] { smbus->ops->quick_command( smbus, 1 ); },
                   ThrowsMessage< NotImplementedException >( "Not implemented quickCommand" ) );
      EXPECT_THAT(
         [ & ] { smbus->ops->block_process_call( smbus, 1, 1, nullptr, 0, nullptr, nullptr ); },
         ThrowsMessage< NotImplementedException >( "Not implemented blockProcessCall" ) );
   }
   EXPECT_EQ( Topology::getDeviceByLabel( "smbus3<0x05>" )->args->driver, "SmbusProxyDriver" )
      << "it stays a proxy";

   constexpr const char* kUnknown = "0 smbus_add failed: device does not exist in topology";
   const std::tuple< const char*, uint8_t, const char* > rows[] = {
      { "smbus3", 0x50, kUnknown },
      { "smbus3", 0xAF, kUnknown },  // has no arguments
      { "fs", 0x01, "0 DeviceBase::create() failed" },
   };
   for ( const auto& [ stem, address, trace ] : rows ) {
      EXPECT_EQ( pl_smbus_add( stem, address ), nullptr );
      EXPECT_EQ( traces.lines.back(), trace );
   }
}

}  // namespace
