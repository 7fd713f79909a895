#include "Host/Session/SlotWords.h"

#include <algorithm>
#include <cctype>
#include <map>
#include <optional>

#include "Utils/Text.h"

namespace Host {

namespace {

using Utils::trimmed;

constexpr std::string_view kAirflow = "Airflow";  // ends each direction's name

using Values = std::map< std::string_view, std::string_view >;

// What stands between the quotes that a text begins with.
std::optional< std::string_view > quoted( std::string_view text ) {
   bool isQuoted = text.starts_with( '\'' ) || text.starts_with( '"' );
   size_t end = isQuoted ? text.find( text.front(), 1 ) : std::string_view::npos;
   return end == std::string_view::npos ? std::nullopt : std::optional( text.substr( 1, end - 1 ) );
}

// Notes the text that a line assigns to a member of anything, unless an earlier one did.
void noteAssignment( std::string_view line, Values& values ) {
   std::string_view target = line.substr( 0, line.find_first_of( " \t=" ) );
   std::string_view rest = trimmed( line.substr( target.size() ) );
   size_t point = target.rfind( '.' );
   bool isMember = point != std::string_view::npos && point > 0 && !target.starts_with( '#' );
   if ( !isMember || !rest.starts_with( '=' ) ) {
      return;
   }
   if ( auto value = quoted( trimmed( rest.substr( 1 ) ) ) ) {
      values.emplace( target.substr( point + 1 ), *value );
   }
}

Values valuesIn( std::string_view program ) {
   Values values;
   while ( !program.empty() ) {
      size_t end = std::min( program.find( '\n' ), program.size() );
      noteAssignment( program.substr( 0, end ), values );
      program.remove_prefix( std::min( end + 1, program.size() ) );
   }
   return values;
}

// Empty where it is not known.
std::string valueOf( const Values& values, std::string_view name ) {
   auto value = values.find( name );
   std::string text = value == values.end() ? "" : Utils::printable( value->second );
   text = trimmed( text );
   return text == "N/A" ? "" : text;
}

// "front to back" of "frontToBackAirflow".
std::string directionWords( std::string name ) {
   if ( name.ends_with( kAirflow ) ) {
      name.resize( name.size() - kAirflow.size() );
   }
   std::string words;
   bool wasSmall = false;
   for ( unsigned char letter : name ) {
      bool beginsWord = wasSmall && std::isupper( letter );
      words += beginsWord ? " " : "";
      words += static_cast< char >( beginsWord ? std::tolower( letter ) : letter );
      wasSmall = std::islower( letter );
   }
   return words;
}

}  // namespace

std::string slotWords( std::string_view program ) {
   Values values = valuesIn( program );
   std::string serial = valueOf( values, "serialNum" );
   std::string words;
   for ( const std::string& part :
         { valueOf( values, "modelName" ), serial.empty() ? "" : "serial " + serial,
           directionWords( valueOf( values, "airflowDirection" ) ) } ) {
      words += words.empty() || part.empty() ? part : ", " + part;
   }
   return words;
}

}  // namespace Host
