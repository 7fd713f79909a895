#include "SmbusService/Policy.h"

#include "Fuzz/Boards.h"
#include "Fuzz/Support.h"
#include "SmbusService/Batch.h"
#include "SmbusService/PolicyReport.h"

using namespace SmbusService;

// A policy for the demonstration board, and a batch that it judges.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   auto parts = Fuzz::partsOf( data, size, 2 );
   const BoardFiles::Wiring& wiring = Fuzz::demo().wiring;
   try {
      const Policy policy( rulesOf( Fuzz::fileWith( parts[ 0 ] ), wiring ), wiring );
      Fuzz::require( !reportOn( policy, wiring, { .groups = { "0" } } ).empty() );
      Smbus::TransactionRequest request;
      if ( request.ParseFromString( parts.back() ) ) {
         auto chips = Emulator::loadBoard( Fuzz::demo() );
         Smbus::TransactionResponse reply;
         Batch( *chips, { .uid = 1, .groups = { 0 } }, &policy ).execute( request, reply );
         Fuzz::require( reply.failure() || reply.response_size() == request.request_size() );
      }
   } catch ( const BoardFiles::BoardError& error ) {
      Fuzz::require( !BoardFiles::linesOf( error.findings ).empty() );
   }
   return 0;
}
