#include <fmt/format.h>
#include <signal.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <sstream>

#include "BoardFiles/Board.h"
#include "Platform/ServicePath.h"
#include "SmbusService/PolicyReport.h"
#include "SmbusService/Serve.h"
#include "Utils/StandardStreams.h"
#include "Utils/Text.h"

namespace {

using namespace SmbusService;

constexpr int kFailed = 1;
constexpr int kWrongUse = 2;

// Prints what the policy lets somebody do, or only that it can be used.
void checkPolicy( const Options& options, const PolicyQuestion& question ) {
   auto documents = BoardFiles::loadBoard( options.directory(), {} );
   Policy policy( rulesOf( options.policy, documents.wiring ), documents.wiring );
   bool isAsked = question.user || !question.groups.empty();
   fmt::print( "{}", isAsked
                        ? Utils::printableLines( reportOn( policy, documents.wiring, question ) )
                        : "the policy has no mistakes\n" );
}

// Wrong use, with words of the command line in it, or help.
int tell( const CLI::App& app, const CLI::ParseError& error ) {
   std::ostringstream output;
   std::ostringstream errors;
   int status = app.exit( error, output, errors );
   fmt::print( "{}", Utils::printableLines( output.str() ) );
   fmt::print( stderr, "{}", Utils::printableLines( errors.str() ) );
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
   CLI::App app( "SMBus service: executes batches of SMBus transfers for its clients." );
   // An empty text, such as that of a variable that is not set, asks for nothing that could be
   // meant.
   CLI::Validator filled( []( const std::string& text ) { return text.empty() ? "is empty" : ""; },
                          "" );
   auto board = app.add_option( "--board", options.board,
                                "serve the system's I2C adapters, as this folder's adapters.json "
                                "names them" )
                   ->type_name( "BOARD" );
   auto emulated =
      app.add_option( "--emulate", options.emulated, "serve the emulated board of this folder" )
         ->type_name( "BOARD" )
         ->excludes( board );
   app.add_option( "--socket", options.socket, "where clients connect; PL_SMBUS_SOCKET if set" )
      ->type_name( "PATH" )
      ->capture_default_str();
   app.add_option( "--control", options.control,
                   "where the wire log is handed out and an emulated board controlled" )
      ->type_name( "PATH" )
      ->check( filled );
   app.add_option( "--wire-log", options.wireLog, "append every transfer to this file" )
      ->type_name( "FILE" )
      ->check( filled );
   app.add_option( "--replay", options.replay, "answer reads as this wire log recorded them" )
      ->type_name( "FILE" )
      ->check( filled )
      ->needs( emulated );
   app.add_option( "--policy", options.policy, "who may do what; SIGHUP reads it again" )
      ->type_name( "FILE" )
      ->check( filled );
   app.add_option( "--group", options.group, "the socket's group, whose members may connect" )
      ->type_name( "NAME" );
   auto* check = app.add_subcommand( "check-policy", "tell what a policy lets somebody do" );
   check->fallthrough();
   check->add_option( "--user", question.user, "name or uid" )->type_name( "NAME" );
   check->add_option( "--groups", question.groups, "names or gids, beside the user's own" )
      ->type_name( "NAME,..." )
      ->delimiter( ',' )
      ->allow_extra_args( false );
   check->add_option( "DEVICE", question.device, "label or device id; all without it" );
   app.set_version_flag( "--version", "lumen-smbusd " LUMEN_VERSION );
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
