#include "Host/Output/EmuReport.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Host/Output/JsonDocument.h"
#include "Host/Output/Table.h"

namespace Host {

namespace {

constexpr size_t kMostQuantities = 12;  // of a chip in the list; a PoE controller has hundreds

std::string quantitiesText( const EmulatedChip& chip ) {
   std::vector< std::string > texts;
   for ( const auto& [ name, value ] : chip.quantities ) {
      if ( texts.size() == kMostQuantities ) {
         texts.push_back( fmt::format( "{} more", chip.quantities.size() - kMostQuantities ) );
         break;
      }
      texts.push_back( name + " " + quantityText( value ) );
   }
   return fmt::format( "{}", fmt::join( texts, ", " ) );
}

std::string objectsText( const EmulatedChip& chip ) {
   size_t count = chip.objects.size();
   return count == 0   ? "-"
          : count == 1 ? chip.objects[ 0 ]
                       : fmt::format( "{} and {} more", chip.objects[ 0 ], count - 1 );
}

Cell stateCell( const EmulatedChip& chip ) {
   if ( !chip.isPlugged ) {
      return { "unplugged", Colour::Dim };
   }
   if ( chip.faults ) {
      return { fmt::format( "{} fault{}", chip.faults, chip.faults == 1 ? "" : "s" ),
               Colour::Yellow };
   }
   return { "plugged", Colour::Green };
}

Value chipJson( const EmulatedChip& chip, JsonObject::Allocator& allocator ) {
   JsonObject quantities( allocator );
   for ( const auto& [ name, value ] : chip.quantities ) {
      quantities.value().AddMember( Value( name.c_str(), allocator ), Value( value ), allocator );
   }
   JsonObject json( allocator );
   json.add( "did", Value( chip.did ) );
   json.add( "label", chip.label );
   json.add( "model", chip.model );
   json.add( "address", Value( chip.address ) );
   json.add( "place", chip.place );
   json.add( "objects", arrayJson( chip.objects, allocator, []( auto& name, auto& memory ) {
                return Value( name.c_str(), memory );
             } ) );
   json.add( "plugged", Value( chip.isPlugged ) );
   json.add( "faults", Value( chip.faults ) );
   json.add( "quantities", std::move( quantities.value() ) );
   return std::move( json.value() );
}

}  // namespace

std::string quantityText( double value ) {
   return fmt::format( "{:.10g}", value );
}

std::string chipsTable( const std::vector< EmulatedChip >& chips ) {
   std::vector< std::vector< Cell > > rows;
   for ( const EmulatedChip& chip : chips ) {
      rows.push_back( { { std::to_string( chip.did ) },
                        { chip.label },
                        { chip.model },
                        { fmt::format( "0x{:02x}", chip.address ) },
                        { chip.place },
                        { objectsText( chip ) },
                        stateCell( chip ),
                        { quantitiesText( chip ) } } );
   }
   return formatTable( { { "did", true },
                         { "label" },
                         { "model" },
                         { "address" },
                         { "place" },
                         { "objects" },
                         { "state" },
                         { "quantities" } },
                       rows, TableStyle::ofOutput() );
}

std::string quantitiesTable( const EmulatedChip& chip ) {
   std::vector< std::vector< Cell > > rows;
   for ( const auto& [ name, value ] : chip.quantities ) {
      rows.push_back( { { name }, { quantityText( value ) } } );
   }
   return formatTable( { { "quantity" }, { "value" } }, rows, TableStyle::ofOutput() );
}

std::string chipsJson( const std::string& board, const std::vector< EmulatedChip >& chips ) {
   JsonObject::Allocator allocator;
   JsonObject json = beginDocument( board, allocator );
   json.add( "chips", arrayJson( chips, allocator, chipJson ) );
   json.add( "ok", Value( true ) );
   return json.text();
}

std::string valueJson( const std::string& board, std::optional< double > value ) {
   JsonObject::Allocator allocator;
   JsonObject json = beginDocument( board, allocator );
   if ( value ) {
      json.add( "value", value );
   }
   json.add( "ok", Value( true ) );
   return json.text();
}

}  // namespace Host
