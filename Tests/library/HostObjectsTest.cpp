#include <gmock/gmock.h>

#include <algorithm>
#include <cerrno>
#include <new>
#include <span>
#include <sstream>
#include <stdexcept>

#include "Components/Fan.h"
#include "Components/Gpio.h"
#include "Components/HardwareDevice.h"
#include "Components/Led.h"
#include "Components/MultiDevice.h"
#include "Components/PoePort.h"
#include "Components/Psu.h"
#include "Components/Slot.h"
#include "Components/SmbusProxy.h"
#include "Components/TempSensor.h"
#include "Components/Xcvr.h"
#include "Tests/support/ObjectImage.h"
#include "Tests/support/TraceLog.h"
#include "Topology/Topology.h"
#include "Utils/NotImplementedException.h"

using namespace Component;
using namespace Component::LogicalDevice;
using namespace testing;

namespace {

constexpr int kSilent = -1;
constexpr int kPort = 41;
constexpr size_t kWord = sizeof( uintptr_t );

using Words = std::vector< uintptr_t >;
const Words kNone;
const Words kUnused = { 0 };
const Words kSfp = { PL_XCVR_SFP, 24 / 4 * kWord };
const Words kQsfp = { PL_XCVR_QSFP, 36 / 4 * kWord };
const Words kCmis = { PL_XCVR_CMIS, 36 / 4 * kWord };
const Words kClearBeforeSet = { 3, 2, 4 };

// A kind of host object. Its operations are named in the order of its host table, which its virtual
// table shares unless `slots` tells each one's slot; "=" marks those whose one integer is traced.
struct Kind {
   std::string factory;
   const char* xcvrType;
   int failureLevel;  // of the traces that say which step failed
   Words before;      // in the host table, between its size and the operations
   size_t firstSlot;
   const char* operations;
   const char* format = "%s(%p)";  // of the callbacks' traces; null where the name is the format
   int level = 4;
   Words slots = {};

   void* ( *add )( const char* json ) = nullptr;
   std::span< const uintptr_t > table = {};
   const std::type_info* type = nullptr;

   Tests::ObjectImage image() const {
      return { *type, table.data(), size_t{ *xcvrType ? 2u : 1u }, kPort };
   }
};

template < typename Object, auto kEntryPoint, auto... kFurther >
Kind kind( Kind row ) {
   row.add = []( const char* json ) -> void* { return kEntryPoint( json, kFurther... ); };
   row.table = { reinterpret_cast< const uintptr_t* >( &Object::ops_ ),
                 sizeof Object::ops_ / kWord };
   row.type = &typeid( Object );
   return row;
}

constexpr const char* kQuad =
   "getPresence getModSel setModSel= getLpMode setLpMode= getReset setReset= getInterrupt";

const Kind kKinds[] = {
   kind< Fan, pl_fan_add >( { "newFan", "", 0, kNone, 2, "debugInfo getRpm setRpm=" } ),
   kind< Slot, pl_slot_add >( { "newSlot", "", 0, kNone, 2, "getPresence" } ),
   kind< Led, pl_led_add >( { "newLed", "", 0, kNone, 3, "setLightSetting=" } ),
   kind< TempSensor, pl_temp_sensor_add, 1, 2 >(
      { "newTempSensor", "", kSilent, kUnused, 4, "getTemperature" } ),
   kind< SfpXcvr, pl_xcvr_add >(
      { "newSfpXcvr", "sfp", 0, kSfp, 2,
        "getPresence getTxFault getRxLos getTxDisable setTxDisable=", "%s(%u)" } ),
   kind< QsfpXcvr, pl_xcvr_add >( { "newQsfpXcvr", "qsfp", 0, kQsfp, 2, kQuad, "%s(%u)" } ),
   kind< CmisXcvr, pl_xcvr_add >( { "newCmisXcvr", "qsfpDd", 0, kCmis, 2, kQuad, "%s(%u)" } ),
   kind< Psu, pl_psu_add >(
      { "newPsu", "", 2, kUnused, 0,
        "get_power_ok get_input_current get_output_current get_input_voltage get_output_voltage "
        "get_input_power get_output_power",
        nullptr } ),
   kind< Gpio, pl_gpio_add >(
      { "newGpio", "", kSilent, kNone, 2, "bitSet bitClear bitRead", "%s", 4, kClearBeforeSet } ),
   kind< SmbusProxy, pl_smbus_add, 9 >(
      { "newSmbusProxy", "", 0, kNone, 0,
        "quickCommand receiveByte sendByte readByte writeByte readWord writeWord blockRead "
        "blockWrite i2cBlockRead i2cBlockWrite processCall blockProcessCall",
        "%s", 1 } ),
   kind< PoePort, pl_poe_port_add >(
      { "newPoePort", "", kSilent, kNone, 2,
        "debugInfo poePortInit reprogramPoeFirmware setPoePortPse setPoePortLimit "
        "setPoePortShutOffWithPsu poePortPowerOn setPoePortLegacyDetect getPoePortPowerState "
        "getPoeDeviceClass getPoePortPower getPoePortVoltage getPoePortCurrent "
        "getPoePortTemperature getPoePortCrcStatus getPoePortInformation" } ),
};

using Callback = pl_status( void*, int, int, int, int, int, int );

// Access to what a multi-device has added.
class Members : public MultiDevice {
 public:
   using MultiDevice::fans;
   using MultiDevice::gpios;
   using MultiDevice::leds;
   using MultiDevice::psus;
   using MultiDevice::slots;
   using MultiDevice::xcvrs;
};

// What a test has made, as an object of every kind; nothing as a module that is absent.
struct Made {
   explicit Made( unsigned int port = 0 ) {
      id = port;
      errno = object ? 0 : ENODEV;
   }

   template < typename Object >
   operator Object*() const {
      return static_cast< Object* >( object );
   }

   static inline void* object = nullptr;
   static inline unsigned int id = 0;
};

class Maker : public HardwareDevice {
 public:
   PoePort* newPoePort( const DriverArgs& ) override { return Made(); }
   TempSensor* newTempSensor( const DriverArgs& ) override { return Made(); }
   Slot* newSlot( const DriverArgs& ) override { return Made(); }
   SfpXcvr* newSfpXcvr( unsigned int port, const DriverArgs& ) override { return Made( port ); }
   QsfpXcvr* newQsfpXcvr( unsigned int port, const DriverArgs& ) override { return Made( port ); }
   CmisXcvr* newCmisXcvr( unsigned int port, const DriverArgs& ) override { return Made( port ); }
   Led* newLed( const DriverArgs& ) override { return Made(); }
   Fan* newFan( const DriverArgs& ) override { return Made(); }
   Psu* newPsu( const DriverArgs& ) override { return Made(); }
   SmbusProxy* newSmbusProxy( const DriverArgs& ) override { return Made(); }
   Gpio* newGpio( const DriverArgs& ) override { return Made(); }
};

// Device arguments of a new device without a HAM, of a multi-device where it has members.
std::string document( const std::string& driver,
                      const std::string& driverArgs,
                      const std::string& members = "" ) {
   static int did = 3000;
   return R"({ "driver": ")" + driver + R"(", "did": )" + std::to_string( did++ ) +
          R"(, "provideHam": 0, "address": { "address": 80 }, "driverArgs": { )" + driverArgs +
          R"( }, "isMultiDevice": )" + ( members.empty() ? "false" : "true" ) +
          R"(, "multiDeviceArgs": { )" + members + " } }";
}

std::string xcvr( const std::string& type, const std::string& id = "1" ) {
   return R"("type": ")" + type + R"(", "id": )" + id;
}

class HostObjects : public testing::Test {
 protected:
   HostObjects() {
      Drivers::drivers[ "Maker" ] = []( const auto&, Ham::Ham* ) { return new Maker; };
      Drivers::drivers[ "Members" ] = []( const auto&, Ham::Ham* ) { return new Members; };
   }

   Tests::TraceLog traces;
};

TEST_F( HostObjects, CallbacksReachTheOperationsOfTheirNames ) {
   for ( const Kind& row : kKinds ) {
      EXPECT_EQ( row.table[ 0 ], row.table.size_bytes() );
      size_t word = 1 + row.before.size();
      EXPECT_EQ( Words( &row.table[ 1 ], &row.table[ word ] ), row.before );
      auto image = row.image();
      std::istringstream operations( row.operations );
      size_t index = 0;
      for ( std::string name; operations >> name; ++index ) {
         bool showsValue = name.back() == '=';
         name = name.substr( 0, name.find( '=' ) ) + ( row.format ? "Callback" : "_callback" );
         SCOPED_TRACE( name );
         std::string format = row.format ? row.format : name;
         if ( showsValue ) {
            format.insert( format.size() - 1, ", %d" );
         }
         auto call = reinterpret_cast< Callback* >( row.table[ word++ ] );
         traces.take();
         EXPECT_EQ( call( image.structure(), 1, 1, 1, 1, 1, 1 ) - Tests::kSlotStatus,
                    row.slots.empty() ? row.firstSlot + index : row.slots.at( index ) );
         EXPECT_EQ( Tests::TraceLog::lastFormat, format );
         EXPECT_THAT( traces.lines,
                      ElementsAre( StartsWith( std::to_string( row.level ) + " " + name ) ) );
         EXPECT_EQ( traces.lines.at( 0 ).ends_with( ", 1)" ), showsValue );
      }
      EXPECT_THAT( row.table.subspan( word ), Each( 0u ) );
   }
}

TEST_F( HostObjects, AddTracesTheStepThatFailedElseGivesTheStructure ) {
   for ( const Kind& row : kKinds ) {
      SCOPED_TRACE( row.factory );
      std::string json = document( "Maker", xcvr( row.xcvrType ) );
      const std::tuple< std::string, std::string, std::string, int > failures[] = {
         { "{", "DeviceBase::create() failed", "0 failed to parse json object as a device", 0 },
         { json, row.factory + "() failed", "0 Maker device created", ENODEV },
      };
      Made::object = nullptr;
      for ( const auto& [ arguments, failure, before, error ] : failures ) {
         EXPECT_EQ( row.add( arguments.c_str() ), nullptr );
         EXPECT_EQ( errno, error );
         if ( row.failureLevel != kSilent ) {
            EXPECT_EQ( traces.lines.back(), std::to_string( row.failureLevel ) + " " + failure );
            traces.lines.pop_back();
         }
         EXPECT_EQ( traces.lines.back(), before );
      }
      auto image = row.image();
      Made::object = image.object();
      Tests::calledSlots.clear();
      EXPECT_EQ( row.add( json.c_str() ), image.structure() );
      using Slots = std::vector< size_t >;
      EXPECT_EQ( Tests::calledSlots, row.factory == "newTempSensor" ? Slots( { 2, 3 } ) : Slots() );

      json = document( "Members", xcvr( row.xcvrType ), R"("role": "")" );
      EXPECT_THAT( [ & ] { row.add( json.c_str() ); },
                   ThrowsMessage< NotImplementedException >( "Not implemented " + row.factory ) );
   }
}

TEST_F( HostObjects, XcvrTypeChoosesTheFamilyAndIdIsConvertedFromItsDigits ) {
   auto add = []( const std::string& arguments ) {
      return pl_xcvr_add( document( "Maker", arguments ).c_str() );
   };
   const std::tuple< const char*, const char*, unsigned int, std::string > rows[] = {
      { "sfp+", "12", 12, "newSfpXcvr() failed" },
      { "qsfp+", R"("12abc")", 12, "newQsfpXcvr() failed" },
      { "qsfpCmis", "-1", 0xFFFFFFFF, "newCmisXcvr() failed" },
   };
   for ( const auto& [ type, id, port, failure ] : rows ) {
      EXPECT_EQ( add( xcvr( type, id ) ), nullptr );
      EXPECT_EQ( traces.lines.back(), "0 " + failure );
      EXPECT_EQ( Made::id, port );
   }
   EXPECT_THROW( add( xcvr( "sfp", "2147483648" ) ), std::out_of_range );
   EXPECT_THROW( add( R"("id": "abc")" ), std::invalid_argument ) << "before the type is read";

   const std::pair< std::string, const char* > mistakes[] = {
      { "", "No id argument given for Xcvr\n.*Components/Xcvr.cpp.*`it != args" },
      { R"("id": 1)", "No type argument given for Xcvr\n.*Components/Xcvr.cpp.*`it != args" },
      { xcvr( "QSFP" ), "Xcvr type QSFP not supported\n.*Components/Xcvr.cpp" },
   };
   pl_trace_sink_set( nullptr, nullptr );
   for ( const auto& [ arguments, message ] : mistakes ) {
      EXPECT_DEATH( add( arguments ), message );
   }
}

// A host's structure and object as the constructors leave them, in memory that was used before.
template < typename Object >
void checkConstruction( size_t wordsBefore ) {
   constexpr uintptr_t kPattern = 0x5A5A5A5A;
   alignas( Object ) uintptr_t memory[ sizeof( Object ) / sizeof( uintptr_t ) ];
   std::fill( std::begin( memory ), std::end( memory ), kPattern );
   auto object = new ( memory ) Object;
   uintptr_t* structure = memory + wordsBefore;
   EXPECT_EQ( static_cast< void* >( object->record() ), structure );
   EXPECT_EQ( structure[ 0 ], kPattern ) << "the host's word";
   EXPECT_EQ( structure[ 1 ], reinterpret_cast< uintptr_t >( &Object::ops_ ) );
   EXPECT_EQ( structure[ 2 ], reinterpret_cast< uintptr_t >( memory ) );
}

template < typename Family >
struct Quad : Family {
   Quad() : Family( kPort ) {}
   int getPresence() override { return 1; }
   pl_status getModSel( int* ) override { return PL_STATUS_OK; }
   pl_status setModSel( int ) override { return PL_STATUS_OK; }
   pl_status getLpMode( int* ) override { return PL_STATUS_OK; }
   pl_status setLpMode( int ) override { return PL_STATUS_OK; }
   pl_status getReset( int* ) override { return PL_STATUS_OK; }
   pl_status setReset( int ) override { return PL_STATUS_OK; }
   pl_status getInterrupt( int* ) override { return PL_STATUS_OK; }
};

struct PlainSensor : TempSensor {
   using TempSensor::alertThreshold;
   using TempSensor::criticalThreshold;
   pl_status getTemperature( float* ) override { return PL_STATUS_OK; }
};

TEST_F( HostObjects, ConstructorsTieStructureAndObjectAndLeaveTheHostsWord ) {
   checkConstruction< PlainSensor >( 1 );
   checkConstruction< Quad< QsfpXcvr > >( 2 );
   checkConstruction< Quad< CmisXcvr > >( 2 );
}

TEST_F( HostObjects, WhatABaseDoesWhereADriverDoesNot ) {
   PlainSensor sensor;
   Made::object = &sensor;
   pl_temp_sensor_add( document( "Maker", "" ).c_str(), 75.5f, 90 );
   EXPECT_EQ( sensor.alertThreshold, 75.5f );
   EXPECT_EQ( sensor.criticalThreshold, 90 );
   struct : Fan {
      pl_status getRpm( int* ) override { return PL_STATUS_DEVICE_ERROR; }
      pl_status setRpm( int ) override { return PL_STATUS_DEVICE_ERROR; }
   } fan;
   char untouched[] = "";
   char* text = untouched;
   EXPECT_EQ( fan.record()->ops->debug_info( fan.record(), &text ), PL_STATUS_OK );
   EXPECT_EQ( text, untouched );
}

TEST_F( HostObjects, OnlyLedsThatCanBlinkMakeTheTimer ) {
   struct PlainLed : Led {
      using Led::Led;
      bool handleBlinkTimer( bool ) override { return false; }
      pl_status setLightSetting( pl_led_status ) override { return PL_STATUS_OK; }
   } steady, blinking( true );
   for ( PlainLed* led : { &steady, &blinking } ) {
      Made::object = led;
      EXPECT_EQ( pl_led_add( document( "Maker", "" ).c_str() ), led->record() );
      EXPECT_EQ( traces.lines.back() == "0 creating unique led blink timer", led->blinkCapable );
   }
}

TEST_F( HostObjects, MultiDevicesAddTheirMembersThroughTheEntryPoints ) {
   std::string json = document( "Members", "", R"("left": "{}")" );
   Drivers::DriverArgs args;
   auto device = dynamic_cast< Members* >( DeviceBase::create( json.c_str(), args ) );
   ASSERT_NE( device, nullptr );
   EXPECT_EQ( traces.take().back(), "0 Members MultiDevice created" );
   EXPECT_EQ( DeviceBase::create( json.c_str(), args ), device );
   EXPECT_EQ( traces.take().back(), "0 using previously instanciated HardwareDevice Members" );
   EXPECT_STREQ( device->getDeviceDriverArg( "left" ), "{}" );
   std::string member = document( "Maker", xcvr( "sfp" ) );
   device->deviceDriverArgsIs( { { "left", member } } );

   auto check = [ & ]( auto add, auto& members, const std::string& traced, const char* failure ) {
      Made::object = nullptr;
      EXPECT_EQ( ( device->*add )( "left" ), nullptr );
      EXPECT_EQ( traces.lines.front(), traced + member );
      EXPECT_EQ( traces.take().back(), failure );
      EXPECT_EQ( ( device->*add )( "right" ), nullptr );
      EXPECT_THAT( traces.take(),
                   ElementsAre( "0 Failed to find driverArgs for driver key 'right'" ) );
      EXPECT_THAT( members, ElementsAre( nullptr ) ) << "what failed is in the list";
   };
   const std::string plain = "0 parsing devArgs = ";
   check( &Members::addSlot, device->slots, plain, "0 newSlot() failed" );
   check( &Members::addLed, device->leds, plain, "0 newLed() failed" );
   check( &Members::addPsu, device->psus, plain, "2 newPsu() failed" );
   check( &Members::addFan, device->fans,
          "6 MultiDevice::addFan driver args = ", "0 newFan() failed" );
   check( &Members::addXcvr, device->xcvrs,
          "6 MultiDevice::addXcvr driver args = ", "0 newSfpXcvr() failed" );
   check( &Members::addGpio, device->gpios, "6 MultiDevice::addGpio driver args = ",
          "0 using previously instanciated HardwareDevice Maker" );

   auto fan = kKinds[ 0 ].image();
   Made::object = fan.object();
   EXPECT_EQ( device->addFan( "left" ), fan.structure() );
}

TEST_F( HostObjects, RawEndpointsAreFoundByTheirLabel ) {
   ASSERT_EQ( Topology::loadTopology( R"([
      { "type": "LinuxFs", "ham": "", "devices": [
         { "label": "fs<0x01>", "did": 4005, "driver": "TMP75", "address": { "address": 1 } } ] },
      { "type": "I2C", "ham": "LumenSmbus", "id": 0, "devices": [
         { "label": "smbus3<0x05>", "did": 4003, "driver": "TMP75", "address": { "address": 5 } },
         { "label": "smbus3<0xaf>", "did": 4006 } ] } ])" ),
              PL_STATUS_OK );
   pl_smbus* smbus = pl_smbus_add( "smbus3", 0x05 );
   ASSERT_NE( smbus, nullptr );
   EXPECT_THAT( traces.take(),
                IsSupersetOf< std::string >(
                   { "7 pl_smbus_add( 'smbus3', 5 )", "0 SmbusProxyDriver device created" } ) );
   EXPECT_EQ( Topology::getDeviceByLabel( "smbus3<0x05>" )->args->driver, "SmbusProxyDriver" )
      << "it stays a proxy";
   EXPECT_THAT( [ & ] { smbus->ops->quick_command( smbus, 1 ); },
                ThrowsMessage< NotImplementedException >( "Not implemented quickCommand" ) );
   EXPECT_THAT(
      [ & ] { smbus->ops->block_process_call( smbus, 1, 1, nullptr, 0, nullptr, nullptr ); },
      ThrowsMessage< NotImplementedException >( "Not implemented blockProcessCall" ) );

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
