#pragma once

#include <string>

namespace SmbusService::LinuxI2c {

// The system calls that reach an adapter; a test puts its own in their place. Each returns what the
// call returns, or a negative errno value.
class System {
 public:
   virtual ~System() = default;

   virtual int open( const std::string& path );
   virtual void close( int descriptor );
   virtual int control( int descriptor, unsigned long request, unsigned long number );
   virtual int control( int descriptor, unsigned long request, void* record );
};

}  // namespace SmbusService::LinuxI2c
