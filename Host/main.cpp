#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <sstream>

#include "Host/Commands/Commands.h"
#include "Host/Commands/UnknownWord.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "SmbusService/EmbeddedService.h"
#include "SmbusService/Emulator/BoardLoader.h"
#include "Utils/StandardStreams.h"

namespace {

constexpr int kHighestTraceLevel = 9;

void addOptions( CLI::App& app, Host::Program& program ) {
   app.add_option( "--board", program.board, "the board's folder" )->required()->type_name( "DIR" );
   auto emulate = app.add_flag( "--emulate", program.emulate, "use the board's emulated chips" );
   app.add_option( "--socket", program.socket, "where the SMBus service listens" )
      ->type_name( "PATH" )
      ->excludes( emulate );
   app.add_flag( "--json", program.json,
                 "print a JSON document, or with watch and log one a line" );
   app.add_option( "--library", program.library, "the driver library's file" )->type_name( "PATH" );
   app.add_option( "--trace", program.trace, "print the library's traces up to this level" )
      ->type_name( "LEVEL" )
      ->check( CLI::Range( 0, kHighestTraceLevel ) );
   app.add_flag( "--trace-wire", program.traceWire,
                 "print each transfer on the busses on stderr, with the board's names" );
   app.set_version_flag( "--version", "lumen " LUMEN_VERSION );
   app.require_subcommand( 1 );
}

// Wrong use, or a wish for help.
int refuse( const CLI::App& app, const Host::Program& program, const CLI::ParseError& error ) {
   std::ostringstream output;
   std::ostringstream errors;
   if ( app.exit( error, output, errors ) == 0 ) {
      Host::print( output.str() );
      return Host::kAllWell;
   }
   std::string unknown = Host::unknownWord( app );
   std::string problem = unknown.empty() ? error.what() : unknown;
   Host::complain( problem );
   Host::complain( "Run with --help for more information." );
   if ( app.count( "--json" ) ) {
      Host::print( Host::errorJson( program.board, problem ) );
   }
   return Host::kWrongUse;
}

}  // namespace

int main( int argc, char** argv ) {
   Utils::openStandardStreams();
   std::unique_ptr< SmbusService::EmbeddedService > emulator;
   Host::Program program;
   program.startEmulator = [ &emulator ]( const std::string& board ) {
      emulator = std::make_unique< SmbusService::EmbeddedService >( board );
      return emulator->path();
   };
   program.tryEmulator = []( const BoardFiles::Board& board ) {
      SmbusService::Emulator::loadBoard( board );
   };
   CLI::App app( "Reads and drives the objects of a board.", "lumen" );
   addOptions( app, program );
   Host::addStatusCommand( app, program );
   Host::addShowCommand( app, program );
   Host::addWatchCommand( app, program );
   Host::addGetAndSetCommands( app, program );
   Host::addPoeCommand( app, program );
   Host::addScanCommand( app, program );
   Host::addLogCommand( app, program );
   Host::addSmbusCommand( app, program );
   Host::addEmuCommand( app, program );
   Host::addCheckCommand( app, program );
   try {
      app.parse( argc, argv );
   } catch ( const CLI::ParseError& error ) {
      return Host::finish( refuse( app, program, error ) );
   }
   return Host::finish( program.run() );
}
