#include "SmbusService/Emulator/Faults.h"

#include <algorithm>

namespace SmbusService::Emulator {

namespace {

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

}  // namespace

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
