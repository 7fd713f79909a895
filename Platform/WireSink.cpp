#include "Platform/WireSink.h"

#include <cerrno>
#include <vector>

#include "Platform/AddressWord.h"
#include "pl_host.h"
#include "smbus.pb.h"

namespace {

pl_wire_sink wireSink = nullptr;
void* wireSinkUser = nullptr;

const unsigned char* bytesOf( const std::string& text ) {
   return reinterpret_cast< const unsigned char* >( text.data() );
}

pl_wire_transfer transferOf( const Smbus::Request& request ) {
   auto address = PlatformLibrary::AddressWord::of( request.address() );
   pl_wire_transfer transfer{};
   transfer.operation = request.type();
   transfer.size = request.size();
   transfer.reg = request.reg();
   transfer.reg_size = address.registerSize;
   transfer.device = address.device;
   transfer.master = static_cast< unsigned >( request.mastertype() );
   transfer.pci = request.pci();
   transfer.accelerator = address.accelerator;
   transfer.bus = address.bus;
   transfer.written = bytesOf( request.data() );
   transfer.written_size = static_cast< unsigned >( request.data().size() );
   return transfer;
}

// A failure that blames one request leaves those before it done, and those behind it untold.
void tellFailure( const pl_service_failure& failure, int index, pl_wire_transfer& transfer ) {
   if ( failure.request < 0 || failure.request == index ) {
      transfer.error = failure.error;
      transfer.problem = failure.reason;
   } else if ( index > failure.request ) {
      transfer.error = ECANCELED;
      transfer.problem = "not told, the batch had failed";
   }
}

}  // namespace

namespace PlatformLibrary {

bool isWireWatched() {
   return wireSink;
}

void tellWire( const Smbus::TransactionRequest& request,
               const Smbus::TransactionResponse* answer,
               int64_t nanoseconds ) {
   bool isWhole = answer && !answer->failure() && answer->response_size() == request.request_size();
   std::vector< pl_wire_transfer > transfers;
   for ( int i = 0; i < request.request_size(); ++i ) {
      transfers.push_back( transferOf( request.request( i ) ) );
      pl_wire_transfer& transfer = transfers.back();
      if ( isWhole ) {
         transfer.read = bytesOf( answer->response( i ).data() );
         transfer.read_size = static_cast< unsigned >( answer->response( i ).data().size() );
      } else {
         tellFailure( *pl_last_failure(), i, transfer );
      }
   }
   pl_wire_batch batch{ transfers.data(), request.request_size(), nanoseconds };
   wireSink( wireSinkUser, &batch );
}

}  // namespace PlatformLibrary

void pl_wire_sink_set( pl_wire_sink sink, void* user ) {
   wireSink = sink;
   wireSinkUser = user;
}
