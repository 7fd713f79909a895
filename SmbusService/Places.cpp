#include "SmbusService/Places.h"

#include <fmt/format.h>

#include <algorithm>

namespace SmbusService {

namespace {

constexpr uid_t kRoot = 0;

size_t countOf( uid_t user, const std::vector< Occupant >& occupants ) {
   return static_cast< size_t >( std::ranges::count( occupants, user, &Occupant::user ) );
}

// Of those that may leave.
std::optional< size_t > longestIdle( const std::vector< Occupant >& occupants,
                                     const PlaceLimits& limits,
                                     auto mayLeave ) {
   std::optional< size_t > found;
   auto longest = std::chrono::steady_clock::now() - limits.leastIdle;
   for ( size_t i = 0; i < occupants.size(); ++i ) {
      const Occupant& each = occupants[ i ];
      if ( each.idleSince && *each.idleSince <= longest && mayLeave( each ) ) {
         longest = *each.idleSince;
         found = i;
      }
   }
   return found;
}

}  // namespace

Place placeFor( uid_t user, const std::vector< Occupant >& occupants, const PlaceLimits& limits ) {
   size_t room = limits.all - ( user == kRoot ? 0 : limits.roots );
   bool isUserFull = user != kRoot && countOf( user, occupants ) >= limits.ofUser;
   if ( !isUserFull && occupants.size() < room ) {
      return {};
   }
   auto leaves =
      longestIdle( occupants, limits, [ & ]( const Occupant& each ) { return each.user == user; } );
   if ( !leaves && !isUserFull ) {
      bool mayRootLeave = user == kRoot || countOf( kRoot, occupants ) > limits.roots;
      leaves = longestIdle( occupants, limits, [ & ]( const Occupant& each ) {
         return each.user != kRoot || mayRootLeave;
      } );
   }
   if ( leaves ) {
      return { .whyNot = {}, .leaves = leaves };
   }
   return { .whyNot = isUserFull ? fmt::format( "there are {} clients of uid {} already",
                                                limits.ofUser, user )
                                 : fmt::format( "there are {} clients already", room ),
            .leaves = {} };
}

}  // namespace SmbusService
