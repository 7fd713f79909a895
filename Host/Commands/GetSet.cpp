#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <cmath>
#include <memory>

#include "Host/Commands/Commands.h"
#include "Host/Commands/Names.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Host/Session/SettingOperations.h"
#include "Utils/Text.h"

namespace Host {

namespace {

void explain( const Observation& observation ) {
   if ( !observation.reason.empty() ) {
      complain( fmt::format( "lumen: {}: {}", observation.object->name, observation.reason ) );
   }
}

// One value stands alone, so that scripts can take it.
int get( const Program& program, const std::vector< std::string >& patterns ) {
   OpenBoard open( program, loadObjects( program, patterns ) );
   auto observations = open.session.read();
   if ( program.json ) {
      print( statusJson( program.board, observations ) );
   } else {
      for ( const Observation& observation : observations ) {
         std::string name = observations.size() > 1 ? observation.object->name + ": " : "";
         print( Utils::printable( name + valueText( observation ) ) + "\n" );
         explain( observation );
      }
   }
   return allOk( observations ) ? kAllWell : kNotWell;
}

// A line that does not follow is wrong; a rotor takes its time.
void compare( const Setting& setting, Observation& observation ) {
   if ( observation.state == State::Failed || !observation.reading ) {
      return;
   }
   double off = std::abs( *observation.reading - setting.number );
   Kind kind = observation.object->kind;
   if ( kind == Kind::Gpio && off != 0 ) {
      observation.state = State::Fault;
      observation.reason =
         fmt::format( "set to {}, but reads {}", setting.number, *observation.reading );
   } else if ( kind == Kind::Fan && observation.state == State::Ok &&
               off > kFanTolerance * setting.number ) {
      observation.reason =
         fmt::format( "set to {} rpm; it may still be changing speed", setting.number );
   }
}

int set( const Program& program,
         const std::string& name,
         const std::vector< std::string >& words ) {
   OpenBoard open( program, loadOneObject( program, name ) );
   std::string text = fmt::format( "{}", fmt::join( words, " " ) );
   Setting setting = parseSetting( open.board.objects[ 0 ], text );
   open.session.settingIs( 0, setting );
   Observation observation = open.session.read()[ 0 ];
   compare( setting, observation );
   if ( program.json ) {
      print( setJson( program.board, observation, setting, text ) );
   } else {
      print( Utils::printable( valueText( observation ) ) + "\n" );
      explain( observation );
   }
   return observation.state == State::Ok ? kAllWell : kNotWell;
}

}  // namespace

void addGetAndSetCommands( CLI::App& app, Program& program ) {
   auto patterns = std::make_shared< std::vector< std::string > >();
   auto name = std::make_shared< std::string >();
   auto words = std::make_shared< std::vector< std::string > >();
   auto getCommand = addCommand( app, program, { "get", "the readings of objects" },
                                 [ &program, patterns ] { return get( program, *patterns ); } );
   addPatterns( *getCommand, *patterns )->required();
   auto setCommand =
      addCommand( app, program, { "set", "drive one object: an LED, a fan, a GPIO or a PoE port" },
                  [ &program, name, words ] { return set( program, *name, *words ); } );
   setCommand->add_option( "NAME", *name, "the object's name" )
      ->type_name( kSettableType )
      ->required();
   setCommand
      ->add_option( "VALUE", *words,
                    "an LED's status (off, good, warning, bad, inactive, unknown, beacon), a fan's "
                    "rpm or percentage of its range (50%), a GPIO's bit (0, 1); of a PoE port: on, "
                    "off, limit WATTS, limit class" )
      ->type_name( kSettingType )
      ->required()
      ->expected( 1, 2 );
}

}  // namespace Host
