#include "SmbusService/PolicyStore.h"

#include <fmt/format.h>

namespace SmbusService {

PolicyStore::PolicyStore( std::string file, const BoardFiles::Wiring& wiring, Log& log )
    : file_( std::move( file ) ), wiring_( wiring ), log_( log ), policy_( read() ) {}

std::shared_ptr< const Policy > PolicyStore::read() const {
   return std::make_shared< Policy >( rulesOf( file_, wiring_ ), wiring_ );
}

std::optional< Refusal > PolicyStore::judge( const Peer& peer,
                                             const std::vector< Step >& steps,
                                             Found found ) const {
   auto refusal = policy_.load()->judge( peer, steps, found );
   if ( refusal ) {
      const Transfer& transfer = steps[ refusal->request ].transfer;
      log_.write( fmt::format( "uid {} is refused device 0x{:02x}: {}", peer.uid,
                               transfer.address.device, refusal->why ) );
   }
   return refusal;
}

}  // namespace SmbusService
