#include "SmbusService/Replay.h"

#include <deque>

namespace SmbusService {

namespace {

using BoardFiles::WireRecord;

// What makes two reads the same one.
using ReadKey = std::tuple< std::vector< std::pair< uint8_t, uint8_t > >,  // path
                            uint8_t,                                       // device
                            Smbus::RequestType,
                            uint32_t,       // register
                            uint32_t,       // size
                            std::string >;  // what a process call writes

AdapterId idOf( const WireRecord& record ) {
   return AdapterId::of( record.master, record.pci, static_cast< uint8_t >( record.accelerator ),
                         static_cast< uint8_t >( record.bus ) );
}

bool isRead( const WireRecord& record ) {
   return record.operation != Smbus::REQUEST_WRITE &&
          record.operation != Smbus::REQUEST_BLOCK_WRITE;
}

}  // namespace

class Replay::ReplayAdapter : public Adapter {
 public:
   explicit ReplayAdapter( Adapter& chips ) : chips_( chips ) {
      muxes.connect( chips.muxes.id(), chips.muxes.tree() );
   }

   void add( const WireRecord& record ) {
      ReadKey key{ record.path, record.device, record.operation,
                   record.reg,  record.size,   record.written };
      reads_[ key ].push_back( { record.status, record.read, record.problem } );
   }

   int transfer( const Transfer& transfer, std::string& answer ) override {
      problem_.clear();
      ReadKey key{ muxes.openPath(), transfer.address.device, transfer.type,
                   transfer.reg,     transfer.size,           std::string( transfer.data ) };
      auto outcomes = transfer.reads() ? reads_.find( key ) : reads_.end();
      if ( outcomes == reads_.end() ) {
         std::lock_guard lock( chips_.mutex );
         return chips_.transfer( transfer, answer );
      }
      Outcome outcome = outcomes->second.front();
      if ( outcomes->second.size() > 1 ) {
         outcomes->second.pop_front();
      }
      answer = outcome.read;
      problem_ = outcome.problem;
      return outcome.status;
   }

   std::string problem() const override { return problem_; }

 private:
   struct Outcome {
      int status;
      std::string read;
      std::string problem;
   };

   Adapter& chips_;
   std::map< ReadKey, std::deque< Outcome > > reads_;
   std::string problem_;
};

Replay::Replay( Emulator::EmulatedBoard& board, const std::vector< WireRecord >& records ) {
   board.forEachAdapter( [ & ]( const AdapterId& id, Adapter& chips ) {
      adapters_[ id ] = std::make_unique< ReplayAdapter >( chips );
   } );
   for ( const WireRecord& record : records ) {
      auto adapter = adapters_.find( idOf( record ) );
      if ( adapter != adapters_.end() && isRead( record ) ) {
         adapter->second->add( record );
      }
   }
}

Replay::~Replay() = default;

Adapter* Replay::findAdapter( const AdapterId& id ) {
   auto adapter = adapters_.find( id );
   return adapter == adapters_.end() ? nullptr : adapter->second.get();
}

void Replay::keepLog( TransferLog& log ) {
   for ( auto& [ id, adapter ] : adapters_ ) {
      adapter->log = &log;
   }
}

}  // namespace SmbusService
