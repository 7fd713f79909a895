#pragma once

#include "Host/Watch/Controls.h"
#include "Host/Watch/Frame.h"
#include "Host/Watch/WatchModel.h"

namespace Host {

// What stays as it is while a watch lasts.
struct WatchHeading {
   std::string board;
   double interval;  // seconds
   bool isSimulation;
};

// Makes the screen's text, of any size. Only rows that are seen are made.
class WatchView {
 public:
   WatchView( WatchHeading heading, const WatchModel& model );

   // Tells the model how many rows there is room for. `now` is when the readings were made.
   Frame draw( WatchModel& model,
               const Controls& controls,
               FrameSize size,
               WallClock::time_point now );

 private:
   // Widths; 0 for a column that there is no room for.
   struct Columns {
      size_t name, kind = 0, reading = 0, range = 0, state = 0;
   };
   struct Readings {
      std::string latest, lowest, highest;
   };

   Line header( size_t columns, WallClock::time_point now ) const;
   Line summary( const WatchModel& model, size_t columns ) const;
   Line footer( const WatchModel& model, const Controls& controls, size_t columns ) const;
   void addRows( Frame& frame, const WatchModel& model, bool hasTitles, size_t columns );
   void measure( const std::vector< Readings >& readings );
   std::string aligned( std::string text ) const;
   Columns chooseColumns( size_t width ) const;
   Line titles( const Columns& columns ) const;
   Line row( const WatchRow& row, const Readings& readings, const Columns& columns ) const;

   WatchHeading heading_;
   // With their titles.
   size_t longestName_;
   size_t longestKind_;
   size_t longestUnit_ = 0;

   // Of the readings that were seen so far: columns that shrank again would flicker.
   size_t whole_ = 0;
   size_t fraction_ = 0;
};

}  // namespace Host
