#include "CommandLine/UnknownWord.h"

#include <fmt/format.h>

#include <CLI/CLI.hpp>
#include <vector>

#include "Utils/Nearest.h"

namespace CommandLine {

namespace {

std::vector< std::string > commandsOf( const CLI::App& app ) {
   std::vector< std::string > names;
   for ( const CLI::App* command : app.get_subcommands( {} ) ) {
      names.push_back( command->get_name() );
   }
   return names;
}

// Its own, and those of the commands that were given.
std::vector< std::string > optionsOf( const CLI::App& app ) {
   std::vector< std::string > names;
   for ( const CLI::Option* option : app.get_options() ) {
      for ( const std::string& name : option->get_lnames() ) {
         names.push_back( "--" + name );
      }
   }
   for ( const CLI::App* command : app.get_subcommands() ) {
      auto more = optionsOf( *command );
      names.insert( names.end(), more.begin(), more.end() );
   }
   return names;
}

}  // namespace

std::string unknownWord( const CLI::App& app ) {
   std::vector< std::string > unknown = app.remaining( true );
   if ( unknown.empty() ) {
      return {};
   }
   std::string word = unknown[ 0 ];
   if ( word.starts_with( '-' ) ) {
      word = word.substr( 0, word.find( '=' ) );
      return fmt::format( "unknown option \"{}\"{}", word,
                          Utils::didYouMean( word, optionsOf( app ) ) );
   }
   const CLI::App* innermost = &app;
   while ( !innermost->get_subcommands().empty() ) {
      innermost = innermost->get_subcommands()[ 0 ];
   }
   if ( innermost->get_require_subcommand_min() > 0 ) {
      return fmt::format( "unknown command \"{}\"{}", word,
                          Utils::didYouMean( word, commandsOf( *innermost ) ) );
   }
   return fmt::format( "\"{}\" is one argument too many", word );
}

}  // namespace CommandLine
