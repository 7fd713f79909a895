#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>

#include "Host/Commands/Commands.h"
#include "Host/Output/Print.h"
#include "Host/Output/ShowReport.h"
#include "Host/Session/FactReader.h"

namespace Host {

namespace {

int show( const Program& program, const std::vector< std::string >& patterns ) {
   OpenBoard open( program, loadObjects( program, patterns ), { .readObject = readFacts } );
   std::vector< ShownObject > objects;
   for ( const Observation& observation : open.session.read() ) {
      objects.push_back( shownObject( open.board, observation ) );
   }
   if ( program.json ) {
      print( showJson( open.board, objects ) );
   } else {
      for ( const ShownObject& object : objects ) {
         print( ( &object == &objects[ 0 ] ? "" : "\n" ) + showText( open.board, object ) );
      }
   }
   return std::ranges::all_of( objects, isWell ) ? kAllWell : kNotWell;
}

}  // namespace

void addShowCommand( CLI::App& app, Program& program ) {
   auto patterns = std::make_shared< std::vector< std::string > >();
   auto command =
      addCommand( app, program, { "show", "everything that objects tell, and where they hang" },
                  [ &program, patterns ] { return show( program, *patterns ); } );
   addPatterns( *command, *patterns )->required();
}

}  // namespace Host
