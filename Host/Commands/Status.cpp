#include <fmt/format.h>

#include <CLI/CLI.hpp>

#include "Host/Commands/Commands.h"
#include "Host/Output/Report.h"

namespace Host {

namespace {

int status( const Program& program ) {
   OpenBoard open( program );
   auto rows = open.session.read();
   if ( program.json ) {
      fmt::print( "{}\n", rowsJson( program.board, rows ) );
   } else {
      fmt::print( "{}", rowsTable( rows, TableStyle::ofOutput() ) );
   }
   return allOk( rows ) ? kAllWell : kNotWell;
}

}  // namespace

void addStatusCommand( CLI::App& app, Program& program ) {
   auto command = app.add_subcommand( "status", "every object: reading, limits and state" );
   command->fallthrough();
   command->callback(
      [ &program ] { program.command = [ &program ] { return status( program ); }; } );
}

}  // namespace Host
