#include "SmbusService/Muxes.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>

#include "SmbusService/Backend.h"
#include "SmbusService/TransferError.h"

namespace SmbusService {

namespace {

const Peer kService{};

}  // namespace

void Muxes::connect( const AdapterId& adapter, BusTree tree ) {
   id_ = adapter;
   tree_ = std::move( tree );
   bytes_.assign( tree_.muxes.size(), 0 );
   isUnsure_.assign( tree_.muxes.size(), false );
   isTidy_ = true;
}

void Muxes::doubt() {
   isUnsure_.assign( tree_.muxes.size(), true );
   isTidy_ = tree_.muxes.empty();
}

void Muxes::forEachConnected( uint8_t address,
                              const std::function< void( size_t mux ) >& visit ) const {
   if ( !tree_.muxAddresses[ address ] ) {
      return;
   }
   tree_.reach( bytes_, address, [ & ]( const BusTree::Device& device, size_t ) {
      auto mux = std::ranges::find( tree_.muxes, device.did, &BusTree::Mux::did );
      if ( mux != tree_.muxes.end() ) {
         visit( static_cast< size_t >( mux - tree_.muxes.begin() ) );
      }
   } );
}

void Muxes::note( const Transfer& transfer, int error, const Peer& peer ) {
   auto byte = lastByteWritten( transfer );
   if ( !byte || !tree_.muxAddresses[ transfer.address.device ] ) {
      return;
   }
   std::vector< size_t > written;
   forEachConnected( transfer.address.device, [ & ]( size_t mux ) { written.push_back( mux ); } );
   for ( size_t mux : written ) {
      // Some adapters say so after any failure: the mux most likely has not taken the byte.
      if ( isNoAcknowledge( error ) ) {
         isUnsure_[ mux ] = true;
         continue;
      }
      // Whether a mux that failed took the byte is unknown: it counts as open where it may be.
      bytes_[ mux ] = error ? static_cast< uint8_t >( bytes_[ mux ] | *byte ) : *byte;
      isUnsure_[ mux ] = error != 0;
   }
   owner_ = peer.number;
   updateTidiness();
}

void Muxes::updateTidiness() {
   isTidy_ = std::ranges::all_of( bytes_, []( uint8_t each ) { return each == 0; } ) &&
             std::ranges::none_of( isUnsure_, std::identity() );
}

std::optional< uint8_t > Muxes::byteToVerify( const Transfer& transfer ) const {
   std::optional< uint8_t > byte;
   if ( !tree_.muxAddresses[ transfer.address.device ] ) {
      return byte;  // most transfers; making the visitor below costs more than this
   }
   forEachConnected( transfer.address.device, [ & ]( size_t mux ) {
      if ( tree_.muxes[ mux ].isVerified ) {
         byte = lastByteWritten( transfer );
      }
   } );
   return byte;
}

void Muxes::distrust( const Transfer& transfer ) {
   forEachConnected( transfer.address.device, [ & ]( size_t mux ) { isUnsure_[ mux ] = true; } );
   isTidy_ = false;
}

bool Muxes::isSettledFor( const Peer& peer ) const {
   return isTidy_ ||
          ( owner_ == peer.number && std::ranges::none_of( isUnsure_, std::identity() ) );
}

int Muxes::settle( Adapter& adapter, const Peer& peer, std::string& why ) {
   if ( isSettledFor( peer ) ) {
      return 0;
   }
   for ( size_t mux = 0; mux < tree_.muxes.size(); ++mux ) {
      if ( bytes_[ mux ] || isUnsure_[ mux ] ) {
         int error = close( mux, adapter, why );
         if ( error && !isNoAcknowledge( error ) && error != EBUSY && error != EOPNOTSUPP ) {
            return error;
         }
         isUnsure_[ mux ] = bytes_[ mux ] != 0;
      }
   }
   updateTidiness();
   return 0;
}

// The muxes above are closed already.
int Muxes::close( size_t mux, Adapter& adapter, std::string& why ) {
   std::string none;
   int error = 0;  // the first
   auto write = [ & ]( size_t chip, uint8_t byte ) {
      Transfer transfer = sendByte( id_, tree_.muxes[ chip ].address, byte );
      int result = adapter.execute( transfer, none, kService );
      if ( result && !error ) {
         error = result;
         why = fmt::format( "the channels of mux 0x{:02x} cannot be closed: {}",
                            tree_.muxes[ chip ].address, adapter.explain( error ) );
      }
   };
   auto path = tree_.pathTo( tree_.muxes[ mux ].segment );
   size_t opened = 0;
   while ( !error && opened < path.size() ) {
      auto [ above, channel ] = path[ opened++ ];
      write( above, channel );
   }
   if ( !error ) {
      write( mux, 0 );
   }
   while ( opened > 0 ) {
      write( path[ --opened ].first, 0 );
   }
   return error;
}

std::vector< std::pair< uint8_t, uint8_t > > Muxes::openPath() const {
   std::vector< std::pair< uint8_t, uint8_t > > path;
   if ( isTidy_ ) {
      return path;
   }
   std::vector< bool > isConnected = tree_.connectedSegments( bytes_ );
   for ( size_t mux = 0; mux < tree_.muxes.size(); ++mux ) {
      if ( bytes_[ mux ] && isConnected[ tree_.muxes[ mux ].segment ] ) {
         path.emplace_back( tree_.muxes[ mux ].address, bytes_[ mux ] );
      }
   }
   return path;
}

}  // namespace SmbusService
