#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstdlib>
#include <memory>

#include "Host/Commands/Commands.h"
#include "Host/Commands/Names.h"
#include "Host/Output/Print.h"
#include "Host/Output/ScanReport.h"
#include "Host/Session/Service.h"
#include "Host/Session/UseError.h"
#include "Platform/ServicePath.h"
#include "Utils/Nearest.h"

namespace Host {

namespace {

// By its own label, its path, or, of the busses at an adapter, the medium's label.
bool isCalled( const Wiring& wiring, size_t bus, const std::string& name ) {
   const Wiring::Bus& place = wiring.busses[ bus ];
   bool isMedium = place.above == Wiring::kNone && wiring.adapters[ place.adapter ].label == name;
   return isMedium || place.label == name || WireNames( wiring ).pathOf( bus ) == name;
}

// Those with the name and all behind them; all without a name.
std::vector< size_t > bussesCalled( const Wiring& wiring, const std::string& name ) {
   std::vector< bool > chosen;
   std::vector< size_t > busses;
   std::vector< std::string > names;
   for ( size_t i = 0; i < wiring.busses.size(); ++i ) {
      size_t above = wiring.busses[ i ].above;
      chosen.push_back( name.empty() || ( above != Wiring::kNone && chosen[ above ] ) ||
                        isCalled( wiring, i, name ) );
      if ( chosen[ i ] ) {
         busses.push_back( i );
      }
      const std::string& label = wiring.busses[ i ].label;
      names.push_back( label.empty() ? WireNames( wiring ).pathOf( i ) : label );
   }
   if ( busses.empty() ) {
      throw UseError( names.empty() ? "the board has no busses"
                                    : fmt::format( "the board has no bus \"{}\"; it has {}{}", name,
                                                   fmt::join( names, ", " ),
                                                   Utils::didYouMean( name, names ) ) );
   }
   return busses;
}

// Why the scan was given up, if it was. Each bus is told as soon as it is known.
std::string scanAll( const Wiring& wiring,
                     const std::vector< size_t >& wanted,
                     const std::function< void( const ScannedBus& ) >& tell ) {
   try {
      Scan scan( wiring );
      for ( size_t bus : wanted ) {
         tell( scan.scan( bus ) );
      }
   } catch ( const ServiceLost& lost ) {
      return lost.what();
   }
   return {};
}

int scan( const Program& program, const std::string& name ) {
   if ( !serviceNeeded() ) {
      throw UseError( "in simulation (SIMULATION_VMID) there are no busses to be scanned" );
   }
   Board board = loadBoard( program );
   auto wanted = bussesCalled( board.wiring, name );
   setenv( PlatformLibrary::kServicePathVariable, findService( program ).c_str(), 1 );
   auto wireTrace = makeWireTrace( program, board );
   if ( wireTrace ) {
      wireTrace->start();
   }
   TableStyle style = TableStyle::ofOutput();
   std::vector< ScannedBus > busses;
   std::string error = scanAll( board.wiring, wanted, [ & ]( const ScannedBus& bus ) {
      busses.push_back( bus );
      if ( !program.json ) {
         print( scanText( board.wiring, bus, style ) + "\n" );
         flushOutput();
      }
   } );
   print( program.json ? scanJson( board, busses, error ) : scanSummary( busses, style ) );
   if ( !error.empty() ) {
      complain( "lumen: the scan ends: " + error );
   }
   return error.empty() && std::ranges::all_of( busses, isAsDeclared ) ? kAllWell : kNotWell;
}

}  // namespace

void addScanCommand( CLI::App& app, Program& program ) {
   auto name = std::make_shared< std::string >();
   auto command = addCommand(
      app, program, { "scan", "which chips answer on the busses, compared with the documents" },
      [ &program, name ] { return scan( program, *name ); } );
   command
      ->add_option( "BUS", *name,
                    "a bus, a medium or a mux's channel, by its label or as the scan shows it, "
                    "with all that is behind it; all busses without it" )
      ->type_name( kBusType );
   command->footer(
      "Each address is read once, without a register (receive byte); nothing is written\n"
      "but the channels of muxes. A chip that does not acknowledge reads is not found." );
}

}  // namespace Host
