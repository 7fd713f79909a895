#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "BoardFiles/Addresses.h"
#include "Host/Commands/Commands.h"
#include "Host/Commands/Confirm.h"
#include "Host/Commands/Names.h"
#include "Host/Commands/SmbusOperation.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Host/Session/RawEndpoint.h"

namespace Host {

namespace {

constexpr size_t kShortAnswer = 8;  // bytes that one line shows well

struct SmbusArguments {
   std::string name;
   SmbusOperation operation;
   bool isConfirmed = false;
};

bool isMemory( uint32_t address ) {
   return kMemories.has( address ) || kMemoryProtection.has( address );
}

bool isWanted( const SmbusArguments& arguments, const RawEndpoint& endpoint ) {
   if ( arguments.isConfirmed || !isMemory( endpoint.address ) ||
        !isWrite( arguments.operation ) ) {
      return true;
   }
   std::string why =
      fmt::format( "\"{}\" is at 0x{:02x}, where memories are", arguments.name, endpoint.address );
   return isAgreed( why + ". Write to a memory?", why );
}

// For people as a dump where it is long; what reads our output finds it on one line.
void printAnswer( const std::string& bytes, Answer form ) {
   if ( bytes.size() > kShortAnswer && isatty( STDOUT_FILENO ) ) {
      print( hexDump( bytes ) );
   } else if ( !bytes.empty() ) {
      print( answerText( bytes, form ) + "\n" );
   }
}

int smbus( const Program& program, const SmbusArguments& arguments ) {
   checkSmbusOperation( arguments.operation );
   Board board = loadBoard( program );
   RawEndpoint endpoint = RawEndpoint::named( board, arguments.name );
   if ( !isWanted( arguments, endpoint ) ) {
      complain( "nothing was done" );
      return kNotWell;
   }
   board.objects = { endpoint.object };
   auto run = [ & ]( Kind, void* object ) {
      return runSmbusOperation( static_cast< pl_smbus* >( object ), arguments.operation );
   };
   OpenBoard open( program, std::move( board ), { .readObject = run } );
   Observation observation = open.session.read()[ 0 ];
   if ( program.json ) {
      print( smbusJson( program.board, arguments.operation.name, observation,
                        answerOf( arguments.operation ) ) );
   } else if ( observation.state == State::Ok ) {
      printAnswer( observation.text, answerOf( arguments.operation ) );
   }
   if ( observation.state == State::Ok ) {
      return kAllWell;
   }
   complain( fmt::format( "lumen: {}: {}", arguments.name, problemText( observation ) ) );
   return kNotWell;
}

}  // namespace

void addSmbusCommand( CLI::App& app, Program& program ) {
   auto arguments = std::make_shared< SmbusArguments >();
   auto command = addCommand( app, program, { "smbus", "one raw transaction with a chip" },
                              [ &program, arguments ] { return smbus( program, *arguments ); } );
   command
      ->add_option( "NAME", arguments->name, "an object, whose chip is meant, or a device's label" )
      ->type_name( kChipType )
      ->required();
   command->add_option( "OPERATION", arguments->operation.name, "see below" )
      ->type_name( smbusOperationNames() )
      ->required();
   command->add_option( "NUMBERS", arguments->operation.arguments,
                        "its arguments, decimal or hexadecimal (0x...)" );
   command
      ->add_option( "--reg-size", arguments->operation.registerSize,
                    "bytes of the register number: 1, 2 or 4" )
      ->type_name( "1|2|4" )
      ->capture_default_str()
      ->check( CLI::IsMember( { 1, 2, 4 } ) );
   command->add_flag( "--yes", arguments->isConfirmed,
                      "write to a memory (0x30 to 0x37, 0x50 to 0x57) without asking" );
   command->footer( "Operations:\n" + smbusOperationsHelp() );
}

}  // namespace Host
