#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <sstream>

#include "BoardFiles/Board.h"
#include "BoardFiles/Names.h"
#include "CommandLine/Completion.h"
#include "CommandLine/Help.h"
#include "CommandLine/UnknownWord.h"
#include "Platform/ServicePath.h"
#include "SmbusService/PolicyReport.h"
#include "SmbusService/Serve.h"
#include "Utils/StandardStreams.h"
#include "Utils/Text.h"

namespace {

using namespace SmbusService;

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

constexpr char kDeviceType[] = "DEVICE";

// Prints what the policy lets somebody do, or only that it can be used.
void checkPolicy( const Options& options, const PolicyQuestion& question ) {
   auto documents = BoardFiles::loadBoard( options.directory(), {} );
   Policy policy( rulesOf( options.policy, documents.wiring ), documents.wiring );
   bool isAsked = question.user || !question.groups.empty();
   fmt::print( "{}", isAsked
                        ? Utils::printableLines( reportOn( policy, documents.wiring, question ) )
                        : "the policy has no mistakes\n" );
}

// The devices that a policy can name.
std::vector< CommandLine::Candidate > devices( const CommandLine::Given& given ) {
   std::vector< CommandLine::Candidate > candidates;
   for ( const char* option : { "--board", "--emulate" } ) {
      if ( auto directory = given.options.find( option ); directory != given.options.end() ) {
         for ( const std::string& label : BoardFiles::deviceLabels( directory->second ) ) {
            candidates.push_back( { label } );
         }
      }
   }
   return candidates;
}

// Wrong use, with words of the command line in it, or help.
int tell( const CLI::App& app, const CLI::ParseError& error ) {
   std::ostringstream output;
   std::ostringstream errors;
   int status = app.exit( error, output, errors );
   fmt::print( "{}", Utils::printableLines( output.str() ) );
   std::string unknown = status ? CommandLine::unknownWord( app ) : "";
   std::string problem =
      unknown.empty() ? errors.str() : unknown + "\nRun with --help for more information.\n";
   fmt::print( stderr, "{}", Utils::printableLines( problem ) );
   return status ? kWrongUse : 0;
}

}  // namespace

int main( int argc, char** argv ) {
   Utils::openStandardStreams();
   signal( SIGPIPE, SIG_IGN );
   holdHangups();
   Options options;
   PolicyQuestion question;
   options.socket = PlatformLibrary::servicePath();
   CLI::App app( "SMBus service: executes batches of SMBus transfers for its clients.",
                 "lumen-smbusd" );
   app.formatter( CommandLine::helpFormatter() );
   app.set_help_flag( "-h,--help", "print this help and exit" );
   app.set_version_flag( "--version", "lumen-smbusd " LUMEN_VERSION, "print the version and exit" );
   // An empty text, such as that of a variable that is not set, asks for nothing that could be
   // meant.
   CLI::Validator filled( []( const std::string& text ) { return text.empty() ? "is empty" : ""; },
                          "" );
   auto board = app.add_option( "--board", options.board,
                                "serve the system's I2C adapters, as this folder's adapters.json "
                                "names them" )
                   ->type_name( "DIR" );
   auto emulated =
      app.add_option( "--emulate", options.emulated, "serve the emulated board of this folder" )
         ->type_name( "DIR" )
         ->excludes( board );
   app.add_option( "--socket", options.socket,
                   "where clients connect; PL_SMBUS_SOCKET sets the default" )
      ->type_name( "PATH" )
      ->capture_default_str();
   app.add_option(
         "--control", options.control,
         "where the wire log is handed out and an emulated board controlled; nowhere without it" )
      ->type_name( "PATH" )
      ->check( filled );
   app.add_option( "--wire-log", options.wireLog,
                   "append every transfer to this file, a line of JSON each" )
      ->type_name( "FILE" )
      ->check( filled );
   app.add_option( "--replay", options.replay, "answer reads as this wire log recorded them" )
      ->type_name( "FILE" )
      ->check( filled )
      ->needs( emulated );
   app.add_option( "--policy", options.policy,
                   "who may do what; without it everything but writing to memories. SIGHUP reads "
                   "it again, and adapters.json" )
      ->type_name( "FILE" )
      ->check( filled );
   app.add_option( "--group", options.group,
                   "the socket's group, whose members may connect; the service's own without it" )
      ->type_name( "NAME" );
   auto* check = app.add_subcommand(
      "check-policy",
      "tell what a policy lets somebody do, or, asked about nobody, whether it has mistakes" );
   check->fallthrough();
   check->group( "Commands" );
   check->add_option( "--user", question.user, "name or uid" )->type_name( "NAME" );
   check->add_option( "--groups", question.groups, "names or gids, beside the user's own" )
      ->type_name( "NAME,..." )
      ->delimiter( ',' )
      ->allow_extra_args( false );
   check->add_option( "DEVICE", question.device, "label or device id; all without it" )
      ->type_name( kDeviceType );
   app.footer(
      "Serves until SIGTERM or SIGINT. Exit status: 0 it was told to end, or the policy is\n"
      "sound; 1 it cannot serve, or the policy has mistakes; 2 wrong use." );
   if ( CommandLine::isAsked( argc, argv ) ) {
      fmt::print( "{}", CommandLine::answer( app, { { kDeviceType, devices } }, argc, argv ) );
      return 0;
   }
   try {
      app.parse( argc, argv );
   } catch ( const CLI::ParseError& error ) {
      return tell( app, error );
   }
   Log log( STDERR_FILENO );
   if ( options.directory().empty() ) {
      log.write( "nothing to serve: name a board's folder with --board or --emulate" );
      return kWrongUse;
   }
   try {
      if ( *check ) {
         checkPolicy( options, question );
      } else {
         serve( options, log );
      }
   } catch ( const BoardFiles::BoardError& error ) {
      complain( error.findings );
      return kFailed;
   } catch ( const std::exception& error ) {
      log.write( error.what() );
      return kFailed;
   }
   return 0;
}
