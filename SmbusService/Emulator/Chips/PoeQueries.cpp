#include "SmbusService/Emulator/Chips/PoeQueries.h"

namespace SmbusService::Emulator {

namespace {

constexpr double kVolts = 54;  // of a port with power

constexpr double kVoltStep = 0.06445;
constexpr double kAmpereStep = 0.001;
constexpr double kWattStep = 0.1;

constexpr uint8_t kUnknownClass = 0x0f;
constexpr uint8_t kUndervoltage = 171;  // 33 V + 171 x 64.45 mV = 44.0 V
constexpr uint8_t kOvervoltage = 0;     // 57 V

enum PairMode : uint8_t { kNoPairs = 0, kPrimary = 1, kBoth = 3 };

// Of channels.
constexpr uint8_t kChannelOff = 0;
constexpr uint8_t kChannelSearches = 1;
constexpr uint8_t kChannelHasDevice = 4;
constexpr uint8_t kChannelFault = 5;
constexpr uint8_t kHalfOfFourPairs = 0x10;

constexpr uint8_t kRequestsForTwo = 2;  // a device with two signatures

// Code 120 is 125 degrees; each step up is 1.25 degrees down.
constexpr double codeOf( double celsius ) {
   return 120 + ( 125 - celsius ) / 1.25;
}
static_assert( codeOf( 0 ) == 220 );

bool isDetected( const PoePorts& ports, size_t port ) {
   PoeStatus status = ports[ port ].status;
   return status != PoeStatus::kDisabled && status != PoeStatus::kSearching;
}

uint8_t classOf( const PoePorts& ports, size_t port ) {
   return !isDetected( ports, port )                ? kUnknownClass
          : ports.settings.ports[ port ].classifies ? ports.device( port ).deviceClass
                                                    : 0;
}

// Types 1 to 4, each of two or four classes; 0 where there is no device.
uint8_t typeOf( const PoePorts& ports, size_t port ) {
   constexpr uint8_t kTypes[ kHighestPoeClass + 1 ] = { 1, 1, 1, 1, 2, 3, 3, 4, 4 };
   return isDetected( ports, port ) ? kTypes[ ports.device( port ).deviceClass ] : 0;
}

PairMode pairsOf( const PoePorts& ports, size_t port ) {
   return ports.around().isFourPair( port ) ? kBoth : kPrimary;
}

uint8_t channelStatus( PoeStatus status ) {
   switch ( status ) {
      case PoeStatus::kDisabled:
         return kChannelOff;
      case PoeStatus::kSearching:
         return kChannelSearches;
      case PoeStatus::kFault:
         return kChannelFault;
      case PoeStatus::kDelivering:
      case PoeStatus::kRequesting:
         break;
   }
   return kChannelHasDevice;
}

void status( const PoePorts& ports, size_t number, PoeAnswer& answer ) {
   const PoePort& port = ports[ number ];
   bool hasPower = port.status == PoeStatus::kDelivering;
   bool requests = port.status == PoeStatus::kRequesting;
   bool isForTwo = ports.around().isFourPair( number ) && ports.device( number ).isDual;
   answer[ 3 ] = static_cast< uint8_t >( port.status );
   answer[ 4 ] = static_cast< uint8_t >( port.fault );
   answer[ 5 ] = classOf( ports, number );
   answer[ 6 ] = typeOf( ports, number );
   answer[ 7 ] = ports.settings.ports[ number ].shutOffMask;
   answer[ 9 ] = hasPower ? pairsOf( ports, number ) : kNoPairs;
   answer[ 10 ] = requests && isForTwo ? kRequestsForTwo : 0;
}

void counters( const PoePorts& ports, size_t number, PoeAnswer& answer ) {
   const PoeCounters& counters = ports[ number ].counters;
   answer[ 3 ] = counters.overload;
   answer[ 4 ] = counters.shortCircuit;
   answer[ 5 ] = counters.denied;
   answer[ 6 ] = counters.signatureLost;
   answer[ 7 ] = 0;  // every device here has a valid signature
}

void configuration( const PoePorts& ports, size_t number, PoeAnswer& answer ) {
   const PoePortSettings& port = ports.settings.ports[ number ];
   answer[ 3 ] = port.isEnabled;
   answer[ 4 ] = port.powersUpItself;
   answer[ 5 ] = port.detection;
   answer[ 6 ] = port.classifies;
   answer[ 7 ] = port.disconnect;
   answer[ 8 ] = pairsOf( ports, number );
}

void extendedConfiguration( const PoePorts& ports, size_t number, PoeAnswer& answer ) {
   const PoePortSettings& port = ports.settings.ports[ number ];
   answer[ 3 ] = port.powerUpMode;
   answer[ 4 ] = port.limitType;
   answer[ 5 ] = port.limit;
   answer[ 6 ] = port.priority;
   answer[ 7 ] = port.output;
}

void measurements( const PoePorts& ports, size_t number, PoeAnswer& answer ) {
   double watts = ports.watts( number );
   bool hasPower = ports[ number ].status == PoeStatus::kDelivering;
   putNumber( answer, 3, hasPower ? kVolts : 0, kVoltStep );
   putNumber( answer, 5, watts / kVolts, kAmpereStep );
   putNumber( answer, 7, codeOf( ports.around().celsius ), 1 );
   putNumber( answer, 9, watts, kWattStep );
}

void channelPower( const PoePorts& ports, size_t number, PoeAnswer& answer ) {
   double watts = ports.watts( number );
   double alternative = ports.around().isFourPair( number ) ? watts / 2 : 0;
   putNumber( answer, 3, watts - alternative, kWattStep );
   putNumber( answer, 5, alternative, kWattStep );
}

void channels( const PoePorts& ports, size_t number, PoeAnswer& answer ) {
   uint8_t status = channelStatus( ports[ number ].status );
   uint8_t deviceClass = classOf( ports, number );
   bool isFourPair = ports.around().isFourPair( number );
   answer[ 3 ] = isFourPair ? kHalfOfFourPairs | status : status;
   answer[ 4 ] = deviceClass;
   answer[ 7 ] = isFourPair ? answer[ 3 ] : kChannelOff;
   answer[ 8 ] = isFourPair ? deviceClass : kUnknownClass;
}

void power( const PoePorts& ports, PoeAnswer& answer ) {
   putNumber( answer, 2, ports.consumption(), kWattStep );
   putNumber( answer, 4, ports.budget(), kWattStep );
}

void device( const PoePorts& ports, PoeAnswer& answer ) {
   size_t twoPair = std::min( ports.around().ports, ports.around().atPorts );
   size_t channels = twoPair + 2 * ( ports.around().ports - twoPair );
   answer[ 2 ] = kUndervoltage;
   answer[ 3 ] = ports.settings.options;
   answer[ 4 ] = 0;
   answer[ 5 ] = 0;
   answer[ 7 ] = kOvervoltage;
   answer[ 8 ] =
      static_cast< uint8_t >( ( channels + kPoeChannelsOfChip - 1 ) / kPoeChannelsOfChip );
}

constexpr struct {
   uint8_t command;
   void ( *fill )( const PoePorts&, PoeAnswer& );
} kQueries[] = {
   { 0x23, power },
   { 0x2b, device },
};

// The port is byte 2 of the request, and of the answer.
constexpr struct {
   uint8_t command;
   void ( *fill )( const PoePorts&, size_t number, PoeAnswer& );
} kPortQueries[] = {
   { 0x21, status },        { 0x22, counters },
   { 0x25, configuration }, { 0x26, extendedConfiguration },
   { 0x30, measurements },  { 0x3c, channelPower },
   { 0x3d, channels },
};

}  // namespace

bool answerPoeQuery( const PoePorts& ports, PoeRequest request, PoeAnswer& answer ) {
   for ( const auto& query : kQueries ) {
      if ( query.command == request[ 0 ] ) {
         query.fill( ports, answer );
         return true;
      }
   }
   size_t port = request[ 2 ];
   for ( const auto& query : kPortQueries ) {
      if ( query.command == request[ 0 ] && port < ports.around().ports ) {
         answer[ 2 ] = request[ 2 ];
         query.fill( ports, port, answer );
         return true;
      }
   }
   return false;
}

}  // namespace SmbusService::Emulator
