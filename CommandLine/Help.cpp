#include "CommandLine/Help.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace CommandLine {

namespace {

constexpr size_t kTextColumn = 24;
constexpr size_t kLastColumn = 79;

// The words of the text in lines from the column on; what stands before it ends at `begun`.
std::string wrapped( const std::string& text, size_t column, size_t begun ) {
   std::string lines( column - begun, ' ' );
   size_t end = column;
   std::istringstream words( text );
   for ( std::string word; words >> word; end += word.size() ) {
      if ( end + 1 + word.size() > kLastColumn ) {
         lines += "\n" + std::string( column, ' ' );
         end = column;
      } else if ( end > column ) {
         lines += ' ';
         ++end;
      }
      lines += word;
   }
   return lines;
}

std::string entry( const std::string& name, const std::string& text ) {
   std::string line = "  " + name;
   if ( line.size() >= kTextColumn ) {
      return line + "\n" + wrapped( text, kTextColumn, 0 ) + "\n";
   }
   return line + wrapped( text, kTextColumn, line.size() ) + "\n";
}

// What the option's own description does not tell.
std::string conditions( const CLI::Option& option ) {
   auto join = []( const std::set< CLI::Option* >& options ) {
      std::vector< std::string > names;
      for ( const CLI::Option* each : options ) {
         names.push_back( each->get_name() );
      }
      std::ranges::sort( names );
      return fmt::format( "{}", fmt::join( names, ", " ) );
   };
   std::vector< std::string > all;
   if ( option.get_required() && option.nonpositional() ) {
      all.emplace_back( "required" );
   }
   if ( !option.get_default_str().empty() ) {
      all.push_back( "default: " + option.get_default_str() );
   }
   if ( !option.get_needs().empty() ) {
      all.push_back( "only with " + join( option.get_needs() ) );
   }
   if ( !option.get_excludes().empty() ) {
      all.push_back( "not with " + join( option.get_excludes() ) );
   }
   return all.empty() ? "" : fmt::format( " ({})", fmt::join( all, "; " ) );
}

class Formatter : public CLI::Formatter {
 public:
   Formatter() {
      label( "SUBCOMMAND", "COMMAND" );
      label( "Positionals", "Arguments" );
   }

   std::string make_option( const CLI::Option* option, bool isPositional ) const override {
      return entry( make_option_name( option, isPositional ) + make_option_opts( option ),
                    option->get_description() + conditions( *option ) );
   }

   std::string make_option_name( const CLI::Option* option, bool isPositional ) const override {
      std::string name = CLI::Formatter::make_option_name( option, isPositional );
      return name == "-h,--help" ? "-h, --help" : name;
   }

   std::string make_option_opts( const CLI::Option* option ) const override {
      bool isMany = option->get_expected_max() >= CLI::detail::expected_max_vector_size;
      std::string many = isMany ? "..." : "";
      if ( !option->nonpositional() || option->get_type_size() == 0 ) {
         return many;
      }
      std::string type = option->get_type_name();
      return " " + type.substr( 0, type.find( ':' ) ) + ( type.ends_with( "..." ) ? "" : many );
   }

   std::string make_option_usage( const CLI::Option* option ) const override {
      std::string name = make_option_name( option, true ) + make_option_opts( option );
      return option->get_required() ? name : "[" + name + "]";
   }

   std::string make_subcommand( const CLI::App* command ) const override {
      return entry( command->get_name(), command->get_description() );
   }

   std::string make_description( const CLI::App* app ) const override {
      return wrapped( app->get_description(), 0, 0 ) + "\n";
   }

   // The options of the commands around it go with a command as well.
   std::string make_footer( const CLI::App* app ) const override {
      std::string footer = app->get_footer();
      while ( !footer.empty() && footer.back() == '\n' ) {
         footer.pop_back();
      }
      footer += footer.empty() ? "" : "\n";
      if ( const CLI::App* parent = app->get_parent() ) {
         while ( parent->get_parent() ) {
            parent = parent->get_parent();
         }
         footer += fmt::format( "{}See \"{} --help\" for further options, and the exit status.\n",
                                footer.empty() ? "" : "\n", parent->get_name() );
      }
      return footer;
   }
};

}  // namespace

std::shared_ptr< CLI::FormatterBase > helpFormatter() {
   return std::make_shared< Formatter >();
}

}  // namespace CommandLine
