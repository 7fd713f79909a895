#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

#include "Utils/Json.h"

// JSON Schema, draft 4. Where the standard stops at a verdict, this names every fault it can tell
// apart, at the innermost value that is to blame.
namespace BoardFiles {

using Utils::Json::Value;

struct Violation {
   std::string pointer;  // JSON pointer (RFC 6901) into the document, "" for the root
   std::string problem;
};

class Schema {
 public:
   struct File {
      const char* name;  // as another schema's "$ref" writes it before the '#'
      const char* text;
   };

   // Text that is no schema is an assertion. `others` are files whose definitions it refers to; a
   // definition's name must be unique among all of them.
   explicit Schema( const char* text, const std::vector< File >& others = {} );

   // Empty when the value satisfies the schema.
   std::vector< Violation > validate( const Value& value ) const;

   // The names of all members that a value of each definition may have, in one form or another.
   std::map< std::string, std::vector< std::string >, std::less<> > members() const;

 private:
   void addMembers( const Value& schema, std::vector< std::string >& names ) const;
   class Explainer;

   Utils::Json::Document root_;
};

}  // namespace BoardFiles
