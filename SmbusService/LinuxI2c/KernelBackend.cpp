#include "SmbusService/LinuxI2c/KernelBackend.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

namespace SmbusService::LinuxI2c {

namespace {

using BoardFiles::AdapterSpec;
using BoardFiles::Finding;

std::string listOf( const std::vector< SystemAdapter >& adapters ) {
   std::vector< std::string > texts;
   std::ranges::transform( adapters, std::back_inserter( texts ), &SystemAdapter::text );
   return fmt::format( "{}", fmt::join( texts, ", " ) );
}

}  // namespace

void KernelBackend::check( const BoardFiles::Board& board ) const {
   std::vector< Finding > findings;
   std::map< unsigned, std::string > taken;  // numbers, and the entries that they are for
   for ( const AdapterSpec& spec : board.adapters ) {
      auto problems = problemsOf( spec, taken );
      findings.insert( findings.end(), problems.begin(), problems.end() );
   }
   if ( !findings.empty() ) {
      findings.insert( findings.begin(), board.warnings.begin(), board.warnings.end() );
      throw BoardFiles::BoardError( std::move( findings ) );
   }
}

std::vector< Finding > KernelBackend::problemsOf( const AdapterSpec& spec,
                                                  std::map< unsigned, std::string >& taken ) const {
   auto report = [ & ]( const std::string& problem ) {
      return std::vector< Finding >{ { spec.place.file, spec.place.pointer, problem } };
   };
   auto found = sysfs_.find( spec );
   if ( isServed( spec ) ) {
      for ( const SystemAdapter& adapter : found ) {
         taken.insert( { adapter.number, spec.place.pointer } );
      }
      return {};
   }
   if ( found.empty() ) {
      auto all = sysfs_.adapters();
      return report( "no adapter of the system matches; " +
                     ( all.empty() ? "it has none" : "there are " + listOf( all ) ) );
   }
   if ( found.size() > 1 ) {
      return report( "several adapters of the system match: " + listOf( found ) );
   }
   auto [ first, isNew ] = taken.insert( { found[ 0 ].number, spec.place.pointer } );
   if ( !isNew ) {
      return report(
         fmt::format( "{} is already the adapter of {}", found[ 0 ].text(), first->second ) );
   }
   KernelAdapter trial( system_, sysfs_, spec );
   return trial.open() ? report( trial.problem() ) : std::vector< Finding >();
}

// An entry that stays as it was needs no adapter to be there.
bool KernelBackend::isServed( const AdapterSpec& spec ) const {
   return std::ranges::any_of( served_,
                               [ & ]( const auto& each ) { return each.second->spec() == spec; } );
}

void KernelBackend::assign( const BoardFiles::Board& board ) {
   auto trees = busTreesOf( board.wiring );
   std::map< AdapterId, KernelAdapter* > served;
   for ( const AdapterSpec& spec : board.adapters ) {
      AdapterId id = idOf( board.wiring.adapters[ spec.adapter ] );
      auto& adapter = adapters_[ id ];
      if ( !adapter ) {
         adapter = std::make_unique< KernelAdapter >( system_, sysfs_, spec );
         adapter->log = log_;
      }
      served[ id ] = adapter.get();
      if ( !isServed( spec ) ) {
         std::lock_guard lock( adapter->mutex );
         adapter->muxes.connect( id, trees.at( id ) );
         adapter->assign( spec );
      }
   }
   {
      std::unique_lock lock( mutex_ );
      served_.swap( served );
   }
   for ( const auto& [ id, adapter ] : served ) {
      if ( !served_.contains( id ) ) {
         std::lock_guard lock( adapter->mutex );
         adapter->close();
      }
   }
}

void KernelBackend::closeMuxes( const BoardFiles::Wiring& wiring, Log& log ) {
   for ( const BoardFiles::Wiring::Adapter& each : wiring.adapters ) {
      auto adapter = served_.find( idOf( each ) );
      if ( adapter == served_.end() ) {
         continue;
      }
      std::lock_guard lock( adapter->second->mutex );
      std::string why;
      ( void )adapter->second->muxes.settle( *adapter->second, {}, why );  // tried again later
      if ( !why.empty() ) {
         log.write( fmt::format( "{}: {}", each.name(), why ) );
      }
   }
}

Adapter* KernelBackend::findAdapter( const AdapterId& id ) {
   std::shared_lock lock( mutex_ );
   auto adapter = served_.find( id );
   return adapter == served_.end() ? nullptr : adapter->second;
}

}  // namespace SmbusService::LinuxI2c
