#include <gmock/gmock.h>

#include <set>

#include "Drivers/Drivers.h"
#include "Tests/support/TraceLog.h"
#include "Topology/Topology.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;

namespace {

constexpr const char* kBoard = R"( [
   { "type": "SCD", "ham": "LumenSmbus", "pci": 16, "label": "scd", "accelerators": [
      { "id": 3, "busses": [
         { "id": 1, "label": "upper",
           "muxes": [ { "did": 9, "busses": [
              { "id": 4, "devices": [ { "did": 20, "label": "sensor",
                 "components": [ { "uid": 7 }, { "uid": 8 } ] } ] },
              { "id": 2, "devices": [ { "did": 21 } ] } ] } ],
           "devices": [ { "did": 9, "driver": "PCA9548", "address": { "address": 112 } } ] } ] },
      { "id": 0, "busses": [ { "id": 0, "devices": [ { "did": 20, "label": "twin" } ] } ] } ] },
   { "type": "I2C", "ham": "SimHam", "id": -1, "label": "i2c", "devices": [ { "did": 30 } ] } ] )";

// Writes down every visit; stops at one device.
class Walker : public Topology::TopologyVisitor {
 public:
   explicit Walker( uint32_t stopAt ) : stopAt_( stopAt ) {}

   using TopologyVisitor::visit;
   bool visit( const Topology::Component* n ) override { return note( "c", n->uid ); }
   bool visit( const Topology::Device* n ) override {
      note( "d", n->did );
      return n->did != stopAt_;
   }
   bool visit( const Topology::Mux* n ) override { return note( "m", n->did ); }
   bool visit( const Topology::Bus* n ) override { return note( "b", n->id ); }
   bool visit( const Topology::Accelerator* n ) override { return note( "a", n->id ); }
   bool visit( const Topology::SCD* n ) override { return note( "scd", n->pci ); }
   bool visit( const Topology::I2C* n ) override { return note( "i2c", n->id ); }
   bool visit( const Topology::Topology* ) override { return note( "top", 0 ); }

   std::vector< std::string > visits;

 private:
   bool note( const std::string& what, uint32_t id ) {
      visits.push_back( what + std::to_string( id ) );
      return true;
   }

   uint32_t stopAt_;
};

std::string loadFailure( const std::string& text ) {
   Tests::TraceLog traces;
   EXPECT_EQ( Topology::loadTopology( text.c_str() ), PL_STATUS_UNSUPPORTED );
   return traces.lines.back();
}

TEST( Topology, VisitsEveryAncestorOfAStopAndNothingBehindIt ) {
   ASSERT_EQ( Topology::loadTopology( kBoard ), PL_STATUS_OK );
   Walker walker( 21 );
   EXPECT_FALSE( Topology::_topology->accept( &walker ) );
   // Accelerators and the mux's buses come in ascending order, a bus's devices before its muxes.
   EXPECT_THAT( walker.visits, ElementsAre( "d20", "b0", "a0", "d9", "d21", "b2", "m9", "b1", "a3",
                                            "scd16", "top0" ) );
}

TEST( Topology, ThePathFromTheIndexIsTheEndOfTheFullWalk ) {
   ASSERT_EQ( Topology::loadTopology( kBoard ), PL_STATUS_OK );
   for ( uint32_t did : { 9u, 20u, 21u, 30u } ) {
      Walker full( did );
      Topology::_topology->accept( &full );
      Walker path( did );
      EXPECT_TRUE( Topology::_topology->acceptFromDevice( did, &path ) );
      ASSERT_GE( full.visits.size(), path.visits.size() );
      EXPECT_TRUE( std::equal( path.visits.rbegin(), path.visits.rend(), full.visits.rbegin() ) )
         << did;
      EXPECT_EQ( path.visits.front(), "d" + std::to_string( did ) );
   }
   Walker component( 0 );
   EXPECT_TRUE( Topology::_topology->acceptFromComponent( 8, &component ) );
   EXPECT_THAT( component.visits,
                ElementsAre( "c8", "d20", "b4", "m9", "b1", "a3", "scd16", "top0" ) );
   EXPECT_FALSE( Topology::_topology->acceptFromDevice( 99, &component ) );
   EXPECT_FALSE( Topology::_topology->acceptFromComponent( 99, &component ) );
}

TEST( Topology, FindsDevicesByIdAndNodesByLabel ) {
   EXPECT_EQ( Topology::findDevice( 20 ), nullptr );
   ASSERT_EQ( Topology::loadTopology( kBoard ), PL_STATUS_OK );
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
   EXPECT_EQ( Topology::findDevice( 9 )->args->driver, "PCA9548" );
   EXPECT_EQ( Topology::findDevice( 9 )->args->jsonText, nullptr );
}

TEST( Topology, KeepsTheTreeForTheSameTextAndAfterBadText ) {
   Tests::TraceLog traces;
   ASSERT_EQ( Topology::loadTopology( kBoard ), PL_STATUS_OK );
   EXPECT_THAT( traces.take(), ElementsAre( "2 loading topology json" ) );
   const Topology::Topology* tree = Topology::_topology;
   EXPECT_EQ( Topology::loadTopology( kBoard ), PL_STATUS_OK );
   EXPECT_THAT( traces.take(),
                ElementsAre( "2 topology is the same as the previously loaded one (using it)" ) );
   EXPECT_EQ( loadFailure( "[" ), "2 failed to load topology from json: Invalid value. offset 1" );
   EXPECT_EQ( loadFailure( std::string( 1000, '[' ) ),
              "2 failed to load topology from json: Terminate parsing due to Handler error. "
              "offset 257" );
   EXPECT_EQ( Topology::_topology, tree );
   EXPECT_NE( Topology::getDeviceByLabel( "sensor" ), nullptr );

   EXPECT_EQ( Topology::loadTopology( "[]" ), PL_STATUS_OK );
   EXPECT_EQ( Topology::findDevice( 20 ), nullptr );
   EXPECT_EQ( Topology::getDeviceByLabel( "sensor" ), nullptr );
}

TEST( Topology, FindsTheFirstDeviceWithAnIdWhateverTheNumbering ) {
   using Ids = std::vector< uint32_t >;
   for ( const Ids& ids : { Ids{ 7 }, Ids{ 5, 6, 7, 8 }, Ids{ 1, 1, 1, 4 }, Ids{ 1, 4, 4, 4, 5 },
                            Ids{ 9, 3, 0, 3, 9, 4294967295 }, Ids{ 0, 1, 2, 3, 4, 5, 1000 } } ) {
      std::string devices;
      std::set< uint32_t > known;
      for ( uint32_t id : ids ) {
         devices += ( devices.empty() ? "" : "," ) + std::string( R"({"did":)" ) +
                    std::to_string( id ) + R"(,"label":"d)" + std::to_string( id ) + "-" +
                    std::to_string( known.count( id ) ) + R"("})";
         known.insert( id );
      }
      ASSERT_EQ( Topology::loadTopology(
                    ( R"([{"type":"LinuxFs","ham":"","devices":[)" + devices + "]}]" ).c_str() ),
                 PL_STATUS_OK );
      for ( uint32_t id : { 0u, 1u, 2u, 3u, 4u, 5u, 6u, 7u, 8u, 9u, 1000u, 1001u, 4294967295u } ) {
         std::string label = "d" + std::to_string( id ) + "-0";
         EXPECT_EQ( Topology::findDevice( id ), Topology::getDeviceByLabel( label.c_str() ) ) << id;
      }
   }
}

TEST( Topology, TheLaterOfTwoEqualLabelsAndOfTwoEqualMuxChannelsWins ) {
   Tests::TraceLog traces;
   ASSERT_EQ( Topology::loadTopology( R"( [ { "type": "PLM", "ham": "", "id": 0, "devices": [
      { "did": 1, "label": "x" }, { "did": 2, "label": "x" } ],
      "muxes": [ { "did": 3, "busses": [ { "id": 1, "devices": [ { "did": 4, "label": "y" } ] },
                                         { "id": 1, "devices": [ { "did": 5 } ] } ] } ] } ] )" ),
              PL_STATUS_OK );
   EXPECT_EQ( traces.lines.back(), "0 label x is given twice in the topology (using the later)" );
   EXPECT_EQ( Topology::getDeviceByLabel( "x" )->did, 2u );
   EXPECT_EQ( Topology::findDevice( 4 ), nullptr );
   EXPECT_EQ( Topology::getDeviceByLabel( "y" )->did, 4u ) << "labels outlive the replaced channel";
   EXPECT_NE( Topology::findDevice( 5 ), nullptr );
}

TEST( TopologyDeathTest, RefusesDocumentsOfTheWrongShape ) {
   const std::pair< const char*, const char* > rows[] = {
      { R"( {} )", R"(json\.IsArray\(\))" },
      { R"( [ 1 ] )", R"(it->IsObject\(\))" },
      { R"( [ { "ham": "x" } ] )", R"(it->HasMember\( "type" \))" },
      { R"( [ { "type": "SCD" } ] )", R"(it->HasMember\( "ham" \))" },
      { R"( [ { "type": "scd", "ham": "x" } ] )", R"(false && "Unknown type")" },
      { R"( [ { "type": "SCD", "ham": "x" } ] )", R"(json\.HasMember\( "pci" \))" },
      { R"( [ { "type": "I2C", "ham": "x", "id": 3000000000 } ] )", "kIntFlag" },
      { R"( [ { "type": "LinuxFs", "ham": "x", "devices": [ 7 ] } ] )", R"(it->IsObject\(\))" },
      { R"( [ { "type": "Celestica", "ham": "x", "accelerators": [ { "id": 0, "busses": 1 } ] } ] )",
        R"(busses\.IsArray\(\))" },
      { R"( [ { "type": "SCD", "ham": "x", "pci": 1, "accelerators": [ { "id": 1 }, { "id": 1 } ] } ] )",
        R"(scd->accelerators\.find\( accel->id \) == scd->accelerators\.end\(\))" },
      { R"( [ { "type": "Celestica", "ham": "x", "accelerators": [ { "id": 1 }, { "id": 1 } ] } ] )",
        R"(cel->accelerators\.find\( accel->id \) == cel->accelerators\.end\(\))" },
      { R"( [ { "type": "SCD", "ham": "x", "pci": 1, "accelerators": [ { "id": 1, "busses": [
             { "id": 2 }, { "id": 2 } ] } ] } ] )",
        R"(accel->busses\.find\( bus->id \) == accel->busses\.end\(\))" },
      { R"( [ { "type": "FbDomFpga", "ham": "x", "pci": 1, "busses": [ { "id": 2 }, { "id": 2 } ] } ] )",
        R"(fbdomfpga->busses\.find\( bus->id \) == fbdomfpga->busses\.end\(\))" },
   };
   for ( const auto& [ document, condition ] : rows ) {
      EXPECT_DEATH( Topology::loadTopology( document ), condition ) << document;
   }
   EXPECT_DEATH( Topology::loadTopology( "{}" ), "Topology/Loader.cpp:.*fromJSON" );
}

uint32_t addressWord( const char* json ) {
   Utils::Json::Document document;
   EXPECT_FALSE( Utils::Json::parse( json, document ) );
   HamAddress address{ .command = 0x1234, .bus = 99 };
   Topology::fillAddressFromJSON( document, address );
   EXPECT_EQ( address.command, 0x1234u );
   return address.word();
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
      EXPECT_EQ( addressWord( json ), word ) << json;
   }
}

TEST( HamAddressDeathTest, RefusesOtherRegisterSizesAndAMissingAddress ) {
   for ( const char* size : { "0", "3", "4" } ) {
      std::string json = std::string( R"( { "address": 1, "addrSize": )" ) + size + " }";
      EXPECT_DEATH( addressWord( json.c_str() ),
                    "addr.addrSize == 1 \\|\\| addr.addrSize == 2 \\|\\| addr.addrSize == 4" );
   }
   EXPECT_DEATH( addressWord( "{}" ), R"(value\.HasMember\( "address" \))" );
   EXPECT_DEATH( addressWord( "[]" ), R"(value\.IsObject\(\))" );
}

}  // namespace
