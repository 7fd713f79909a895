#include "BoardFiles/NumberRange.h"

#include <fmt/format.h>

#include <algorithm>
#include <charconv>
#include <string_view>

namespace BoardFiles {

std::optional< uint32_t > numberIn( std::string_view text ) {
   bool isHexadecimal = text.starts_with( "0x" ) || text.starts_with( "0X" );
   text.remove_prefix( isHexadecimal ? 2 : 0 );
   uint32_t number = 0;
   const char* end = text.data() + text.size();
   auto [ stop, error ] = std::from_chars( text.data(), end, number, isHexadecimal ? 16 : 10 );
   return error == std::errc() && stop == end ? std::optional( number ) : std::nullopt;
}

namespace {

using Utils::Json::Value;

std::optional< NumberRange > rangeIn( const Value& value ) {
   if ( value.IsUint() ) {
      return NumberRange{ value.GetUint(), value.GetUint() };
   }
   std::string_view text( value.GetString(), value.GetStringLength() );
   size_t dash = text.find( '-' );
   auto first = numberIn( text.substr( 0, dash ) );
   auto last = dash == text.npos ? first : numberIn( text.substr( dash + 1 ) );
   return first && last ? std::optional( NumberRange{ *first, *last } ) : std::nullopt;
}

std::string textOf( const NumberRange& range ) {
   std::string first = fmt::format( "0x{:02x}", range.first );
   return range.first == range.last ? first : fmt::format( "{}-0x{:02x}", first, range.last );
}

std::string problemOf( const Value& value,
                       const std::optional< NumberRange >& range,
                       const NumberRange& limits,
                       const char* what ) {
   if ( !range ) {
      return fmt::format( "{} is neither a number nor a range such as \"0x50-0x57\"",
                          Utils::Json::write( value ) );
   }
   if ( range->first > range->last ) {
      return fmt::format( "the range ends before it begins; \"{}\" is the other way round",
                          textOf( { range->last, range->first } ) );
   }
   bool isInside = range->first >= limits.first && range->last <= limits.last;
   return isInside ? "" : fmt::format( "{} are {}", what, textOf( limits ) );
}

std::vector< NumberRange > merged( std::vector< NumberRange > ranges ) {
   std::ranges::sort( ranges, {}, &NumberRange::first );
   std::vector< NumberRange > result;
   for ( const NumberRange& range : ranges ) {
      if ( !result.empty() && range.first <= uint64_t{ result.back().last } + 1 ) {
         result.back().last = std::max( result.back().last, range.last );
      } else {
         result.push_back( range );
      }
   }
   return result;
}

}  // namespace

std::vector< NumberRange > readRanges( const Value& list,
                                       const NumberRange& limits,
                                       const char* what,
                                       const Place& place,
                                       std::vector< Finding >& findings ) {
   std::vector< NumberRange > ranges;
   size_t position = 0;
   for ( const Value& value : list.GetArray() ) {
      auto range = rangeIn( value );
      std::string problem = problemOf( value, range, limits, what );
      if ( problem.empty() ) {
         ranges.push_back( *range );
      } else {
         std::string pointer = place.member( std::to_string( position ) ).pointer;
         findings.push_back( { place.file, pointer, problem } );
      }
      ++position;
   }
   return merged( std::move( ranges ) );
}

std::string textOf( const std::vector< NumberRange >& ranges ) {
   std::string text;
   for ( const NumberRange& range : ranges ) {
      text += ( text.empty() ? "" : ", " ) + textOf( range );
   }
   return text;
}

}  // namespace BoardFiles
