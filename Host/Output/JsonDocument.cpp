#include "Host/Output/JsonDocument.h"

#include <fmt/format.h>
#include <time.h>

#include <chrono>

#include "Host/Session/Service.h"

namespace Host {

namespace {

std::string timeText( std::chrono::system_clock::time_point time ) {
   using namespace std::chrono;
   auto milliseconds =
      duration_cast< std::chrono::milliseconds >( time.time_since_epoch() ).count();
   auto seconds = static_cast< time_t >( milliseconds / 1000 );
   tm utc{};
   gmtime_r( &seconds, &utc );
   return fmt::format( "{:04}-{:02}-{:02}T{:02}:{:02}:{:02}.{:03}Z", utc.tm_year + 1900,
                       utc.tm_mon + 1, utc.tm_mday, utc.tm_hour, utc.tm_min, utc.tm_sec,
                       milliseconds % 1000 );
}

}  // namespace

JsonObject beginDocument( const std::string& board, JsonObject::Allocator& allocator ) {
   JsonObject json( allocator );
   json.add( "board", board );
   json.add( "time", timeText( std::chrono::system_clock::now() ) );
   json.add( "simulation", Value( !serviceNeeded() ) );
   return json;
}

}  // namespace Host
