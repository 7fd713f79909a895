#include <gmock/gmock.h>

#include "Components/Library.h"
#include "Components/TempSensor.h"
#include "PlatformLibrary/PLSocket.h"
#include "Tests/support/FakeService.h"
#include "Tests/support/TraceLog.h"
#include "Topology/Topology.h"

using namespace testing;

namespace {

constexpr const char* kBoard = R"( [ { "type": "I2C", "ham": "LumenSmbus", "id": 0,
   "devices": [ { "did": 1 }, { "did": 2 } ] } ] )";
constexpr const char* kSensor =
   R"( { "driver": "TMP75", "did": 1, "address": { "address": 72 } } )";

class EntryPoints : public testing::Test {
 protected:
   Tests::FakeService service;
   Tests::TraceLog traces;
};

TEST_F( EntryPoints, EveryInitTracesItsNameAndSharesOneConnection ) {
   const std::pair< std::string, pl_status ( * )( const char* ) > rows[] = {
      { "pl_system_init", pl_system_init },
      { "pl_slot_init", pl_slot_init },
      { "pl_led_init", pl_led_init },
      { "pl_poe_port_init", pl_poe_port_init },
      { "pl_temp_sensor_init", pl_temp_sensor_init },
      { "pl_fan_init", pl_fan_init },
      { "pl_xcvr_init", pl_xcvr_init },
      { "pl_psu_init", pl_psu_init },
      { "pl_gpio_init", pl_gpio_init },
   };
   for ( const auto& [ name, init ] : rows ) {
      traces.take();
      EXPECT_EQ( init( "[]" ), PL_STATUS_OK );
      EXPECT_EQ( traces.lines.at( 0 ), "0 " + name );
      EXPECT_EQ( traces.lines.at( 1 ), "5 " + name + ": json = []" );
   }
   traces.take();
   EXPECT_EQ( pl_smbus_init( "[]" ), PL_STATUS_OK );
   EXPECT_EQ( traces.lines.at( 0 ), "7 pl_smbus_init\n" );
   EXPECT_EQ( traces.lines.at( 1 ), "0 pl_smbus_init" );
   EXPECT_EQ( pl_led_init( "[" ), PL_STATUS_UNSUPPORTED );
}

TEST_F( EntryPoints, AddTracesItsStepsAndSharesTheDevice ) {
   ASSERT_EQ( pl_temp_sensor_init( kBoard ), PL_STATUS_OK );
   traces.take();
   pl_temp_sensor* sensor = pl_temp_sensor_add( kSensor, 75.5f, 90 );
   ASSERT_NE( sensor, nullptr );
   auto lines = traces.take();
   std::erase_if( lines, []( const std::string& line ) { return line[ 0 ] != '0'; } );
   EXPECT_THAT(
      lines, ElementsAre( "0 parsing devArgs = " + std::string( kSensor ),
                          "0 looking for already existing device 1", "0 creating Ham",
                          "0 looking for component 4294967295 of device 1 in topology",
                          "0 creating LumenSmbus HAM using topology information",
                          "0 creating HardwareDevice TMP75", "0 calling factory function for TMP75",
                          "0 virtual Ham::setDriverName() invoked!!!",
                          "0 virtual Ham::setExpected() invoked!!!", "0 TMP75 device created",
                          "0 setting alert threshold", "0 setting critical threshold" ) );
   EXPECT_THAT( service.requests, ElementsAre( "write 1 reg 01 address 02000048 data 40" ) );

   pl_temp_sensor* second = pl_temp_sensor_add(
      R"( { "driver": "NoSuchChip", "did": 1, "address": { "address": 1 } } )", 1, 2 );
   EXPECT_NE( second, nullptr );
   EXPECT_NE( second, sensor );
   EXPECT_THAT( traces.lines,
                Contains( "0 using previously instanciated HardwareDevice NoSuchChip" ) );
}

TEST_F( EntryPoints, SayWhyADeviceCannotBeMade ) {
   ASSERT_EQ( pl_temp_sensor_init( kBoard ), PL_STATUS_OK );
   constexpr const char* kUnregistered =
      R"( { "driver": "GenericPCA9555", "did": 1, "address": { "address": 1 } } )";
   const std::pair< const char*, const char* > rows[] = {
      { "{", "0 failed to load device from json: Missing a name for object member. offset 1" },
      { kUnregistered, "0 driver GenericPCA9555 not found" },
      { kUnregistered, "0 factory function returned a null object" },
      { R"( { "driver": "TMP75", "did": 9, "address": { "address": 1 } } )",
        "0 failed to create Ham" },
      { R"( { "driver": "TMP75", "did": 9, "isMultiDevice": true, "multiDeviceArgs": {} } )",
        "0 driver TMP75 makes no MultiDevice; \"isMultiDevice\" must not be true" },
   };
   for ( const auto& [ json, line ] : rows ) {
      traces.take();
      EXPECT_EQ( pl_temp_sensor_add( json, 0, 0 ), nullptr );
      EXPECT_THAT( traces.lines, Contains( line ) ) << json;
   }
   EXPECT_DEATH( pl_temp_sensor_add( R"( { "driver": "TMP75", "did": 1, "provideHam": 0,
                                           "address": { "address": 1 } } )",
                                     0, 0 ),
                 "Components/HardwareDevice.h.*`ham_'" );
}

TEST_F( EntryPoints, ASystemRecordNeedsNoDevice ) {
   pl_system* first = pl_system_add( "{ not json" );
   pl_system* second = pl_system_add( "" );
   EXPECT_NE( first, second );
   EXPECT_EQ( first->host, nullptr );
   EXPECT_EQ( first->ops->size, sizeof( pl_system_ops ) );
   EXPECT_THAT( first->ops->unused, Each( nullptr ) );
   EXPECT_EQ( traces.lines.at( 0 ), "0 DefaultSystemImpl::pl_system_add('{ not json')" );
}

TEST( LibraryInit, ReportsAnAbsentServiceAndStartsOver ) {
   setenv( "PL_SMBUS_SOCKET", "/nonexistent/socket", 1 );
   Tests::TraceLog traces;
   EXPECT_EQ( lumenLibraryInit( "pl_x_init", "[]", 0 ), PL_STATUS_IO_ERROR );
   EXPECT_THAT( traces.take(), ElementsAre( "0 pl_x_init", "5 pl_x_init: json = []",
                                            "0 pl_x_init: socket Setup failed!" ) );
   EXPECT_EQ( _plSock, nullptr );
   EXPECT_EQ( plSockInit( "pl_x_init", 1 ), PL_STATUS_IO_ERROR );
   EXPECT_EQ( Topology::_topology, nullptr );
   Tests::FakeService service;
   EXPECT_EQ( lumenLibraryInit( "pl_x_init", "[]", 1 ), PL_STATUS_OK );
   EXPECT_NE( _plSock, nullptr );
   EXPECT_NE( Topology::_topology, nullptr );
}

}  // namespace
