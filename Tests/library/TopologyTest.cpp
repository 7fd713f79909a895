#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Ham/SearchVisitor.h"
#include "Tests/support/MuxedBoard.h"
#include "Tests/support/TraceLog.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

using namespace Tests;

namespace {

TEST( Topology, ASearchVisitsTheFindAndItsAncestorsAsTheFullWalkDoes ) {
   // A component that carries the very id for "none" ends a device search when it comes first.
   const char* withoutUid = R"( [ { "type": "I2C", "ham": "", "id": 1, "devices": [
      { "did": 1 }, { "did": 2, "components": [ { "uid": 4294967295 } ] }, { "did": 3 } ] } ] )";
   const std::tuple< std::string, uint32_t, uint32_t, std::string > rows[] = {
      { kMuxedBoard, kNoUid, 14,
        "2 Device 14 contain the component, 2 BusId 0, 2 AccelId 0, 2 SCD 0 00000100" },
      { kMuxedBoard, 77, 14,
        "2 Component 77 found in tree, 2 Device 13 contain the component, 2 BusId 8, 2 Mux using "
        "device 11, 2 BusId 4, 2 Mux using device 10, 2 BusId 1, 2 AccelId 2, 2 SCD 0 00000100" },
      { kMuxedBoard, kNoUid, 99, "" },
      { withoutUid, kNoUid, 1, "2 Device 1 contain the component, 2 I2C bus 1" },
      { withoutUid, kNoUid, 3,
        "2 Component 4294967295 found in tree, 2 Device 2 contain the component, 2 I2C bus 1" },
   };
   for ( const auto& [ board, uid, did, visits ] : rows ) {
      load( board );
      TraceLog traces;
      Ham::SearchVisitor walk( uid, did ), search( uid, did );
      EXPECT_EQ( Topology::_topology->accept( &walk ), visits.empty() );
      EXPECT_EQ( fmt::format( "{}", fmt::join( traces.take(), ", " ) ), visits );
      Topology::_topology->acceptFor( uid, did, &search );
      EXPECT_EQ( fmt::format( "{}", fmt::join( traces.take(), ", " ) ), visits );
   }
}

TEST( Topology, FindsWhatWasPutIntoTheTreeByHand ) {
   load( kMuxedBoard );
   auto medium = std::make_shared< Topology::LinuxFs >();
   medium->devices.push_back( std::make_shared< Topology::Device >() );
   medium->devices[ 0 ]->did = 14;
   Topology::_topology->mediums.front() = medium;
   EXPECT_EQ( Topology::findDevice( 14 ), medium->devices[ 0 ].get() );
   Ham::SearchVisitor search( kNoUid, 14 );
   Topology::_topology->acceptFor( kNoUid, 14, &search );
   EXPECT_EQ( search.device, medium->devices[ 0 ].get() );
}

TEST( Topology, FindsDevicesByIdAndNodesByLabel ) {
   EXPECT_EQ( Topology::findDevice( 14 ), nullptr );
   load( kMuxedBoard );
   TraceLog traces;
   EXPECT_EQ( Topology::findDevice( 14 ), Topology::getDeviceByLabel( "twin" ) );
   EXPECT_THAT( traces.take(), ElementsAre( "2 Device 14 found in topology" ) );
   EXPECT_EQ( Topology::findDevice( 99 ), nullptr );
   EXPECT_THAT( traces.take(), IsEmpty() );
   EXPECT_EQ( Topology::findDevice( 10 )->args->driver, "PCA9548" ) << "devices before muxes";

   EXPECT_EQ( Topology::getBusByLabel( "first" )->id, 1u );
   EXPECT_EQ( Topology::getBusByLabel( "i2c" )->id, 0xFFFFFFFFu );
   EXPECT_EQ( Topology::getBusByLabel( "sensor" ), nullptr );
   EXPECT_EQ( Topology::getDeviceByLabel( "first" ), nullptr );
   EXPECT_EQ( Topology::getDeviceByLabel( "nowhere" ), nullptr );
   EXPECT_TRUE( Topology::isDeviceObject( "{" ) );
   EXPECT_FALSE( Topology::isDeviceObject( " {" ) );
}

TEST( Topology, KeepsTheTreeForTheSameTextAndAfterBadText ) {
   TraceLog traces;
   load( kMuxedBoard );
   EXPECT_THAT( traces.take(), ElementsAre( "2 loading topology json" ) );
   const Topology::Topology* tree = Topology::_topology;
   load( kMuxedBoard );
   EXPECT_THAT( traces.take(),
                ElementsAre( "2 topology is the same as the previously loaded one (using it)" ) );
   for ( const auto& [ text, failure ] : std::map< std::string, std::string >{
            { "[", "Invalid value. offset 1" },
            { std::string( 1000, '[' ), "Terminate parsing due to Handler error. offset 257" } } ) {
      EXPECT_EQ( Topology::loadTopology( text.c_str() ), PL_STATUS_UNSUPPORTED );
      EXPECT_EQ( traces.lines.back(), "2 failed to load topology from json: " + failure );
   }
   EXPECT_EQ( Topology::_topology, tree );
   EXPECT_NE( Topology::getDeviceByLabel( "sensor" ), nullptr );
   load( "[]" );
   EXPECT_EQ( Topology::getDeviceByLabel( "sensor" ), nullptr );
}

TEST( Topology, FindsTheFirstDeviceWithAnIdWhateverTheNumbering ) {
   using Ids = std::vector< uint32_t >;
   for ( const Ids& ids : { Ids{ 7 }, Ids{ 5, 6, 7, 8 }, Ids{ 1, 1, 1, 4 }, Ids{ 1, 4, 4, 4, 5 },
                            Ids{ 9, 3, 0, 3, 9, 4294967295 }, Ids{ 0, 1, 2, 3, 4, 5, 1000 } } ) {
      load( fmt::format( R"([{{"type":"LinuxFs","ham":"","devices":[{{"did":{}}}]}}])",
                         fmt::join( ids, R"(},{"did":)" ) ) );
      for ( uint32_t id : { 0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 1000u, 1001u, 4294967295u } ) {
         Topology::SearchDeviceVisitor walk( id );
         Topology::_topology->accept( &walk );
         EXPECT_EQ( Topology::findDevice( id ), walk.device ) << id;
      }
   }
}

TEST( Topology, TheLaterOfTwoEqualLabelsAndOfTwoEqualMuxChannelsWins ) {
   TraceLog traces;
   load( R"( [ { "type": "PLM", "ham": "", "id": 0, "muxes": [ { "did": 3, "busses": [
      { "id": 1, "devices": [ { "did": 4, "label": "x" } ] },
      { "id": 1, "devices": [ { "did": 5, "label": "y" }, { "did": 6, "label": "y" } ] } ] } ] } ] )" );
   EXPECT_EQ( traces.lines.back(), "0 label y is given twice in the topology (using the later)" );
   EXPECT_EQ( Topology::getDeviceByLabel( "y" )->did, 6u );
   EXPECT_EQ( Topology::findDevice( 4 ), nullptr );
   EXPECT_EQ( Topology::getDeviceByLabel( "x" )->did, 4u ) << "labels outlive the replaced channel";
}

TEST( TopologyDeathTest, RefusesDocumentsOfTheWrongShape ) {
   const std::string twins = R"(:[{"id":1},{"id":1}])";
   const std::string device = R"({"type":"LinuxFs","ham":"","devices":[{"did":1,"driver":"",)";
   const std::pair< std::string, std::string > rows[] = {
      { "1", "it->IsObject()" },
      { R"({"ham":""})", R"(it->HasMember( "type" ))" },
      { R"({"type":"SCD"})", R"(it->HasMember( "ham" ))" },
      { R"({"ham":"","type":"scd"})", R"(false && "Unknown type")" },
      { R"({"ham":"","type":"SCD"})", R"(json.HasMember( "pci" ))" },
      { R"({"ham":"","type":"I2C","id":3000000000})", "kIntFlag" },
      { R"({"ham":"","type":"LinuxFs","devices":[7]})", "it->IsObject()" },
      { R"({"ham":"","type":"Celestica","accelerators":[{"id":0,"busses":1}]})",
        "busses.IsArray()" },
      { R"({"ham":"","type":"SCD","pci":1,"accelerators")" + twins + "}",
        "scd->accelerators.find( accel->id ) == scd->accelerators.end()" },
      { R"({"ham":"","type":"Celestica","accelerators")" + twins + "}",
        "cel->accelerators.find( accel->id ) == cel->accelerators.end()" },
      { R"({"ham":"","type":"Celestica","accelerators":[{"id":1,"busses")" + twins + "}]}",
        "accel->busses.find( bus->id ) == accel->busses.end()" },
      { R"({"ham":"","type":"FbDomFpga","pci":1,"busses")" + twins + "}",
        "fbdomfpga->busses.find( bus->id ) == fbdomfpga->busses.end()" },
      { device + R"("address":[]}]})", "value.IsObject()" },
      { device + R"("address":{}}]})", R"(value.HasMember( "address" ))" },
      { device + R"("address":{"address":1,"addrSize":4}}]})",
        "addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4" },
   };
   for ( const auto& [ medium, condition ] : rows ) {
      EXPECT_DEATH( load( "[" + medium + "]" ), HasSubstr( condition ) ) << medium;
   }
   EXPECT_DEATH( load( "{}" ), "^Topology/Loader.cpp:.*fromJSON.*json.IsArray" );
   EXPECT_DEATH( load( "[" + device + R"("address":1}]}])" ), "^Topology/" );
}

TEST( HamAddress, PacksTheAddressObjectIntoItsBits ) {
   const std::pair< const char*, uint32_t > rows[] = {
      { R"( { "address": 80, "addrSize": 2, "writeDelay": 3, "writeNoStopReadCurrent": true } )",
        0x34200050 },
      { R"( { "address": 200, "readDelay": 6, "busTimeout": 13, "extraDelay": 3, "accel": 130,
              "addrSize": 5, "writeDelay": 4, "writeNoStopReadCurrent": false } )",
        0x8B408048 },
   };
   for ( const auto& [ json, word ] : rows ) {
      Utils::Json::Document document;
      document.Parse( json );
      HamAddress address{ .command = 0x1234, .bus = 99 };
      Topology::fillAddressFromJSON( document, address );
      EXPECT_EQ( address.word(), word ) << json;
      EXPECT_EQ( address.command, 0x1234u );
   }
}

}  // namespace
