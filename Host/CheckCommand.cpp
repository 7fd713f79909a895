#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "Host/Commands.h"
#include "Host/Report.h"

namespace Host {

namespace {

int check( const Program& program ) {
   Board board =
      loadBoard( program.board, program.emulate ? Emulation::Needed : Emulation::IfPresent );
   if ( program.json ) {
      fmt::print( "{}\n", findingsJson( program.board, {} ) );
   } else {
      fmt::print( "{}: no mistakes found, {} objects\n", program.board, board.objects.size() );
   }
   return kAllWell;
}

}  // namespace

void addCheckCommand( CLI::App& app, Program& program ) {
   auto command =
      app.add_subcommand( "check", "the board's documents, before any chip is touched" );
   command->fallthrough();
   command->callback(
      [ &program ] { program.command = [ &program ] { return check( program ); }; } );
}

}  // namespace Host
