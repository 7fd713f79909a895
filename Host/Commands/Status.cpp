#include <CLI/CLI.hpp>
#include <map>
#include <memory>
#include <optional>

#include "Host/Commands/Commands.h"
#include "Host/Output/Print.h"
#include "Host/Output/Report.h"

namespace Host {

namespace {

struct Arguments {
   std::vector< std::string > patterns;
   std::optional< Order > order;  // else the table's own, and in JSON the board's
};

int status( const Program& program, const Arguments& arguments ) {
   OpenBoard open( program, loadObjects( program, arguments.patterns ) );
   auto observations = open.session.read();
   if ( program.json ) {
      print( statusJson( program.board, arguments.order ? inOrder( observations, *arguments.order )
                                                        : observations ) );
   } else {
      print( statusTable( observations, TableStyle::ofOutput(),
                          arguments.order.value_or( Order::Kind ) ) );
      print( "\n" + summaryText( observations ) );
   }
   return allOk( observations ) ? kAllWell : kNotWell;
}

}  // namespace

void addStatusCommand( CLI::App& app, Program& program ) {
   static const std::map< std::string, Order > kOrders = { { "kind", Order::Kind },
                                                           { "name", Order::Name },
                                                           { "state", Order::State },
                                                           { "reading", Order::Reading } };
   auto arguments = std::make_shared< Arguments >();
   auto command =
      addCommand( app, program, { "status", "objects, all or some: reading, limits and state" },
                  [ &program, arguments ] { return status( program, *arguments ); } );
   command->add_option( "NAME", arguments->patterns, kPatternsHelp );
   command
      ->add_option( "--sort", arguments->order,
                    "the rows by kind, name, reading, or state with the worst first" )
      ->transform( CLI::CheckedTransformer( kOrders ).description( "" ) )
      ->type_name( "kind|name|reading|state" );
}

}  // namespace Host
