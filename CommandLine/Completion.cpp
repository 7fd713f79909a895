#include "CommandLine/Completion.h"

#include <unistd.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <exception>
#include <set>
#include <sstream>
#include <string_view>

#include "Utils/Text.h"

namespace CommandLine {

namespace {

constexpr std::string_view kQuestion = "__complete";
constexpr unsigned kPatience = 2;  // seconds
constexpr int kWordsBefore = 2;    // the program's name and the question

constexpr char kFiles[] = ":files\n";
constexpr char kDirectories[] = ":directories\n";

bool isOption( const std::string& word ) {
   return word.size() > 1 && word[ 0 ] == '-';
}

// A shell expands the tilde of a word only when the line is run.
std::string expanded( const std::string& path ) {
   const char* home = getenv( "HOME" );
   return home && path.starts_with( "~/" ) ? home + path.substr( 1 ) : path;
}

std::vector< std::string > split( const std::string& text, char between ) {
   std::vector< std::string > parts;
   std::istringstream stream( text );
   for ( std::string part; std::getline( stream, part, between ); ) {
      parts.push_back( part );
   }
   return parts;
}

// The values that the option's type, or its validator in braces, lists.
std::vector< std::string > alternatives( const std::string& type ) {
   size_t open = type.find( '{' );
   if ( open != std::string::npos && type.ends_with( '}' ) ) {
      return split( type.substr( open + 1, type.size() - open - 2 ), ',' );
   }
   return type.find( '|' ) == std::string::npos ? std::vector< std::string >() : split( type, '|' );
}

// The line, followed from word to word.
class Line {
 public:
   Line( const CLI::App& app, const Sources& sources ) : command_( &app ), sources_( sources ) {}

   void take( const std::string& word );
   std::string answerTo( const std::string& last );

 private:
   using Options = std::vector< const CLI::Option* >;

   // The outermost command, and those within it that were named.
   std::vector< const CLI::App* > commands() const;
   Options options() const;
   const CLI::Option* optionCalled( const std::string& name ) const;
   const CLI::Option* nextArgument() const;
   bool isPossible( const CLI::Option& option ) const;
   void takeArgument( const std::string& word );
   void giveValue( const std::string& value );

   void addOptions( const std::string& last );
   void addCommands( const std::string& last );
   std::string valuesOf( const CLI::Option& option, const std::string& before );
   void add( const Candidate& candidate, const std::string& last );

   const CLI::App* command_;
   const Sources& sources_;
   const CLI::Option* open_ = nullptr;  // the option whose value comes next
   bool onlyArguments_ = false;         // after --
   std::set< const CLI::Option* > used_;
   Given given_;
   std::string text_;
};

std::vector< const CLI::App* > Line::commands() const {
   std::vector< const CLI::App* > all;
   for ( const CLI::App* each = command_; each; each = each->get_parent() ) {
      all.push_back( each );
   }
   return all;
}

Line::Options Line::options() const {
   Options all;
   for ( const CLI::App* command : commands() ) {
      auto some = command->get_options( [ & ]( const CLI::Option* option ) {
         return option->nonpositional() && !option->get_group().empty() &&
                ( command == command_ || option != command->get_help_ptr() );
      } );
      all.insert( all.end(), some.begin(), some.end() );
   }
   return all;
}

const CLI::Option* Line::optionCalled( const std::string& name ) const {
   auto all = options();
   auto option = std::ranges::find_if(
      all, [ & ]( const CLI::Option* each ) { return each->check_name( name ); } );
   return option == all.end() ? nullptr : *option;
}

const CLI::Option* Line::nextArgument() const {
   auto arguments =
      command_->get_options( []( const CLI::Option* option ) { return option->get_positional(); } );
   size_t left = given_.arguments.size();
   for ( const CLI::Option* argument : arguments ) {
      auto most = static_cast< size_t >( argument->get_items_expected_max() );
      if ( left < most ) {
         return argument;
      }
      left -= most;
   }
   return nullptr;
}

// Once, unless it takes several values, and not beside what it excludes.
bool Line::isPossible( const CLI::Option& option ) const {
   return ( !used_.contains( &option ) || option.get_items_expected_max() > 1 ) &&
          std::ranges::none_of( option.get_excludes(), [ & ]( const CLI::Option* each ) {
             return used_.contains( each );
          } );
}

void Line::giveValue( const std::string& value ) {
   given_.options[ open_->get_name() ] = expanded( value );
   open_ = nullptr;
}

void Line::takeArgument( const std::string& word ) {
   auto inner = command_->get_subcommands( [ & ]( const CLI::App* each ) {
      return each->get_name() == word && !onlyArguments_ && given_.arguments.empty();
   } );
   if ( inner.empty() ) {
      given_.arguments.push_back( word );
   } else {
      command_ = inner[ 0 ];
   }
}

void Line::take( const std::string& word ) {
   if ( open_ ) {
      return giveValue( word );
   }
   if ( onlyArguments_ || !isOption( word ) ) {
      return takeArgument( word );
   }
   onlyArguments_ = word == "--";
   size_t equals = word.find( '=' );
   open_ = optionCalled( word.substr( 0, equals ) );
   used_.insert( open_ );
   if ( open_ && open_->get_type_size() == 0 ) {
      open_ = nullptr;
   } else if ( open_ && equals != std::string::npos ) {
      giveValue( word.substr( equals + 1 ) );
   }
}

void Line::add( const Candidate& candidate, const std::string& last ) {
   bool isFit = candidate.word == Utils::printable( candidate.word );
   if ( isFit && candidate.word.starts_with( last ) ) {
      text_ += candidate.word + '\t' + candidate.meaning + '\n';
   }
}

void Line::addOptions( const std::string& last ) {
   for ( const CLI::Option* option : options() ) {
      if ( isPossible( *option ) ) {
         add( { "--" + option->get_lnames()[ 0 ], option->get_description() }, last );
      }
   }
}

void Line::addCommands( const std::string& last ) {
   for ( const CLI::App* each : command_->get_subcommands( {} ) ) {
      add( { each->get_name(), each->get_description() }, last );
   }
}

// With what stands before the value in its word.
std::string Line::valuesOf( const CLI::Option& option, const std::string& before ) {
   std::string type = option.get_type_name();
   if ( type == "DIR" ) {
      return kDirectories;
   }
   if ( type == "FILE" || type == "PATH" ) {
      return kFiles;
   }
   for ( const std::string& value : alternatives( type ) ) {
      add( { before + value }, before + given_.last );
   }
   if ( auto source = sources_.find( type ); source != sources_.end() ) {
      try {
         for ( const Candidate& each : source->second( given_ ) ) {
            add( { before + each.word, each.meaning }, before + given_.last );
         }
      } catch ( const std::exception& ) {
         // A shell that asks has no place for a problem.
      }
   }
   return text_;
}

std::string Line::answerTo( const std::string& last ) {
   given_.last = last;
   if ( open_ ) {
      return valuesOf( *open_, "" );
   }
   if ( !onlyArguments_ && last.starts_with( '-' ) ) {
      size_t equals = last.find( '=' );
      const CLI::Option* option = optionCalled( last.substr( 0, equals ) );
      if ( equals == std::string::npos || !option ) {
         addOptions( last );
         return text_;
      }
      given_.last = last.substr( equals + 1 );
      return valuesOf( *option, last.substr( 0, equals + 1 ) );
   }
   if ( !onlyArguments_ && given_.arguments.empty() ) {
      addCommands( last );
   }
   const CLI::Option* argument = nextArgument();
   return argument ? valuesOf( *argument, "" ) : text_;
}

}  // namespace

bool isAsked( int argc, const char* const* argv ) {
   bool isQuestion = argc > kWordsBefore && argv[ 1 ] == kQuestion;
   if ( isQuestion ) {
      alarm( kPatience );
   }
   return isQuestion;
}

std::string answer( const CLI::App& app,
                    const Sources& sources,
                    int argc,
                    const char* const* argv ) {
   Line line( app, sources );
   for ( int i = kWordsBefore; i < argc - 1; ++i ) {
      line.take( argv[ i ] );
   }
   return line.answerTo( argv[ argc - 1 ] );
}

}  // namespace CommandLine
