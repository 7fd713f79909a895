#include "Drivers/BCM59121/Exchange.h"

#include <thread>

#include "Drivers/BCM59121/Message.h"
#include "Drivers/Registers.h"

namespace Drivers::Poe {

void ( *pause )( std::chrono::microseconds ) = []( std::chrono::microseconds time ) {
   std::this_thread::sleep_for( time );
};

// The command travels as the register's number.
pl_status send( Ham::Ham* ham, const std::string& message ) {
   Ham::saveReg( ham, kAnswer );
   return ham->write( byteAt( message, 0 ), message.data() + 1,
                      static_cast< uint32_t >( message.size() - 1 ), false, kRegSize );
}

pl_status receive( Ham::Ham* ham, std::string& response ) {
   return ham->read( kAnswer, kMessageLength, &response, true, kRegSize );
}

pl_status exchange( Ham::Ham* ham, const std::string& message, std::string& response ) {
   response.clear();
   if ( pl_status status = send( ham, message ) ) {
      return status;
   }
   pause( kTurnaround );
   if ( pl_status status = receive( ham, response ) ) {
      return status;
   }
   return check( byteAt( message, 0 ), response );
}

}  // namespace Drivers::Poe
