#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "BoardFiles/Board.h"
#include "pl.h"

namespace Host {

using namespace BoardFiles;

struct Reading {
   pl_status status = PL_STATUS_OK;
   std::optional< double > value = {};  // of kinds that have one, when the status is PL_STATUS_OK
   std::string text = {};               // for people
};

using EntryPoint = void ( * )();  // of the type that the name in pl.h has

// How objects of a kind are driven by a user's text.
struct SettingOperations {
   std::string subject;  // "an LED"
   std::string choice;   // what the text may be, after "cannot be set to ...; "
   std::optional< int > ( *parse )( const std::string& text );
   pl_status ( *apply )( void* object, int setting );
};

// What a host does with objects of one kind. All but `parse` may abort, hang or throw, as the
// driver library does: it belongs into a worker.
struct KindOperations {
   Kind kind;
   std::string_view unit;  // of the reading
   void* ( *add )( EntryPoint, const ObjectSpec& );
   Reading ( *read )( void* object );
   std::optional< SettingOperations > setting = {};
};

const KindOperations& operations( Kind kind );

// The setting that a user's text means for the object. Throws UseError.
int parseSetting( const ObjectSpec& object, const std::string& text );

}  // namespace Host
