#pragma once

#include <optional>

#include "Host/Watch/Controls.h"
#include "Host/Watch/Frame.h"
#include "Host/Watch/Terminal.h"

struct screen;  // of the library

namespace Host {

// The whole screen of the terminal, for as long as this object lives. Handlers of signals must be
// in place before it is made, or the library brings its own.
class Screen {
 public:
   Screen();
   ~Screen();
   Screen( const Screen& ) = delete;
   Screen& operator=( const Screen& ) = delete;

   FrameSize size() const;

   // Nothing while the screen is left.
   void draw( const Frame& frame );

   // The key that was pressed, if one was: it does not wait.
   std::optional< Key > key();

   // The terminal is as it was before, until show().
   void leave();
   bool isLeft() const;

   // As new, and as large as the terminal is now.
   void show();

 private:
   void drawLine( int number, const Line& line ) const;

   Terminal terminal_;
   ::screen* screen_;
   bool hasColours_;
};

}  // namespace Host
