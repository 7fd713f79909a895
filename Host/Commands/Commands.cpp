#include "Host/Commands/Commands.h"

#include <fmt/format.h>

#include <algorithm>
#include <ranges>

#include "BoardFiles/Finding.h"
#include "Host/Output/Report.h"
#include "Host/Session/Service.h"
#include "Host/Session/Setting.h"
#include "Utils/Text.h"

namespace Host {

namespace {

constexpr size_t kMostFindings = 100;  // in a text for people

Board boardOf( const Program& program, const std::optional< std::string >& onlyObject ) {
   Board board =
      loadBoard( program.board, program.emulate ? Emulation::Needed : Emulation::Unused );
   if ( onlyObject ) {
      board.objects = { board.objects[ findObject( board, *onlyObject ) ] };
   }
   return board;
}

}  // namespace

void complain( std::string_view text ) {
   fmt::print( stderr, "{}\n", Utils::printable( text ) );
}

void complain( const std::vector< Finding >& findings ) {
   for ( const Finding& finding : findings | std::views::take( kMostFindings ) ) {
      complain( finding.text() );
   }
   if ( findings.size() > kMostFindings ) {
      complain( fmt::format( "... and {} more", findings.size() - kMostFindings ) );
   }
}

std::string findService( const Program& program ) {
   if ( program.emulate ) {
      return program.startEmulator( program.board );
   }
   std::string path = servicePath( program.socket );
   std::string problem = serviceNeeded() ? whyNoService( path ) : "";
   if ( !problem.empty() ) {
      throw StartError(
         fmt::format( "no SMBus service answers at {}: {}; start one with: "
                      "lumen-smbusd --emulate {} --socket {}, or use --emulate",
                      path, problem, program.board, path ) );
   }
   return path;
}

OpenBoard::OpenBoard( const Program& program, const std::optional< std::string >& onlyObject )
    : board( boardOf( program, onlyObject ) ),
      library( loadLibrary( program.library ) ),
      session( library, board, { .socket = findService( program ), .traceLevel = program.trace } ) {
}

int Program::run() const {
   int status = runCommand();
   if ( fflush( stdout ) != 0 || ferror( stdout ) ) {
      complain( "lumen: the output is lost: it cannot be written" );
      return std::max( status, kNotWell );
   }
   return status;
}

int Program::runCommand() const {
   try {
      return command();
   } catch ( const BoardError& error ) {
      complain( error.findings );
      if ( json ) {
         fmt::print( "{}\n", findingsJson( board, error.findings ) );
      }
   } catch ( const std::exception& error ) {
      if ( ferror( stdout ) ) {
         return kNotWell;
      }
      complain( fmt::format( "lumen: {}", error.what() ) );
      if ( json ) {
         fmt::print( "{}\n", errorJson( board, error.what() ) );
      }
   }
   return kWrongUse;
}

}  // namespace Host
