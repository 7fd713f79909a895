#include "BoardFiles/AdapterPlace.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <functional>
#include <set>

namespace BoardFiles {

namespace {

using Utils::Json::Value;

constexpr size_t kMostNames = 20;  // in a finding

// Looks for one object's adapter, and reports what is wrong with the object.
class Search {
 public:
   Search( const Value& object,
           const Place& place,
           const Wiring& wiring,
           std::vector< Finding >& findings )
       : object_( object ), place_( place ), wiring_( wiring ), findings_( findings ) {}

   std::optional< size_t > run();

 private:
   bool hasNumbersOf( const Media::Medium& );
   bool expect( const char* key, bool isWanted, std::string_view type );
   uint32_t number( const char* key ) const {
      return object_.HasMember( key ) ? object_[ key ].GetUint() : 0;
   }
   void report( const Place& place, const std::string& problem ) {
      findings_.push_back( { place.file, place.pointer, problem } );
   }
   template < typename Name >
   std::string list( Name name ) const {
      std::set< std::string > names;
      for ( const Wiring::Adapter& adapter : wiring_.adapters ) {
         names.insert( std::string( std::invoke( name, adapter ) ) );
         names.erase( "" );
         if ( names.size() > kMostNames ) {
            break;
         }
      }
      const char* more = names.size() > kMostNames ? ", ..." : "";
      return names.empty() ? "none has a bus"
                           : fmt::format( "there are {}{}", fmt::join( names, ", " ), more );
   }

   const Value& object_;
   const Place& place_;
   const Wiring& wiring_;
   std::vector< Finding >& findings_;
};

std::optional< size_t > Search::run() {
   std::string medium = object_[ "medium" ].GetString();
   auto first = std::ranges::find( wiring_.adapters, medium, &Wiring::Adapter::mediumName );
   if ( first == wiring_.adapters.end() ) {
      report( place_.member( "medium" ),
              fmt::format( "no medium of topology.json is called \"{}\"; {}", medium,
                           list( &Wiring::Adapter::mediumName ) ) );
      return std::nullopt;
   }
   if ( !hasNumbersOf( first->medium ) ) {
      return std::nullopt;
   }
   uint32_t accelerator = number( "accelerator" );
   uint32_t bus = number( "bus" );
   auto adapter = std::ranges::find_if( wiring_.adapters, [ & ]( const Wiring::Adapter& each ) {
      return each.bus == bus && each.accelerator == accelerator && each.mediumName() == medium;
   } );
   if ( adapter == wiring_.adapters.end() ) {
      auto ofMedium = [ & ]( const Wiring::Adapter& each ) {
         return each.mediumName() == medium ? each.name() : std::string();
      };
      report( place_, fmt::format( "topology.json has no such bus; {}", list( ofMedium ) ) );
      return std::nullopt;
   }
   return static_cast< size_t >( adapter - wiring_.adapters.begin() );
}

bool Search::hasNumbersOf( const Media::Medium& medium ) {
   bool isSound = expect( "accelerator", medium.hasAccelerators(), medium.type );
   return expect( "bus", medium.hasBusses(), medium.type ) && isSound;
}

bool Search::expect( const char* key, bool isWanted, std::string_view type ) {
   bool isThere = object_.HasMember( key );
   if ( isThere && !isWanted ) {
      report( place_.member( key ), fmt::format( "a medium of type {} has none", type ) );
   } else if ( !isThere && isWanted ) {
      report( place_, fmt::format( "member \"{}\" is missing: the medium is a {}", key, type ) );
   }
   return isThere == isWanted;
}

}  // namespace

std::optional< size_t > findAdapter( const Value& object,
                                     const Place& place,
                                     const Wiring& wiring,
                                     std::vector< Finding >& findings ) {
   return Search( object, place, wiring, findings ).run();
}

}  // namespace BoardFiles
