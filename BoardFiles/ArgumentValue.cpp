#include "BoardFiles/ArgumentValue.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <stdexcept>
#include <vector>

#include "BoardFiles/DriverTable.h"
#include "Utils/Numbers.h"
#include "Utils/Text.h"

namespace BoardFiles {

namespace {

using DriverTable::find;
using DriverTable::textOf;
using Utils::Json::Value;
using Utils::Json::write;

// Drivers get all arguments as texts.
std::string textFor( const Value& value ) {
   if ( value.IsString() ) {
      return { value.GetString(), value.GetStringLength() };
   }
   return value.IsDouble() ? fmt::format( "{:g}", value.GetDouble() ) : write( value );
}

// Drivers read the number that a text begins with.
template < typename Number >
bool isAllOf( std::string_view text, Number ) {
   text = Utils::trimmed( text );
   text.remove_prefix( text.starts_with( '+' ) );
   Number number;
   auto [ end, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
   return error == std::errc() && end == text.data() + text.size();
}

int truncatedTo( const Value& rule, int number ) {
   const Value* bits = find( rule, "bits" );
   return bits ? static_cast< int >( static_cast< uint8_t >( number ) ) : number;
}

bool isBetween( int number, const Value& lowest, const Value& highest ) {
   return number >= lowest.GetInt() && number <= highest.GetInt();
}

std::string listOf( const Value& values ) {
   std::vector< std::string > texts;
   for ( const Value& value : values.GetArray() ) {
      texts.push_back( write( value ) );
   }
   return fmt::format( "{}", fmt::join( texts, ", " ) );
}

ArgumentProblem readAs( const Value& value, const std::string& number ) {
   return { fmt::format( "{} is read as {}", write( value ), number ), true };
}

std::optional< ArgumentProblem > problemOfInteger( const Value& value, const Value& rule ) {
   std::string text = textFor( value );
   int number;
   try {
      number = Utils::stoi( text );
   } catch ( const std::out_of_range& ) {
      return ArgumentProblem{
         fmt::format( "must fit 32 bits with a sign, not {}", write( value ) ) };
   } catch ( const std::invalid_argument& ) {
      return ArgumentProblem{ fmt::format( "must be an integer, not {}", write( value ) ) };
   }
   int read = truncatedTo( rule, number );
   const Value* lowest = find( rule, "minimum" );
   if ( lowest && !isBetween( read, *lowest, rule[ "maximum" ] ) ) {
      return ArgumentProblem{ fmt::format( "must be {} to {}, not {}", lowest->GetInt(),
                                           rule[ "maximum" ].GetInt(), write( value ) ) };
   }
   if ( read != number || !isAllOf( text, number ) ) {
      return readAs( value, std::to_string( read ) );
   }
   const Value* useful = find( rule, "useful" );
   if ( useful && !isBetween( read, ( *useful )[ 0 ], ( *useful )[ 1 ] ) ) {
      return ArgumentProblem{ fmt::format( "should be {} to {}, not {}", ( *useful )[ 0 ].GetInt(),
                                           ( *useful )[ 1 ].GetInt(), write( value ) ),
                              true };
   }
   return std::nullopt;
}

std::optional< ArgumentProblem > problemOfNumber( const Value& value, const Value& rule ) {
   std::string text = textFor( value );
   double number;
   try {
      number = Utils::stod( text );
   } catch ( const std::logic_error& ) {
      return ArgumentProblem{ fmt::format( "must be a number, not {}", write( value ) ) };
   }
   if ( const Value* values = find( rule, "values" ) ) {
      double quotient = rule[ "quotient" ].GetDouble();
      int steps = Utils::truncate( quotient / number );
      auto accepted = std::find_if( values->Begin(), values->End(), [ & ]( const Value& listed ) {
         return Utils::truncate( quotient / listed.GetDouble() ) == steps;
      } );
      if ( accepted == values->End() ) {
         return ArgumentProblem{
            fmt::format( "must be one of {}, not {}", listOf( *values ), write( value ) ) };
      }
      if ( accepted->GetDouble() != number ) {
         return readAs( value, write( *accepted ) );
      }
   }
   return isAllOf( text, number ) ? std::nullopt
                                  : std::optional( readAs( value, fmt::format( "{:g}", number ) ) );
}

}  // namespace

std::optional< ArgumentProblem > problemOf( const Value& value, const Value& rule ) {
   std::string_view type = textOf( rule, "type" );
   if ( type == "integer" ) {
      return problemOfInteger( value, rule );
   }
   if ( type == "number" ) {
      return problemOfNumber( value, rule );
   }
   const Value* values = find( rule, "values" );
   if ( values && std::ranges::none_of( values->GetArray(), [ & ]( const Value& listed ) {
           return textFor( value ) == textFor( listed );
        } ) ) {
      return ArgumentProblem{
         fmt::format( "must be {}, not {}", listOf( *values ), write( value ) ) };
   }
   return std::nullopt;
}

bool isGiven( const Value* value, const Value& rule ) {
   bool isNone = !value || value->IsNull() || ( find( rule, "mayBeEmpty" ) && *value == "" );
   return !isNone;
}

std::optional< int > integerOf( const Value& value, const Value& rule ) try {
   return truncatedTo( rule, Utils::stoi( textFor( value ) ) );
} catch ( const std::logic_error& ) {
   return std::nullopt;
}

}  // namespace BoardFiles
