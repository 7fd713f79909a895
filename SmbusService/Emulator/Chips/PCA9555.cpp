#include <fmt/format.h>

#include "SmbusService/Emulator/Chips/LiveChip.h"

// PCA9555 I/O expander: two ports of eight pins.
//
// Quantities are levels on the pins, 0 or 1: "pin0" to "pin15", and as whole ports "input0" and
// "input1". What is set is what the board drives from outside; a pin that is an output shows its
// own level all the same. Undriven pins are pulled up.

namespace SmbusService::Emulator {

namespace {

// The numbers of port 0's registers; port 1's follow each.
constexpr uint8_t kInput = 0x00;
constexpr uint8_t kOutput = 0x02;
constexpr uint8_t kPolarity = 0x04;       // a 1 bit inverts the pin in the input register
constexpr uint8_t kConfiguration = 0x06;  // a 1 bit makes the pin an input

constexpr uint8_t kPorts = 2;
constexpr uint8_t kPins = 8;  // of a port
constexpr uint8_t kAll = 0xff;

constexpr Register kRegisters[] = {
   { .number = kInput, .bytes = 1, .reset = 0 },
   { .number = kInput + 1, .bytes = 1, .reset = 0 },
   { .number = kOutput, .bytes = 1, .reset = kAll, .writable = kAll },
   { .number = kOutput + 1, .bytes = 1, .reset = kAll, .writable = kAll },
   { .number = kPolarity, .bytes = 1, .reset = 0, .writable = kAll },
   { .number = kPolarity + 1, .bytes = 1, .reset = 0, .writable = kAll },
   { .number = kConfiguration, .bytes = 1, .reset = kAll, .writable = kAll },
   { .number = kConfiguration + 1, .bytes = 1, .reset = kAll, .writable = kAll },
};

class PCA9555 : public LiveChip {
 public:
   PCA9555() : LiveChip( ByteOrder::kHighFirst, kRegisters ) {
      for ( uint8_t pin = 0; pin < kPorts * kPins; ++pin ) {
         addPins( fmt::format( "pin{}", pin ), pin / kPins, pin % kPins, 1 );
      }
      for ( uint8_t port = 0; port < kPorts; ++port ) {
         addPins( fmt::format( "input{}", port ), port, 0, kAll );
      }
   }

 protected:
   uint32_t fetch( uint8_t number ) override {
      if ( number < kInput + kPorts ) {
         return levelsOf( number ) ^ value( static_cast< uint8_t >( kPolarity + number ) );
      }
      return value( number );
   }

   // A transfer goes back and forth between the two registers of a pair.
   uint8_t following( uint8_t number ) const override { return number ^ 1; }

 private:
   // The pins of a port that the mask has, its lowest bit for the first.
   void addPins( std::string name, uint8_t port, uint8_t first, uint8_t mask ) {
      add( { .name = std::move( name ),
             .get = [ =, this ] { return levelsOf( port ) >> first & mask; },
             .set =
                [ =, this ]( uint32_t levels ) {
                   uint8_t& pins = driven_[ port ];
                   pins = static_cast< uint8_t >( ( pins & ~( mask << first ) ) | levels << first );
                },
             .high = mask } );
   }

   uint32_t levelsOf( uint8_t port ) const {
      uint32_t inputs = value( static_cast< uint8_t >( kConfiguration + port ) );
      uint32_t outputs = value( static_cast< uint8_t >( kOutput + port ) );
      return ( driven_[ port ] & inputs ) | ( outputs & ~inputs & kAll );
   }

   std::array< uint8_t, kPorts > driven_ = { kAll, kAll };
};

}  // namespace

std::unique_ptr< Chip > newPCA9555() {
   return std::make_unique< PCA9555 >();
}

}  // namespace SmbusService::Emulator
