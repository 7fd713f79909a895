#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <thread>
#include <vector>

#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/Wire.h"
#include "smbus.pb.h"

namespace Tests {

// An SMBus service at a socket of its own, which PL_SMBUS_SOCKET names. Its n-th client is left to
// the n-th script; without scripts there is one client, which serve() serves.
class FakeService {
 public:
   using Script = std::function< void( FakeService&, int socket ) >;

   explicit FakeService( std::vector< Script > scripts = { &FakeService::serve } );
   ~FakeService();  // also when the client keeps its connection

   // Notes each batch and answers it, until the client leaves.
   void serve( int socket );
   bool serveOne( int socket );

   // The requests of the latest batch, one line each:
   //    read 2 reg 00 address 02000048   write 1 reg 01 address 02000048 data 40 flag
   std::vector< std::string > requests;
   Smbus::TransactionRequest batch;

   // Gives the bytes for all but writes: by default, what the request carries.
   std::function< std::string( const Smbus::Request& ) > answers = &Smbus::Request::data;
   std::function< void( Smbus::TransactionResponse& ) > spoil;  // changes the reply

 private:
   void run( const std::vector< Script >& scripts );

   TemporaryDirectory directory_;
   int listener_;
   std::atomic< int > client_ = -1;
   std::atomic< bool > ending_ = false;
   std::thread thread_;
};

}  // namespace Tests
