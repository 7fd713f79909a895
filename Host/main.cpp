#include <CLI/CLI.hpp>
#include <cstdio>
#include <memory>
#include <sstream>

#include "CommandLine/Completion.h"
#include "CommandLine/Help.h"
#include "CommandLine/UnknownWord.h"
#include "Host/Commands/Commands.h"
#include "Host/Commands/Names.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Platform/ServicePath.h"
#include "SmbusService/EmbeddedService.h"
#include "SmbusService/Emulator/BoardLoader.h"
#include "Utils/StandardStreams.h"

namespace {

constexpr int kHighestTraceLevel = 9;

constexpr char kFooter[] =
   "Options stand before the command or behind it. \"lumen COMMAND --help\" tells a\n"
   "command's own.\n\n"
   "Exit status: 0 all is well; 1 something is not: a limit, a chip, a warning;\n"
   "2 wrong use, a board with mistakes, no service.";

void addOptions( CLI::App& app, Host::Program& program ) {
   app.formatter( CommandLine::helpFormatter() );
   app.set_help_flag( "-h,--help", "print this help and exit" );
   app.set_version_flag( "--version", "lumen " LUMEN_VERSION, "print the version and exit" );
   app.add_option( "--board", program.board, "the folder with the board's documents" )
      ->required()
      ->type_name( "DIR" );
   auto emulate = app.add_flag( "--emulate", program.emulate,
                                "chips as the board's emulation.json sets them, for this command "
                                "alone" );
   app.add_option( "--socket", program.socket,
                   "the SMBus service that reaches the chips; PL_SMBUS_SOCKET sets the default" )
      ->default_str( PlatformLibrary::servicePath() )
      ->type_name( "PATH" )
      ->excludes( emulate );
   app.add_flag( "--json", program.json, "print a JSON document; watch and log print one a line" );
   app.add_option( "--library", program.library,
                   "another driver library than the one installed beside lumen" )
      ->type_name( "PATH" );
   app.add_option( "--trace", program.trace,
                   "print the library's traces and assertions up to this level, 0 to 9, on stderr" )
      ->type_name( "LEVEL" )
      ->check( CLI::Range( 0, kHighestTraceLevel ) );
   app.add_flag( "--trace-wire", program.traceWire,
                 "print each transfer on the busses on stderr, with the board's names" );
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
   std::string unknown = CommandLine::unknownWord( app );
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
   app.footer( kFooter );  // behind the commands, which would take it over
   if ( CommandLine::isAsked( argc, argv ) ) {
      Host::print( CommandLine::answer( app, Host::namesOnBoard(), argc, argv ) );
      return Host::finish( Host::kAllWell );
   }
   try {
      app.parse( argc, argv );
   } catch ( const CLI::ParseError& error ) {
      return Host::finish( refuse( app, program, error ) );
   }
   return Host::finish( program.run() );
}
