#include "Host/Session/LabelledText.h"

#include <algorithm>
#include <charconv>
#include <cmath>

#include "Utils/Text.h"

namespace Host {

LabelledText::LabelledText( std::string_view text ) {
   while ( !text.empty() ) {
      size_t end = std::min( text.find( '\n' ), text.size() );
      std::string_view line = text.substr( 0, end );
      size_t colon = std::min( line.find( ':' ), line.size() );
      std::string_view value = Utils::trimmed( line.substr( std::min( colon + 1, line.size() ) ) );
      if ( !value.empty() ) {
         values_.emplace_back( Utils::trimmed( line.substr( 0, colon ) ), value );
      }
      text.remove_prefix( std::min( end + 1, text.size() ) );
   }
}

std::string LabelledText::value( std::string_view label ) const {
   auto found = std::ranges::find( values_, label, &std::pair< std::string, std::string >::first );
   return found == values_.end() ? "" : found->second;
}

std::optional< double > LabelledText::number( std::string_view label ) const {
   std::string text = value( label );
   double number = 0;
   auto [ end, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
   bool isNumber = error == std::errc() && std::isfinite( number );
   return isNumber ? std::optional( number ) : std::nullopt;
}

bool LabelledText::hasValue( std::string_view label, std::string_view beginning ) const {
   return std::ranges::any_of( values_, [ & ]( const auto& each ) {
      return each.first == label && each.second.starts_with( beginning );
   } );
}

}  // namespace Host
