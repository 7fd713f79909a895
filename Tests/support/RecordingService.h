#pragma once

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "Tests/platform/ScriptedService.h"
#include "Tests/support/TemporaryDirectory.h"

namespace Tests {

// An SMBus service that notes every request of the latest batch as one line and answers each read
// with the bytes that `answers` gives for it:
//    read 2 reg 00 address 02000048   write 1 reg 01 address 02000048 data 40 flag
class RecordingService {
 public:
   RecordingService()
       : server_( directory_.path() / "socket", { [ this ]( int fd ) { serve( fd ); } } ) {
      setenv( "PL_SMBUS_SOCKET", ( directory_.path() / "socket" ).c_str(), 1 );
   }

   // The library keeps its connection; the server ends all the same.
   ~RecordingService() {
      stopping_ = true;
      shutdown( connection_, SHUT_RDWR );
   }

   std::vector< std::string > requests;
   Smbus::TransactionRequest batch;
   std::function< std::string( const Smbus::Request& ) > answers;
   std::function< void( Smbus::TransactionResponse& ) > spoil;  // changes the reply

 private:
   void serve( int fd );

   std::atomic< bool > stopping_ = false;
   std::atomic< int > connection_ = -1;
   TemporaryDirectory directory_;
   ScriptedService::Server server_;
};

}  // namespace Tests
