#pragma once

#include <map>
#include <memory>
#include <shared_mutex>
#include <vector>

#include "BoardFiles/Board.h"
#include "SmbusService/LinuxI2c/KernelAdapter.h"
#include "SmbusService/Log.h"

namespace SmbusService::LinuxI2c {

// The adapters of the kernel that a board's adapters.json names.
class KernelBackend : public Backend {
 public:
   // The system outlives the object.
   explicit KernelBackend( System& system, Sysfs sysfs = Sysfs() )
       : system_( system ), sysfs_( std::move( sysfs ) ) {}

   // Finds and opens every adapter of the board. Throws BoardError, and leaves everything as it is,
   // when one cannot be served.
   void check( const BoardFiles::Board& ) const;

   // Serves the board's adapters, which were checked, from the next batch on.
   void assign( const BoardFiles::Board& );

   // Closes all channels behind all adapters; tells the log where that fails.
   void closeMuxes( Log& );

   Adapter* findAdapter( const AdapterId& ) override;

   // Before the first assign().
   void keepLog( TransferLog& log ) override { log_ = &log; }

 private:
   std::vector< BoardFiles::Finding > problemsOf( const BoardFiles::AdapterSpec&,
                                                  std::map< unsigned, std::string >& taken ) const;

   System& system_;
   Sysfs sysfs_;
   TransferLog* log_ = nullptr;
   std::shared_mutex mutex_;
   std::map< AdapterId, KernelAdapter* > served_;                      // under mutex_
   std::map< AdapterId, std::unique_ptr< KernelAdapter > > adapters_;  // all that ever were
};

}  // namespace SmbusService::LinuxI2c
