#include <gmock/gmock.h>

#include "Components/HardwareDevice.h"
#include "Components/Library.h"
#include "Components/Mux.h"
#include "Drivers/Drivers.h"
#include "Ham/LumenSmbusHam.h"
#include "Tests/support/FakeHam.h"
#include "Tests/support/FakeService.h"
#include "Tests/support/TraceLog.h"

using ::testing::ElementsAre;
using ::testing::IsEmpty;
using Tests::fromHex;

namespace {

constexpr const char* kBoard = R"( [
   { "type": "SCD", "ham": "LumenSmbus", "pci": 256, "accelerators": [
      { "id": 2, "busses": [
         { "id": 1, "label": "first", "devices": [
              { "did": 10, "driver": "PCA9548", "address": { "address": 112 } },
              { "did": 12 } ],
           "muxes": [ { "did": 10, "busses": [ { "id": 4,
              "devices": [ { "did": 11, "driver": "Max7356", "address": { "address": 113 } } ],
              "muxes": [ { "did": 11, "busses": [ { "id": 8, "devices": [
                 { "did": 13, "components": [ { "uid": 77 } ] } ] } ] } ] } ] } ] },
         { "id": 2 } ] } ] },
   { "type": "I2C", "ham": "LumenSmbus", "id": 5, "label": "i2c", "simulated": true,
     "devices": [ { "did": 20, "driver": "TMP75", "address": { "address": 80 } },
                  { "did": 21 } ] },
   { "type": "FbDomFpga", "ham": "LumenSmbus", "pci": 512, "busses": [ { "id": 9, "devices": [
        { "did": 30 } ] } ] } ] )";

class SmbusHam : public testing::Test {
 protected:
   SmbusHam() {
      service.answers = []( const Smbus::Request& request ) {
         return std::string( request.size(), '\x5A' );
      };
      EXPECT_EQ( lumenLibraryInit( "test", kBoard, 1 ), PL_STATUS_OK );
   }

   static Ham::Ham* hamFor( uint32_t did, uint32_t uid = Drivers::DriverArgs::kNoUid ) {
      Drivers::DriverArgs args;
      args.did = did;
      args.uid = uid;
      args.address.address = 0x48;
      return Ham::createHam( args );
   }

   Tests::FakeService service;
};

TEST_F( SmbusHam, PutsEveryOperationIntoItsRequest ) {
   Ham::Ham* ham = hamFor( 12 );
   ham->prepare();
   EXPECT_EQ( ham->addRecvByte(), 0u );
   EXPECT_EQ( ham->addRead8( 0x10, 1 ), 1u );
   EXPECT_EQ( ham->addRead16( 0x1122, 2 ), 2u );
   EXPECT_EQ( ham->addRead( 0x11, 7, false, 1 ), 3u );
   ham->addSendByte( 0xFE, true );
   ham->addWrite8( 0x10, 0xAB, false, 4 );
   ham->addWrite16( 0x10, 0x1234, true, 1 );
   ham->addWrite( 0x10, "abc", 3, false, 1 );
   ham->addWriteBlock( 0x10, "de", 2, false, 1 );
   EXPECT_EQ( ham->addReadBlock( 0x12, 1 ), 9u );
   EXPECT_EQ( ham->addProcessCall( 0x13, 0xBEEF, 1 ), 10u );
   EXPECT_EQ( ham->execute(), PL_STATUS_OK );
   EXPECT_THAT( service.requests,
                ElementsAre( "read 0 reg 00 address 020080c8", "read 1 reg 10 address 020080c8",
                             "read 2 reg 1122 address 040080c8", "read 7 reg 11 address 020080c8",
                             "write 0 reg fe address 020080c8 flag",
                             "write 1 reg 10 address 000080c8 data ab",
                             "write 2 reg 10 address 020080c8 data 3412 flag",
                             "write 3 reg 10 address 020080c8 data 616263",
                             "block-write 2 reg 10 address 020080c8 data 6465",
                             "block-read 0 reg 12 address 020080c8",
                             "process-call 2 reg 13 address 020080c8 data efbe" ) );
   EXPECT_EQ( service.batch.request( 0 ).pci(), 256u );
   EXPECT_EQ( service.batch.request( 0 ).mastertype(), Smbus::MASTER_SCD );
   EXPECT_FALSE( service.batch.has_retry_count() );
   EXPECT_EQ( ham->get8( 1 ), 0x5A );
   EXPECT_EQ( ham->get16( 2 ), 0x5A5A );
   EXPECT_EQ( ham->getBlock( 3, 2 ).size(), 7u );
}

TEST_F( SmbusHam, SelectsMuxesFromOutsideInAndResetsThemFromInsideOut ) {
   service.answers = []( const Smbus::Request& ) { return std::string( 1, '\x19' ); };
   for ( Ham::Ham* ham : { hamFor( 13 ), hamFor( 0, 77 ) } ) {
      uint8_t byte = 0;
      for ( int repeat = 0; repeat < 2; ++repeat ) {
         EXPECT_EQ( ham->read8( 0x00, &byte, 1 ), PL_STATUS_OK );
         EXPECT_EQ( byte, 0x19 );
         EXPECT_THAT(
            service.requests,
            ElementsAre( "write 0 reg 04 address 020080f0", "write 0 reg 08 address 020080f1",
                         "read 1 reg 00 address 020080c8", "write 0 reg 00 address 020080f1",
                         "write 0 reg 00 address 020080f0" ) );
      }
      EXPECT_EQ( service.batch.request( 2 ).pci(), 256u );
   }
}

TEST_F( SmbusHam, AMuxSelectsItsChannelInABatchOfItsOwnThroughTheOuterMux ) {
   hamFor( 13 );
   Drivers::DriverArgs args = *Topology::findDevice( 11 )->args;
   auto device = Component::HardwareDevice::create( args, nullptr );
   Component::LogicalDevice::Mux* mux = device->newMux( args, 0x108 );
   EXPECT_EQ( mux->device(), device );
   EXPECT_EQ( mux->executeMuxRequest(), PL_STATUS_OK );
   EXPECT_THAT( service.requests,
                ElementsAre( "write 0 reg 04 address 020080f0", "write 0 reg 08 address 020080f1",
                             "write 0 reg 00 address 020080f0" ) );
}

TEST_F( SmbusHam, TakesMasterAndBusFromThePath ) {
   uint8_t byte;
   hamFor( 20 )->read8( 1, &byte, 1 );
   EXPECT_THAT( service.requests, ElementsAre( "read 1 reg 01 address 02000048" ) );
   EXPECT_EQ( service.batch.request( 0 ).mastertype(), Smbus::MASTER_SIMULATED );
   hamFor( 30 )->read8( 1, &byte, 1 );
   EXPECT_THAT( service.requests, ElementsAre( "read 1 reg 01 address 020004c8" ) );
   EXPECT_EQ( service.batch.request( 0 ).mastertype(), Smbus::MASTER_FB_DOM_FPGA );
   EXPECT_EQ( service.batch.request( 0 ).pci(), 512u );
}

TEST_F( SmbusHam, KeepsTheCombinedTransferBitAndTheRetryCount ) {
   Ham::Ham* ham = hamFor( 30 );
   uint8_t byte;
   std::string block;
   EXPECT_EQ( ham->read( 0xFF, 4, &block, true, 1 ), PL_STATUS_OK );
   EXPECT_EQ( block, "ZZZZ" );
   ham->retryCountIs( 0 );
   ham->read8( 1, &byte, 1 );
   EXPECT_THAT( service.requests, ElementsAre( "read 1 reg 01 address 022004c8" ) );
   EXPECT_TRUE( service.batch.has_retry_count() );
   ham->retryCountIs( 3 );
   ham->read8( 1, &byte, 1 );
   EXPECT_EQ( service.batch.retry_count(), 3u );
}

TEST_F( SmbusHam, ReportsWhatTheServiceSays ) {
   Ham::Ham* ham = hamFor( 30 );
   Tests::TraceLog traces;
   uint8_t byte = 7;
   service.spoil = []( auto& reply ) {
      reply.set_failure( 6 );
      reply.set_error( "no acknowledge" );
   };
   EXPECT_EQ( ham->read8( 1, &byte, 1 ), PL_STATUS_FAILURE );
   EXPECT_EQ( traces.lines.back(), "3 execute: failure in response no acknowledge" );
   service.spoil = []( auto& reply ) { reply.set_failure( -1 ); };
   EXPECT_EQ( ham->read8( 1, &byte, 1 ), PL_STATUS_FAILURE );
   EXPECT_EQ( traces.lines.back(), "3 execute: failure in response unknown reason" );
   service.spoil = []( auto& reply ) { reply.add_response(); };
   EXPECT_EQ( ham->read8( 1, &byte, 1 ), PL_STATUS_FAILURE );
   EXPECT_EQ( traces.lines.back(),
              "3 execute: invalid number of response entries; expected 1, got 2" );
   EXPECT_EQ( byte, 7 );
   service.spoil = nullptr;
   EXPECT_EQ( ham->read8( 1, &byte, 1 ), PL_STATUS_OK );
}

TEST_F( SmbusHam, LetsTheLastBusOfTheWalkWin ) {
   auto ham = Ham::LumenSmbusHam::createOnBus( *Topology::_topology,
                                               Topology::getBusByLabel( "first" ), 0xC8 );
   EXPECT_EQ( ham->getAddress(), 0x48 );
   EXPECT_EQ( ham->getBus(), 9 );
   uint8_t byte;
   ham->read8( 0, &byte, 1 );
   // The FPGA's bus and master, with the accelerator of the bus that was asked for.
   EXPECT_THAT( service.requests, ElementsAre( "read 1 reg 00 address 020084c8" ) );
   EXPECT_EQ( service.batch.request( 0 ).mastertype(), Smbus::MASTER_FB_DOM_FPGA );
   Topology::Bus stranger;
   EXPECT_EQ( Ham::LumenSmbusHam::createOnBus( *Topology::_topology, &stranger, 1 ), nullptr );
}

TEST_F( SmbusHam, CanBeMadeFromAnAddressAlone ) {
   HamAddress address{ .address = 0x50, .accelerator = 3 };
   auto ham = Ham::LumenSmbusHam::createFromAddress( address, 0x40 );
   ham->setBus( 0x85 );
   ham->setAddress( 0x51 );
   ham->sendByte( 1, false );
   EXPECT_THAT( service.requests, ElementsAre( "write 0 reg 01 address 0200c2d1" ) );
   EXPECT_EQ( service.batch.request( 0 ).mastertype(), Smbus::MASTER_SCD );
   EXPECT_EQ( service.batch.request( 0 ).pci(), 0x40u );
   EXPECT_DEATH( Ham::LumenSmbusHam::createFromAddress( address, 0 ), "address.accelerator == 0" );
}

TEST_F( SmbusHam, NamesWhatItCannotDo ) {
   Ham::Ham* ham = hamFor( 30 );
   EXPECT_THROW( ham->addRead32( 0, 1 ), std::exception );
   Tests::TraceLog traces;
   ham->setDriverName( "a", "b" );
   ham->setExpected( nullptr );
   EXPECT_THAT( traces.lines, ElementsAre( "0 virtual Ham::setDriverName() invoked!!!",
                                           "0 virtual Ham::setExpected() invoked!!!" ) );
}

using SmbusHamDeathTest = SmbusHam;

TEST_F( SmbusHamDeathTest, GuardsIdentifiersAndSizes ) {
   Ham::Ham* ham = hamFor( 13 );
   ham->prepare();
   ham->addRead16( 0, 1 );
   ASSERT_EQ( ham->execute(), PL_STATUS_OK );
   EXPECT_DEATH( ham->get8( 0 ), R"(Ham/LumenSmbusHam.*data\.size\(\) == 1)" );
   EXPECT_DEATH( ham->get16( Ham::Ham::INVALID_RESPONSE_ID ), "idx != INVALID_RESPONSE_ID" );
   for ( uint32_t id : { 3u, 4u, 0xFFFFFFFEu } ) {
      EXPECT_DEATH( ham->getBlock( id, 1 ),
                    R"(\( uint32_t \)response_\.response_size\(\) > prepareRequestCount_ \+ idx)" );
   }
   EXPECT_DEATH( ham->addRead8( 0, 5 ), R"(regSize <= sizeof\( Register \))" );
}

TEST_F( SmbusHamDeathTest, RefusesMuxChipsThatAreNotInlineOrBehindThemselves ) {
   ASSERT_EQ(
      Topology::loadTopology( R"( [ { "type": "I2C", "ham": "LumenSmbus", "id": 0, "devices": [
      { "did": 21 } ], "muxes": [ { "did": 21, "busses": [ { "id": 1, "devices": [
         { "did": 22 } ] } ] } ] } ] )" ),
      PL_STATUS_OK );
   EXPECT_DEATH( hamFor( 22 ), "Ham/LumenSmbusHam.*topoDev->args" );
   ASSERT_EQ(
      Topology::loadTopology( R"( [ { "type": "I2C", "ham": "LumenSmbus", "id": 0, "muxes": [
      { "did": 1, "busses": [ { "id": 1, "devices": [ { "did": 2 },
         { "did": 1, "driver": "PCA9548", "address": { "address": 112 } } ] } ] } ] } ] )" ),
      PL_STATUS_OK );
   EXPECT_DEATH( hamFor( 2 ), "!reachedThroughItself" );
   EXPECT_DEATH( hamFor( 1 ), "!reachedThroughItself" );
}

TEST( CreateHam, TellsWhyThereIsNone ) {
   Drivers::DriverArgs args;
   args.uid = Drivers::DriverArgs::kNoUid;
   EXPECT_DEATH( Ham::createHam( args ), "Ham/Ham.cpp.*createHam.*`topology'" );
   ASSERT_EQ( Topology::loadTopology( R"( [
      { "type": "LinuxFs", "ham": "LumenSmbus", "devices": [ { "did": 1 } ] },
      { "type": "SCD", "ham": "NoSuch", "pci": 171, "accelerators": [ { "id": 4, "busses": [
         { "id": 6, "muxes": [ { "did": 3, "busses": [ { "id": 1, "devices": [
            { "did": 2, "components": [ { "uid": 5 } ] } ] } ] } ] } ] } ] } ] )" ),
              PL_STATUS_OK );
   Tests::TraceLog traces;
   args.did = 9;
   EXPECT_EQ( Ham::createHam( args ), nullptr );
   EXPECT_THAT( traces.take(),
                ElementsAre( "0 looking for component 4294967295 of device 9 in topology",
                             "0 could not find component uid -1 in topology" ) );
   args.did = 1;
   EXPECT_EQ( Ham::createHam( args ), nullptr );
   EXPECT_EQ( traces.lines.at( 1 ), "2 Device 1 contain the component" );
   EXPECT_EQ( traces.lines.at( 2 ), "0 creating  HAM using topology information" );
   EXPECT_EQ( traces.lines.at( 4 ), "0 Couldn't find HAM " );
   EXPECT_EQ( traces.take().back(), "0 failed to create HAM" );
   args.uid = 5;
   EXPECT_EQ( Ham::createHam( args ), nullptr );
   traces.lines.resize( 9 );
   EXPECT_THAT(
      traces.take(),
      ElementsAre( "0 looking for component 5 of device 1 in topology",
                   "2 Component 5 found in tree", "2 Device 2 contain the component", "2 BusId 1",
                   "2 Mux using device 3", "2 BusId 6", "2 AccelId 4", "2 SCD 0 000000AB",
                   "0 creating NoSuch HAM using topology information" ) );
}

}  // namespace
