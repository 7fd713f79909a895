#include "Fuzz/Boards.h"
#include "Fuzz/Support.h"
#include "SmbusService/Replay.h"

using namespace SmbusService;

// A recorded log: what is read of it is written as it was, and the demonstration board answers with
// it.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   std::string file = Fuzz::fileWith( { reinterpret_cast< const char* >( data ), size } );
   std::vector< BoardFiles::Finding > findings;
   auto records = BoardFiles::readWireLog( file, findings );
   auto chips = Emulator::loadBoard( Fuzz::demo() );
   Replay replay( *chips, records );
   std::string text;
   for ( const BoardFiles::WireRecord& record : records ) {
      text += wireRecordText( record ) + "\n";
   }
   std::vector< BoardFiles::Finding > none;
   auto again = BoardFiles::readWireLog( Fuzz::fileWith( text ), none );
   Fuzz::require( none.empty() && again.size() == records.size() );
   for ( size_t i = 0; i < records.size(); ++i ) {
      Fuzz::require( wireRecordText( again[ i ] ) == wireRecordText( records[ i ] ) );
   }
   return 0;
}
