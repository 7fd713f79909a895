#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "Host/Commands/Commands.h"
#include "Host/Output/Report.h"

namespace Host {

namespace {

// The emulator's own look at the documents: the models know their quantities.
void tryEmulator( const Program& program, std::vector< Finding > warnings ) {
   try {
      program.tryEmulator( program.board );
   } catch ( const std::exception& error ) {
      warnings.push_back( { "", "", error.what() } );
      throw BoardError( std::move( warnings ) );
   }
}

int check( const Program& program ) {
   Board board =
      loadBoard( program.board, program.emulate ? Emulation::Needed : Emulation::IfPresent );
   if ( board.hasEmulation ) {
      tryEmulator( program, board.warnings );
   }
   if ( program.json ) {
      fmt::print( "{}\n", findingsJson( program.board, board.warnings ) );
   } else {
      complain( board.warnings );
      fmt::print( "{}: no mistakes found, {} objects\n", program.board, board.objects.size() );
   }
   return board.warnings.empty() ? kAllWell : kNotWell;
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
