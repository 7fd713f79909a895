#include "Host/Watch/ChangeLog.h"

#include <fmt/format.h>

#include <ctime>

namespace Host {

namespace {

constexpr size_t kMostChanges = 200;

// Lanes find out about one cause at different times.
constexpr std::chrono::seconds kSameTime( 3 );

}  // namespace

std::string clockTime( WallClock::time_point time ) {
   time_t seconds = WallClock::to_time_t( time );
   tm local{};
   localtime_r( &seconds, &local );
   return fmt::format( "{:02}:{:02}:{:02}", local.tm_hour, local.tm_min, local.tm_sec );
}

std::string Change::text() const {
   std::string who = objects.size() == 1 ? fmt::format( "{} {} -> ", ( *objects.begin() )->name,
                                                        stateName( before ) )
                                         : fmt::format( "{} objects ", objects.size() );
   return fmt::format( "{} {}{}{}{}", clockTime( time ), who, stateName( state ),
                       reason.empty() ? "" : ": ", reason );
}

void ChangeLog::add( State before, const Observation& after, WallClock::time_point now ) {
   for ( auto latest = changes_.rbegin(); latest != changes_.rend(); ++latest ) {
      Change& change = *latest;
      if ( now - change.time > kSameTime || change.objects.contains( after.object ) ) {
         break;  // an object's changes stay in their order
      }
      if ( change.state == after.state && change.reason == after.reason ) {
         change.objects.insert( after.object );
         return;
      }
   }
   changes_.push_back( { now, before, after.state, after.reason, { after.object } } );
   if ( changes_.size() > kMostChanges ) {
      changes_.pop_front();
   }
}

}  // namespace Host
