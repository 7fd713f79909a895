#include "SmbusService/Emulator/Chips/PoePorts.h"

#include <limits>
#include <numeric>

namespace SmbusService::Emulator {

namespace {

constexpr double kClassLimits[ kHighestPoeClass + 1 ] = { 15.4, 4, 7, 15.4, 30, 45, 60, 75, 90 };
constexpr double kTwoPairClassLimit = 30;  // a device of a higher class gets no more
constexpr double kPairSetLimit = 45;       // what the wires bear
constexpr double kLimitStep = 0.2;
constexpr double kRounding = 0.001;  // sums of what devices draw

void count( uint8_t& counter ) {
   counter += counter < std::numeric_limits< uint8_t >::max();
}

}  // namespace

PoeSettings::PoeSettings() : budget( std::numeric_limits< uint16_t >::max() ) {
   for ( size_t i = 0; i < ports.size(); ++i ) {
      ports[ i ].output = static_cast< uint8_t >( i );
   }
}

void PoePorts::restart( const PoeSettings& start ) {
   settings = start;
   ports_.fill( {} );
}

void PoePorts::enable( size_t port, bool isEnabled ) {
   settings.ports[ port ].isEnabled = isEnabled;
   ports_[ port ].forced = PoeSwitch::kNone;
   ports_[ port ].fault = PoeFault::kNone;
}

void PoePorts::force( size_t port, PoeSwitch position ) {
   ports_[ port ].forced = position;
}

void PoePorts::settle( bool hasFirmware ) {
   const auto before = ports_;
   for ( size_t port = 0; port < ports_.size(); ++port ) {
      follow( port, hasFirmware );
   }
   shed();
   supply();
   for ( size_t port = 0; port < ports_.size(); ++port ) {
      if ( ports_[ port ].status == PoeStatus::kRequesting &&
           before[ port ].status != PoeStatus::kRequesting ) {
         count( ports_[ port ].counters.denied );
      }
   }
}

void PoePorts::follow( size_t number, bool hasFirmware ) {
   PoePort& port = ports_[ number ];
   bool hadPower = port.status == PoeStatus::kDelivering;
   if ( !hasFirmware || !isOn( number ) ) {
      port.status = PoeStatus::kDisabled;
      port.fault = PoeFault::kNone;
   } else if ( !device( number ).isPlugged ) {
      port.status = PoeStatus::kSearching;
      port.fault = PoeFault::kNone;
      if ( hadPower ) {
         count( port.counters.signatureLost );
      }
   } else if ( port.fault != PoeFault::kNone ) {
      port.status = PoeStatus::kFault;
   } else if ( hadPower && !isShutOff( number ) ) {
      check( number );
   } else {
      port.status = PoeStatus::kRequesting;
   }
}

// Of a port with power.
void PoePorts::check( size_t number ) {
   PoePort& port = ports_[ number ];
   if ( device( number ).isShorted ) {
      port.fault = PoeFault::kShort;
      count( port.counters.shortCircuit );
   } else if ( device( number ).draw > limit( number ) ) {
      port.fault = PoeFault::kOverload;
      count( port.counters.overload );
   }
   port.status = port.fault == PoeFault::kNone ? PoeStatus::kDelivering : PoeStatus::kFault;
}

void PoePorts::shed() {
   const auto ranked = ranking();
   for ( auto number = ranked.rbegin(); number != ranked.rend(); ++number ) {
      if ( consumption() <= budget() + kRounding ) {
         return;
      }
      if ( ports_[ *number ].status == PoeStatus::kDelivering ) {
         ports_[ *number ].status = PoeStatus::kRequesting;
      }
   }
}

void PoePorts::supply() {
   for ( size_t number : ranking() ) {
      double needed = std::min( device( number ).draw, limit( number ) );
      if ( ports_[ number ].status == PoeStatus::kRequesting && !isShutOff( number ) &&
           consumption() + needed <= budget() + kRounding ) {
         check( number );
      }
   }
}

bool PoePorts::isOn( size_t number ) const {
   PoeSwitch forced = ports_[ number ].forced;
   return number < around_.ports && settings.isOn &&
          ( forced == PoeSwitch::kNone ? settings.ports[ number ].isEnabled != 0
                                       : forced == PoeSwitch::kOn );
}

bool PoePorts::isShutOff( size_t number ) const {
   return settings.ports[ number ].shutOffMask & around_.failedSupplies;
}

// The first one keeps its power longest.
std::array< size_t, kMaxPoePorts > PoePorts::ranking() const {
   std::array< size_t, kMaxPoePorts > numbers;
   std::iota( numbers.begin(), numbers.end(), size_t{} );
   std::ranges::stable_sort( numbers, std::ranges::greater(), [ this ]( size_t number ) {
      return settings.ports[ number ].priority;
   } );
   return numbers;
}

double PoePorts::limit( size_t number ) const {
   const PoePortSettings& port = settings.ports[ number ];
   bool isFourPair = around_.isFourPair( number );
   int pairSets = isFourPair ? 2 : 1;
   if ( port.limitType == kPoeUnlimited ) {
      return pairSets * kPairSetLimit;
   }
   if ( port.limitType == kPoeUserLimit ) {
      return pairSets * port.limit * kLimitStep;
   }
   double limit = kClassLimits[ device( number ).deviceClass ];
   return isFourPair ? limit : std::min( limit, kTwoPairClassLimit );
}

double PoePorts::watts( size_t number ) const {
   return ports_[ number ].status == PoeStatus::kDelivering ? device( number ).draw : 0;
}

double PoePorts::consumption() const {
   double sum = 0;
   for ( size_t number = 0; number < ports_.size(); ++number ) {
      sum += watts( number );
   }
   return sum;
}

}  // namespace SmbusService::Emulator
