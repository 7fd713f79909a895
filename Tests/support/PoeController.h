#pragma once

#include <fmt/format.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "Drivers/BCM59121/Exchange.h"
#include "Drivers/BCM59121/PoePort.h"
#include "Tests/support/SensorChip.h"

namespace Tests {

// A PoE controller on a fake HAM that repeats each command. Four ports have one channel, four two.
// Nobody waits.
class PoeController : public FakeHam {
 public:
   explicit PoeController( const std::string& arguments = "", const std::string& data = "" )
       : answers( pairsOf( "20=000000000000000000; " + data ) ) {
      Drivers::Poe::pause = []( auto time ) { pauses.push_back( time.count() ); };
      onWrite = [ this ]( Register cmd, const std::string& rest ) {
         load( 0xFF, answerTo( static_cast< uint8_t >( cmd ), rest ) );
         if ( cmd == silent ) {
            failNth( 1, PL_STATUS_FAILURE );
         }
      };
      device = dynamic_cast< Drivers::BCM59121* >(
         createDevice( "BCM59121", *this, pairsOf( "numPorts=8; numAtPorts=4; " + arguments ) ) );
   }

   std::unique_ptr< Drivers::BCM59121::PoePort > port( int id ) {
      auto made = device->newPoePort( argumentsOf( { { "portId", std::to_string( id ) } } ) );
      return std::unique_ptr< Drivers::BCM59121::PoePort >(
         dynamic_cast< Drivers::BCM59121::PoePort* >( made ) );
   }

   // What was sent since the last call, without its mark in the log. A failure ahead is forgotten.
   std::string requests() {
      std::string sent;
      for ( const std::string& line : std::exchange( log, {} ) ) {
         sent += line[ 0 ] == 'W' ? line.substr( 4 ) + " " : "";
      }
      failNth( 0, PL_STATUS_OK );
      return sent;
   }

   std::string getBlock( ResponseId id, uint32_t length ) override {
      return FakeHam::getBlock( id, length ).substr( 0, received );
   }

   Drivers::BCM59121* device;
   // By command, in hexadecimal: the data from byte 2 on, or after a '!' all of the answer.
   DriverArguments answers;
   Register silent = 0x100;  // the command whose answer cannot be read
   size_t received = 12;
   static inline std::vector< long > pauses;  // microseconds

 protected:
   virtual std::string answerTo( uint8_t cmd, const std::string& ) {
      std::string data = answers[ fmt::format( "{:02x}", cmd ) ];
      return data.starts_with( '!' ) ? data.substr( 1 ) : answer( cmd, data );
   }

   static std::string answer( uint8_t first, const std::string& data ) {
      std::string digits = fmt::format( "{:02x}ff{:f<18}", first, data );
      int sum = 0;
      for ( size_t i = 0; i < digits.size(); i += 2 ) {
         sum += std::stoi( digits.substr( i, 2 ), nullptr, 16 );
      }
      return digits + fmt::format( "{:02x}", sum & 0xFF );
   }
};

}  // namespace Tests
