#include "Host/Session/LanePlan.h"

#include <algorithm>
#include <map>
#include <numeric>

#include "Host/Session/ChipName.h"
#include "Utils/Json.h"

namespace Host {

namespace {

using Utils::Json::Document;

// Sets of items, each known by its first.
class Groups {
 public:
   explicit Groups( size_t items ) : parents_( items ) {
      std::iota( parents_.begin(), parents_.end(), size_t{ 0 } );
   }

   size_t find( size_t item ) {
      while ( parents_[ item ] != item ) {
         item = parents_[ item ] = parents_[ parents_[ item ] ];
      }
      return item;
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

// Where devices are said to have one place, their chip is one.
std::pair< size_t, uint32_t > chipOf( const Wiring& wiring, uint32_t did ) {
   auto device = wiring.devices.find( did );
   bool hasPlace = device != wiring.devices.end() && device->second.bus != Wiring::kNone &&
                   device->second.address;
   return hasPlace ? std::pair< size_t, uint32_t >( device->second.bus, *device->second.address )
                   : std::pair< size_t, uint32_t >( Wiring::kNone, did );
}

size_t adapterOf( const Wiring& wiring, uint32_t did, size_t none ) {
   auto device = wiring.devices.find( did );
   bool isOnBus = device != wiring.devices.end() && device->second.bus != Wiring::kNone;
   return isOnBus ? wiring.busses[ device->second.bus ].adapter : none;
}

}  // namespace

std::vector< std::vector< size_t > > planLanes( const Board& board, size_t most ) {
   size_t none = board.wiring.adapters.size();  // stands for no adapter
   Groups groups( none + 1 );
   std::vector< size_t > adapters;  // of each object, one of those that it hangs on
   for ( const ObjectSpec& object : board.objects ) {
      auto dids = devicesOf( board.wiring, object );
      size_t first = dids.empty() ? none : adapterOf( board.wiring, dids.front(), none );
      for ( uint32_t did : dids ) {
         groups.join( first, adapterOf( board.wiring, did, none ) );
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

ChipSharing::ChipSharing( const Board& board ) {
   Groups groups( board.objects.size() );
   std::map< std::pair< size_t, uint32_t >, size_t > firstOf;  // by chip
   for ( size_t i = 0; i < board.objects.size(); ++i ) {
      for ( uint32_t did : devicesOf( board.wiring, board.objects[ i ] ) ) {
         groups.join( i, firstOf.emplace( chipOf( board.wiring, did ), i ).first->second );
      }
   }
   for ( size_t i = 0; i < board.objects.size(); ++i ) {
      firsts_.push_back( groups.find( i ) );
   }
}

std::vector< size_t > ChipSharing::with( size_t object ) const {
   std::vector< size_t > objects;
   for ( size_t i = 0; i < firsts_.size(); ++i ) {
      if ( firsts_[ i ] == firsts_[ object ] ) {
         objects.push_back( i );
      }
   }
   return objects;
}

}  // namespace Host
