#include "SmbusService/Control.h"

#include "BoardFiles/Documents.h"
#include "Fuzz/Boards.h"
#include "Fuzz/Support.h"
#include "SmbusService/WireLog.h"

using namespace SmbusService;

// Lines to the demonstration board's control socket: each gets an answer of the form that is told.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   auto chips = Emulator::loadBoard( Fuzz::demo() );
   WireLog log;
   std::string_view lines( reinterpret_cast< const char* >( data ), size );
   while ( !lines.empty() ) {
      std::string_view line = lines.substr( 0, lines.find( '\n' ) );
      std::vector< BoardFiles::Finding > findings;
      std::string answer = answerControl( { log, chips.get() }, line );
      Fuzz::require( BoardFiles::readControlAnswer( answer, findings ).sound );
      Fuzz::require( answer.find( '\n' ) == answer.npos );
      lines.remove_prefix( std::min( lines.size(), line.size() + 1 ) );
   }
   return 0;
}
