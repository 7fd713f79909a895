#pragma once

#include <chrono>

#include "Host/Session/Session.h"
#include "Host/Watch/Controls.h"
#include "Host/Watch/Screen.h"
#include "Host/Watch/Signals.h"
#include "Host/Watch/WatchModel.h"
#include "Host/Watch/WatchView.h"

namespace Host {

// A session's sweeps on the whole screen.
class ScreenWatch {
 public:
   // Signals that it understands.
   static Signals signals();

   // Sweeps begin whenever the heading's interval is over, so many of them; 0 for no end. Session
   // and signals must outlive the watch.
   ScreenWatch( Session& session, Signals& signals, WatchHeading heading, unsigned count );
   ~ScreenWatch();
   ScreenWatch( const ScreenWatch& ) = delete;
   ScreenWatch& operator=( const ScreenWatch& ) = delete;

   // Returns the signal that ended it, or 0.
   int run();

 private:
   using Clock = std::chrono::steady_clock;

   bool mayBegin() const { return count_ == 0 || !session_.isBusy(); }
   void awaitSomething();
   std::chrono::milliseconds patience() const;
   int descriptor() const;
   bool hasEvents() const;
   int takeSignals();
   bool takeKeys();
   void show( bool isUrgent );

   Session& session_;
   Signals& signals_;
   unsigned count_;
   std::chrono::duration< double > interval_;
   WatchModel model_;
   WatchView view_;
   Controls controls_;
   Screen screen_;
   int events_ = -1;  // readable with signals and keys
   unsigned sweeps_ = 0;
   Clock::time_point nextSweep_ = Clock::now();
   Clock::time_point lastUpdate_ = {};
   WallClock::time_point readAt_ = WallClock::now();
   bool hasNews_ = true;  // that the model does not know
};

}  // namespace Host
