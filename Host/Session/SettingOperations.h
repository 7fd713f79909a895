#pragma once

#include <optional>
#include <string>

#include "BoardFiles/Board.h"
#include "pl.h"

namespace Host {

using namespace BoardFiles;

// How objects of a kind are driven by a user's text.
struct SettingOperations {
   std::string subject;  // "an LED"
   std::string choice;   // what the text may be, after "cannot be set to ...; "

   // Nothing of a text that means none; throws UseError where the object lacks what it takes.
   std::optional< int > ( *parse )( const ObjectSpec& object, const std::string& text );

   // May abort, hang or throw, as the driver library does: it belongs into a worker.
   pl_status ( *apply )( void* object, int setting );

   // Of a kind whose objects do not tell what they are set to.
   const char* ( *name )( int setting ) = nullptr;
};

// Null of a kind that cannot be set.
const SettingOperations* settingOperations( Kind kind );

// The setting that a user's text means for the object. Throws UseError.
int parseSetting( const ObjectSpec& object, const std::string& text );

}  // namespace Host
