#include "BoardFiles/FanRange.h"

#include <charconv>
#include <string_view>

namespace BoardFiles {

namespace {

using Utils::Json::Value;

constexpr double kLowestShare = 0.3;  // of the highest speed: the drivers' own lowest

// Drivers take numbers as texts, too.
std::optional< int > wholeNumber( const Value* value ) {
   if ( value && value->IsInt() ) {
      return value->GetInt();
   }
   std::string_view text = value && value->IsString() ? value->GetString() : "";
   int number = 0;
   auto [ end, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
   bool isWhole = error == std::errc() && end == text.data() + text.size();
   return isWhole ? std::optional( number ) : std::nullopt;
}

}  // namespace

FanRange FanRange::ofDriver( const Value& fan ) {
   auto [ device ] = Utils::Json::members< "device" >( fan );
   auto [ arguments ] = Utils::Json::members< "driverArgs" >( *device );
   if ( !arguments || !arguments->IsObject() ) {
      return {};
   }
   auto [ lowest, highest ] = Utils::Json::members< "minRpm", "maxRpm" >( *arguments );
   FanRange range{ wholeNumber( lowest ), wholeNumber( highest ) };
   if ( !lowest && range.max ) {
      range.min = static_cast< int >( kLowestShare * *range.max );
   }
   return range;
}

FanRange FanRange::of( const Value& fan ) {
   auto [ min, max ] = Utils::Json::members< "min", "max" >( fan );
   FanRange range = ofDriver( fan );
   range.min = min ? min->GetInt() : range.min;
   range.max = max ? max->GetInt() : range.max;
   return range;
}

}  // namespace BoardFiles
