#include "Host/Output/ScanReport.h"

#include <fmt/format.h>

#include <algorithm>
#include <map>

#include "Host/Output/BusPlace.h"
#include "Host/Output/JsonDocument.h"

namespace Host {

namespace {

constexpr uint8_t kAddresses = 0x80;
constexpr uint8_t kRow = 0x10;
constexpr const char* kLegend =
   "48 answers, -- nothing, xx declared but silent, ^^ answers on a bus above, UU refused or held, "
   "?? failed\n";

struct PresenceWords {
   const char* mark;  // in the grid; null for the address itself
   const char* json;
   const char* text;
   Colour colour;
};

const PresenceWords& wordsFor( const ScannedAddress& address ) {
   static constexpr PresenceWords words[] = {
      // by Presence
      { "--", "silent", "nothing", Colour::Dim },
      { nullptr, "ok", "ok", Colour::Green },
      { "xx", "missing", "does not answer", Colour::Red },
      { nullptr, "undeclared", "answers, not declared", Colour::Yellow },
      { "^^", "above", "answers above", Colour::Dim },
      { "UU", "refused", "refused", Colour::Yellow },
      { "UU", "held", "held", Colour::Yellow },
      { "??", "failed", "failed", Colour::Red },
      { "  ", "not reached", "not looked for", Colour::Yellow },
   };
   return words[ static_cast< size_t >( address.presence ) ];
}

std::string stateText( const ScannedAddress& address ) {
   const char* text = wordsFor( address ).text;
   if ( address.presence == Presence::Above ) {
      return fmt::format( "cannot be told from what answers at {}", address.reason );
   }
   return address.reason.empty() ? text : fmt::format( "{}: {}", text, address.reason );
}

std::string gridText( const ScannedBus& bus, const TableStyle& style ) {
   std::map< uint8_t, std::string > cells;
   for ( const ScannedAddress& each : bus.addresses ) {
      const PresenceWords& words = wordsFor( each );
      std::string mark = words.mark ? words.mark : fmt::format( "{:02x}", each.address );
      cells.insert( { each.address, coloured( mark, words.colour, style ) } );
   }
   std::string text = "     0  1  2  3  4  5  6  7  8  9  a  b  c  d  e  f\n";
   for ( unsigned row = 0; row < kAddresses; row += kRow ) {
      std::string line;
      for ( unsigned i = 0; i < kRow; ++i ) {
         auto cell = cells.find( static_cast< uint8_t >( row + i ) );
         line += " " + ( cell == cells.end() ? "  " : cell->second );
      }
      line.erase( line.find_last_not_of( ' ' ) + 1 );
      text += fmt::format( "{:02x}:{}\n", row, line );
   }
   return text;
}

bool isListed( const ScannedAddress& each ) {
   return each.did || each.presence == Presence::Undeclared || each.presence == Presence::Held ||
          each.presence == Presence::Failed;
}

std::string listText( const Wiring& wiring, const ScannedBus& bus, const TableStyle& style ) {
   std::vector< std::vector< Cell > > rows;
   for ( const ScannedAddress& each : bus.addresses ) {
      if ( !isListed( each ) ) {
         continue;
      }
      const Wiring::Device* device = each.did ? &wiring.devices.at( *each.did ) : nullptr;
      std::string name = !device                 ? "-"
                         : device->label.empty() ? fmt::format( "device {}", *each.did )
                                                 : device->label;
      rows.push_back( { { fmt::format( "0x{:02x}", each.address ) },
                        { name },
                        { device && !device->driver.empty() ? device->driver : "-" },
                        { stateText( each ), wordsFor( each ).colour } } );
   }
   return rows.empty()
             ? ""
             : formatTable( { { "address" }, { "device" }, { "chip" }, { "state" } }, rows, style );
}

// Those that are not in the list, by their reasons: there may be many.
std::string othersText( const ScannedBus& bus, Presence presence, const char* title ) {
   std::map< std::string, std::string > addresses;
   for ( const ScannedAddress& each : bus.addresses ) {
      if ( each.presence == presence && !isListed( each ) ) {
         addresses[ each.reason ] += fmt::format( " 0x{:02x}", each.address );
      }
   }
   std::string text;
   for ( const auto& [ reason, list ] : addresses ) {
      text += fmt::format( "{} {}:{}\n", title, reason, list );
   }
   return text;
}

Value addressJson( const Wiring& wiring,
                   const ScannedAddress& each,
                   JsonObject::Allocator& allocator ) {
   const Wiring::Device* device = each.did ? &wiring.devices.at( *each.did ) : nullptr;
   JsonObject json( allocator );
   json.add( "address", Value( unsigned{ each.address } ) );
   json.add( "did", each.did ? Value( *each.did ) : Value() );
   json.addIfAny( "label", device ? device->label : "" );
   json.addIfAny( "driver", device ? device->driver : "" );
   json.add( "state", std::string_view( wordsFor( each ).json ) );
   json.addIfAny( "reason", each.reason );
   return std::move( json.value() );
}

Value busJson( const Wiring& wiring, const ScannedBus& bus, JsonObject::Allocator& allocator ) {
   std::vector< ScannedAddress > known = bus.addresses;
   std::erase_if( known, []( const ScannedAddress& each ) {
      return !each.did &&
             ( each.presence == Presence::Silent || each.presence == Presence::NotReached );
   } );
   JsonObject json( allocator );
   addBus( json, wiring, bus.bus, allocator );
   json.add( "addresses", arrayJson( known, allocator, [ & ]( const auto& each, auto& memory ) {
                return addressJson( wiring, each, memory );
             } ) );
   json.addIfAny( "problem", bus.problem );
   return std::move( json.value() );
}

}  // namespace

std::string scanText( const Wiring& wiring, const ScannedBus& bus, const TableStyle& style ) {
   std::string text = busTitle( wiring, bus.bus ) + "\n" + gridText( bus, style ) +
                      listText( wiring, bus, style ) +
                      othersText( bus, Presence::Above, "answer as well at" ) +
                      othersText( bus, Presence::Refused, "refused:" );
   return bus.problem.empty()
             ? text
             : text + coloured( "the scan ended: " + bus.problem, Colour::Red, style ) + "\n";
}

std::string scanSummary( const std::vector< ScannedBus >& busses, const TableStyle& style ) {
   size_t declared = 0;
   size_t answering = 0;
   size_t others = 0;
   for ( const ScannedBus& bus : busses ) {
      for ( const ScannedAddress& each : bus.addresses ) {
         declared += each.did ? 1 : 0;
         answering += each.presence == Presence::Ok ? 1 : 0;
         others += each.presence == Presence::Undeclared ? 1 : 0;
      }
   }
   return coloured( kLegend, Colour::Dim, style ) +
          fmt::format( "{} of {} declared devices answer, and {} that {} not declared\n", answering,
                       declared, others == 0 ? "none" : std::to_string( others ),
                       others > 1 ? "are" : "is" );
}

std::string scanJson( const Board& board,
                      const std::vector< ScannedBus >& busses,
                      const std::string& error ) {
   JsonObject::Allocator allocator;
   JsonObject json = beginDocument( board.directory, allocator );
   json.add( "busses", arrayJson( busses, allocator, [ & ]( const auto& bus, auto& memory ) {
                return busJson( board.wiring, bus, memory );
             } ) );
   json.addIfAny( "error", error );
   json.add( "ok", Value( error.empty() && std::ranges::all_of( busses, isAsDeclared ) ) );
   return json.text();
}

}  // namespace Host
