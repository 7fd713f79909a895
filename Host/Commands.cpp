#include "Host/Commands.h"

#include <fmt/format.h>

#include "Host/Error.h"
#include "Host/Report.h"
#include "Host/Service.h"
#include "Host/Setting.h"

namespace Host {

namespace {

Board boardOf( const Program& program, const std::string& onlyObject ) {
   Board board =
      loadBoard( program.board, program.emulate ? Emulation::Needed : Emulation::Unused );
   if ( !onlyObject.empty() ) {
      board.objects = { board.objects[ findObject( board, onlyObject ) ] };
   }
   return board;
}

}  // namespace

std::string findService( const Program& program ) {
   if ( program.emulate ) {
      return program.startEmulator( program.board );
   }
   std::string path = servicePath( program.socket );
   if ( serviceNeeded() && !serviceAnswers( path ) ) {
      throw StartError(
         fmt::format( "no SMBus service answers at {}; start one with: lumen-smbusd "
                      "--emulate {} --socket {}, or use --emulate",
                      path, program.board, path ) );
   }
   return path;
}

OpenBoard::OpenBoard( const Program& program, const std::string& onlyObject )
    : board( boardOf( program, onlyObject ) ),
      library( loadLibrary( program.library ) ),
      session( library, board, { .socket = findService( program ), .traceLevel = program.trace } ) {
}

int Program::run() const {
   try {
      return command();
   } catch ( const BoardError& error ) {
      for ( const Finding& finding : error.findings ) {
         fmt::print( stderr, "{}\n", finding.text() );
      }
      if ( json ) {
         fmt::print( "{}\n", findingsJson( board, error.findings ) );
      }
   } catch ( const std::exception& error ) {
      fmt::print( stderr, "lumen: {}\n", error.what() );
      if ( json ) {
         fmt::print( "{}\n", errorJson( board, error.what() ) );
      }
   }
   return kWrongUse;
}

}  // namespace Host
