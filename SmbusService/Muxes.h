#pragma once

#include <string>

#include "SmbusService/BusTree.h"
#include "SmbusService/Peer.h"

namespace SmbusService {

class Adapter;

// The muxes behind one adapter, as they stand. Used with the adapter's lock held.
//
// A channel that a client leaves open stays open for that client's own next batches, and is closed
// before anybody else's. A mux that may not have taken its last byte is closed before anybody's.
class Muxes {
 public:
   // All channels count as closed.
   void connect( const AdapterId& adapter, BusTree tree );

   // Nothing is known of the muxes any more.
   void doubt();

   const AdapterId& id() const { return id_; }
   const BusTree& tree() const { return tree_; }
   const BusTree::ControlBytes& controlBytes() const { return bytes_; }

   // What a transfer of the peer has done to the muxes, or may have done when it failed.
   void note( const Transfer&, int error, const Peer& );

   // The byte that a mux whose control byte is read back must have after the transfer.
   std::optional< uint8_t > byteToVerify( const Transfer& ) const;

   // The last byte is not the one that was written, whatever was acknowledged.
   void distrust( const Transfer& );

   // The peer may find open what is open: nothing, or its own channels.
   bool isSettledFor( const Peer& ) const;

   // Closes what the peer must not find open. A mux that does not acknowledge is no obstacle: it is
   // absent, unless it was open before, which keeps it in doubt. Nor is one that a driver of the
   // kernel holds (EBUSY): its channels are the driver's; nor one that the adapter cannot write
   // (EOPNOTSUPP): nobody can. Returns 0, or the errno value of a
   // transfer that failed otherwise; `why` tells of the last mux that did not obey.
   int settle( Adapter&, const Peer&, std::string& why );

   // The addresses and control bytes of the muxes that are connected and have open channels,
   // outermost first.
   std::vector< std::pair< uint8_t, uint8_t > > openPath() const;

 private:
   void forEachConnected( uint8_t address, const std::function< void( size_t mux ) >& ) const;
   void updateTidiness();
   int close( size_t mux, Adapter&, std::string& why );

   AdapterId id_{};
   BusTree tree_;
   BusTree::ControlBytes bytes_;
   std::vector< bool > isUnsure_;
   bool isTidy_ = true;  // all channels are closed, for sure
   uint64_t owner_ = 0;  // the peer that wrote last
};

}  // namespace SmbusService
