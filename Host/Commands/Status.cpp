#include "Host/Commands/Commands.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"

namespace Host {

namespace {

int status( const Program& program ) {
   OpenBoard open( program, loadBoard( program ) );
   auto observations = open.session.read();
   print( program.json ? statusJson( program.board, observations )
                       : statusTable( observations, TableStyle::ofOutput() ) );
   return allOk( observations ) ? kAllWell : kNotWell;
}

}  // namespace

void addStatusCommand( CLI::App& app, Program& program ) {
   addCommand( app, program, { "status", "every object: reading, limits and state" },
               [ &program ] { return status( program ); } );
}

}  // namespace Host
