#include "Host/Output/WireTrace.h"

#include <fcntl.h>
#include <unistd.h>

#include "Host/Output/WireLine.h"
#include "Utils/Text.h"
#include "pl_host.h"

namespace Host {

namespace {

std::string bytes( const unsigned char* data, unsigned size ) {
   return { reinterpret_cast< const char* >( data ), size };
}

WireTransfer transferOf( const pl_wire_transfer& transfer ) {
   return { .time = {},
            .master = transfer.master,
            .pci = transfer.pci,
            .accelerator = transfer.accelerator,
            .bus = transfer.bus,
            .channels = {},
            .device = transfer.device,
            .operation = static_cast< Smbus::RequestType >( transfer.operation ),
            .size = transfer.size,
            .reg = transfer.reg,
            .registerSize = transfer.reg_size,
            .written = bytes( transfer.written, transfer.written_size ),
            .read = bytes( transfer.read, transfer.read_size ),
            .problem = transfer.problem ? transfer.problem : "",
            .duration = {} };
}

}  // namespace

WireTrace::WireTrace( const Wiring& wiring )
    : names_( wiring ), output_( fcntl( STDERR_FILENO, F_DUPFD_CLOEXEC, 0 ) ) {}

WireTrace::~WireTrace() {
   close( output_ );
}

void WireTrace::start() const {
   pl_wire_sink_set( hear, const_cast< WireTrace* >( this ) );
}

// Lost lines are lost: there is no better place to tell of it.
void WireTrace::hear( void* user, const pl_wire_batch* batch ) {
   using namespace std::chrono;
   const auto* trace = static_cast< const WireTrace* >( user );
   nanoseconds duration( batch->nanoseconds );
   auto time = system_clock::now() - duration_cast< system_clock::duration >( duration );
   OpenChannels channels;
   for ( int i = 0; i < batch->count; ++i ) {
      WireTransfer transfer = transferOf( batch->transfers[ i ] );
      transfer.time = time;
      transfer.channels = channels;
      transfer.duration = duration;
      transfer.position = i + 1;
      transfer.count = batch->count;
      std::string line = Utils::printable( wireLine( transfer, trace->names_ ) ) + "\n";
      ( void )!::write( trace->output_, line.data(), line.size() );
      channels = trace->names_.channelsAfter( transfer );
   }
}

}  // namespace Host
