#pragma once

#include "Host/Watch/Frame.h"
#include "Host/Watch/WatchModel.h"

namespace Host {

// As a state looks.
Span stateSpan( State state, std::string text );

// The rows of a watch, with as many columns as there is room for. Only rows that are seen are made.
class WatchTable {
 public:
   explicit WatchTable( const WatchModel& model );

   // The titles, and below them the rows that are seen.
   Frame draw( const WatchModel& model, size_t columns );

 private:
   // Widths; 0 for a column that there is no room for.
   struct Columns {
      size_t name, kind = 0, reading = 0, range = 0, state = 0;
   };
   struct Readings {
      std::string latest, lowest, highest;
   };

   void measure( const std::vector< Readings >& readings );
   std::string aligned( std::string text ) const;
   Columns chooseColumns( size_t width ) const;
   Line titles( const Columns& columns ) const;
   Line row( const WatchRow& row, const Readings& readings, const Columns& columns ) const;

   // With their titles.
   size_t longestName_;
   size_t longestKind_;
   size_t longestUnit_ = 0;

   // Of the readings that were seen so far: columns that shrank again would flicker.
   size_t whole_ = 0;
   size_t fraction_ = 0;
};

}  // namespace Host
