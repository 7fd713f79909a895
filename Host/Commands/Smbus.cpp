#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <cstdlib>
#include <memory>

#include "BoardFiles/Finding.h"
#include "Host/Commands/Commands.h"
#include "Host/Commands/SmbusOperation.h"
#include "Host/Output/Report.h"
#include "Host/Session/Object.h"
#include "Host/Session/Setting.h"

namespace Host {

namespace {

constexpr std::chrono::seconds kTimeLimit( 15 );
constexpr int32_t kDone = 0;     // with status and answer
constexpr int32_t kNotDone = 1;  // with what was thrown
constexpr int32_t kNotAdded = 2;

struct Arguments {
   std::string name;
   SmbusOperation operation;
};

struct Outcome {
   std::string answer;
   std::string failure;  // empty when all is well
};

void work( const Worker::Link& link,
           const Library& library,
           const Board& board,
           const std::string& socket,
           const SmbusOperation& operation ) {
   setenv( "PL_SMBUS_SOCKET", socket.c_str(), 1 );
   library.init[ static_cast< size_t >( Kind::Smbus ) ]( board.topology.c_str() );
   void* smbus = addObject( library, board.objects[ 0 ] );
   if ( !smbus ) {
      link.send( { .type = kNotAdded } );
      return;
   }
   try {
      Message done{ .type = kDone };
      done.status = runSmbusOperation( static_cast< pl_smbus* >( smbus ), operation, done.text );
      link.send( done );
   } catch ( const std::exception& error ) {
      link.send( { .type = kNotDone, .text = error.what() } );
   }
}

Outcome execute( const Program& program, const Board& board, const SmbusOperation& operation ) {
   Library library = loadLibrary( program.library );
   std::string socket = findService( program );
   Worker worker(
      [ & ]( const Worker::Link& link ) { work( link, library, board, socket, operation ); },
      program.trace );
   auto said = worker.next( kTimeLimit );
   if ( !said ) {
      return { "", worker.end() };
   }
   if ( said->type == kNotAdded ) {
      return { "", whyNotAdded( worker.traces() ) };
   }
   if ( said->type == kNotDone ) {
      return { "", said->text };
   }
   return said->status == PL_STATUS_OK ? Outcome{ said->text, "" }
                                       : Outcome{ "", whyNotRead( said->status, worker.traces() ) };
}

int smbus( const Program& program, const Arguments& arguments ) {
   checkSmbusOperation( arguments.operation );
   Board board =
      loadBoard( program.board, program.emulate ? Emulation::Needed : Emulation::Unused );
   const ObjectSpec object = board.objects[ findObject( board, arguments.name ) ];
   if ( object.kind != Kind::Smbus ) {
      throw StartError( fmt::format( "\"{}\" is a {}; raw access needs an object of kind smbus",
                                     arguments.name, info( object.kind ).name ) );
   }
   board.objects = { object };
   Outcome outcome = execute( program, board, arguments.operation );
   if ( program.json ) {
      fmt::print( "{}\n", smbusJson( program.board, arguments.name, arguments.operation.name,
                                     outcome.answer, outcome.failure ) );
   } else if ( !outcome.answer.empty() ) {
      fmt::print( "{}\n", outcome.answer );
   }
   if ( !outcome.failure.empty() ) {
      complain( fmt::format( "lumen: {}: {}", arguments.name, outcome.failure ) );
   }
   return outcome.failure.empty() ? kAllWell : kNotWell;
}

}  // namespace

void addSmbusCommand( CLI::App& app, Program& program ) {
   auto command = app.add_subcommand( "smbus", "one transaction through a raw SMBus endpoint" );
   command->fallthrough();
   auto arguments = std::make_shared< Arguments >();
   command->add_option( "NAME", arguments->name, "an object of kind smbus" )->required();
   command->add_option( "OPERATION", arguments->operation.name, "see below" )->required();
   command->add_option( "NUMBERS", arguments->operation.arguments,
                        "its arguments, decimal or hexadecimal (0x...)" );
   command
      ->add_option( "--reg-size", arguments->operation.registerSize,
                    "bytes of the register number" )
      ->check( CLI::IsMember( { 1, 2, 4 } ) );
   command->footer( "Operations:\n" + smbusOperationsHelp() );
   command->callback( [ &program, arguments ] {
      program.command = [ &program, arguments ] { return smbus( program, *arguments ); };
   } );
}

}  // namespace Host
