#include "SmbusService/Emulator/Chips/Diode.h"

// MAX6697 temperature monitor: remote diodes 1 to 6, its own as 7. 0 to 127 degrees; diode 1 with
// an eighth of a degree, whose bits are in a register of their own.

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kFineChannel = 0x01;  // temperature n is register n, read only
constexpr uint8_t kLocalChannel = 0x07;
constexpr uint8_t kExtended = 0x09;          // 8 bits, read only
constexpr uint8_t kManufacturer = 0x0a;      // 8 bits, read only
constexpr uint8_t kAlertLimits = 0x10;       // plus the channel, 8 bits
constexpr uint8_t kOvertempLimits = 0x20;    // plus the channel, 8 bits; not all channels
constexpr uint8_t kConfiguration = 0x41;     // 8 bits
constexpr uint8_t kAlertMask = 0x42;         // 8 bits
constexpr uint8_t kOvertempMask = 0x43;      // 8 bits
constexpr uint8_t kAlertStatus = 0x44;       // 8 bits, read only; bit n - 1 for channel n
constexpr uint8_t kOvertempStatus = 0x45;    // 8 bits, read only; bit n - 1 for channel n
constexpr uint8_t kDiodeFaultStatus = 0x46;  // 8 bits, read only; bit n for channel n

constexpr uint32_t kOpenDiode = 0xff;

constexpr uint32_t kByte = 0xff;
constexpr uint32_t kLimitBits = 0x7f;

constexpr Register limit( uint8_t number, uint32_t degrees ) {
   return { .number = number, .bytes = 1, .reset = degrees, .writable = kLimitBits };
}

constexpr Register kRegisters[] = {
   { .number = 0x01, .bytes = 1, .reset = 0 },
   { .number = 0x02, .bytes = 1, .reset = 0 },
   { .number = 0x03, .bytes = 1, .reset = 0 },
   { .number = 0x04, .bytes = 1, .reset = 0 },
   { .number = 0x05, .bytes = 1, .reset = 0 },
   { .number = 0x06, .bytes = 1, .reset = 0 },
   { .number = 0x07, .bytes = 1, .reset = 0 },
   { .number = kExtended, .bytes = 1, .reset = 0 },
   { .number = kManufacturer, .bytes = 1, .reset = 0x4d },
   limit( 0x11, 110 ),
   limit( 0x12, 127 ),
   limit( 0x13, 100 ),
   limit( 0x14, 100 ),
   limit( 0x15, 100 ),
   limit( 0x16, 100 ),
   limit( 0x17, 90 ),
   limit( 0x21, 110 ),
   limit( 0x24, 127 ),
   limit( 0x25, 90 ),
   limit( 0x26, 90 ),
   { .number = kConfiguration, .bytes = 1, .reset = 0, .writable = kByte },
   { .number = kAlertMask, .bytes = 1, .reset = 0, .writable = kByte },
   { .number = kOvertempMask, .bytes = 1, .reset = 0, .writable = kByte },
   { .number = kAlertStatus, .bytes = 1, .reset = 0 },
   { .number = kOvertempStatus, .bytes = 1, .reset = 0 },
   { .number = kDiodeFaultStatus, .bytes = 1, .reset = 0 },
};

constexpr Quantity degrees( std::string_view name, uint8_t number ) {
   return { .name = name, .number = number, .step = 1, .bits = 7, .isSigned = false };
}

constexpr Quantity kQuantities[] = {
   { .name = "temperature1", .number = 0x01, .step = kEighthDegree, .bits = 10, .isSigned = false },
   degrees( "temperature2", 0x02 ),
   degrees( "temperature3", 0x03 ),
   degrees( "temperature4", 0x04 ),
   degrees( "temperature5", 0x05 ),
   degrees( "temperature6", 0x06 ),
   degrees( "temperature7", 0x07 ),
   diodeFault( "fault1", 0x01 ),
   diodeFault( "fault2", 0x02 ),
   diodeFault( "fault3", 0x03 ),
   diodeFault( "fault4", 0x04 ),
   diodeFault( "fault5", 0x05 ),
   diodeFault( "fault6", 0x06 ),
   degrees( "alertLimit1", 0x11 ),
   degrees( "alertLimit2", 0x12 ),
   degrees( "alertLimit3", 0x13 ),
   degrees( "alertLimit4", 0x14 ),
   degrees( "alertLimit5", 0x15 ),
   degrees( "alertLimit6", 0x16 ),
   degrees( "alertLimit7", 0x17 ),
   degrees( "overtempLimit1", 0x21 ),
   degrees( "overtempLimit4", 0x24 ),
   degrees( "overtempLimit5", 0x25 ),
   degrees( "overtempLimit6", 0x26 ),
};

class Max6697 : public RegisterChip {
 public:
   Max6697() : RegisterChip( ByteOrder::kHighFirst, kRegisters, kQuantities ) {}

 protected:
   uint32_t fetch( uint8_t number ) override {
      switch ( number ) {
         case kExtended:
            return extendedBits( value( kFineChannel ) );
         case kAlertStatus:
            return exceeded( kAlertLimits );
         case kOvertempStatus:
            return exceeded( kOvertempLimits );
         case kDiodeFaultStatus:
            return faults();
         default:
            return number <= kLocalChannel ? measured( number ) : value( number );
      }
   }

 private:
   bool isOpen( uint8_t channel ) const { return isOpenDiode( value( channel ) ); }

   uint32_t measured( uint8_t channel ) const {
      if ( isOpen( channel ) ) {
         return kOpenDiode;
      }
      return channel == kFineChannel ? wholeDegrees( value( channel ) ) : value( channel );
   }

   // An open diode exceeds no limit.
   uint32_t exceeded( uint8_t limits ) const {
      uint32_t status = 0;
      for ( uint8_t channel = kFineChannel; channel <= kLocalChannel; ++channel ) {
         bool hasLimit = limits == kAlertLimits || channel == 1 || ( channel >= 4 && channel <= 6 );
         bool isHot = measured( channel ) > value( static_cast< uint8_t >( limits + channel ) );
         status |= uint32_t{ hasLimit && isHot && !isOpen( channel ) } << ( channel - 1 );
      }
      return status;
   }

   uint32_t faults() const {
      uint32_t status = 0;
      for ( uint8_t channel = kFineChannel; channel < kLocalChannel; ++channel ) {
         status |= uint32_t{ isOpen( channel ) } << channel;
      }
      return status;
   }
};

}  // namespace

std::unique_ptr< Chip > newMax6697() {
   return std::make_unique< Max6697 >();
}

}  // namespace SmbusService::Emulator
