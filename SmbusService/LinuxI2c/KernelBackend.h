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

   // Finds and opens every adapter of the board, but for those of entries that are served already.
   // Throws BoardError, and leaves everything as it is, when one cannot be served. On one thread,
   // as the next two.
   void check( const BoardFiles::Board& ) const;

   // Serves the board's adapters, which were checked, from the next batch on.
   void assign( const BoardFiles::Board& );

   // Closes all channels behind all adapters; tells the log which muxes do not obey.
   void closeMuxes( const BoardFiles::Wiring&, Log& );

   Adapter* findAdapter( const AdapterId& ) override;

   // Before the first assign().
   void keepLog( TransferLog& log ) override { log_ = &log; }

 private:
   std::vector< BoardFiles::Finding > problemsOf( const BoardFiles::AdapterSpec&,
                                                  std::map< unsigned, std::string >& taken ) const;
   bool isServed( const BoardFiles::AdapterSpec& ) const;

   System& system_;
   Sysfs sysfs_;
   TransferLog* log_ = nullptr;
   std::shared_mutex mutex_;
   std::map< AdapterId, KernelAdapter* > served_;                      // under mutex_
   std::map< AdapterId, std::unique_ptr< KernelAdapter > > adapters_;  // all that ever were
};

}  // namespace SmbusService::LinuxI2c
