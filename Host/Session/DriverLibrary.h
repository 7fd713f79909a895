#pragma once

#include <array>
#include <string>

#include "Host/Session/KindOperations.h"

namespace Host {

// The driver library, bound at run time. It stays loaded. What it does may abort, hang or throw: it
// belongs into a worker.
class DriverLibrary {
 public:
   // The library at `path`, or, when that is empty, the one beside this program's platform library,
   // or the one the dynamic linker finds. Throws UseError.
   explicit DriverLibrary( const std::string& path );

   pl_status init( Kind kind, const std::string& topology ) const;

   // The library's record of the kind, or null. The spec must live as long as the object.
   void* add( const ObjectSpec& spec ) const;

 private:
   using Init = pl_status( const char* topology );
   struct EntryPoints {
      Init* init;
      EntryPoint add;
   };
   std::array< EntryPoints, kKindNames.size() > entryPoints_;  // by Kind
};

}  // namespace Host
