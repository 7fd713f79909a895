#include "Host/Session/LanePlan.h"

#include <algorithm>
#include <map>
#include <numeric>

#include "Host/Session/ChipName.h"
#include "Utils/Json.h"

namespace Host {

namespace {

using Utils::Json::Document;

// Sets of adapters that have to stay together. The one behind the last adapter stands for none.
class Groups {
 public:
   explicit Groups( size_t adapters ) : parents_( adapters + 1 ) {
      std::iota( parents_.begin(), parents_.end(), size_t{ 0 } );
   }

   size_t none() const { return parents_.size() - 1; }

   size_t find( size_t adapter ) {
      while ( parents_[ adapter ] != adapter ) {
         adapter = parents_[ adapter ] = parents_[ parents_[ adapter ] ];
      }
      return adapter;
   }

   void join( size_t one, size_t other ) {
      size_t a = find( one );
      size_t b = find( other );
      parents_[ std::max( a, b ) ] = std::min( a, b );
   }

 private:
   std::vector< size_t > parents_;
};

// A device's own and those that it is made of, which are told in texts of their own.
void addDevices( const Document& arguments, std::vector< uint32_t >& dids ) {
   if ( !arguments.IsObject() ) {
      return;
   }
   auto [ did, parts ] = Utils::Json::members< "did", "multiDeviceArgs" >( arguments );
   if ( did && did->IsUint() ) {
      dids.push_back( did->GetUint() );
   }
   if ( !parts || !parts->IsObject() ) {
      return;
   }
   for ( const auto& part : parts->GetObject() ) {
      Document inner;
      if ( part.value.IsString() && !Utils::Json::parse( part.value.GetString(), inner ) ) {
         addDevices( inner, dids );
      }
   }
}

std::vector< uint32_t > devicesOf( const Wiring& wiring, const ObjectSpec& object ) {
   std::vector< uint32_t > dids;
   Document arguments;
   if ( !Utils::Json::parse( object.device.c_str(), arguments ) ) {
      addDevices( arguments, dids );
   } else if ( auto did = deviceIdOf( wiring, object ) ) {
      dids.push_back( *did );
   }
   return dids;
}

size_t adapterOf( const Wiring& wiring, uint32_t did, size_t none ) {
   auto device = wiring.devices.find( did );
   bool isOnBus = device != wiring.devices.end() && device->second.bus != Wiring::kNone;
   return isOnBus ? wiring.busses[ device->second.bus ].adapter : none;
}

}  // namespace

std::vector< std::vector< size_t > > planLanes( const Board& board, size_t most ) {
   Groups groups( board.wiring.adapters.size() );
   std::vector< size_t > adapters;  // of each object, one of those that it hangs on
   for ( const ObjectSpec& object : board.objects ) {
      auto dids = devicesOf( board.wiring, object );
      size_t first =
         dids.empty() ? groups.none() : adapterOf( board.wiring, dids.front(), groups.none() );
      for ( uint32_t did : dids ) {
         groups.join( first, adapterOf( board.wiring, did, groups.none() ) );
      }
      adapters.push_back( first );
   }
   std::vector< std::vector< size_t > > lanes;
   std::map< size_t, size_t > laneOfGroup;
   for ( size_t i = 0; i < adapters.size(); ++i ) {
      size_t group = groups.find( adapters[ i ] );
      size_t lane = laneOfGroup.emplace( group, laneOfGroup.size() % most ).first->second;
      lanes.resize( std::max( lanes.size(), lane + 1 ) );
      lanes[ lane ].push_back( i );
   }
   return lanes;
}

}  // namespace Host
