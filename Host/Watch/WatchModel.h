#pragma once

#include <array>
#include <cstddef>
#include <optional>
#include <string>
#include <vector>

#include "Host/Session/Observation.h"
#include "Host/Session/Order.h"
#include "Host/Watch/ChangeLog.h"

namespace Host {

struct WatchRow {
   Observation latest;
   std::optional< double > lowest = {}, highest = {};  // readings since the start
};

// What a watch knows of a board's objects, and which of them it shows: those whose names pass the
// filter, in some order, from the top row on. All work is done when something changes.
class WatchModel {
 public:
   // The observations are those before the first sweep.
   explicit WatchModel( const std::vector< Observation >& observations );

   // Takes what is new in the observations, which are always of the same objects. False when that
   // is nothing.
   bool update( const std::vector< Observation >& observations, WallClock::time_point now );

   Order order() const { return order_; }
   void nextOrder();

   // A glob, or where it has none of the characters of one, a part of the name. Case is ignored.
   const std::string& filter() const { return filter_; }
   void filterIs( const std::string& filter );

   // So many rows are seen at once.
   void heightIs( size_t rows );
   size_t height() const { return height_; }

   // Downwards, as far as there are rows.
   void scroll( ptrdiff_t rows );
   size_t top() const { return top_; }

   // The rows that are shown, seen or not.
   size_t size() const { return shown_.size(); }
   const WatchRow& row( size_t position ) const { return rows_[ shown_[ position ] ]; }

   // All objects, whatever is shown.
   const std::vector< WatchRow >& rows() const { return rows_; }
   size_t count( State state ) const { return counts_[ static_cast< size_t >( state ) ]; }
   const std::deque< Change >& changes() const { return log_.changes(); }

 private:
   void take( WatchRow& row, const Observation& observation, WallClock::time_point now );
   bool passes( const std::string& name ) const;
   void choose();
   void arrange();

   std::vector< WatchRow > rows_;
   std::vector< size_t > shown_;  // positions in rows_
   std::array< size_t, kStatesByUrgency.size() > counts_{};
   ChangeLog log_;
   Order order_ = Order::State;
   std::string filter_;
   size_t height_ = 0;
   size_t top_ = 0;
};

}  // namespace Host
