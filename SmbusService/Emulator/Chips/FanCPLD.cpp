#include "SmbusService/Emulator/Chips/FanCPLD.h"

#include <fmt/format.h>

#include <algorithm>

#include "SmbusService/Emulator/Chips/RotorQuantities.h"

namespace SmbusService::Emulator {

namespace {

constexpr uint32_t kByte = 0xff;
constexpr uint32_t kHighestCount = 0xffff;  // of a tachometer; also when the rotor stands still
constexpr double kPercentWithoutDuty = 30;  // of the highest speed

void setHighest( Rotor& rotor, uint32_t rpm ) {
   rotor.setRange( rpm * kPercentWithoutDuty / 100, rpm );
}

// A number below the first one is beyond all others.
uint8_t positionOf( uint8_t number, uint8_t first ) {
   return static_cast< uint8_t >( number - first );
}

}  // namespace

FanPart::FanPart( const FanLayout& fans )
    : layout( fans ), registers( fans.constants.begin(), fans.constants.end() ) {
   auto add = [ this ]( uint8_t first, uint8_t count, uint32_t writable ) {
      for ( uint8_t i = 0; i < count; ++i ) {
         registers.push_back( { .number = static_cast< uint8_t >( first + i ),
                                .bytes = 1,
                                .reset = kByte,
                                .writable = writable } );
      }
   };
   for ( const RotorLayout& rotor : layout.rotors ) {
      add( rotor.tachometers, 2 * kFanModules, 0 );
      add( rotor.duties, kFanModules, kByte );
   }
   add( layout.types, kFanModules, 0 );
   add( layout.presence, 1, 0 );
   add( layout.health, 1, 0 );
   add( layout.green, 1, kByte );
   add( layout.red, 1, kByte );
}

FanCPLD::FanCPLD( const FanPart& part )
    : LiveChip( ByteOrder::kLowFirst, part.registers ), layout_( part.layout ) {
   int number = layout_.firstModule;
   for ( Module& module : modules_ ) {
      module.type = layout_.type;
      module.rotors.resize( layout_.rotors.size() );
      module.setPresent( false );
      addQuantities( module, number++ );
   }
}

void FanCPLD::addQuantities( Module& module, int number ) {
   auto bit = static_cast< uint8_t >( number - layout_.firstModule );
   add( { .name = fmt::format( "present{}", number ),
          .get = [ &module ] { return module.isPresent; },
          .set = [ &module ]( bool isPresent ) { module.setPresent( isPresent ); } } );
   add( { .name = fmt::format( "type{}", number ),
          .get = [ &module ] { return module.type; },
          .set = [ &module ]( uint32_t type ) { module.type = type; },
          .high = kByte } );
   add( onOff( fmt::format( "fault{}", number ), module.hasFault ) );
   add( led( fmt::format( "green{}", number ), layout_.green, bit ) );
   add( led( fmt::format( "red{}", number ), layout_.red, bit ) );
   for ( size_t i = 0; i < module.rotors.size(); ++i ) {
      addQuantities( module.rotors[ i ], layout_.rotors[ i ], number );
   }
}

void FanCPLD::addQuantities( Rotor& rotor, const RotorLayout& layout, int number ) {
   setHighest( rotor, layout.highestRpm );
   auto name = [ number ]( std::string_view quantity ) {
      return fmt::format( "{}{}", quantity, number );
   };
   add( blocking( name( layout.stopped ), rotor ) );
   add( rpmLimit(
      name( layout.maxRpm ), [ &rotor ] { return rotor.maxRpm(); },
      [ &rotor ]( uint32_t rpm ) { setHighest( rotor, rpm ); } ) );
   add( speed( name( layout.rpm ), rotor ) );
   add( duty( name( layout.duty ), rotor ) );
}

void FanCPLD::reset() {
   LiveChip::reset();
   for ( Module& module : modules_ ) {
      std::ranges::for_each( module.rotors, &Rotor::reset );
   }
}

uint32_t FanCPLD::fetch( uint8_t number ) {
   if ( number == layout_.presence ) {
      return bits(
         [ this ]( const Module& module ) { return module.isPresent == layout_.presentLevel; } );
   }
   if ( number == layout_.health ) {
      return bits( []( const Module& module ) { return module.runsWell(); } );
   }
   if ( uint8_t place = positionOf( number, layout_.types ); place < kFanModules ) {
      return modules_[ place ].type;
   }
   for ( size_t i = 0; i < layout_.rotors.size(); ++i ) {
      uint8_t position = positionOf( number, layout_.rotors[ i ].tachometers );
      if ( position < 2 * kFanModules && position % 2 == 0 ) {
         uint32_t counted = count( modules_[ position / 2 ].rotors[ i ] );
         // Until the next reading of the low byte the high one stays, so that the two are a pair.
         assign( number + 1, counted >> 8 );
         return counted;
      }
   }
   return value( number );
}

void FanCPLD::store( uint8_t number, uint32_t written ) {
   LiveChip::store( number, written );
   for ( size_t i = 0; i < layout_.rotors.size(); ++i ) {
      uint8_t place = positionOf( number, layout_.rotors[ i ].duties );
      if ( place < kFanModules ) {
         modules_[ place ].rotors[ i ].setDuty( static_cast< uint8_t >( written ),
                                                Rotor::Clock::now() );
      }
   }
}

template < typename Condition >
uint32_t FanCPLD::bits( Condition condition ) const {
   uint32_t result = 0;
   for ( uint8_t place = 0; place < kFanModules; ++place ) {
      result |= uint32_t{ condition( modules_[ place ] ) } << place;
   }
   return result;
}

uint32_t FanCPLD::count( const Rotor& rotor ) const {
   double rpm = rotor.rpm( Rotor::Clock::now() );
   return rpm > 0 ? static_cast< uint32_t >(
                       std::min< double >( layout_.countTimesRpm / rpm, kHighestCount ) )
                  : kHighestCount;
}

void FanCPLD::Module::setPresent( bool value ) {
   isPresent = value;
   for ( Rotor& rotor : rotors ) {
      rotor.setMounted( value );
   }
}

bool FanCPLD::Module::runsWell() const {
   return isPresent && !hasFault && std::ranges::none_of( rotors, &Rotor::isBlocked );
}

}  // namespace SmbusService::Emulator
