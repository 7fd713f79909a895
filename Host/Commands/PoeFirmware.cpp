#include <fmt/format.h>
#include <signal.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>

#include "Host/Commands/Confirm.h"
#include "Host/Commands/PoeBoard.h"
#include "Host/Output/PoeProgress.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"

namespace Host {

namespace {

constexpr std::chrono::minutes kLimit( 30 );  // for one controller

// Each with all its ports, none of which was read.
std::vector< PoeController > unreadControllers( const Board& board ) {
   std::vector< PoePort > ports;
   for ( const ObjectSpec& object : board.objects ) {
      ports.push_back( { .object = &object } );
   }
   return poeControllers( board, ports );
}

void warn( const std::vector< PoeController >& controllers, bool isForced ) {
   for ( const PoeController& controller : controllers ) {
      size_t ports = controller.ports.size();
      complain( fmt::format( "{}: {} port{} may lose power while its firmware is written{}",
                             controllerName( controller.did ), ports, ports == 1 ? "" : "s",
                             isForced ? "" : ", which is done where none runs" ) );
   }
   complain(
      "Afterwards ports are as after a power-on, to be configured anew. An update that breaks off "
      "leaves no firmware, and is to be repeated." );
}

Reading reprogram( pl_poe_port* port, bool isForced ) {
   char* text = nullptr;
   pl_status status = port->ops->reprogram_poe_firmware( port, isForced, &text );
   std::string outcome = text ? text : "";
   free( text );
   return { .status = status, .text = std::move( outcome ) };
}

// Of each controller the first port.
std::vector< ObjectSpec > firstPorts( const std::vector< PoeController >& controllers ) {
   std::vector< ObjectSpec > ports;
   for ( const PoeController& controller : controllers ) {
      ports.push_back( *controller.ports[ 0 ].object );
   }
   return ports;
}

void printOutcome( const PoeFirmwareOutcome& outcome ) {
   bool ok = outcome.port.state == State::Ok;
   std::string text = fmt::format( "{}: {}", controllerName( outcome.did ),
                                   ok ? outcome.port.text : problemText( outcome.port ) );
   ok ? print( text + "\n" ) : complain( text );
}

}  // namespace

int updatePoeFirmware( const Program& program, const PoeFirmwareOptions& options ) {
   Board board = loadPoePorts( program );
   const auto controllers = unreadControllers( board );
   warn( controllers, options.isForced );
   if ( !options.isConfirmed && !isAgreed( "Go on?", "ports may lose power" ) ) {
      complain( "nothing was done" );
      return kNotWell;
   }
   Board chosen = board;
   chosen.objects = firstPorts( controllers );
   PoeProgress progress( !program.json );
   SessionOptions session{ .stepLimit = kLimit,
                           .mostLanes = 1,  // one update after the other
                           .readObject =
                              [ & ]( Kind, void* port ) {
                                 return reprogram( static_cast< pl_poe_port* >( port ),
                                                   options.isForced );
                              },
                           .hearTrace =
                              [ & ]( size_t i, const std::string& line ) {
                                 progress.hear( controllerName( controllers[ i ].did ), line );
                              } };
   signal( SIGINT, SIG_IGN );  // half a firmware is none
   OpenBoard open( program, chosen, session );
   std::vector< PoeFirmwareOutcome > outcomes;
   for ( const Observation& observation : open.session.read() ) {
      outcomes.push_back( { controllers[ outcomes.size() ].did, observation } );
   }
   progress.end();
   if ( program.json ) {
      print( poeFirmwareJson( program.board, outcomes ) );
   } else {
      std::ranges::for_each( outcomes, printOutcome );
   }
   return std::ranges::all_of( outcomes,
                               []( const auto& each ) { return each.port.state == State::Ok; } )
             ? kAllWell
             : kNotWell;
}

}  // namespace Host
