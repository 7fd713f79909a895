#include <fcntl.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <stdexcept>

#include "Bench/Boards.h"
#include "Bench/Echo.h"
#include "Bench/InstantSocket.h"
#include "Bench/Measures.h"
#include "Bench/TemporaryBoard.h"
#include "Bench/Timing.h"
#include "Components/Library.h"
#include "Ham/SimHam.h"
#include "Platform/Frame.h"
#include "SmbusService/EmbeddedService.h"
#include "Topology/Topology.h"
#include "smbus.pb.h"

namespace Bench {

namespace {

constexpr uint32_t kDid = 1;

pl_temp_sensor* addSensor() {
   std::string topology = topologyOf( 1, kDid );
   static const std::string arguments = argumentsOf( kDid );
   if ( pl_temp_sensor_init( topology.c_str() ) != PL_STATUS_OK ) {
      throw std::runtime_error( "the library cannot reach its service" );
   }
   pl_temp_sensor* sensor = pl_temp_sensor_add( arguments.c_str(), 80, 90 );
   if ( !sensor ) {
      throw std::runtime_error( "the sensor cannot be added" );
   }
   return sensor;
}

void read( pl_temp_sensor* sensor ) {
   float celsius;
   if ( sensor->ops->get_temperature( sensor, &celsius ) != PL_STATUS_OK ) {
      throw std::runtime_error( "a reading failed" );
   }
}

// The messages of one reading, as the library and the service make them.
Smbus::TransactionRequest readRequest() {
   Smbus::TransactionRequest batch;
   Smbus::Request* request = batch.add_request();
   request->set_reg( 0 );
   request->set_address( HamAddress{ .address = kFirstAddress, .addrSize = 1 }.word() );
   request->set_type( Smbus::REQUEST_READ );
   request->set_size( 2 );
   request->set_flag( false );
   request->set_pci( 16 );
   request->set_mastertype( Smbus::MASTER_FB_DOM_FPGA );
   return batch;
}

Smbus::TransactionResponse readReply() {
   Smbus::TransactionResponse reply;
   reply.add_response()->set_data( "\x19", 2 );
   return reply;
}

size_t frameSize( const google::protobuf::MessageLite& message ) {
   return PlatformLibrary::Frame::kHeaderSize + message.ByteSizeLong();
}

}  // namespace

void measureRoundTrip( Report& report ) {
   OneProcessor pinned;
   TemporaryBoard board( topologyOf( 1, kDid ), { kDid } );
   SmbusService::EmbeddedService service( board.path() );
   setenv( "PL_SMBUS_SOCKET", service.path().c_str(), 1 );
   pl_temp_sensor* sensor = addSensor();
   Echo echo( frameSize( readRequest() ), frameSize( readReply() ) );
   auto [ reading, bare ] = compare(
      15, 5000, [ & ] { read( sensor ); }, [ & ] { echo.roundTrip(); } );
   report.add( { "reading through socket and emulator", reading,
                 "echo of frames of the same lengths", bare, "us", 1.2 } );
}

void measureLibraryShare( Report& report ) {
   InstantSocket instant;
   pl_temp_sensor* sensor = addSensor();
   Smbus::TransactionRequest request = readRequest();
   std::string reply = readReply().SerializeAsString();
   std::string frame;
   auto codec = [ & ] {
      PlatformLibrary::Frame::encode( request, frame );
      auto decoded = std::make_unique< Smbus::TransactionResponse >();
      decoded->ParseFromString( reply );
   };
   auto [ reading, bare ] = compare(
      15, 100'000, [ & ] { read( sensor ); }, codec );
   report.add( { "the library's own share of a reading", reading,
                 "encode and decode of its messages", bare, "us", 1.0 } );

   size_t before = allocations();
   read( sensor );
   report.add( { "heap allocations of a reading", static_cast< double >( allocations() - before ),
                 "at most", 5, "", 1 } );
}

void measureSimulation( Report& report ) {
   TemporaryBoard board( topologyOf( 1, kDid ), {} );
   setenv( "LUMENLIB_SIMDIR", board.path().c_str(), 1 );
   Ham::SimHam ham;
   const Utils::ExpectedValues values = { { 0x00, { 0x19, 2 } }, { 0x01, { 0, 1 } } };
   ham.setDriverName( "TMP75", "" );
   ham.setExpected( &values );
   std::string file = board.path() + "/TMP75";
   auto bare = [ & ] {
      int descriptor = open( file.c_str(), O_RDONLY | O_CLOEXEC );
      struct flock lock {};
      lock.l_type = F_RDLCK;
      fcntl( descriptor, F_SETLKW, &lock );
      char text[ 4 ];
      if ( pread( descriptor, text, sizeof text, 0 ) != sizeof text ) {
         throw std::runtime_error( "the simulation file is short" );
      }
      lock.l_type = F_UNLCK;
      fcntl( descriptor, F_SETLKW, &lock );
      close( descriptor );
   };
   auto [ reading, limit ] = compare(
      15, 5000,
      [ & ] {
         uint16_t word;
         if ( ham.read16( 0x00, &word, 1 ) != PL_STATUS_OK ) {
            throw std::runtime_error( "the simulated register is not read" );
         }
      },
      bare );
   report.add( { "reading from a simulation file", reading, "open, lock, read, unlock, close",
                 limit, "us", 1.2 } );
}

}  // namespace Bench
