#pragma once

#include <array>
#include <string>

#include "SmbusService/Backend.h"
#include "SmbusService/LinuxI2c/StuckBus.h"
#include "SmbusService/LinuxI2c/Sysfs.h"
#include "SmbusService/LinuxI2c/System.h"

namespace SmbusService::LinuxI2c {

// An adapter of the kernel, reached through its device file.
//
// With plain I2C every transfer is one combined transfer; without it, the SMBus command that puts
// the same bytes on the wire. An adapter that vanishes is looked for again at the next transfer,
// with its muxes in doubt.
class KernelAdapter : public Adapter {
 public:
   KernelAdapter( System& system, const Sysfs& sysfs, BoardFiles::AdapterSpec spec )
       : system_( system ), sysfs_( sysfs ), spec_( std::move( spec ) ) {}
   ~KernelAdapter() override;
   KernelAdapter( const KernelAdapter& ) = delete;
   KernelAdapter& operator=( const KernelAdapter& ) = delete;

   // Opens the adapter that the entry names now. Returns 0, or an errno value and problem(). With
   // the lock held, as the next two; each leaves the muxes in doubt.
   int open();
   void close();

   // The entry to be served from the next transfer on.
   void assign( BoardFiles::AdapterSpec spec );

   const BoardFiles::AdapterSpec& spec() const { return spec_; }

   int transfer( const Transfer&, std::string& answer ) override;
   std::chrono::milliseconds patience( const Transfer& ) const override;
   std::string problem() const override { return problem_; }

 private:
   using Clock = std::chrono::steady_clock;

   int fail( int error, std::string problem );
   int lookUp( SystemAdapter& found );
   int checkAddress( uint8_t device );
   int attempt( const Transfer&, std::string& answer );
   int combined( const Transfer&, std::string& answer );
   int command( const Transfer&, std::string& answer );
   int outcome( int error );
   int judge( int error );
   int setTimeout( std::chrono::milliseconds );
   int restoreTimeout();

   System& system_;
   const Sysfs& sysfs_;
   BoardFiles::AdapterSpec spec_;
   int descriptor_ = -1;
   unsigned number_ = 0;  // of i2c-N
   unsigned long capabilities_ = 0;
   std::array< Clock::time_point, 128 > freeUntil_{};    // no kernel driver holds the address
   std::optional< std::chrono::milliseconds > timeout_;  // the adapter's, where it was set
   StuckBus bus_;
   std::string problem_;
};

}  // namespace SmbusService::LinuxI2c
