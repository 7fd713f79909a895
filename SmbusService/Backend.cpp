#include "SmbusService/Backend.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>

#include "SmbusService/TransferError.h"
#include "SmbusService/TransferLog.h"

namespace SmbusService {

int Adapter::execute( const Transfer& transfer, std::string& answer, const Peer& peer ) {
   mismatch_.clear();
   if ( int error = perform( transfer, answer, peer ) ) {
      return error;
   }
   auto expected = muxes.byteToVerify( transfer );
   if ( !expected ) {
      return 0;
   }
   std::string byte;
   int error = perform( receiveByte( transfer.adapter, transfer.address.device ), byte, peer );
   if ( !error && static_cast< uint8_t >( byte[ 0 ] ) == *expected ) {
      return 0;
   }
   muxes.distrust( transfer );
   if ( error ) {
      return error;
   }
   mismatch_ = fmt::format( "the mux has control byte 0x{:02x} instead of 0x{:02x}",
                            static_cast< uint8_t >( byte[ 0 ] ), *expected );
   return EIO;
}

int Adapter::perform( const Transfer& request, std::string& answer, const Peer& peer ) {
   using Clock = std::chrono::steady_clock;
   if ( !log ) {
      int error = transfer( request, answer );
      muxes.note( request, error, peer );
      return error;
   }
   auto path = muxes.openPath();
   auto time = std::chrono::system_clock::now();
   auto start = Clock::now();
   int error = transfer( request, answer );
   auto duration = Clock::now() - start;
   muxes.note( request, error, peer );
   log->add( { request, answer, error, error ? explain( error ) : "", peer, std::move( path ), time,
               duration } );
   return error;
}

std::string Adapter::explain( int error ) const {
   if ( !mismatch_.empty() ) {
      return mismatch_;
   }
   std::string known = problem();
   return known.empty() ? wordsFor( error ) : known;
}

void Backend::connectMuxes( const BoardFiles::Wiring& wiring ) {
   for ( auto& [ id, tree ] : busTreesOf( wiring ) ) {
      if ( Adapter* adapter = findAdapter( id ) ) {
         adapter->muxes.connect( id, tree );
      }
   }
}

size_t firstTrailingReset( const std::vector< Step >& steps ) {
   auto last = std::find_if_not( steps.rbegin(), steps.rend(), []( const Step& step ) {
      return step.transfer.isSendByte() && step.transfer.reg == 0;
   } );
   return static_cast< size_t >( steps.rend() - last );
}

}  // namespace SmbusService
