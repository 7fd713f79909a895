#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <chrono>
#include <memory>

#include "Host/Commands/Commands.h"
#include "Host/Commands/Names.h"
#include "Host/Commands/PoeBoard.h"
#include "Host/Output/PoeReport.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Host/Session/UseError.h"
#include "Utils/Text.h"

namespace Host {

namespace {

// A controller that has no firmware gets it with the initialisation.
constexpr std::chrono::minutes kInitLimit( 30 );

constexpr char kBetweenTexts = '\0';  // of a port, in the text of its reading

struct PoeArguments {
   std::string name;
   std::string action;
   bool isVerbose = false;
};

Board loadPort( const Program& program, const std::string& name ) {
   Board board = loadOneObject( program, name );
   if ( Kind kind = board.objects[ 0 ].kind; kind != Kind::PoePort ) {
      throw UseError( fmt::format( "\"{}\" is a {}, no PoE port", name, kindName( kind ) ) );
   }
   return board;
}

int showAll( const Program& program ) {
   OpenBoard open( program, loadPoePorts( program ),
                   { .readObject = []( Kind, void* port ) { return readPoePort( port ); } } );
   std::vector< PoePort > ports;
   for ( const Observation& observation : open.session.read() ) {
      ports.push_back( poePortOf( observation ) );
   }
   auto controllers = poeControllers( open.board, ports );
   print( program.json ? poeJson( program.board, ports, controllers )
                       : poeTable( ports, controllers, TableStyle::ofOutput() ) );
   return allWell( controllers ) ? kAllWell : kNotWell;
}

Reading readTexts( pl_poe_port* port, bool isVerbose ) {
   std::string information;
   std::string report;
   pl_status status = readPoeInformation( port, information );
   status = status ? status : readPoeDebugReport( port, isVerbose, report );
   if ( status != PL_STATUS_OK ) {
      return { .status = status };
   }
   return { .text = information + kBetweenTexts + report };
}

PoeTexts textsIn( const std::string& text ) {
   size_t end = text.find( kBetweenTexts );
   return end == std::string::npos ? PoeTexts{}
                                   : PoeTexts{ text.substr( 0, end ), text.substr( end + 1 ) };
}

int reportProblem( const Observation& observation ) {
   if ( observation.state == State::Ok ) {
      return kAllWell;
   }
   complain( fmt::format( "lumen: {}: {}", observation.object->name, problemText( observation ) ) );
   return kNotWell;
}

int showPort( const Program& program, const PoeArguments& arguments ) {
   auto read = [ & ]( Kind, void* port ) {
      return readTexts( static_cast< pl_poe_port* >( port ), arguments.isVerbose );
   };
   OpenBoard open( program, loadPort( program, arguments.name ), { .readObject = read } );
   Observation observation = open.session.read()[ 0 ];
   PoeTexts texts = textsIn( observation.text );
   if ( program.json ) {
      print( poeTextsJson( program.board, observation, texts ) );
   } else if ( observation.state == State::Ok ) {
      print( fmt::format( "{}\n{}\nDebug report\n{}", Utils::printable( arguments.name ),
                          Utils::printableLines( texts.information ),
                          Utils::printableLines( texts.debugReport ) ) );
   }
   return reportProblem( observation );
}

int init( const Program& program, const std::string& name ) {
   auto run = []( Kind, void* object ) {
      auto port = static_cast< pl_poe_port* >( object );
      return Reading{ .status = port->ops->poe_port_init( port ) };
   };
   OpenBoard open( program, loadPort( program, name ),
                   { .stepLimit = kInitLimit, .readObject = run } );
   Observation observation = open.session.read()[ 0 ];
   if ( program.json ) {
      print( statusJson( program.board, { observation } ) );
   } else if ( observation.state == State::Ok ) {
      print( fmt::format( "{} is initialised\n", Utils::printable( name ) ) );
   }
   return reportProblem( observation );
}

int poe( const Program& program, const PoeArguments& arguments ) {
   if ( arguments.name.empty() ) {
      return showAll( program );
   }
   if ( arguments.action.empty() ) {
      return showPort( program, arguments );
   }
   return init( program, arguments.name );
}

}  // namespace

void addPoeCommand( CLI::App& app, Program& program ) {
   auto arguments = std::make_shared< PoeArguments >();
   auto firmware = std::make_shared< PoeFirmwareOptions >();
   auto command = addCommand( app, program, { "poe", "PoE ports and their controllers" }, {} );
   auto firmwareCommand = addCommand(
      *command, program, { "firmware", "give controllers that have no firmware one" }, {} );
   command->callback( [ &program, arguments, firmware, firmwareCommand ] {
      bool isFirmware = firmwareCommand->parsed();
      program.command = [ &program, arguments, firmware, isFirmware ] {
         if ( isFirmware && !arguments->name.empty() ) {
            throw UseError( "the firmware is that of all controllers: give no port" );
         }
         return isFirmware ? updatePoeFirmware( program, *firmware ) : poe( program, *arguments );
      };
   } );
   auto name = command->add_option( "NAME", arguments->name, "one port: what it tells at length" )
                  ->type_name( kPoePortType );
   command
      ->add_option( "ACTION", arguments->action,
                    "init: configure the port anew; with the first one its controller, too" )
      ->check( CLI::IsMember( { "init" } ) );
   command->add_flag( "--verbose", arguments->isVerbose, "the port's report with all bytes" )
      ->needs( name );
   firmwareCommand->add_flag( "--force", firmware->isForced, "replace a firmware that runs, too" );
   firmwareCommand->add_flag( "--yes", firmware->isConfirmed, "do not ask" );
}

}  // namespace Host
