#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <memory>

#include "Host/Commands/Commands.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Host/Session/SettingOperations.h"

namespace Host {

namespace {

int show( const Program& program, const Observation& observation ) {
   int status = observation.state == State::Ok ? kAllWell : kNotWell;
   if ( program.json ) {
      print( statusJson( program.board, { observation } ) );
      return status;
   }
   print( valueText( observation ) + "\n" );
   if ( !observation.reason.empty() ) {
      complain( fmt::format( "lumen: {}: {}", observation.object->name, observation.reason ) );
   }
   return status;
}

int get( const Program& program, const std::string& name ) {
   OpenBoard open( program, loadOneObject( program, name ) );
   return show( program, open.session.read()[ 0 ] );
}

int set( const Program& program,
         const std::string& name,
         const std::vector< std::string >& words ) {
   OpenBoard open( program, loadOneObject( program, name ) );
   open.session.settingIs(
      0, parseSetting( open.board.objects[ 0 ], fmt::format( "{}", fmt::join( words, " " ) ) ) );
   return show( program, open.session.read()[ 0 ] );
}

}  // namespace

void addGetAndSetCommands( CLI::App& app, Program& program ) {
   auto name = std::make_shared< std::string >();
   auto words = std::make_shared< std::vector< std::string > >();
   auto getCommand = addCommand( app, program, { "get", "one object's reading" },
                                 [ &program, name ] { return get( program, *name ); } );
   auto setCommand =
      addCommand( app, program, { "set", "drive one object: an led, a fan, a gpio or a poe_port" },
                  [ &program, name, words ] { return set( program, *name, *words ); } );
   for ( CLI::App* command : { getCommand, setCommand } ) {
      command->add_option( "NAME", *name, "the object's name" )->required();
   }
   setCommand
      ->add_option( "VALUE", *words,
                    "an LED's status, a fan's rpm or percentage of its range (50%), a GPIO's bit; "
                    "of a PoE port: on, off, limit WATTS, limit class" )
      ->required()
      ->expected( 1, 2 );
}

}  // namespace Host
