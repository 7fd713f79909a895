#pragma once

#include <poll.h>

#include <asio/io_context.hpp>
#include <asio/post.hpp>
#include <fstream>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <thread>

#include "SmbusService/Emulator/BoardLoader.h"
#include "SmbusService/Server.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/Wire.h"

namespace Tests {

constexpr uint32_t kOneByteRegisters = 1 << 25;  // in the address word

// Requests to device 0x48 on the I2C adapter, where nothing else is said.

inline Smbus::Request request( Smbus::RequestType type,
                               uint8_t device,
                               uint32_t reg,
                               uint32_t size,
                               const std::string& data = {} ) {
   Smbus::Request result;
   result.set_type( type );
   result.set_address( device | kOneByteRegisters );
   result.set_mastertype( Smbus::MASTER_I2C );
   result.set_reg( reg );
   result.set_size( size );
   result.set_data( data );
   return result;
}

inline Smbus::Request readBytes( uint8_t device, uint32_t reg, uint32_t size ) {
   return request( Smbus::REQUEST_READ, device, reg, size );
}

inline Smbus::Request writeBytes( uint8_t device, uint32_t reg, const std::string& data ) {
   return request( Smbus::REQUEST_WRITE, device, reg, static_cast< uint32_t >( data.size() ),
                   data );
}

inline Smbus::TransactionRequest batchOf( std::initializer_list< Smbus::Request > requests ) {
   Smbus::TransactionRequest batch;
   for ( const Smbus::Request& request : requests ) {
      *batch.add_request() = request;
   }
   return batch;
}

// The answers in hexadecimal with blanks between the responses, or the error's text; before it the
// id, if there is one.
inline std::string summary( const Smbus::TransactionResponse& reply ) {
   std::string text = reply.has_id() ? "#" + std::to_string( reply.id() ) + " " : "";
   if ( reply.failure() || reply.has_error() ) {
      return reply.response_size() ? "responses beside an error" : text + reply.error();
   }
   for ( const Smbus::Response& response : reply.response() ) {
      text += &response == &reply.response( 0 ) ? "" : " ";
      text += response.has_data() ? hex( response.data() ) : "-";
   }
   return text;
}

inline std::string execute( SmbusService::Backend& backend,
                            const Smbus::TransactionRequest& batch ) {
   Smbus::TransactionResponse reply;
   SmbusService::Batch( backend ).execute( batch, reply );
   return summary( reply );
}

// One TMP75, device id 16 and address 0x48, on the I2C adapter.
constexpr const char* kSensorTopology =
   R"([ { "type": "I2C", "ham": "LumenSmbus", "id": 0, "devices": [
   { "did": 16, "driver": "TMP75", "address": { "address": 72 } } ] } ])";
constexpr const char* kSensorEmulation =
   R"({ "chips": [ { "did": 16, "set": { "temperature": 42.5 } } ] })";
inline const Smbus::TransactionRequest kReading = batchOf( { readBytes( 0x48, 0, 2 ) } );
constexpr const char* kReadingReply = "2a80";

// A board in a temporary folder.
class BoardFolder {
 public:
   explicit BoardFolder( const std::string& topology = kSensorTopology,
                         const std::string& emulation = kSensorEmulation,
                         const std::string& objects = R"({ "objects": [] })" ) {
      std::ofstream( path() + "/topology.json" ) << topology;
      std::ofstream( path() + "/emulation.json" ) << emulation;
      std::ofstream( path() + "/objects.json" ) << objects;
   }
   std::string path() const { return directory_.path(); }
   std::unique_ptr< SmbusService::Emulator::EmulatedBoard > load() const {
      return SmbusService::Emulator::loadBoard( path() );
   }

 private:
   TemporaryDirectory directory_;
};

// Within ten seconds.
inline bool eventually( const std::function< bool() >& condition ) {
   for ( int i = 0; i < 1000; ++i ) {
      if ( condition() ) {
         return true;
      }
      usleep( 10'000 );
   }
   return false;
}

// A server in this process.
class RunningServer {
 public:
   explicit RunningServer( SmbusService::Backend& backend,
                           const SmbusService::PlaceLimits& places = SmbusService::kClients )
       : server_( std::in_place,
                  context_,
                  backend,
                  SmbusService::Server::Door{ .path = path(), .places = places },
                  log_ ) {}
   ~RunningServer() {
      asio::post( context_, [ this ] { server_.reset(); } );
   }
   std::string path() const { return directory_.path() / "socket"; }

 private:
   TemporaryDirectory directory_;
   SmbusService::Log log_{ STDERR_FILENO };
   asio::io_context context_;
   std::optional< SmbusService::Server > server_;
   std::jthread thread_{ [ this ] { context_.run(); } };
};

// A client that may say what it likes.
class RawClient {
 public:
   explicit RawClient( const std::string& path ) : descriptor_( socketAt( path, connect ) ) {}
   ~RawClient() { close( descriptor_ ); }
   RawClient( const RawClient& ) = delete;
   RawClient& operator=( const RawClient& ) = delete;

   int descriptor() const { return descriptor_; }

   bool send( const std::string& bytes ) { return sendBytes( descriptor_, bytes ); }
   bool send( const Smbus::TransactionRequest& batch ) { return send( frameOf( batch ) ); }

   std::string ask( const auto& what ) { return send( what ) ? receive() : "no service"; }

   // The summary of the next reply; "closed" or "silence" when there is none.
   std::string receive( int timeoutMs = 10000 ) {
      pollfd entry{ descriptor_, POLLIN, 0 };
      if ( poll( &entry, 1, timeoutMs ) == 0 ) {
         return "silence";
      }
      std::string payload;
      Smbus::TransactionResponse reply;
      bool hasCome = receivePayload( descriptor_, payload ) && reply.ParseFromString( payload );
      return hasCome ? summary( reply ) : "closed";
   }

 private:
   int descriptor_;
};

}  // namespace Tests
