#pragma once

#include <optional>
#include <string>

#include "BoardFiles/Board.h"
#include "pl.h"

namespace Host {

using namespace BoardFiles;

// What an object is to be set to.
struct Setting {
   enum What {
      kValue,      // of a kind with one thing to set
      kEnabled,    // 0 or 1
      kLimit,      // watts
      kClassLimit  // no number
   };

   double number = 0;
   What what = kValue;
};

// How objects of a kind are driven by a user's text.
struct SettingOperations {
   std::string subject;               // "an LED"
   std::string choice;                // what the text may be, after "cannot be set to ...; "
   std::vector< std::string > words;  // the texts that are no numbers, or how they begin

   // Nothing of a text that means none; throws UseError where the object lacks what it takes.
   std::optional< Setting > ( *parse )( const ObjectSpec& object, const std::string& text );

   // May abort, hang or throw, as the driver library does: it belongs into a worker. Throws
   // UseError where the object turns out not to take it.
   pl_status ( *apply )( void* object, const Setting& setting );

   // Of a kind whose objects do not tell what they are set to.
   const char* ( *name )( const Setting& setting ) = nullptr;
};

// Null of a kind that cannot be set.
const SettingOperations* settingOperations( Kind kind );

// The setting that a user's text means for the object. Throws UseError.
Setting parseSetting( const ObjectSpec& object, const std::string& text );

}  // namespace Host
