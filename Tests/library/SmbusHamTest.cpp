#include <fmt/format.h>
#include <gmock/gmock.h>

#include "Components/HardwareDevice.h"
#include "Components/Library.h"
#include "Ham/LumenSmbusHam.h"
#include "PlatformLibrary/PLSocket.h"
#include "Tests/support/FakeService.h"
#include "Tests/support/MuxedBoard.h"
#include "Tests/support/TraceLog.h"
#include "Utils/NotImplementedException.h"

using ::testing::ElementsAre;
using ::testing::HasSubstr;
using ::testing::ThrowsMessage;

namespace {

Ham::Ham* hamFor( uint32_t did, uint32_t uid = Tests::kNoUid ) {
   Drivers::DriverArgs args;
   args.did = did;
   args.uid = uid;
   args.address.address = 0x48;
   return Ham::createHam( args );
}

class SmbusHam : public testing::Test {
 protected:
   SmbusHam() {
      service.answers = []( const Smbus::Request& request ) {
         return std::string( request.size(), '\x5A' );
      };
      EXPECT_EQ( lumenLibraryInit( "test", Tests::kMuxedBoard.c_str(), 1 ), PL_STATUS_OK );
   }

   // Reads one byte and tells how the batch's first request is addressed.
   std::string addressing( Ham::Ham* ham ) {
      EXPECT_EQ( ham->read8( 0, &byte, 1 ), PL_STATUS_OK );
      const Smbus::Request& request = service.batch.request( 0 );
      return fmt::format( "master {} pci {} address {:08x}",
                          static_cast< int >( request.mastertype() ), request.pci(),
                          request.address() );
   }

   Tests::FakeService service;
   uint8_t byte = 7;
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
   ham->addRead( 0x14, 4, true, 1 );  // a combined transfer, as are all that follow
   ham->addWriteBlock( 0x10, "de", 2, false, 1 );
   EXPECT_EQ( ham->addReadBlock( 0x12, 1 ), 10u );
   EXPECT_EQ( ham->addProcessCall( 0x13, 0xBEEF, 1 ), 11u );
   EXPECT_THAT( [ & ] { ham->addRead32( 0, 1 ); },
                ThrowsMessage< NotImplementedException >( "Not implemented addRead32" ) );
   EXPECT_EQ( ham->execute(), PL_STATUS_OK );
   EXPECT_THAT(
      service.requests,
      ElementsAre(
         "read 0 reg 00 address 020080c8", "read 1 reg 10 address 020080c8",
         "read 2 reg 1122 address 040080c8", "read 7 reg 11 address 020080c8",
         "write 0 reg fe address 020080c8 flag", "write 1 reg 10 address 000080c8 data ab",
         "write 2 reg 10 address 020080c8 data 3412 flag",
         "write 3 reg 10 address 020080c8 data 616263", "read 4 reg 14 address 022080c8",
         "block-write 2 reg 10 address 022080c8 data 6465", "block-read 0 reg 12 address 022080c8",
         "process-call 2 reg 13 address 022080c8 data efbe" ) );
   EXPECT_EQ( ham->get8( 1 ), 0x5A );
   EXPECT_EQ( ham->get16( 2 ), 0x5A5A );
   EXPECT_EQ( ham->getBlock( 3, 2 ).size(), 7u );

   EXPECT_FALSE( service.batch.has_retry_count() );
   ham->retryCountIs( 0 );
   EXPECT_EQ( addressing( ham ), "master 2 pci 256 address 022080c8" );
   EXPECT_TRUE( service.batch.has_retry_count() );
   ham->retryCountIs( 3 );
   addressing( ham );
   EXPECT_EQ( service.batch.retry_count(), 3u );
}

TEST_F( SmbusHam, SelectsMuxesFromOutsideInAndResetsThemFromInsideOut ) {
   service.answers = []( const Smbus::Request& ) { return std::string( 1, '\x19' ); };
   for ( Ham::Ham* ham : { hamFor( 13 ), hamFor( 0, 77 ) } ) {
      for ( int repeat = 0; repeat < 2; ++repeat ) {
         EXPECT_EQ( addressing( ham ), "master 2 pci 256 address 020080f0" );
         EXPECT_EQ( byte, 0x19 );
         EXPECT_THAT(
            service.requests,
            ElementsAre( "write 0 reg 04 address 020080f0", "write 0 reg 08 address 020080f1",
                         "read 1 reg 00 address 020080c8", "write 0 reg 00 address 020080f1",
                         "write 0 reg 00 address 020080f0" ) );
      }
   }
   Drivers::DriverArgs args = *Topology::findDevice( 11 )->args;
   auto device = Component::HardwareDevice::create( args, nullptr );
   Component::LogicalDevice::Mux* mux = device->newMux( args, 0x108 );
   EXPECT_EQ( mux->device(), device );
   EXPECT_EQ( mux->executeMuxRequest(), PL_STATUS_OK );
   EXPECT_THAT( service.requests,
                ElementsAre( "write 0 reg 04 address 020080f0", "write 0 reg 08 address 020080f1",
                             "write 0 reg 00 address 020080f0" ) );
}

TEST_F( SmbusHam, ReportsWhatTheServiceSays ) {
   Ham::Ham* ham = hamFor( 30 );
   const std::tuple< int, const char*, const char* > rows[] = {
      { 6, "no acknowledge", "3 execute: failure in response no acknowledge" },
      { -1, nullptr, "3 execute: failure in response unknown reason" },
      { 0, nullptr, "3 execute: invalid number of response entries; expected 1, got 2" },
   };
   Tests::TraceLog traces;
   for ( const auto& [ failure, error, trace ] : rows ) {
      service.spoil = [ failure, error ]( auto& reply ) {
         reply.set_failure( failure );
         error ? reply.set_error( error ) : ( void )reply.add_response();
      };
      EXPECT_EQ( ham->read8( 1, &byte, 1 ), PL_STATUS_FAILURE );
      EXPECT_THAT( traces.take(), ElementsAre( "4 executing LumenSmbusHam request", trace ) );
   }
   _plSock->cleanup();
   setenv( "PL_SMBUS_SOCKET", "/nowhere", 1 );
   EXPECT_EQ( ham->read8( 1, &byte, 1 ), PL_STATUS_IO_ERROR );
   EXPECT_EQ( traces.lines.back(), "3 execute: error. 2, No such file or directory" );
   EXPECT_EQ( byte, 7 );
}

TEST_F( SmbusHam, CanBeMadeOnABusWhereTheWalksLastOneWins ) {
   auto make = []( const Topology::Bus* bus ) {
      return Ham::LumenSmbusHam::createOnBus( *Topology::_topology, bus, 0xC8 );
   };
   // The last medium's bus and master, with the last accelerator.
   EXPECT_EQ( addressing( make( Topology::getBusByLabel( "first" ) ) ),
              "master 7 pci 512 address 020104c8" );
   Topology::Bus stranger;
   EXPECT_EQ( make( &stranger ), nullptr );
}

TEST_F( SmbusHam, CanBeMadeFromAnAddressAlone ) {
   HamAddress address{ .address = 0x50, .accelerator = 3 };
   auto ham = Ham::LumenSmbusHam::createFromAddress( address, 0x40 );
   ham->setBus( 0x85 );
   ham->setAddress( 0xD1 );
   EXPECT_EQ( ham->getBus(), 5 );
   EXPECT_EQ( ham->getAddress(), 0x51 );
   EXPECT_EQ( addressing( ham ), "master 2 pci 64 address 0200c2d1" );
   EXPECT_DEATH( Ham::LumenSmbusHam::createFromAddress( address, 0 ), "address.accelerator == 0" );
   address.accelerator = 0;
   EXPECT_EQ( addressing( Ham::LumenSmbusHam::createFromAddress( address, 0 ) ),
              "master 1 pci 0 address 02000050" );
}

TEST_F( SmbusHam, GuardsIdentifiersAndSizes ) {
   Ham::Ham* ham = hamFor( 13 );
   ham->prepare();
   ham->addRead16( 0, 1 );
   ASSERT_EQ( ham->execute(), PL_STATUS_OK );
   EXPECT_DEATH( ham->get8( 0 ), R"(Ham/LumenSmbusHam.*data\.size\(\) == 1)" );
   EXPECT_DEATH( ham->get16( Ham::Ham::INVALID_RESPONSE_ID ), "idx != INVALID_RESPONSE_ID" );
   for ( uint32_t id : { 3u, 0xFFFFFFFEu } ) {
      EXPECT_DEATH( ham->getBlock( id, 1 ),
                    R"(\( uint32_t \)response_\.response_size\(\) > prepareRequestCount_ \+ idx)" );
   }
   EXPECT_DEATH( ham->addRead8( 0, 5 ), R"(regSize <= sizeof\( Register \))" );
}

TEST_F( SmbusHam, RefusesMuxChipsThatAreNotUsable ) {
   const std::tuple< std::string, const char*, const char* > rows[] = {
      { R"(,{"did":1})", "", "topoDev->args" },
      { R"(,{"did":1,"driver":"NoSuch","address":{"address":112}})", "", "muxDevice" },
      { "", R"(,{"did":1,"driver":"PCA9548","address":{"address":112}})", "!reachedThroughItself" },
   };
   for ( const auto& [ outside, behind, condition ] : rows ) {
      Tests::load( R"([{"type":"I2C","ham":"LumenSmbus","id":0,"devices":[{"did":9})" + outside +
                   R"(],"muxes":[{"did":1,"busses":[{"id":1,"devices":[{"did":2})" + behind +
                   "]}]}]}]" );
      EXPECT_DEATH( hamFor( 2 ), std::string( "Ham/LumenSmbusHam.*" ) + condition );
   }
}

TEST_F( SmbusHam, TakesMasterAndAddressFromTheMedium ) {
   const std::tuple< uint32_t, const char*, const char* > rows[] = {
      { 12, "2 BusId 1, 2 AccelId 2, 2 SCD 0 00000100", "master 2 pci 256 address 020080c8" },
      { 20, "2 BusId 5, 2 AccelId 4, 2 Celestica", "master 4 pci 0 address 020102c8" },
      { 21, "2 I2C bus 4294967295", "master 1 pci 0 address 02000048" },
      { 22, "2 I2C bus 0", "master 0 pci 0 address 02000048" },
      { 23, "2 IOPort", "master 3 pci 0 address 02000048" },
      { 24, "2 PLM", "master 5 pci 0 address 02000048" },
      { 25, "2 SccSpi", "master 6 pci 0 address 02000048" },
      { 30, "2 BusId 9, 2 FbDomFpga", "master 7 pci 512 address 020004c8" },
   };
   for ( const auto& [ did, path, expected ] : rows ) {
      Tests::TraceLog traces;
      EXPECT_EQ( addressing( hamFor( did ) ), expected );
      EXPECT_THAT( fmt::format( "{}", fmt::join( traces.lines, ", " ) ),
                   HasSubstr( fmt::format( " contain the component, {}, 0 creating", path ) ) );
   }
}

TEST( CreateHam, TellsWhyThereIsNone ) {
   EXPECT_DEATH( hamFor( 1 ), "Ham/Ham.cpp.*createHam.*`topology'" );
   Tests::load(
      R"( [ { "type": "LinuxFs", "ham": "LumenSmbus", "devices": [ { "did": 1 } ] } ] )" );
   Tests::TraceLog traces;
   EXPECT_EQ( hamFor( 9 ), nullptr );
   EXPECT_EQ( hamFor( 1 ), nullptr );
   EXPECT_THAT(
      traces.lines,
      ElementsAre( "0 looking for component 4294967295 of device 9 in topology",
                   "0 could not find component uid -1 in topology",
                   "0 looking for component 4294967295 of device 1 in topology",
                   "2 Device 1 contain the component", "0 creating  HAM using topology information",
                   testing::StartsWith( "3 looking up for  in 0x" ), "0 Couldn't find HAM ",
                   "0 failed to create HAM" ) );
}

}  // namespace
