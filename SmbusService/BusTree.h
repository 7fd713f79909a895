#pragma once

#include <bitset>
#include <functional>
#include <map>
#include <optional>
#include <vector>

#include "BoardFiles/Wiring.h"
#include "SmbusService/Transfer.h"

namespace SmbusService {

// What hangs behind one adapter, as the board's documents have it: the adapter's own segment, and
// one segment behind each channel of its muxes.
struct BusTree {
   static constexpr size_t kNone = SIZE_MAX;

   struct Device {
      uint32_t did;
      uint8_t address;
   };
   struct Channel {
      uint8_t value;  // the bits of the mux's control byte that connect the segment
      size_t segment;
   };
   struct Mux {
      uint32_t did;
      uint8_t address;
      size_t segment;
      bool isVerified;  // its control byte is read back
      std::vector< Channel > channels;
   };
   struct Segment {
      size_t mux = kNone;   // the segment hangs behind this one, or is always connected
      uint8_t channel = 0;  // of the mux
      size_t bus = kNone;   // its position in the wiring
      std::vector< Device > devices = {};  // mux chips among them
   };

   // The control byte of each mux.
   using ControlBytes = std::vector< uint8_t >;

   // Calls with each device that answers to the address, and with its segment, while the muxes'
   // control bytes are these. A channel of several bits counts as open when one of them is set.
   void reach( const ControlBytes&,
               uint8_t address,
               const std::function< void( const Device&, size_t segment ) >& ) const;

   // Of each segment.
   std::vector< bool > connectedSegments( const ControlBytes& ) const;

   // The control bytes once the transfer was executed. False when it changes none.
   bool write( const Transfer&, ControlBytes& ) const;

   // The channels that lead to the segment, outermost first: muxes and values.
   std::vector< std::pair< size_t, uint8_t > > pathTo( size_t segment ) const;

   std::vector< Segment > segments = { {} };
   std::vector< Mux > muxes = {};  // outer ones before those behind them
   std::bitset< 128 > muxAddresses = {};
};

// The trees of all adapters of a board.
std::map< AdapterId, BusTree > busTreesOf( const BoardFiles::Wiring& );

// The last byte that a transfer writes, which is what a mux takes for its control byte.
std::optional< uint8_t > lastByteWritten( const Transfer& );

}  // namespace SmbusService
