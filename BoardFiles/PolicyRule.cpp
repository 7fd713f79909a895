#include "BoardFiles/PolicyRule.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <map>

#include "BoardFiles/Accounts.h"
#include "BoardFiles/AdapterPlace.h"
#include "BoardFiles/Addresses.h"

namespace BoardFiles {

namespace {

using Utils::Json::Value;

constexpr NumberRange kAddresses{ kFirstAddress, kLastAddress };
constexpr std::string_view kAll = "all";  // of groups, devices, addresses
constexpr std::string_view kAny = "any";  // path

// Reads one entry, and reports what is wrong with it.
class RuleReader {
 public:
   RuleReader( const Value& rule,
               Place place,
               const Wiring& wiring,
               std::vector< Finding >& findings )
       : json_( rule ), place_( std::move( place ) ), wiring_( wiring ), findings_( findings ) {}

   PolicyRule read();

 private:
   void readPeople();
   void readDevices();
   void readAdapters();
   void readRegisters();
   void readRegion( const Value& region, const Place& place );
   bool readPath( const Value& path, const Place& place, size_t& bus );
   std::optional< uint32_t > findDevice( const Value& nameOrNumber, const Place& place );
   std::string wordsForChannels( size_t bus ) const;

   bool isWord( const Value& value, std::string_view word, const Place& place );
   template < typename Number, typename Find >
   void readNumbers( const char* key, std::set< Number >& numbers, Find find );
   void report( const Place& place, const std::string& problem ) {
      findings_.push_back( { place.file, place.pointer, problem } );
   }

   const Value& json_;
   const Place place_;
   const Wiring& wiring_;
   std::vector< Finding >& findings_;
   PolicyRule rule_;
};

PolicyRule RuleReader::read() {
   rule_.name = json_[ "name" ].GetString();
   std::string_view access = json_[ "access" ].GetString();
   rule_.reads = access != "write";
   rule_.writes = access != "read";
   readPeople();
   readDevices();
   readAdapters();
   readRegisters();
   return std::move( rule_ );
}

// Whether the value is the word that stands for everything. Another text is a mistake.
bool RuleReader::isWord( const Value& value, std::string_view word, const Place& place ) {
   if ( value.IsString() && value.GetString() != word ) {
      report( place, fmt::format( "must be a list or \"{}\"", word ) );
   }
   return value.IsString();
}

// The members of a list, those with a number as they are.
template < typename Number, typename Find >
void RuleReader::readNumbers( const char* key, std::set< Number >& numbers, Find find ) {
   size_t position = 0;
   for ( const Value& value : json_[ key ].GetArray() ) {
      Place place = place_.member( key ).member( std::to_string( position++ ) );
      if ( std::optional< Number > number = find( value, place ) ) {
         numbers.insert( *number );
      }
   }
}

void RuleReader::readPeople() {
   auto account = [ this ]( auto look, const char* what ) {
      return [ this, look, what ]( const Value& value, const Place& place ) {
         using Number = decltype( look( "" ) );
         auto number = value.IsUint() ? Number( value.GetUint() ) : look( value.GetString() );
         if ( !number ) {
            report( place, fmt::format( "no {} of this system is called {}", what,
                                        Utils::Json::write( value ) ) );
         }
         return number;
      };
   };
   if ( json_.HasMember( "users" ) ) {
      readNumbers( "users", rule_.users, account( userNamed, "user" ) );
   }
   if ( json_.HasMember( "groups" ) ) {
      rule_.isForAll = isWord( json_[ "groups" ], kAll, place_.member( "groups" ) );
      if ( !rule_.isForAll ) {
         readNumbers( "groups", rule_.groups, account( groupNamed, "group" ) );
      }
   } else if ( !json_.HasMember( "users" ) ) {
      report( place_, "the rule is for nobody: \"groups\" or \"users\" is missing" );
   }
}

std::optional< uint32_t > RuleReader::findDevice( const Value& value, const Place& place ) {
   auto label = value.IsString() ? wiring_.labels.find( value.GetString() ) : wiring_.labels.end();
   if ( value.IsString() && label == wiring_.labels.end() ) {
      report( place, fmt::format( "no device of the topology has the label {}",
                                  Utils::Json::write( value ) ) );
      return std::nullopt;
   }
   uint32_t did = value.IsString() ? label->second : value.GetUint();
   std::string problem = wiring_.whyOutOfReach( did );
   if ( !problem.empty() ) {
      report( place, problem );
      return std::nullopt;
   }
   return did;
}

void RuleReader::readDevices() {
   if ( json_.HasMember( "devices" ) ) {
      rule_.hasAllDevices = isWord( json_[ "devices" ], kAll, place_.member( "devices" ) );
      if ( !rule_.hasAllDevices ) {
         readNumbers( "devices", rule_.devices, [ this ]( const Value& value, const Place& place ) {
            return findDevice( value, place );
         } );
      }
   } else if ( !json_.HasMember( "adapters" ) ) {
      report( place_, "the rule is for no chip: \"devices\" or \"adapters\" is missing" );
   }
}

void RuleReader::readAdapters() {
   if ( !json_.HasMember( "adapters" ) ) {
      return;
   }
   size_t position = 0;
   for ( const Value& region : json_[ "adapters" ].GetArray() ) {
      readRegion( region, place_.member( "adapters" ).member( std::to_string( position++ ) ) );
   }
}

void RuleReader::readRegion( const Value& json, const Place& place ) {
   PolicyRule::Region region;
   Place addresses = place.member( "addresses" );
   std::vector< NumberRange > ranges = { kAddresses };
   if ( !isWord( json[ "addresses" ], kAll, addresses ) ) {
      ranges =
         readRanges( json[ "addresses" ], kAddresses, "addresses of chips", addresses, findings_ );
   } else if ( json_.HasMember( "registers" ) ) {
      report( addresses, "registers of all addresses: name those whose registers are meant" );
   }
   for ( const NumberRange& range : ranges ) {
      for ( uint32_t address = range.first; address <= range.last; ++address ) {
         region.addresses.set( address );
      }
   }
   region.adapter = findAdapter( json, place, wiring_, findings_ );
   if ( !region.adapter ) {
      return;
   }
   size_t bus = wiring_.busAt( *region.adapter );
   bool isAny = json.HasMember( "path" ) && isWord( json[ "path" ], kAny, place.member( "path" ) );
   if ( isAny || !json.HasMember( "path" ) ||
        readPath( json[ "path" ], place.member( "path" ), bus ) ) {
      region.bus = isAny ? std::nullopt : std::optional( bus );
      rule_.regions.push_back( region );
   }
}

// From the bus to the one behind the channels, outermost first.
bool RuleReader::readPath( const Value& path, const Place& place, size_t& bus ) {
   size_t position = 0;
   for ( const Value& step : path.GetArray() ) {
      Place here = place.member( std::to_string( position++ ) );
      auto mux = findDevice( step[ "mux" ], here.member( "mux" ) );
      if ( !mux ) {
         return false;
      }
      auto next = std::ranges::find_if( wiring_.busses, [ & ]( const Wiring::Bus& each ) {
         return each.above == bus && each.mux == *mux &&
                each.channel == step[ "channel" ].GetUint();
      } );
      if ( next == wiring_.busses.end() ) {
         report( here, fmt::format( "there is no such channel on {}; {}", wiring_.nameOf( bus ),
                                    wordsForChannels( bus ) ) );
         return false;
      }
      bus = static_cast< size_t >( next - wiring_.busses.begin() );
   }
   return true;
}

std::string RuleReader::wordsForChannels( size_t bus ) const {
   std::vector< std::string > channels;
   for ( const Wiring::Bus& each : wiring_.busses ) {
      if ( each.above == bus ) {
         channels.push_back( fmt::format( "channel {} of mux {}", each.channel, each.mux ) );
      }
   }
   return channels.empty() ? "it has none"
                           : fmt::format( "there are {}", fmt::join( channels, ", " ) );
}

void RuleReader::readRegisters() {
   if ( json_.HasMember( "registerSize" ) ) {
      rule_.registerSize = static_cast< uint8_t >( json_[ "registerSize" ].GetUint() );
   }
   if ( !json_.HasMember( "registers" ) ) {
      return;
   }
   uint32_t most = UINT32_MAX >> 8 * ( sizeof most - rule_.registerSize );
   rule_.registers =
      readRanges( json_[ "registers" ], { 0, most },
                  rule_.registerSize == 1 ? "register numbers of one byte" : "register numbers",
                  place_.member( "registers" ), findings_ );
   if ( rule_.hasAllDevices ) {
      report( place_.member( "devices" ),
              "registers of all devices: name those whose registers are meant" );
   }
   for ( const Wiring::Bus& bus : wiring_.busses ) {
      if ( bus.above != Wiring::kNone && rule_.devices.contains( bus.mux ) ) {
         report( place_.member( "registers" ),
                 fmt::format( "device {} is a mux, which has no registers", bus.mux ) );
         return;
      }
   }
}

}  // namespace

std::vector< PolicyRule > readPolicyRules( const BoardFile& policy,
                                           const Wiring& wiring,
                                           std::vector< Finding >& findings ) {
   std::vector< PolicyRule > rules;
   std::map< std::string, std::string > seen;  // name to pointer
   for ( const Value& rule : policy.json[ "rules" ].GetArray() ) {
      Place place{ policy.path, fmt::format( "/rules/{}", rules.size() ) };
      rules.push_back( RuleReader( rule, place, wiring, findings ).read() );
      auto [ first, isNew ] = seen.insert( { rules.back().name, place.pointer } );
      if ( !isNew ) {
         findings.push_back(
            { place.file, place.pointer + "/name",
              fmt::format( "\"{}\" is already the name of {}", first->first, first->second ) } );
      }
   }
   return rules;
}

std::vector< PolicyRule > loadPolicy( const std::string& path, const Wiring& wiring ) {
   std::vector< Finding > findings;
   std::vector< PolicyRule > rules;
   BoardFile file = readPolicy( path, findings );
   if ( file.sound ) {
      rules = readPolicyRules( file, wiring, findings );
   }
   if ( !findings.empty() ) {
      throw BoardError( std::move( findings ) );
   }
   return rules;
}

}  // namespace BoardFiles
