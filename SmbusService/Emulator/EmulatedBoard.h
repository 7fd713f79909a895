#pragma once

#include <functional>
#include <map>
#include <memory>
#include <string_view>

#include "SmbusService/Emulator/Bus.h"

namespace SmbusService::Emulator {

// An emulated board: its adapters and its chips, which are known by their device id. Built on one
// thread; from then on every operation may be called on any.
class EmulatedBoard : public Backend {
 public:
   // Makes the adapter if there is none yet.
   Bus& bus( const AdapterId& );

   // Powers the chip on. The place is a segment of the bus.
   void add( Bus&, Segment& place, std::unique_ptr< Site > );
   bool has( uint32_t did ) const { return chips_.contains( did ); }

   Adapter* findAdapter( const AdapterId& ) override;
   void keepLog( TransferLog& ) override;

   void forEachAdapter( const std::function< void( const AdapterId&, Adapter& ) >& );

   // These throw std::invalid_argument for a device id or a quantity that does not exist.
   void set( uint32_t did, std::string_view quantity, double value );
   double get( uint32_t did, std::string_view quantity );
   void unplug( uint32_t did );
   void plug( uint32_t did );  // powers the chip on; nothing happens to one that is plugged
   void addFault( uint32_t did, const Fault& );
   void clearFaults( uint32_t did );

   void clearFaults();  // of all chips

   // Calls with each chip in turn, in the order of the device ids.
   void forEachChip( const std::function< void( const Site& ) >& );

 private:
   struct Entry {
      Bus* bus;
      std::unique_ptr< Site > site;
   };

   Entry& entry( uint32_t did );

   std::map< AdapterId, std::unique_ptr< Bus > > busses_;
   std::map< uint32_t, Entry > chips_;
};

}  // namespace SmbusService::Emulator
