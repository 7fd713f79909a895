#pragma once

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace Bench {

// A process that answers every `requestSize` bytes with `replySize` bytes, with one system call
// each way: the bare limit of a round trip.
class Echo {
 public:
   Echo( size_t requestSize, size_t replySize );
   ~Echo();
   Echo( const Echo& ) = delete;
   Echo& operator=( const Echo& ) = delete;

   void roundTrip();

 private:
   std::string request_;
   std::string reply_;
   int socket_;
   pid_t child_;
};

}  // namespace Bench
