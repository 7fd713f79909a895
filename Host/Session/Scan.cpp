#include "Host/Session/Scan.h"

#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <memory>

#include "BoardFiles/Addresses.h"
#include "Platform/AddressWord.h"
#include "pl_host.h"

namespace Host {

namespace {

// Nothing can be expected of the adapter's other addresses.
bool blamesAdapter( int error ) {
   return error == ETIMEDOUT || error == EAGAIN || error == ENODEV || error == EOPNOTSUPP;
}

Presence presenceAfter( int error ) {
   switch ( error ) {
      case EACCES:
      case EINVAL:
         return Presence::Refused;
      case EBUSY:
         return Presence::Held;
      default:
         return Presence::Failed;
   }
}

// With the devices that are declared at them.
std::vector< ScannedAddress > addressesOf( const Wiring& wiring, size_t bus ) {
   std::vector< ScannedAddress > addresses;
   std::vector< uint8_t > taken;
   for ( const auto& [ did, device ] : wiring.devices ) {
      if ( device.bus == bus && device.address ) {
         auto address = static_cast< uint8_t >( *device.address );
         taken.push_back( address );
         addresses.push_back(
            { .address = address, .did = did, .presence = Presence::NotReached } );
      }
   }
   for ( uint8_t address = kFirstAddress; address <= kLastAddress; ++address ) {
      if ( std::ranges::find( taken, address ) == taken.end() ) {
         addresses.push_back( { .address = address, .presence = Presence::NotReached } );
      }
   }
   std::ranges::stable_sort( addresses, {}, &ScannedAddress::address );
   return addresses;
}

bool answers( const ScannedAddress& address ) {
   return address.presence == Presence::Ok || address.presence == Presence::Undeclared;
}

}  // namespace

struct Scan::Probe {
   enum class End { None, Bus, Adapter };

   bool isAnswered = false;
   std::optional< Presence > otherwise = {};  // what is known instead
   std::string reason = {};
   End ends = End::None;
};

Scan::Scan( const Wiring& wiring ) : wiring_( wiring ), names_( wiring ) {
   if ( socket_.setup() < 0 ) {
      throw ServiceLost( pl_last_failure()->text );
   }
}

const ScannedBus& Scan::scan( size_t bus ) {
   if ( size_t above = wiring_.busses[ bus ].above; above != Wiring::kNone ) {
      scan( above );
   }
   auto found = scanned_.find( bus );
   return found != scanned_.end() ? found->second
                                  : scanned_.insert( { bus, scanAnew( bus ) } ).first->second;
}

ScannedBus Scan::scanAnew( size_t bus ) {
   ScannedBus result{
      .bus = bus, .addresses = addressesOf( wiring_, bus ), .problem = whyNotReached( bus ) };
   Probe last;
   for ( size_t i = 0; i < result.addresses.size() && result.problem.empty(); ++i ) {
      ScannedAddress& each = result.addresses[ i ];
      if ( std::string above = whoAnswersAbove( bus, each.address ); !above.empty() ) {
         each.presence = Presence::Above;
         each.reason = above;
         continue;
      }
      bool isRepeated = i && result.addresses[ i - 1 ].address == each.address;
      last = isRepeated ? last : probe( bus, each.address );
      if ( last.ends != Probe::End::None ) {
         result.problem = last.reason;
      } else {
         Presence other = each.did ? Presence::Missing : Presence::Silent;
         Presence answering = each.did ? Presence::Ok : Presence::Undeclared;
         each.presence = last.isAnswered ? answering : last.otherwise.value_or( other );
         each.reason = last.reason;
      }
   }
   if ( last.ends == Probe::End::Adapter ) {
      failedAdapters_[ wiring_.busses[ bus ].adapter ] = last.reason;
   }
   return result;
}

// Empty where nothing is known to be in the way.
std::string Scan::whyNotReached( size_t bus ) const {
   const Wiring::Bus& place = wiring_.busses[ bus ];
   if ( auto failed = failedAdapters_.find( place.adapter ); failed != failedAdapters_.end() ) {
      return failed->second;
   }
   if ( place.above == Wiring::kNone ) {
      return {};
   }
   const Wiring::Device& mux = wiring_.devices.at( place.mux );
   if ( mux.bus == Wiring::kNone || !mux.address ) {
      return "its mux has no address on a bus";
   }
   return scanned_.at( place.above ).problem;
}

// Where that is; empty when nobody does.
std::string Scan::whoAnswersAbove( size_t bus, uint8_t address ) const {
   for ( size_t above = wiring_.busses[ bus ].above; above != Wiring::kNone;
         above = wiring_.busses[ above ].above ) {
      for ( const ScannedAddress& each : scanned_.at( above ).addresses ) {
         if ( each.address == address && answers( each ) ) {
            return names_.pathOf( above );
         }
      }
   }
   return {};
}

Scan::Probe Scan::probe( size_t bus, uint8_t address ) {
   batch_.Clear();
   std::vector< uint32_t > chips = wiring_.muxesAbove( bus );
   std::ranges::reverse( chips );
   OpenChannels channels = names_.channelsTo( bus );
   auto send = [ & ]( size_t mux, uint32_t byte ) {
      add( wiring_.devices.at( chips[ mux ] ).bus, channels[ mux ].mux, Smbus::REQUEST_WRITE,
           byte );
   };
   for ( size_t i = 0; i < channels.size(); ++i ) {
      send( i, channels[ i ].byte );
   }
   int position = batch_.request_size();
   add( bus, address, Smbus::REQUEST_READ, 0 );
   for ( size_t i = channels.size(); i-- > 0; ) {
      send( i, 0 );
   }
   Smbus::TransactionResponse* answer = nullptr;
   if ( socket_.sendRequestWait( &batch_, &answer ) < 0 ) {
      throw ServiceLost( pl_last_failure()->text );
   }
   std::unique_ptr< Smbus::TransactionResponse > owned( answer );
   return judge( *answer, position, bus );
}

Scan::Probe Scan::judge( const Smbus::TransactionResponse& answer, int position, size_t bus ) {
   if ( !answer.failure() && answer.response_size() == batch_.request_size() ) {
      return { .isAnswered = true };
   }
   const pl_service_failure& failure = *pl_last_failure();
   int error = failure.error;
   std::string reason = failure.reason;
   bool isWholeBatch = failure.request < 0;
   if ( blamesAdapter( error ) || isWholeBatch ) {
      return { .reason = reason, .ends = Probe::End::Adapter };
   }
   if ( failure.request != position ) {
      return { .reason = fmt::format( "mux 0x{:02x} on the way to {}: {}", failure.device,
                                      names_.pathOf( bus ), reason ),
               .ends = Probe::End::Bus };
   }
   if ( error == ENXIO || error == EREMOTEIO ) {
      return {};
   }
   return { .otherwise = presenceAfter( error ), .reason = reason };
}

// A transfer without data: a receive-byte, or the byte is sent.
void Scan::add( size_t bus, uint32_t device, Smbus::RequestType type, uint32_t byte ) {
   const Wiring::Adapter& adapter = wiring_.adapters[ wiring_.busses[ bus ].adapter ];
   Smbus::Request& request = *batch_.add_request();
   request.set_type( type );
   request.set_reg( byte );
   request.set_size( 0 );
   request.set_address(
      PlatformLibrary::packedAddress( device, adapter.bus, adapter.accelerator ) );
   request.set_pci( adapter.pci );
   request.set_mastertype( adapter.master );
}

bool isAsDeclared( const ScannedBus& bus ) {
   auto isExpected = []( const ScannedAddress& each ) {
      switch ( each.presence ) {
         case Presence::Silent:
         case Presence::Ok:
         case Presence::Above:
            return true;
         case Presence::Refused:
            return !each.did;
         default:
            return false;
      }
   };
   return bus.problem.empty() && std::ranges::all_of( bus.addresses, isExpected );
}

}  // namespace Host
