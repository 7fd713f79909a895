#include "Host/Commands/Commands.h"

#include <fmt/format.h>
#include <fnmatch.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <iterator>
#include <set>

#include "Host/Commands/Names.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Host/Session/Service.h"
#include "Host/Session/UnknownName.h"
#include "Host/Session/UseError.h"

namespace Host {

namespace {

SessionOptions completed( SessionOptions options,
                          const Program& program,
                          const WireTrace* wireTrace ) {
   if ( wireTrace ) {
      options.beginWorker = [ wireTrace ] { wireTrace->start(); };
   }
   options.socket = findService( program );
   options.traceLevel = program.trace;
   return options;
}

[[noreturn]] void refuseName( const Board& board, const std::string& name ) {
   std::vector< std::string > names;
   std::ranges::transform( board.objects, std::back_inserter( names ), &ObjectSpec::name );
   throw UseError( fmt::format( "the board has no object \"{}\"{}", name,
                                whatThereIs( name, names, "lumen status" ) ) );
}

// The names of the objects that a pattern means: the one with the very name, else those that match.
std::set< std::string > namesFor( const Board& board, const std::string& pattern ) {
   std::set< std::string > names;
   for ( const ObjectSpec& object : board.objects ) {
      if ( object.name == pattern ) {
         return { pattern };
      }
      if ( fnmatch( pattern.c_str(), object.name.c_str(), 0 ) == 0 ) {
         names.insert( object.name );
      }
   }
   if ( names.empty() ) {
      refuseName( board, pattern );
   }
   return names;
}

}  // namespace

std::string findService( const Program& program ) {
   if ( program.emulate ) {
      return program.startEmulator( program.board );
   }
   std::string path = servicePath( program.socket );
   if ( !serviceNeeded() ) {
      complain( "lumen: simulation: no chip is touched" );
      return path;
   }
   std::string problem = whyNoService( path );
   if ( !problem.empty() ) {
      throw UseError(
         fmt::format( "no SMBus service answers at {}: {}; start one with: "
                      "lumen-smbusd --emulate {} --socket {}, or use --emulate",
                      path, problem, program.board, path ) );
   }
   return path;
}

std::unique_ptr< WireTrace > makeWireTrace( const Program& program, const Board& board ) {
   return program.traceWire ? std::make_unique< WireTrace >( board.wiring ) : nullptr;
}

void complain( const std::vector< Finding >& findings ) {
   for ( const std::string& line : linesOf( findings ) ) {
      complain( line );
   }
}

size_t findObject( const Board& board, const std::string& name ) {
   auto object = std::ranges::find( board.objects, name, &ObjectSpec::name );
   if ( object == board.objects.end() ) {
      refuseName( board, name );
   }
   return static_cast< size_t >( object - board.objects.begin() );
}

Board loadBoard( const Program& program ) {
   return BoardFiles::loadBoard(
      program.board, { .emulation = program.emulate ? Demand::Needed : Demand::Unused } );
}

Board loadObjects( const Program& program, const std::vector< std::string >& patterns ) {
   Board board = loadBoard( program );
   std::set< std::string > chosen;
   for ( const std::string& pattern : patterns ) {
      chosen.merge( namesFor( board, pattern ) );
   }
   if ( !patterns.empty() ) {
      std::erase_if( board.objects, [ & ]( const ObjectSpec& object ) {
         return !chosen.contains( object.name );
      } );
   }
   return board;
}

Board loadOneObject( const Program& program, const std::string& name ) {
   Board board = loadBoard( program );
   board.objects = { board.objects[ findObject( board, name ) ] };
   return board;
}

OpenBoard::OpenBoard( const Program& program, Board onBoard, SessionOptions options )
    : board( std::move( onBoard ) ),
      library( program.library ),
      wireTrace( makeWireTrace( program, board ) ),
      session( library, board, completed( std::move( options ), program, wireTrace.get() ) ) {}

CLI::App* addCommand( CLI::App& app,
                      Program& program,
                      const Synopsis& synopsis,
                      std::function< int() > run ) {
   auto command = app.add_subcommand( synopsis.name, synopsis.help );
   command->fallthrough();
   command->group( kCommandGroup );
   command->callback( [ &program, run ] { program.command = run; } );
   return command;
}

CLI::Option* addPatterns( CLI::App& command, std::vector< std::string >& patterns ) {
   return command
      .add_option( "NAME", patterns,
                   "an object's name, or in quotes a pattern: 'fan*', 'port[1-4]', 'psu?'" )
      ->type_name( kObjectType );
}

int Program::run() const {
   try {
      if ( emulate && !serviceNeeded() ) {
         throw UseError(
            "SIMULATION_VMID is set: simulation files stand in for the chips, and no emulated chip "
            "would be asked; unset it, or leave out --emulate" );
      }
      return command();
   } catch ( const BoardError& error ) {
      complain( error.findings );
      if ( json ) {
         print( findingsJson( board, error.findings ) );
      }
   } catch ( const std::exception& error ) {
      complain( fmt::format( "lumen: {}", error.what() ) );
      if ( json ) {
         print( errorJson( board, error.what() ) );
      }
   }
   return kWrongUse;
}

int finish( int status ) {
   if ( flushOutput() ) {
      return status;
   }
   complain( "lumen: the output is lost: it cannot be written" );
   return std::max( status, kNotWell );
}

}  // namespace Host
