#pragma once

#include <cstdint>
#include <vector>

#include "BoardFiles/Finding.h"
#include "BoardFiles/Wiring.h"

namespace BoardFiles {

// Who answers to which address. Warns of what a board cannot tell apart.
class AddressCheck {
 public:
   AddressCheck( Wiring& wiring, std::vector< Finding >& findings )
       : wiring_( wiring ), findings_( findings ) {}

   // A document gives a device of the wiring this address; the first one counts.
   void give( uint32_t did, uint32_t address, const Place& place );

   // Once all documents were read.
   void compare();

 private:
   void compareLabel( const Wiring::Device& device, const Place& place );
   void warn( const Place& place, std::string problem );

   Wiring& wiring_;
   std::vector< Finding >& findings_;
   std::vector< uint32_t > addressed_;  // devices, in the order of the documents
};

}  // namespace BoardFiles
