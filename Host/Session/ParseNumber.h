#pragma once

#include <charconv>
#include <optional>
#include <string_view>
#include <system_error>

namespace Host {

// The number that the whole text is, within the limits.
template < typename Number >
std::optional< Number > parseNumber( std::string_view text, Number lowest, Number highest ) {
   Number number{};
   auto [ end, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
   bool whole = error == std::errc() && end == text.data() + text.size();
   return whole && number >= lowest && number <= highest ? std::optional( number ) : std::nullopt;
}

}  // namespace Host
