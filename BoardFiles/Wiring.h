#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <string_view>
#include <tuple>
#include <utility>
#include <vector>

#include "BoardFiles/Media.h"
#include "BoardFiles/Place.h"

namespace BoardFiles {

// Where everything on a board hangs, as its documents say.
struct Wiring {
   static constexpr size_t kNone = SIZE_MAX;

   // What a request names beside the device's address. Two media that requests cannot tell apart
   // are one adapter: the first.
   struct Adapter {
      Smbus::MasterType master;
      uint32_t pci = 0;
      uint32_t accelerator = 0;
      uint32_t bus = 0;
      std::string label;  // the medium's
      std::string pointer;
      Media::Medium medium;

      std::string_view mediumName() const;  // its label, or its type where it has none
      std::string name() const;             // `scd0 accelerator 1 bus 2`
   };

   // A piece of bus: at an adapter, or behind a mux's channel.
   struct Bus {
      size_t adapter;
      size_t above = kNone;  // the bus that the mux's node is on
      uint32_t mux = 0;      // the mux chip's did and the channel's byte; unset at the adapter
      uint32_t channel = 0;
      std::string label;
      std::string pointer;
   };

   struct Device {
      size_t bus = kNone;                 // devices of the host's file system have none
      std::optional< uint32_t > address;  // topology or objects give it, the first one counts
      std::string driver;                 // likewise; empty when nobody names one
      std::string label;
      std::string pointer;
      bool isDeclared = false;  // in the topology itself, with its driver
      Place addressPlace;
   };

   std::vector< Adapter > adapters;
   std::vector< Bus > busses;
   std::map< uint32_t, Device > devices;          // by did
   std::map< uint32_t, std::string > components;  // uid to pointer
   std::map< std::string, uint32_t > labels;      // of devices, to did
   std::set< uint32_t > verifiedMuxes;            // chips whose control byte is read back

   // The adapter's own bus.
   size_t busAt( size_t adapter ) const;

   // Why no request reaches the device; empty when one does.
   std::string whyOutOfReach( uint32_t did ) const;

   // The chips that must be open for the bus to be reached, as dids, innermost first.
   std::vector< uint32_t > muxesAbove( size_t bus ) const;

   // The bus at the adapter that a request names, kNone where the board has none of these numbers;
   // those that the master does not have may be anything.
   size_t adapterBus( uint32_t master, uint32_t pci, uint32_t accelerator, uint32_t bus ) const;

   // For people: the label of the bus, else of the nearest one above, else what the adapter is.
   std::string nameOf( size_t bus ) const;
};

// Puts busses in their places, from the adapters downward.
class WiringBuilder {
 public:
   explicit WiringBuilder( Wiring& wiring ) : wiring_( wiring ) {}

   // The adapter's bus, and whether it is a new one: adapters with the same numbers are one.
   std::pair< size_t, bool > busAt( const Wiring::Adapter& adapter, const std::string& label );

   // The bus behind a mux's channel, the same for all nodes of the mux.
   size_t busBehind( const Wiring::Bus& channel );

 private:
   Wiring& wiring_;
   std::map< std::tuple< Smbus::MasterType, uint32_t, uint32_t, uint32_t >, size_t > atAdapters_;
   std::map< std::pair< uint32_t, uint32_t >, size_t > behindMuxes_;
};

}  // namespace BoardFiles
