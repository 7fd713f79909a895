#include "SmbusService/Emulator/Faults.h"

#include <fmt/format.h>

#include <algorithm>
#include <string_view>

namespace SmbusService::Emulator {

namespace {

struct Name {
   std::string_view name;
   FaultKind kind;
};

constexpr Name kNames[] = {
   { "nak", FaultKind::kNak },
   { "timeout", FaultKind::kTimeout },
   { "corrupt", FaultKind::kCorrupt },
   { "short", FaultKind::kShort },
   { "stuck-mux", FaultKind::kStuckMux },
};

bool concerns( FaultKind kind, bool reads, bool writesMux ) {
   switch ( kind ) {
      case FaultKind::kCorrupt:
      case FaultKind::kShort:
         return reads;
      case FaultKind::kStuckMux:
         return writesMux;
      default:
         return true;
   }
}

FaultKind faultKind( const JsonCursor& json ) {
   std::string name = json.asString();
   for ( const Name& entry : kNames ) {
      if ( entry.name == name ) {
         return entry.kind;
      }
   }
   json.fail( fmt::format( "unknown fault '{}'; there are nak, timeout, corrupt, short, stuck-mux",
                           name ) );
}

}  // namespace

Fault readFault( const JsonCursor& json ) {
   Fault fault{ .kind = faultKind( json.member( "kind" ) ) };
   if ( auto count = json.find( "count" ) ) {
      fault.count = count->asUint();
      if ( fault.count == 0 ) {
         count->fail( "must be at least 1" );
      }
   }
   if ( auto skip = json.find( "skip" ) ) {
      fault.skip = skip->asUint();
   }
   return fault;
}

std::optional< FaultKind > Faults::strike( bool reads, bool writesMux ) {
   std::optional< FaultKind > struck;
   for ( Fault& fault : faults_ ) {
      if ( !concerns( fault.kind, reads, writesMux ) ) {
         continue;
      }
      if ( fault.skip ) {
         --fault.skip;
      } else if ( !struck ) {
         struck = fault.kind;
         --fault.count;
      }
   }
   std::erase_if( faults_, []( const Fault& fault ) { return fault.count == 0; } );
   return struck;
}

}  // namespace SmbusService::Emulator
