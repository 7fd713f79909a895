#pragma once

#include "Host/Session/WireNames.h"

struct pl_wire_batch;

namespace Host {

// Prints the transfers of this program and of its workers on stderr, a line each and each line at
// once, so that those of several processes do not mix.
class WireTrace {
 public:
   // Keeps today's stderr: a worker's own goes elsewhere. The wiring must outlive the trace.
   explicit WireTrace( const Wiring& wiring );
   ~WireTrace();
   WireTrace( const WireTrace& ) = delete;
   WireTrace& operator=( const WireTrace& ) = delete;

   // From now on and to its end, what the calling process transfers. The trace must live as long.
   void start() const;

 private:
   static void hear( void* trace, const pl_wire_batch* batch );

   WireNames names_;
   int output_;
};

}  // namespace Host
