#include "Host/Watch/WatchModel.h"

#include <fnmatch.h>

#include <algorithm>
#include <cstring>

namespace Host {

namespace {

bool isSame( const Observation& a, const Observation& b ) {
   return a.state == b.state && a.reading == b.reading && a.reason == b.reason && a.text == b.text;
}

}  // namespace

WatchModel::WatchModel( const std::vector< Observation >& observations ) {
   for ( const Observation& observation : observations ) {
      rows_.push_back( { observation } );
      ++counts_[ static_cast< size_t >( observation.state ) ];
   }
   choose();
}

bool WatchModel::update( const std::vector< Observation >& observations,
                         WallClock::time_point now ) {
   bool isNew = false;
   bool isMoved = false;
   for ( size_t i = 0; i < rows_.size(); ++i ) {
      const Observation& latest = rows_[ i ].latest;
      if ( isSame( observations[ i ], latest ) ) {
         continue;
      }
      isNew = true;
      isMoved = isMoved || ( order_ == Order::State && observations[ i ].state != latest.state ) ||
                ( order_ == Order::Reading && observations[ i ].reading != latest.reading );
      take( rows_[ i ], observations[ i ], now );
   }
   if ( isMoved ) {
      arrange();
   }
   return isNew;
}

void WatchModel::take( WatchRow& row, const Observation& observation, WallClock::time_point now ) {
   State before = row.latest.state;
   row.latest = observation;
   if ( observation.state != before ) {
      --counts_[ static_cast< size_t >( before ) ];
      ++counts_[ static_cast< size_t >( observation.state ) ];
      if ( before != State::Pending ) {
         log_.add( before, observation, now );
      }
   }
   if ( observation.reading ) {
      row.lowest = std::min( row.lowest.value_or( *observation.reading ), *observation.reading );
      row.highest = std::max( row.highest.value_or( *observation.reading ), *observation.reading );
   }
}

void WatchModel::nextOrder() {
   order_ = static_cast< Order >( ( static_cast< size_t >( order_ ) + 1 ) % kOrderNames.size() );
   arrange();
}

void WatchModel::filterIs( const std::string& filter ) {
   filter_ = filter;
   choose();
}

bool WatchModel::passes( const std::string& name ) const {
   return filter_.find_first_of( "*?[" ) == std::string::npos
             ? strcasestr( name.c_str(), filter_.c_str() ) != nullptr
             : fnmatch( filter_.c_str(), name.c_str(), FNM_CASEFOLD ) == 0;
}

void WatchModel::choose() {
   shown_.clear();
   for ( size_t i = 0; i < rows_.size(); ++i ) {
      if ( passes( rows_[ i ].latest.object->name ) ) {
         shown_.push_back( i );
      }
   }
   arrange();
}

// Rows that are equal stay as they are on the board.
void WatchModel::arrange() {
   std::ranges::sort( shown_ );
   std::ranges::stable_sort( shown_, [ this ]( size_t a, size_t b ) {
      return precedes( rows_[ a ].latest, rows_[ b ].latest, order_ );
   } );
   scroll( 0 );
}

void WatchModel::heightIs( size_t rows ) {
   height_ = rows;
   scroll( 0 );
}

void WatchModel::scroll( ptrdiff_t rows ) {
   auto last = static_cast< ptrdiff_t >( shown_.size() - std::min( height_, shown_.size() ) );
   top_ = static_cast< size_t >(
      std::clamp< ptrdiff_t >( static_cast< ptrdiff_t >( top_ ) + rows, 0, last ) );
}

}  // namespace Host
