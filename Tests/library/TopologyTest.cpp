#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Drivers/Drivers.h"
#include "Ham/SearchVisitor.h"
#include "Tests/support/TraceLog.h"
#include "Topology/Topology.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr uint32_t kNoUid = Drivers::DriverArgs::kNoUid;

constexpr const char* kBoard = R"( [
   { "type": "SCD", "ham": "LumenSmbus", "pci": 16, "label": "scd", "accelerators": [
      { "id": 3, "busses": [
         { "id": 1, "label": "upper",
           "muxes": [ { "did": 9, "busses": [
              { "id": 4, "devices": [ { "did": 20, "label": "sensor",
                 "components": [ { "uid": 7 }, { "uid": 8 } ] } ] },
              { "id": 2, "devices": [ { "did": 21 }, { "did": 9 } ] } ] } ],
           "devices": [ { "did": 9, "driver": "PCA9548", "address": { "address": 112 } } ] } ] },
      { "id": 0, "busses": [ { "id": 0, "devices": [ { "did": 20, "label": "twin" } ] } ] } ] },
   { "type": "I2C", "ham": "SimHam", "id": -1, "label": "i2c", "devices": [ { "did": 30 } ] } ] )";

// Stops nothing.
struct Counter : Topology::TopologyVisitor {
   using TopologyVisitor::visit;
   bool visit( const Topology::Device* ) override { return ++devices; }
   bool visit( const Topology::Topology* ) override { return ++roots; }

   int devices = 0, roots = 0;
};

void load( const std::string& document ) {
   ASSERT_EQ( Topology::loadTopology( document.c_str() ), PL_STATUS_OK ) << document;
}

TEST( Topology, ASearchVisitsTheFindAndItsAncestorsAsTheFullWalkDoes ) {
   // A component that carries the very id for "none" ends a device search when it comes first.
   const char* withoutUid = R"( [ { "type": "I2C", "ham": "", "id": 1, "devices": [
      { "did": 1 }, { "did": 2, "components": [ { "uid": 4294967295 } ] }, { "did": 3 } ] } ] )";
   const std::tuple< const char*, uint32_t, uint32_t, std::string > rows[] = {
      { kBoard, kNoUid, 21,
        "2 Device 21 contain the component, 2 BusId 2, 2 Mux using device 9, 2 BusId 1, "
        "2 AccelId 3, 2 SCD 0 00000010" },
      { kBoard, 8, 21,
        "2 Component 8 found in tree, 2 Device 20 contain the component, 2 BusId 4, "
        "2 Mux using device 9, 2 BusId 1, 2 AccelId 3, 2 SCD 0 00000010" },
      { kBoard, kNoUid, 99, "" },
      { withoutUid, kNoUid, 1, "2 Device 1 contain the component, 2 I2C bus 1" },
      { withoutUid, kNoUid, 3,
        "2 Component 4294967295 found in tree, 2 Device 2 contain the component, 2 I2C bus 1" },
   };
   for ( const auto& [ board, uid, did, visits ] : rows ) {
      load( board );
      Tests::TraceLog traces;
      Ham::SearchVisitor walk( uid, did );
      EXPECT_EQ( Topology::_topology->accept( &walk ), visits.empty() );
      EXPECT_EQ( fmt::format( "{}", fmt::join( traces.take(), ", " ) ), visits );
      Ham::SearchVisitor search( uid, did );
      Topology::_topology->acceptFor( uid, did, &search );
      EXPECT_EQ( fmt::format( "{}", fmt::join( traces.take(), ", " ) ), visits );
   }
   load( kBoard );
   Counter counter;
   Topology::_topology->acceptFor( kNoUid, 21, &counter );
   EXPECT_EQ( counter.devices, 1 );
   EXPECT_EQ( counter.roots, 1 );
   Topology::TopologyVisitor unstopped;
   EXPECT_TRUE( Topology::_topology->accept( &unstopped ) );
}

TEST( Topology, FindsWhatWasPutIntoTheTreeByHand ) {
   load( kBoard );
   auto medium = std::make_shared< Topology::LinuxFs >();
   for ( uint32_t did : { 20, 50 } ) {
      medium->devices.push_back( std::make_shared< Topology::Device >() );
      medium->devices.back()->did = did;
   }
   auto& mediums = Topology::_topology->mediums;
   mediums.push_back( medium );
   EXPECT_EQ( Topology::findDevice( 50 ), medium->devices[ 1 ].get() );
   EXPECT_EQ( Topology::findDevice( 20 ), Topology::getDeviceByLabel( "twin" ) );
   std::ranges::rotate( mediums, mediums.end() - 1 );
   EXPECT_EQ( Topology::findDevice( 20 ), medium->devices[ 0 ].get() );

   Topology::Topology handMade;
   handMade.mediums = { medium };
   Topology::_topology = &handMade;
   EXPECT_EQ( Topology::findDevice( 50 ), medium->devices[ 1 ].get() );
   Ham::SearchVisitor search( kNoUid, 50 );
   handMade.acceptFor( kNoUid, 50, &search );
   EXPECT_TRUE( search.found );
}

TEST( Topology, FindsDevicesByIdAndNodesByLabel ) {
   EXPECT_EQ( Topology::findDevice( 20 ), nullptr );
   load( kBoard );
   Tests::TraceLog traces;
   EXPECT_EQ( Topology::findDevice( 20 ), Topology::getDeviceByLabel( "twin" ) );
   EXPECT_THAT( traces.take(), ElementsAre( "2 Device 20 found in topology" ) );
   EXPECT_EQ( Topology::findDevice( 99 ), nullptr );
   EXPECT_THAT( traces.take(), IsEmpty() );

   EXPECT_EQ( Topology::getBusByLabel( "upper" )->id, 1u );
   EXPECT_EQ( Topology::getBusByLabel( "i2c" )->id, 0xFFFFFFFFu );
   EXPECT_EQ( Topology::getBusByLabel( "sensor" ), nullptr );
   EXPECT_EQ( Topology::getDeviceByLabel( "upper" ), nullptr );
   EXPECT_EQ( Topology::getDeviceByLabel( "nowhere" ), nullptr );
   EXPECT_TRUE( Topology::isDeviceObject( "{" ) );
   EXPECT_FALSE( Topology::isDeviceObject( " {" ) );
   ASSERT_NE( Topology::findDevice( 9 )->args, nullptr ) << "devices come before muxes";
   EXPECT_EQ( Topology::findDevice( 9 )->args->driver, "PCA9548" );
   EXPECT_EQ( Topology::findDevice( 9 )->args->jsonText, nullptr );
}

TEST( Topology, KeepsTheTreeForTheSameTextAndAfterBadText ) {
   Tests::TraceLog traces;
   load( kBoard );
   EXPECT_THAT( traces.take(), ElementsAre( "2 loading topology json" ) );
   const Topology::Topology* tree = Topology::_topology;
   EXPECT_EQ( Topology::loadTopology( kBoard ), PL_STATUS_OK );
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
   EXPECT_EQ( Topology::findDevice( 20 ), nullptr );
   EXPECT_EQ( Topology::getDeviceByLabel( "sensor" ), nullptr );
}

TEST( Topology, FindsTheFirstDeviceWithAnIdWhateverTheNumbering ) {
   using Ids = std::vector< uint32_t >;
   for ( const Ids& ids : { Ids{ 7 }, Ids{ 5, 6, 7, 8 }, Ids{ 1, 1, 1, 4 }, Ids{ 1, 4, 4, 4, 5 },
                            Ids{ 9, 3, 0, 3, 9, 4294967295 }, Ids{ 0, 1, 2, 3, 4, 5, 1000 } } ) {
      std::string devices;
      for ( uint32_t id : ids ) {
         devices += ( devices.empty() ? "" : "," ) + fmt::format( R"({{"did":{}}})", id );
      }
      load( R"([{"type":"LinuxFs","ham":"","devices":[)" + devices + "]}]" );
      const auto& nodes =
         dynamic_cast< Topology::LinuxFs& >( *Topology::_topology->mediums.front() ).devices;
      for ( uint32_t id : { 0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 1000u, 1001u, 4294967295u } ) {
         auto first = std::ranges::find( nodes, id, []( const auto& node ) { return node->did; } );
         EXPECT_EQ( Topology::findDevice( id ), first == nodes.end() ? nullptr : first->get() )
            << id;
      }
   }
}

TEST( Topology, TheLaterOfTwoEqualLabelsAndOfTwoEqualMuxChannelsWins ) {
   Tests::TraceLog traces;
   load( R"( [ { "type": "PLM", "ham": "", "id": 0, "devices": [
      { "did": 1, "label": "x" }, { "did": 2, "label": "x" } ],
      "muxes": [ { "did": 3, "busses": [ { "id": 1, "devices": [ { "did": 4, "label": "y" } ] },
                                         { "id": 1, "devices": [ { "did": 5 } ] } ] } ] } ] )" );
   EXPECT_EQ( traces.lines.back(), "0 label x is given twice in the topology (using the later)" );
   EXPECT_EQ( Topology::getDeviceByLabel( "x" )->did, 2u );
   EXPECT_EQ( Topology::findDevice( 4 ), nullptr );
   EXPECT_EQ( Topology::getDeviceByLabel( "y" )->did, 4u ) << "labels outlive the replaced channel";
   EXPECT_NE( Topology::findDevice( 5 ), nullptr );
}

std::string medium( const std::string& type, const std::string& members ) {
   return R"([{"ham":"","type":")" + type + '"' + members + "}]";
}

std::string deviceAt( const std::string& address ) {
   return medium( "LinuxFs", R"(,"devices":[{"did":1,"driver":"","address":)" + address + "}]" );
}

TEST( TopologyDeathTest, RefusesDocumentsOfTheWrongShape ) {
   const std::pair< std::string, const char* > rows[] = {
      { "{}", R"(Topology/Loader.cpp:.*fromJSON.*json\.IsArray\(\))" },
      { "[1]", R"(it->IsObject\(\))" },
      { R"([{"ham":""}])", R"(it->HasMember\( "type" \))" },
      { R"([{"type":"SCD"}])", R"(it->HasMember\( "ham" \))" },
      { medium( "scd", "" ), R"(false && "Unknown type")" },
      { medium( "SCD", "" ), R"(json\.HasMember\( "pci" \))" },
      { medium( "I2C", R"(,"id":3000000000)" ), "kIntFlag" },
      { medium( "LinuxFs", R"(,"devices":[7])" ), R"(it->IsObject\(\))" },
      { medium( "Celestica", R"(,"accelerators":[{"id":0,"busses":1}])" ),
        R"(busses\.IsArray\(\))" },
      { medium( "SCD", R"(,"pci":1,"accelerators":[{"id":1},{"id":1}])" ),
        R"(scd->accelerators\.find\( accel->id \) == scd->accelerators\.end\(\))" },
      { medium( "Celestica", R"(,"accelerators":[{"id":1},{"id":1}])" ),
        R"(cel->accelerators\.find\( accel->id \) == cel->accelerators\.end\(\))" },
      { medium( "Celestica", R"(,"accelerators":[{"id":1,"busses":[{"id":2},{"id":2}]}])" ),
        R"(accel->busses\.find\( bus->id \) == accel->busses\.end\(\))" },
      { medium( "FbDomFpga", R"(,"pci":1,"busses":[{"id":2},{"id":2}])" ),
        R"(fbdomfpga->busses\.find\( bus->id \) == fbdomfpga->busses\.end\(\))" },
      { deviceAt( "[]" ), R"(Topology/.*value\.IsObject\(\))" },
      { deviceAt( "{}" ), R"(value\.HasMember\( "address" \))" },
      { deviceAt( R"({"address":1,"addrSize":4})" ),
        R"(addr.addrSize == 1 \|\| addr.addrSize == 2 \|\| addr.addrSize == 4)" },
   };
   for ( const auto& [ document, condition ] : rows ) {
      EXPECT_DEATH( load( document ), condition ) << document;
   }
}

TEST( HamAddress, PacksTheAddressObjectIntoItsBits ) {
   const std::pair< const char*, uint32_t > rows[] = {
      { R"( { "address": 200 } )", 0x02000048 },
      { R"( { "address": 80, "addrSize": 2, "writeDelay": 3 } )", 0x34000050 },
      { R"( { "address": 80, "addrSize": 2, "writeDelay": 3, "writeNoStopReadCurrent": true } )",
        0x34200050 },
      { R"( { "address": 0, "readDelay": 2, "busTimeout": 5, "extraDelay": 1, "accel": 130 } )",
        0x8B408000 },
      { R"( { "address": 0, "addrSize": 5, "busTimeout": 8, "writeNoStopReadCurrent": false } )",
        0x02000000 },
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
