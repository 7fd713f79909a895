#pragma once

#include <string>

#include "BoardFiles/Board.h"
#include "pl_host.h"

namespace Host {

using namespace BoardFiles;

// A failed exchange with the SMBus service, as the driver library's process tells it.
struct RequestFailure {
   pl_service_failure details;  // without its texts
   std::string words;           // what failed, in one request or as a whole

   static RequestFailure of( const pl_service_failure& failure );

   // False when the service itself failed: no chip is to blame.
   bool isAnswered() const { return details.answered; }

   // True where the chip, or one on the way to it, did not answer.
   bool lacksAnswer() const;

   // The words, and the chip that they are about: the object's own, or a mux on its path.
   std::string explain( const Board& board, const ObjectSpec& object ) const;
};

}  // namespace Host
