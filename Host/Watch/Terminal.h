#pragma once

#include <termios.h>

namespace Host {

// The terminal that standard input and output are, with the modes that it came with. It gets them
// back also where the program crashes.
class Terminal {
 public:
   // Whether there is one that can draw a screen.
   static bool isCapable();

   // The terminal's sequence with this name of terminfo; empty where it has none. For one that is
   // set up.
   static const char* capability( const char* name );

   // Whether the standard errors would appear on it.
   static bool hasErrors();

   Terminal();
   ~Terminal();
   Terminal( const Terminal& ) = delete;
   Terminal& operator=( const Terminal& ) = delete;

   // From now on, a crash also prints this, which must stay as it is.
   static void rescueIs( const char* sequence );

   // A handler of signals: as with a crash, the signal then does what it does by default.
   static void giveBack( int number );

   void restoreModes() const;

   // This process may draw and read keys.
   static bool isForeground();

   // There is no more to come from it.
   static bool isGone();
};

}  // namespace Host
