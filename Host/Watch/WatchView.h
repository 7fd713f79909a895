#pragma once

#include <string>
#include <utility>

#include "Host/Watch/Controls.h"
#include "Host/Watch/Frame.h"
#include "Host/Watch/WatchModel.h"
#include "Host/Watch/WatchTable.h"

namespace Host {

// What stays as it is while a watch lasts.
struct WatchHeading {
   std::string board;
   double interval;  // seconds
   bool isSimulation;
};

// Makes the screen's text, of any size.
class WatchView {
 public:
   WatchView( WatchHeading heading, const WatchModel& model )
       : heading_( std::move( heading ) ), table_( model ) {}

   // Tells the model how many rows there is room for. `now` is when the readings were made.
   Frame draw( WatchModel& model,
               const Controls& controls,
               FrameSize size,
               WallClock::time_point now );

 private:
   Line header( size_t columns, WallClock::time_point now ) const;
   Line summary( const WatchModel& model, size_t columns ) const;
   Line footer( const WatchModel& model, const Controls& controls, size_t columns ) const;

   WatchHeading heading_;
   WatchTable table_;
};

}  // namespace Host
