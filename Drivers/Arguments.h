#pragma once

#include <map>
#include <string>

#include "Utils/Assert.h"
#include "Utils/Numbers.h"

// How drivers read their arguments, the texts in `DriverArgs::driverArgs`. Numbers are converted by
// Utils::stoi and its kin, whose exceptions pass.
namespace Drivers {

using Arguments = std::map< std::string, std::string >;

// The argument's text; null when it is not given.
inline const std::string* findArgument( const Arguments& arguments, const char* key ) {
   auto it = arguments.find( key );
   return it == arguments.end() ? nullptr : &it->second;
}

// The argument, converted; `absent` when it is not given.
template < typename Number >
Number argumentOr( const Arguments& arguments,
                   const char* key,
                   Number ( *convert )( const std::string& ),
                   Number absent ) {
   const std::string* text = findArgument( arguments, key );
   return text ? convert( *text ) : absent;
}

// The assertion that a missing argument fails, and where.
struct Requirement {
   const char* condition;
   const char* function;
   const char* file;
   unsigned line;
};

inline const std::string& requiredArgument( const Arguments& arguments,
                                            const char* key,
                                            const Requirement& requirement ) {
   const std::string* text = findArgument( arguments, key );
   if ( !text ) {
      Utils::assertionFailed( requirement.condition, requirement.function, requirement.file,
                              requirement.line );
   }
   return *text;
}

}  // namespace Drivers

// The text of an argument that must be there; without it the assertion `condition` fails here.
#define LUMEN_ARGUMENT( arguments, key, condition ) \
   ::Drivers::requiredArgument( arguments, key,     \
                                { condition, __PRETTY_FUNCTION__, __FILE__, __LINE__ } )

// The same of the record `args`, for code whose assertion is that the search found it.
#define LUMEN_FOUND_ARGUMENT( args, key ) \
   LUMEN_ARGUMENT( ( args ).driverArgs, key, "it != " #args ".driverArgs.end()" )

// The integer of a required argument of the record `args`, for drivers whose assertion is the
// lookup itself.
#define LUMEN_INT_ARGUMENT( args, key )                                          \
   ::Utils::stoi( LUMEN_ARGUMENT( ( args ).driverArgs, key,                      \
                                  #args ".driverArgs.find( " #key " ) != " #args \
                                        ".driverArgs.end()" ) )
