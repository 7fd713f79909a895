#pragma once

#include <compare>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "BoardFiles/Finding.h"

namespace BoardFiles {

// The pieces of bus that a board's chips hang on, and who answers to which address there. Warns of
// what the board cannot tell apart.
class Wires {
 public:
   static constexpr size_t kNone = SIZE_MAX;

   // What tells one adapter's bus from another in a request.
   struct Adapter {
      std::string master;
      uint32_t pci = 0;
      uint32_t accelerator = 0;
      int64_t bus = 0;

      auto operator<=>( const Adapter& ) const = default;
   };

   struct Place {
      std::string file;
      std::string pointer;
   };

   explicit Wires( std::vector< Finding >& findings ) : findings_( findings ) {}

   // The wire at an adapter, which should have no other place on the board.
   size_t atAdapter( const Adapter& adapter, const Place& place );

   // The wire behind a mux chip's channel; `above` is the one that the mux is on.
   size_t behindMux( uint32_t did, int64_t channel, size_t above );

   // A device's address, as one document gives it.
   void addDevice( size_t wire, uint32_t did, uint32_t address, const Place& place );

   // Once all devices are known.
   void compareAddresses();

 private:
   struct Device {
      size_t wire;
      uint32_t did;
      uint32_t address;
      Place place;
   };

   const Device* findOther( const Device& device, size_t wire ) const;
   void warn( const Place& place, std::string problem );

   std::vector< Finding >& findings_;
   std::vector< size_t > above_;  // by wire; kNone at an adapter
   std::map< Adapter, std::pair< size_t, Place > > adapters_;
   std::map< std::pair< uint32_t, int64_t >, size_t > channels_;
   std::vector< Device > devices_;
   std::map< std::pair< size_t, uint32_t >, size_t > firstAt_;  // wire and address to device
   std::map< uint32_t, size_t > firstOf_;                       // did to device
};

}  // namespace BoardFiles
