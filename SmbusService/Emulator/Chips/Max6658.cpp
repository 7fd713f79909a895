#include "SmbusService/Emulator/Chips/Diode.h"

// MAX6658 temperature monitor: its own diode (0) and a remote one (1), an eighth of a degree.

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kLocal = 0x00;           // 8 bits, read only
constexpr uint8_t kRemote = 0x01;          // 8 bits, read only
constexpr uint8_t kStatus = 0x02;          // 8 bits, read only
constexpr uint8_t kConfiguration = 0x03;   // 8 bits
constexpr uint8_t kConversionRate = 0x04;  // 8 bits
constexpr uint8_t kLocalHigh = 0x05;       // 8 bits
constexpr uint8_t kLocalLow = 0x06;        // 8 bits
constexpr uint8_t kRemoteHigh = 0x07;      // 8 bits
constexpr uint8_t kRemoteLow = 0x08;       // 8 bits
constexpr uint8_t kOneShot = 0x0f;         // 8 bits, write only
constexpr uint8_t kRemoteExtended = 0x10;  // 8 bits, read only
constexpr uint8_t kLocalExtended = 0x11;   // 8 bits, read only
constexpr uint8_t kRemoteOvertemp = 0x19;  // 8 bits
constexpr uint8_t kLocalOvertemp = 0x20;   // 8 bits
constexpr uint8_t kHysteresis = 0x21;      // 8 bits
constexpr uint8_t kManufacturer = 0xfe;    // 8 bits, read only

// Registers 0x03 to 0x08 can only be read there, and only be written six addresses higher.
constexpr uint8_t kFirstShared = kConfiguration;
constexpr uint8_t kLastShared = kRemoteLow;
constexpr uint8_t kWriteOffset = 6;

constexpr uint32_t kLocalHighStatus = 0x40;
constexpr uint32_t kLocalLowStatus = 0x20;
constexpr uint32_t kRemoteHighStatus = 0x10;
constexpr uint32_t kRemoteLowStatus = 0x08;
constexpr uint32_t kOpenStatus = 0x04;
constexpr uint32_t kRemoteOvertempStatus = 0x02;
constexpr uint32_t kLocalOvertempStatus = 0x01;

constexpr uint32_t kOpenDiode = 0x80;

constexpr uint32_t kByte = 0xff;

constexpr Register kRegisters[] = {
   { .number = kLocal, .bytes = 1, .reset = 0 },
   { .number = kRemote, .bytes = 1, .reset = 0 },
   { .number = kStatus, .bytes = 1, .reset = 0 },
   { .number = kConfiguration, .bytes = 1, .reset = 0, .writable = kByte },
   { .number = kConversionRate, .bytes = 1, .reset = 0x08, .writable = kByte },
   { .number = kLocalHigh, .bytes = 1, .reset = 0x46, .writable = kByte },
   { .number = kLocalLow, .bytes = 1, .reset = 0xc9, .writable = kByte },
   { .number = kRemoteHigh, .bytes = 1, .reset = 0x46, .writable = kByte },
   { .number = kRemoteLow, .bytes = 1, .reset = 0xc9, .writable = kByte },
   { .number = kConfiguration + kWriteOffset, .bytes = 1, .reset = 0 },
   { .number = kConversionRate + kWriteOffset, .bytes = 1, .reset = 0 },
   { .number = kLocalHigh + kWriteOffset, .bytes = 1, .reset = 0 },
   { .number = kLocalLow + kWriteOffset, .bytes = 1, .reset = 0 },
   { .number = kRemoteHigh + kWriteOffset, .bytes = 1, .reset = 0 },
   { .number = kRemoteLow + kWriteOffset, .bytes = 1, .reset = 0 },
   { .number = kOneShot, .bytes = 1, .reset = 0 },
   { .number = kRemoteExtended, .bytes = 1, .reset = 0 },
   { .number = kLocalExtended, .bytes = 1, .reset = 0 },
   { .number = kRemoteOvertemp, .bytes = 1, .reset = 0x55, .writable = kByte },
   { .number = kLocalOvertemp, .bytes = 1, .reset = 0x55, .writable = kByte },
   { .number = kHysteresis, .bytes = 1, .reset = 0x0a, .writable = kByte },
   { .number = kManufacturer, .bytes = 1, .reset = 0x4d },
};

constexpr Quantity kQuantities[] = {
   { .name = "temperature0", .number = kLocal, .step = kEighthDegree, .bits = 11 },
   { .name = "temperature1", .number = kRemote, .step = kEighthDegree, .bits = 11 },
   diodeFault( "fault1", kRemote ),
   { .name = "alertLimit0", .number = kLocalHigh, .step = 1, .bits = 8 },
   { .name = "alertLimit1", .number = kRemoteHigh, .step = 1, .bits = 8 },
   { .name = "overtempLimit0", .number = kLocalOvertemp, .step = 1, .bits = 8 },
   { .name = "overtempLimit1", .number = kRemoteOvertemp, .step = 1, .bits = 8 },
};

class Max6658 : public RegisterChip {
 public:
   Max6658() : RegisterChip( ByteOrder::kHighFirst, kRegisters, kQuantities ) {}

 protected:
   uint32_t fetch( uint8_t number ) override {
      switch ( number ) {
         case kLocal:
            return wholeDegrees( value( kLocal ) );
         case kRemote:
            return isOpen() ? kOpenDiode : wholeDegrees( value( kRemote ) );
         case kLocalExtended:
            return extendedBits( value( kLocal ) );
         case kRemoteExtended:
            return isOpen() ? 0 : extendedBits( value( kRemote ) );
         case kStatus:
            return status();
         default:
            return value( number );
      }
   }

   void store( uint8_t number, uint32_t written ) override {
      if ( number >= kFirstShared && number <= kLastShared ) {
         return;
      }
      bool isShared = number >= kFirstShared + kWriteOffset && number <= kLastShared + kWriteOffset;
      RegisterChip::store( isShared ? number - kWriteOffset : number, written );
   }

 private:
   bool isOpen() const { return isOpenDiode( value( kRemote ) ); }

   uint32_t status() const {
      uint32_t flags = 0;
      auto flag = [ &flags ]( bool isSet, uint32_t bit ) { flags |= isSet ? bit : 0; };
      double local = get( "temperature0" );
      flag( local > limit( kLocalHigh ), kLocalHighStatus );
      flag( local < limit( kLocalLow ), kLocalLowStatus );
      flag( local > limit( kLocalOvertemp ), kLocalOvertempStatus );
      if ( isOpen() ) {
         return flags | kOpenStatus;
      }
      double remote = get( "temperature1" );
      flag( remote > limit( kRemoteHigh ), kRemoteHighStatus );
      flag( remote < limit( kRemoteLow ), kRemoteLowStatus );
      flag( remote > limit( kRemoteOvertemp ), kRemoteOvertempStatus );
      return flags;
   }

   int limit( uint8_t number ) const { return static_cast< int8_t >( value( number ) ); }
};

}  // namespace

std::unique_ptr< Chip > newMax6658() {
   return std::make_unique< Max6658 >();
}

}  // namespace SmbusService::Emulator
