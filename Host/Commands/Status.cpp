#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <memory>
#include <optional>

#include "Host/Commands/Commands.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"
#include "Host/Session/UseError.h"
#include "Utils/Nearest.h"

namespace Host {

namespace {

struct StatusArguments {
   std::vector< std::string > patterns;
   std::string order;  // empty: the table's own, and in JSON the board's
};

std::optional< Order > orderCalled( const std::string& name ) {
   auto order = std::ranges::find( kOrderNames, name );
   if ( !name.empty() && order == kOrderNames.end() ) {
      throw UseError( fmt::format(
         "rows are not sorted by \"{}\"; there are {}{}", name, fmt::join( kOrderNames, ", " ),
         Utils::didYouMean( name, { kOrderNames.begin(), kOrderNames.end() } ) ) );
   }
   return name.empty() ? std::nullopt
                       : std::optional( static_cast< Order >( order - kOrderNames.begin() ) );
}

int status( const Program& program, const StatusArguments& arguments ) {
   auto order = orderCalled( arguments.order );
   OpenBoard open( program, loadObjects( program, arguments.patterns ) );
   auto observations = open.session.read();
   if ( program.json ) {
      print( statusJson( program.board, order ? inOrder( observations, *order ) : observations ) );
   } else {
      print( statusTable( observations, TableStyle::ofOutput(), order.value_or( Order::Kind ) ) );
      print( "\n" + summaryText( observations ) );
   }
   return allOk( observations ) ? kAllWell : kNotWell;
}

}  // namespace

void addStatusCommand( CLI::App& app, Program& program ) {
   auto arguments = std::make_shared< StatusArguments >();
   auto command =
      addCommand( app, program, { "status", "objects, all or some: reading, limits and state" },
                  [ &program, arguments ] { return status( program, *arguments ); } );
   addPatterns( *command, arguments->patterns );
   command
      ->add_option( "--sort", arguments->order,
                    "the rows by kind, name, reading, or state with the worst first" )
      ->type_name( "kind|name|reading|state" );
}

}  // namespace Host
