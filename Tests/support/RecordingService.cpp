#include "Tests/support/RecordingService.h"

#include <fmt/format.h>

#include "Tests/support/FakeHam.h"

namespace Tests {

namespace {

std::string lineOf( const Smbus::Request& request ) {
   static constexpr const char* types[] = { "read", "write", "process-call", "block-read",
                                            "block-write" };
   std::string line = fmt::format( "{} {} reg {:02x} address {:08x}", types[ request.type() ],
                                   request.size(), request.reg(), request.address() );
   if ( request.has_data() ) {
      line += " data " + toHex( request.data() );
   }
   if ( request.flag() ) {
      line += " flag";
   }
   return line;
}

}  // namespace

void RecordingService::serve( int fd ) {
   connection_ = fd;
   for ( std::string frame; !stopping_ && !( frame = ScriptedService::receive( fd ) ).empty(); ) {
      batch.ParseFromString( frame.substr( PlatformLibrary::Frame::kHeaderSize ) );
      requests.clear();
      Smbus::TransactionResponse reply;
      for ( const Smbus::Request& request : batch.request() ) {
         requests.push_back( lineOf( request ) );
         Smbus::Response* response = reply.add_response();
         if ( answers && request.type() != Smbus::REQUEST_WRITE ) {
            response->set_data( answers( request ) );
         }
      }
      if ( spoil ) {
         spoil( reply );
      }
      std::string bytes;
      PlatformLibrary::Frame::encode( reply, bytes );
      ScriptedService::send( fd, bytes );
   }
}

}  // namespace Tests
