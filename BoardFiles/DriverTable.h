#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "BoardFiles/Finding.h"
#include "BoardFiles/Place.h"
#include "Utils/Json.h"

// What the drivers make, and of which arguments: Boards/schemas/drivers.json, whose words are
//
//   { DRIVER: { KIND: [ ARGUMENT... ] } }
//
// A driver has an entry for each kind of object that it makes, "mux" for the chips of muxes, and
// "device" for what it reads when the chip is made, whatever the first object is; "*" is what every
// driver makes. An argument has
//
//   "name"            "a_*" stands for all that begin with "a_"
//   "type"            "integer", "number" or "text"
//   "required"        true; "of ..." what some boards need; "by a_*": by each argument called so
//   "minimum", "maximum", "values"   the driver accepts no other
//   "quotient"        with "values" v: accepted is what divides it, truncated, as one of them does
//   "bits"            of the number; those above are lost
//   "useful"          [ lowest, highest ]: others are accepted and serve nothing
//   "below"           the argument that a useful value is less than
//   "mayBeEmpty"      an empty text is no argument
//   "example", "meaning"
namespace BoardFiles::DriverTable {

using Utils::Json::Value;

// Null where there is none.
const Value* find( const Value& object, std::string_view key );

// The kinds of the driver, null where there is no such driver.
const Value* driver( std::string_view name );

std::vector< std::string > driverNames();

// How drivers can reach registers.
std::vector< std::string > hamNames();

// Whether the driver makes objects of the kind, and which kinds it makes.
bool makes( const Value& driver, std::string_view kind );
std::vector< std::string > kindsOf( const Value& driver );

// The rules of the arguments that the driver reads for an object of the kind, those of the device
// before it.
std::vector< const Value* > rulesFor( const Value& driver, std::string_view kind );

// Whether the rule is of an argument that is read when the chip is made.
bool isOfDevice( const Value& driver, const Value& rule );

// The rule of the argument, whatever object it is for; null where the driver reads no such one.
const Value* ruleOf( const Value& driver, std::string_view argument );

// Whether the argument's name is the rule's; what stands for the '*' of a pattern.
std::optional< std::string > match( std::string_view pattern, std::string_view argument );

std::string_view textOf( const Value& object, std::string_view key );

}  // namespace BoardFiles::DriverTable
