#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "Host/Commands/Commands.h"
#include "Host/Output/Report.h"

namespace Host {

namespace {

struct Arguments {
   std::string name;
   std::string value;  // only to set
};

// One object alone: added, set when that is asked for, and read.
int operate( const Program& program, const Arguments& arguments, bool set ) {
   OpenBoard open( program, arguments.name );
   if ( set ) {
      open.session.settingIs( 0, parseSetting( open.board.objects[ 0 ], arguments.value ) );
   }
   auto rows = open.session.read();
   if ( program.json ) {
      fmt::print( "{}\n", rowsJson( program.board, rows ) );
   } else {
      const Row& row = rows[ 0 ];
      fmt::print( "{}\n", row.reading ? readingText( row ) : stateName( row.state ) );
      if ( !row.reason.empty() ) {
         complain( fmt::format( "lumen: {}: {}", arguments.name, row.reason ) );
      }
   }
   return allOk( rows ) ? kAllWell : kNotWell;
}

void addCommand( CLI::App& app, Program& program, const char* name, const char* help, bool set ) {
   auto command = app.add_subcommand( name, help );
   command->fallthrough();
   auto arguments = std::make_shared< Arguments >();
   command->add_option( "NAME", arguments->name, "the object's name" )->required();
   if ( set ) {
      command->add_option( "VALUE", arguments->value, "an LED's status, a fan's rpm, a GPIO's bit" )
         ->required();
   }
   command->callback( [ &program, arguments, set ] {
      program.command = [ &program, arguments, set ] {
         return operate( program, *arguments, set );
      };
   } );
}

}  // namespace

void addGetAndSetCommands( CLI::App& app, Program& program ) {
   addCommand( app, program, "get", "one object's reading", false );
   addCommand( app, program, "set", "drive one object: an led, a fan or a gpio", true );
}

}  // namespace Host
