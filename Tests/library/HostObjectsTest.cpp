#include <gmock/gmock.h>

#include <array>
#include <cstring>
#include <iomanip>
#include <memory>
#include <new>
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
using ::testing::Contains;
using ::testing::ElementsAre;
using ::testing::IsSupersetOf;
using ::testing::Not;
using ::testing::SizeIs;
using ::testing::StartsWith;
using ::testing::ThrowsMessage;
using Lines = std::vector< std::string >;

namespace {

constexpr int kSilent = -1;
constexpr int kPort = 41;

// A kind of host object. Its operations are named in the order of its virtual table, which the host
// table shares unless `words` tells each one's word; "=" marks those whose one integer is traced.
struct Kind {
   const char* factory;
   const char* type;  // driver argument
   int failureLevel;  // of the traces that say which step failed
   size_t tableSize;  // bytes, on a 32-bit host
   size_t firstWord;  // of the operations; those before are not callbacks
   size_t firstSlot;
   std::string operations;
   const char* format = "%s(%p)";  // of the callbacks' traces; null where the name is the format
   int level = 4;
   const char* suffix = "Callback";
   std::vector< size_t > words = {};

   void* ( *add )( const char* json ) = nullptr;
   const std::type_info* info = nullptr;
   const void* ops = nullptr;
   void* ( *recordOf )( void* object ) = nullptr;
   size_t wordsBefore = 1;  // of the structure in the object

   std::unique_ptr< Tests::ObjectImage > image() const {
      return std::make_unique< Tests::ObjectImage >( *info, ops, wordsBefore, kPort );
   }
};

template < typename Object, auto kEntryPoint, auto... kFurther >
Kind kind( Kind row ) {
   row.add = []( const char* json ) -> void* { return kEntryPoint( json, kFurther... ); };
   row.info = &typeid( Object );
   row.ops = &Object::ops_;
   row.recordOf = []( void* object ) -> void* {
      return static_cast< Object* >( object )->record();
   };
   row.wordsBefore = requires( const Object& object ) {
      object.id;
   }
   ? 2 : 1;
   return row;
}

constexpr const char* kQuad =
   "getPresence getModSel setModSel= getLpMode setLpMode= getReset setReset= getInterrupt";

void PrintTo( const Kind& row, std::ostream* out ) {
   *out << row.factory;
}

const Kind kKinds[] = {
   kind< Slot, pl_slot_add >( { "newSlot", "", 0, 8, 1, 2, "getPresence" } ),
   kind< Led, pl_led_add >( { "newLed", "", 0, 8, 1, 3, "setLightSetting=" } ),
   kind< TempSensor, pl_temp_sensor_add, 1, 2 >(
      { "newTempSensor", "", kSilent, 12, 2, 4, "getTemperature" } ),
   kind< Fan, pl_fan_add >( { "newFan", "", 0, 16, 1, 2, "debugInfo getRpm setRpm=" } ),
   kind< SfpXcvr, pl_xcvr_add >(
      { "newSfpXcvr", "sfp", 0, 44, 3, 2,
        "getPresence getTxFault getRxLos getTxDisable setTxDisable=", "%s(%u)" } ),
   kind< QsfpXcvr, pl_xcvr_add >( { "newQsfpXcvr", "qsfp", 0, 44, 3, 2, kQuad, "%s(%u)" } ),
   kind< CmisXcvr, pl_xcvr_add >( { "newCmisXcvr", "qsfpDd", 0, 44, 3, 2, kQuad, "%s(%u)" } ),
   kind< Psu, pl_psu_add >( { "newPsu", "", 2, 36, 2, 0,
                              "get_power_ok get_input_current get_output_current "
                              "get_input_voltage get_output_voltage get_input_power "
                              "get_output_power",
                              nullptr, 4, "_callback" } ),
   kind< Gpio, pl_gpio_add >( { "newGpio",
                                "",
                                kSilent,
                                16,
                                1,
                                2,
                                "bitClear bitSet bitRead",
                                "%s",
                                4,
                                "Callback",
                                { 2, 1, 3 } } ),
   kind< SmbusProxy, pl_smbus_add, 9 >(
      { "newSmbusProxy", "", 0, 56, 1, 0,
        "quickCommand receiveByte sendByte readByte writeByte readWord writeWord blockRead "
        "blockWrite i2cBlockRead i2cBlockWrite processCall blockProcessCall",
        "%s", 1 } ),
   kind< PoePort, pl_poe_port_add >(
      { "newPoePort", "", kSilent, 68, 1, 2,
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

// Gives `made`, which a test sets, as an object of every kind.
class Maker : public HardwareDevice {
 public:
   static inline void* made = nullptr;
   static inline unsigned int id = 0;

   PoePort* newPoePort( const DriverArgs& ) override { return give(); }
   TempSensor* newTempSensor( const DriverArgs& ) override { return give(); }
   Slot* newSlot( const DriverArgs& ) override { return give(); }
   SfpXcvr* newSfpXcvr( unsigned int port, const DriverArgs& ) override { return give( port ); }
   QsfpXcvr* newQsfpXcvr( unsigned int port, const DriverArgs& ) override { return give( port ); }
   CmisXcvr* newCmisXcvr( unsigned int port, const DriverArgs& ) override { return give( port ); }
   Led* newLed( const DriverArgs& ) override { return give(); }
   Fan* newFan( const DriverArgs& ) override { return give(); }
   Psu* newPsu( const DriverArgs& ) override { return give(); }
   SmbusProxy* newSmbusProxy( const DriverArgs& ) override { return give(); }
   Gpio* newGpio( const DriverArgs& ) override { return give(); }

 private:
   struct Made {
      template < typename Object >
      operator Object*() const {
         return static_cast< Object* >( made );
      }
   };

   static Made give( unsigned int port = 0 ) {
      id = port;
      return {};
   }
};

// Device arguments of a device, a new one unless told, without a HAM.
int nextDid = 3000;

std::string document( const std::string& driver, const std::string& driverArgs, int did = 0 ) {
   return R"({ "driver": ")" + driver + R"(", "did": )" + std::to_string( did ? did : nextDid++ ) +
          R"(, "provideHam": 0, "address": { "address": 80 }, "driverArgs": { )" + driverArgs +
          " } }";
}

std::string xcvr( const std::string& type, const std::string& id = "1" ) {
   return R"("type": ")" + type + R"(", "id": )" + id;
}

class HostObjects : public testing::Test {
 protected:
   HostObjects() {
      Drivers::drivers[ "Maker" ] = []( const auto&, Ham::Ham* ) { return new Maker; };
      Drivers::drivers[ "Members" ] = []( const auto&, Ham::Ham* ) { return new Members; };
      Maker::made = nullptr;
      Tests::calledSlots.clear();
   }

   Tests::TraceLog traces;
};

class EachKind : public HostObjects, public testing::WithParamInterface< Kind > {
 protected:
   // What adding traces, without the line that only one kind has first.
   Lines linesOf( const std::string& json ) {
      traces.take();
      EXPECT_EQ( row.add( json.c_str() ), Maker::made ? image->structure() : nullptr );
      Lines lines = traces.take();
      if ( row.factory == std::string( "newSmbusProxy" ) ) {
         EXPECT_EQ( lines.at( 0 ), "7 pl_smbus_add( '" + json + "', 9 )" );
         lines.erase( lines.begin() );
      }
      return lines;
   }

   Lines withFailure( Lines lines, const std::string& failure ) {
      if ( row.failureLevel != kSilent ) {
         lines.push_back( std::to_string( row.failureLevel ) + " " + failure );
      }
      return lines;
   }

   const Kind& row = GetParam();
   std::unique_ptr< Tests::ObjectImage > image = row.image();
};

TEST_P( EachKind, CallbacksReachTheOperationsOfTheirNames ) {
   EXPECT_EQ( row.recordOf( image->object() ), image->structure() );
   auto words = static_cast< const uintptr_t* >( row.ops );
   std::vector< bool > reached( row.tableSize / 4 );
   EXPECT_EQ( words[ 0 ], reached.size() * sizeof( uintptr_t ) );
   std::istringstream operations( row.operations );
   size_t index = 0;
   for ( std::string name; operations >> name; ++index ) {
      SCOPED_TRACE( name );
      bool showsValue = name.back() == '=';
      name = name.substr( 0, name.find( '=' ) ) + row.suffix;
      std::string format = row.format ? row.format : name;
      if ( showsValue ) {
         format.insert( format.size() - 1, ", %d" );
      }
      size_t word = row.words.empty() ? row.firstWord + index : row.words.at( index );
      reached.at( word ) = true;
      auto call = reinterpret_cast< Callback* >( words[ word ] );
      traces.take();
      EXPECT_EQ( call( image->structure(), 1, 1, 1, 1, 1, 1 ) - Tests::kSlotStatus,
                 static_cast< int >( row.firstSlot + index ) );
      EXPECT_EQ( Tests::TraceLog::lastFormat, format );
      EXPECT_THAT( traces.lines,
                   ElementsAre( StartsWith( std::to_string( row.level ) + " " + name ) ) );
      EXPECT_EQ( traces.lines.at( 0 ).ends_with( ", 1)" ), showsValue );
   }
   constexpr size_t kXcvrFirstWord = 3;  // behind two that are no pointers
   for ( size_t word = row.firstWord == kXcvrFirstWord ? kXcvrFirstWord : 1; word < reached.size();
         ++word ) {
      EXPECT_EQ( reached[ word ], words[ word ] != 0 ) << word;
   }
}

TEST_P( EachKind, AddTracesTheStepThatFailedElseGivesTheStructure ) {
   EXPECT_EQ( linesOf( "{" ),
              withFailure(
                 { "0 parsing devArgs = {",
                   "0 failed to load device from json: Missing a name for object member. offset 1",
                   "0 failed to parse json object as a device" },
                 "DeviceBase::create() failed" ) );
   std::string did = std::to_string( nextDid );
   std::string json = document( "NoSuch", xcvr( row.type ) );
   EXPECT_EQ(
      linesOf( json ),
      withFailure( { "0 parsing devArgs = " + json, "0 looking for already existing device " + did,
                     "0 creating HardwareDevice NoSuch", "0 driver NoSuch not found",
                     "0 factory function returned a null object" },
                   "DeviceBase::create() failed" ) );
   did = std::to_string( nextDid );
   json = document( "Maker", xcvr( row.type ) );
   EXPECT_EQ(
      linesOf( json ),
      withFailure( { "0 parsing devArgs = " + json, "0 looking for already existing device " + did,
                     "0 creating HardwareDevice Maker", "0 calling factory function for Maker",
                     "0 Maker device created" },
                   std::string( row.factory ) + "() failed" ) );
   Maker::made = image->object();
   EXPECT_THAT( linesOf( json ), IsSupersetOf< std::string >(
                                    { "0 looking for already existing device " + did,
                                      "0 using previously instanciated HardwareDevice Maker" } ) );
   std::vector< size_t > setters;
   if ( row.factory == std::string( "newTempSensor" ) ) {
      setters = { 2, 3 };
   }
   EXPECT_EQ( Tests::calledSlots, setters );
}

TEST_P( EachKind, IsRefusedByNameWhereADriverDoesNotHaveIt ) {
   std::string json = R"({ "did": 2000, "driver": "Members", "isMultiDevice": true,
                           "multiDeviceArgs": {}, "driverArgs": { )" +
                      xcvr( row.type ) + " } }";
   auto refused =
      ThrowsMessage< NotImplementedException >( std::string( "Not implemented " ) + row.factory );
   EXPECT_THAT( [ & ] { row.add( json.c_str() ); }, refused );
   json = document( "Dummy", xcvr( row.type ) + R"(, "register": 1, "bitpos": 1)" );
   if ( row.factory == std::string( "newGpio" ) ) {
      EXPECT_NE( row.add( json.c_str() ), nullptr ) << "every hardware device has register GPIOs";
   } else {
      EXPECT_THAT( [ & ] { row.add( json.c_str() ); }, refused );
   }
}

INSTANTIATE_TEST_SUITE_P(, EachKind, testing::ValuesIn( kKinds ), []( const auto& row ) {
   return std::string( row.param.factory );
} );

TEST_F( HostObjects, XcvrTypeChoosesTheFamilyAndIdIsConvertedFromItsDigits ) {
   const std::tuple< const char*, const char*, unsigned int, const char* > rows[] = {
      { "sfp+", "12", 12, "newSfpXcvr" },
      { "qsfp+", R"("12abc")", 12, "newQsfpXcvr" },
      { "qsfpCmis", "-1", 0xFFFFFFFF, "newCmisXcvr" },
   };
   for ( const auto& [ type, id, port, factory ] : rows ) {
      EXPECT_EQ( pl_xcvr_add( document( "Maker", xcvr( type, id ) ).c_str() ), nullptr );
      EXPECT_EQ( traces.lines.back(), std::string( "0 " ) + factory + "() failed" );
      EXPECT_EQ( Tests::TraceLog::lastFormat, std::string( factory ) + "() failed" );
      EXPECT_EQ( Maker::id, port );
   }
   auto add = []( const std::string& arguments ) {
      return pl_xcvr_add( document( "Maker", arguments ).c_str() );
   };
   EXPECT_THROW( add( xcvr( "sfp", R"("abc")" ) ), std::invalid_argument );
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
   constexpr int kPattern = 0x5A;
   alignas( Object ) std::array< unsigned char, sizeof( Object ) > memory;
   memory.fill( kPattern );
   asm volatile( ""
                 :
                 : "r"( memory.data() )
                 : "memory" );  // the pattern is there, whoever reads it
   auto object = new ( memory.data() ) Object;
   asm volatile( "" : : "r"( memory.data() ) : "memory" );
   std::array< uintptr_t, 3 > structure;
   memcpy( structure.data(), object->record(), sizeof structure );
   uintptr_t pattern;
   memset( &pattern, kPattern, sizeof pattern );
   EXPECT_EQ( structure[ 0 ], pattern ) << "the host's word";
   EXPECT_EQ( structure[ 1 ], reinterpret_cast< uintptr_t >( &Object::ops_ ) );
   EXPECT_EQ( structure[ 2 ], reinterpret_cast< uintptr_t >( memory.data() ) );
   EXPECT_EQ( static_cast< void* >( object->record() ),
              memory.data() + wordsBefore * sizeof( uintptr_t ) );
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
   void alertThresholdIs( float celsius ) override {
      pl_trace( 3, "alert %g", celsius );
      TempSensor::alertThresholdIs( celsius );
   }
   void criticalThresholdIs( float celsius ) override {
      pl_trace( 3, "critical %g", celsius );
      TempSensor::criticalThresholdIs( celsius );
   }
   pl_status getTemperature( float* celsius ) override {
      *celsius = criticalThreshold - alertThreshold;
      return PL_STATUS_OK;
   }
};

TEST_F( HostObjects, ConstructorsTieStructureAndObjectAndLeaveTheHostsWord ) {
   checkConstruction< PlainSensor >( 1 );
   checkConstruction< Quad< QsfpXcvr > >( 2 );
   checkConstruction< Quad< CmisXcvr > >( 2 );
   EXPECT_EQ( QsfpXcvr::ops_.type, size_t{ PL_XCVR_QSFP } );
   EXPECT_EQ( CmisXcvr::ops_.type, size_t{ PL_XCVR_CMIS } );
   EXPECT_EQ( SfpXcvr::ops_.type, size_t{ PL_XCVR_SFP } );
   EXPECT_EQ( SfpXcvr::ops_.family.sfp.size, 24 / 4 * sizeof( uintptr_t ) );
   EXPECT_EQ( QsfpXcvr::ops_.family.qsfp.size, 36 / 4 * sizeof( uintptr_t ) );
   EXPECT_EQ( CmisXcvr::ops_.family.cmis.size, 36 / 4 * sizeof( uintptr_t ) );
}

TEST_F( HostObjects, TemperatureSensorsGetTheirAlertLimitBeforeTheCriticalOne ) {
   PlainSensor sensor;
   Maker::made = &sensor;
   EXPECT_EQ( pl_temp_sensor_add( document( "Maker", "" ).c_str(), 75.5f, 90 ), sensor.record() );
   Lines lines = traces.take();
   lines.erase( lines.begin(), lines.end() - 4 );
   EXPECT_THAT( lines, ElementsAre( "0 setting alert threshold", "3 alert 75.5",
                                    "0 setting critical threshold", "3 critical 90" ) );
   float celsius = 0;
   sensor.record()->ops->get_temperature( sensor.record(), &celsius );
   EXPECT_EQ( celsius, 14.5f ) << "the bases keep the limits";
}

TEST_F( HostObjects, OnlyLedsThatCanBlinkMakeTheTimerAndMakeItOnce ) {
   struct PlainLed : Led {
      using Led::blinkTimer_;
      using Led::Led;
      bool handleBlinkTimer( bool ) override { return false; }
      pl_status setLightSetting( pl_led_status ) override { return PL_STATUS_OK; }
   } steady, blinking( true );
   std::string json = document( "Maker", "" );
   PlainLed::blinkTimer_ = nullptr;
   Maker::made = &steady;
   EXPECT_EQ( pl_led_add( json.c_str() ), steady.record() );
   EXPECT_EQ( PlainLed::blinkTimer_, nullptr );
   Maker::made = &blinking;
   EXPECT_EQ( pl_led_add( json.c_str() ), blinking.record() );
   EXPECT_EQ( traces.take().back(), "0 creating unique led blink timer" );
   EXPECT_NE( PlainLed::blinkTimer_, nullptr );
   EXPECT_NE( pl_led_add( json.c_str() ), nullptr );
   EXPECT_THAT( traces.lines, Not( Contains( "0 creating unique led blink timer" ) ) );
}

TEST_F( HostObjects, FansWithoutDebugInfoAnswerNothing ) {
   struct : Fan {
      pl_status getRpm( int* ) override { return PL_STATUS_DEVICE_ERROR; }
      pl_status setRpm( int ) override { return PL_STATUS_DEVICE_ERROR; }
   } fan;
   char untouched[] = "";
   char* text = untouched;
   EXPECT_EQ( fan.record()->ops->debug_info( fan.record(), &text ), PL_STATUS_OK );
   EXPECT_EQ( text, untouched );
}

TEST_F( HostObjects, MultiDevicesAddTheirMembersThroughTheEntryPoints ) {
   std::string member = document( "Maker", xcvr( "sfp" ) );
   std::ostringstream quoted;
   quoted << std::quoted( member );
   std::string json = R"({ "did": 2001, "driver": "Members", "isMultiDevice": true,
                           "driverArgs": {}, "multiDeviceArgs": { "left": )" +
                      quoted.str() + " } }";
   Drivers::DriverArgs args;
   auto device = dynamic_cast< Members* >( DeviceBase::create( json.c_str(), args ) );
   ASSERT_NE( device, nullptr );
   EXPECT_EQ( traces.take().back(), "0 Members MultiDevice created" );
   EXPECT_EQ( DeviceBase::create( json.c_str(), args ), device );
   EXPECT_EQ( traces.take().back(), "0 using previously instanciated HardwareDevice Members" );

   auto check = [ & ]( auto add, auto& members, const std::string& traced, const char* failure ) {
      Maker::made = nullptr;
      EXPECT_EQ( ( device->*add )( "left" ), nullptr );
      EXPECT_THAT( members, ElementsAre( nullptr ) ) << "what failed is in the list";
      Lines lines = traces.take();
      EXPECT_EQ( lines.back(), failure );
      EXPECT_EQ( lines.front(),
                 ( traced.empty() ? "0 parsing devArgs = " : "6 " + traced ) + member );
      EXPECT_EQ( ( device->*add )( "right" ), nullptr );
      EXPECT_THAT( members, SizeIs( 1 ) );
      EXPECT_THAT( traces.take(),
                   ElementsAre( "0 Failed to find driverArgs for driver key 'right'" ) );
   };
   check( &Members::addSlot, device->slots, "", "0 newSlot() failed" );
   check( &Members::addLed, device->leds, "", "0 newLed() failed" );
   check( &Members::addPsu, device->psus, "", "2 newPsu() failed" );
   check( &Members::addFan, device->fans,
          "MultiDevice::addFan driver args = ", "0 newFan() failed" );
   check( &Members::addXcvr, device->xcvrs,
          "MultiDevice::addXcvr driver args = ", "0 newSfpXcvr() failed" );
   check( &Members::addGpio, device->gpios, "MultiDevice::addGpio driver args = ",
          "0 using previously instanciated HardwareDevice Maker" );

   device->deviceDriverArgsIs( { { "right", member } } );
   EXPECT_EQ( device->getDeviceDriverArg( "left" ), nullptr );
   auto fan = kKinds[ 3 ].image();
   Maker::made = fan->object();
   EXPECT_EQ( device->addFan( "right" ), fan->structure() );
}

TEST_F( HostObjects, RawEndpointsAreFoundByTheirLabel ) {
   ASSERT_EQ( Topology::loadTopology( R"([
                 { "type": "LinuxFs", "ham": "", "devices": [
                   { "label": "fs<0x01>", "did": 4005, "driver": "TMP75",
                     "address": { "address": 1 } } ] },
                 { "type": "I2C", "ham": "LumenSmbus", "id": 0, "devices": [
                   { "label": "smbus3<0x05>", "did": 4003, "driver": "TMP75",
                     "address": { "address": 5 } },
                   { "label": "smbus3<0xaf>", "did": 4006 } ] } ])" ),
              PL_STATUS_OK );
   pl_smbus* smbus = pl_smbus_add( "smbus3", 0x05 );
   ASSERT_NE( smbus, nullptr );
   EXPECT_THAT( traces.take(),
                IsSupersetOf< std::string >(
                   { "7 pl_smbus_add( 'smbus3', 5 )", "0 SmbusProxyDriver device created" } ) );
   EXPECT_THAT( [ & ] { smbus->ops->quick_command( smbus, 1 ); },
                ThrowsMessage< NotImplementedException >( "Not implemented quickCommand" ) );
   EXPECT_THAT(
      [ & ] { smbus->ops->block_process_call( smbus, 1, 1, nullptr, 0, nullptr, nullptr ); },
      ThrowsMessage< NotImplementedException >( "Not implemented blockProcessCall" ) );
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
