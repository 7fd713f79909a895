#include "Host/Commands/PoeBoard.h"

#include <algorithm>

#include "Host/Session/ChipName.h"
#include "Host/Session/UseError.h"

namespace Host {

Board loadPoePorts( const Program& program ) {
   Board board = loadBoard( program );
   std::erase_if( board.objects,
                  []( const ObjectSpec& object ) { return object.kind != Kind::PoePort; } );
   if ( board.objects.empty() ) {
      throw UseError( "the board has no PoE ports" );
   }
   return board;
}

std::vector< PoeController > poeControllers( const Board& board,
                                             const std::vector< PoePort >& ports ) {
   std::vector< PoeController > controllers;
   for ( const PoePort& port : ports ) {
      auto did = deviceIdOf( board.wiring, *port.object );
      auto controller = std::ranges::find( controllers, did, &PoeController::did );
      if ( controller == controllers.end() ) {
         controller = controllers.insert( controllers.end(), PoeController{ did, {} } );
      }
      controller->ports.push_back( port );
   }
   return controllers;
}

}  // namespace Host
