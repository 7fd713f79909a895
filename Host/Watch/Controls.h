#pragma once

#include <string>

#include "Host/Watch/WatchModel.h"

namespace Host {

struct Key {
   enum Name {
      Character,  // the text has it
      Up,
      Down,
      PageUp,
      PageDown,
      Home,
      End,
      Erase,
      Enter,
      Escape,
      Other,
   };
   Name name;
   std::string text = {};
};

// What the keys do to a watch.
class Controls {
 public:
   enum class Mode { Rows, Filter, Help };

   // False when the watch is to end.
   bool press( const Key& key, WatchModel& model );

   Mode mode() const { return mode_; }

   // Each key with what it does, the most important first.
   static const std::vector< std::string >& help();

 private:
   bool pressInRows( const Key& key, WatchModel& model );

   Mode mode_ = Mode::Rows;
};

}  // namespace Host
