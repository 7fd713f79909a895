#include "SmbusService/Emulator/Chips/Diode.h"

// TMP468 and TMP464 temperature monitors: their own diode (0) and eight or four remote ones, a
// sixteenth of a degree. All registers have 16 bits.

namespace SmbusService::Emulator {

namespace {

// Temperature n is register n, read only.
constexpr uint8_t kThermStatus = 0x21;   // read only; bit n + 7 for channel n
constexpr uint8_t kTherm2Status = 0x22;  // read only; bit n + 7 for channel n
constexpr uint8_t kOpenStatus = 0x23;    // read only; bit n + 7 for channel n
constexpr uint8_t kConfiguration = 0x30;
constexpr uint8_t kHysteresis = 0x38;
constexpr uint8_t kLock = 0xc4;
constexpr uint8_t kManufacturer = 0xfe;  // read only
constexpr uint8_t kDeviceId = 0xff;      // read only

constexpr uint8_t kBytes = 2;
constexpr uint32_t kWord = 0xffff;
constexpr int kStatusShift = 7;
constexpr uint32_t kUnlockCode = 0xeb19;
constexpr uint32_t kLockCode = 0x5ca6;
constexpr uint32_t kLocked = 0x8000;
constexpr uint32_t kUnlocked = 0x0000;
constexpr uint32_t kLimitReset = 0x7fc0;
constexpr uint32_t kLimitBits = 0xffc0;  // half degrees
constexpr uint32_t kOpenDiode = 0x8000;

constexpr uint8_t thermLimit( uint8_t channel ) {
   return static_cast< uint8_t >( channel == 0 ? 0x39 : 0x3a + 8 * channel );
}

constexpr uint8_t therm2Limit( uint8_t channel ) {
   return static_cast< uint8_t >( thermLimit( channel ) + 1 );
}

constexpr struct {
   std::string_view temperature;
   std::string_view fault;
   std::string_view thermLimit;
   std::string_view therm2Limit;
} kNames[] = {
   { "temperature0", "", "thermLimit0", "therm2Limit0" },
   { "temperature1", "fault1", "thermLimit1", "therm2Limit1" },
   { "temperature2", "fault2", "thermLimit2", "therm2Limit2" },
   { "temperature3", "fault3", "thermLimit3", "therm2Limit3" },
   { "temperature4", "fault4", "thermLimit4", "therm2Limit4" },
   { "temperature5", "fault5", "thermLimit5", "therm2Limit5" },
   { "temperature6", "fault6", "thermLimit6", "therm2Limit6" },
   { "temperature7", "fault7", "thermLimit7", "therm2Limit7" },
   { "temperature8", "fault8", "thermLimit8", "therm2Limit8" },
};

Quantity degrees( std::string_view name, uint8_t number ) {
   return { .name = name, .number = number, .step = 1.0 / 16, .bits = 13, .shift = 3 };
}

struct Part {
   Part( uint8_t remoteDiodes, uint32_t deviceId, uint32_t configuration );

   uint8_t remotes;
   std::vector< Register > registers;
   std::vector< Quantity > quantities;
};

Part::Part( uint8_t remoteDiodes, uint32_t deviceId, uint32_t configuration )
    : remotes( remoteDiodes ),
      registers{
         { .number = kThermStatus, .bytes = kBytes, .reset = 0 },
         { .number = kTherm2Status, .bytes = kBytes, .reset = 0 },
         { .number = kOpenStatus, .bytes = kBytes, .reset = 0 },
         { .number = kConfiguration, .bytes = kBytes, .reset = configuration, .writable = kWord },
         { .number = kHysteresis, .bytes = kBytes, .reset = 0x0a80, .writable = kWord },
         { .number = kLock, .bytes = kBytes, .reset = kLocked },
         { .number = kManufacturer, .bytes = kBytes, .reset = 0x5449 },
         { .number = kDeviceId, .bytes = kBytes, .reset = deviceId },
      } {
   for ( uint8_t channel = 0; channel <= remotes; ++channel ) {
      const auto& names = kNames[ channel ];
      registers.push_back( { .number = channel, .bytes = kBytes, .reset = 0 } );
      quantities.push_back( degrees( names.temperature, channel ) );
      if ( channel > 0 ) {
         quantities.push_back( diodeFault( names.fault, channel ) );
      }
      for ( auto [ name, number ] : { std::pair( names.thermLimit, thermLimit( channel ) ),
                                      std::pair( names.therm2Limit, therm2Limit( channel ) ) } ) {
         registers.push_back(
            { .number = number, .bytes = kBytes, .reset = kLimitReset, .writable = kLimitBits } );
         quantities.push_back( degrees( name, number ) );
      }
   }
}

class TMP46x : public RegisterChip {
 public:
   explicit TMP46x( const Part& part )
       : RegisterChip( ByteOrder::kHighFirst, part.registers, part.quantities ), part_( part ) {}

 protected:
   uint32_t fetch( uint8_t number ) override {
      switch ( number ) {
         case kThermStatus:
            return status( [ this ]( uint8_t n ) { return exceeds( n, thermLimit( n ) ); } );
         case kTherm2Status:
            return status( [ this ]( uint8_t n ) { return exceeds( n, therm2Limit( n ) ); } );
         case kOpenStatus:
            return status( [ this ]( uint8_t n ) { return isOpenDiode( value( n ) ); } );
         default:
            return number <= part_.remotes ? measured( number ) : value( number );
      }
   }

   // While locked, nothing takes a new value.
   void store( uint8_t number, uint32_t written ) override {
      if ( number != kLock ) {
         if ( value( kLock ) == kUnlocked ) {
            RegisterChip::store( number, written );
         }
      } else if ( written == kUnlockCode || written == kLockCode ) {
         assign( kLock, written == kLockCode ? kLocked : kUnlocked );
      }
   }

 private:
   uint32_t measured( uint8_t channel ) const {
      return isOpenDiode( value( channel ) ) ? kOpenDiode : value( channel );
   }

   bool exceeds( uint8_t channel, uint8_t limit ) const {
      return static_cast< int16_t >( measured( channel ) ) >
             static_cast< int16_t >( value( limit ) );
   }

   template < typename Condition >
   uint32_t status( Condition condition ) const {
      uint32_t flags = 0;
      for ( uint8_t channel = 0; channel <= part_.remotes; ++channel ) {
         flags |= uint32_t{ condition( channel ) } << ( channel + kStatusShift );
      }
      return flags;
   }

   const Part& part_;
};

}  // namespace

std::unique_ptr< Chip > newTMP464() {
   static const Part part( 4, 0x1464, 0x0f9c );
   return std::make_unique< TMP46x >( part );
}

std::unique_ptr< Chip > newTMP468() {
   static const Part part( 8, 0x0468, 0xff9c );
   return std::make_unique< TMP46x >( part );
}

}  // namespace SmbusService::Emulator
