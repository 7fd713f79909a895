#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "Host/Commands/Commands.h"
#include "Host/Commands/SmbusOperation.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Host/Session/UseError.h"

namespace Host {

namespace {

struct Arguments {
   std::string name;
   SmbusOperation operation;
};

Board loadEndpoint( const Program& program, const std::string& name ) {
   Board board = loadOneObject( program, name );
   if ( Kind kind = board.objects[ 0 ].kind; kind != Kind::Smbus ) {
      throw UseError( fmt::format( "\"{}\" is a {}; raw access needs an object of kind smbus", name,
                                   kindName( kind ) ) );
   }
   return board;
}

int smbus( const Program& program, const Arguments& arguments ) {
   checkSmbusOperation( arguments.operation );
   auto run = [ & ]( Kind, void* endpoint ) {
      return runSmbusOperation( static_cast< pl_smbus* >( endpoint ), arguments.operation );
   };
   OpenBoard open( program, loadEndpoint( program, arguments.name ), { .readObject = run } );
   Observation observation = open.session.read()[ 0 ];
   if ( program.json ) {
      print( smbusJson( program.board, arguments.operation.name, observation ) );
   } else if ( !observation.text.empty() ) {
      print( observation.text + "\n" );
   }
   if ( observation.state == State::Ok ) {
      return kAllWell;
   }
   complain( fmt::format( "lumen: {}: {}", arguments.name, problemText( observation ) ) );
   return kNotWell;
}

}  // namespace

void addSmbusCommand( CLI::App& app, Program& program ) {
   auto arguments = std::make_shared< Arguments >();
   auto command =
      addCommand( app, program, { "smbus", "one transaction through a raw SMBus endpoint" },
                  [ &program, arguments ] { return smbus( program, *arguments ); } );
   command->add_option( "NAME", arguments->name, "an object of kind smbus" )->required();
   command->add_option( "OPERATION", arguments->operation.name, "see below" )->required();
   command->add_option( "NUMBERS", arguments->operation.arguments,
                        "its arguments, decimal or hexadecimal (0x...)" );
   command
      ->add_option( "--reg-size", arguments->operation.registerSize,
                    "bytes of the register number" )
      ->check( CLI::IsMember( { 1, 2, 4 } ) );
   command->footer( "Operations:\n" + smbusOperationsHelp() );
}

}  // namespace Host
