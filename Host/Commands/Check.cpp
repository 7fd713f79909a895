#include <fmt/format.h>

#include "Host/Commands/Commands.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Utils/Text.h"

namespace Host {

namespace {

int check( const Program& program ) {
   Board board = BoardFiles::loadBoard(
      program.board, { .emulation = program.emulate ? Demand::Needed : Demand::IfPresent,
                       .adapters = Demand::IfPresent,
                       .drivers = true } );
   if ( board.hasEmulation ) {
      program.tryEmulator( board );  // the models know their quantities
   }
   if ( program.json ) {
      print( findingsJson( program.board, board.warnings ) );
   } else {
      complain( board.warnings );
      print( fmt::format( "{}: no mistakes found, {} objects\n", Utils::printable( program.board ),
                          board.objects.size() ) );
   }
   return board.warnings.empty() ? kAllWell : kNotWell;
}

}  // namespace

void addCheckCommand( CLI::App& app, Program& program ) {
   addCommand( app, program, { "check", "the board's documents, before any chip is touched" },
               [ &program ] { return check( program ); } );
}

}  // namespace Host
