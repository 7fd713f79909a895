#include "SmbusService/Emulator/RegisterChip.h"

// PMBus voltage regulators: words low byte first, temperatures in whole degrees.

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kPage = 0x00;              // 8 bits
constexpr uint8_t kFaultLimit = 0x4f;        // 16 bits
constexpr uint8_t kWarningLimit = 0x51;      // 16 bits
constexpr uint8_t kReadTemperature1 = 0x8d;  // 16 bits, read only
constexpr uint8_t kReadTemperature2 = 0x8e;  // 16 bits, read only
constexpr uint8_t kModel = 0x9a;             // block
constexpr uint8_t kRevision = 0x9b;          // block

constexpr uint32_t kByte = 0xff;

// ---- IR3570A. Its words are mantissas of 11 bits below an exponent, which stays 0.

constexpr uint8_t kMantissaBits = 11;

constexpr Register kIR357xRegisters[] = {
   { .number = kPage, .bytes = 1, .reset = 0, .writable = kByte },
   { .number = kReadTemperature1, .bytes = 2, .reset = 0 },
   { .number = kReadTemperature2, .bytes = 2, .reset = 0 },
};

constexpr Quantity kIR357xQuantities[] = {
   { .name = "temperature1", .number = kReadTemperature1, .step = 1, .bits = kMantissaBits },
   { .name = "temperature2", .number = kReadTemperature2, .step = 1, .bits = kMantissaBits },
};

class IR357x : public RegisterChip {
 public:
   IR357x() : RegisterChip( ByteOrder::kLowFirst, kIR357xRegisters, kIR357xQuantities ) {}

   void reset() override {
      RegisterChip::reset();
      blocks()[ kModel ] = "\x24";
      blocks()[ kRevision ] = "\x01";
   }
};

// ---- MPS multiphase controllers.

constexpr Register kMpsRegisters[] = {
   { .number = kPage, .bytes = 1, .reset = 0, .writable = kByte },
   { .number = kReadTemperature1, .bytes = 2, .reset = 0 },
};

constexpr Quantity kMpsQuantities[] = {
   { .name = "temperature", .number = kReadTemperature1, .step = 1 },
};

// ---- ISL6812x, two outputs, each with a page of its own. A register's value holds both pages.

constexpr uint8_t kPages = 2;
constexpr uint8_t kPageBits = 16;
constexpr uint32_t kPageMask = 0xffff;
constexpr uint8_t kAllPages = 0xff;

constexpr uint32_t onBothPages( uint32_t word ) {
   return word << kPageBits | word;
}

constexpr Register kIslRegisters[] = {
   { .number = kPage, .bytes = 1, .reset = 0, .writable = kByte },
   { .number = kFaultLimit, .bytes = 2, .reset = onBothPages( 125 ), .writable = ~0u },
   { .number = kWarningLimit, .bytes = 2, .reset = onBothPages( 110 ), .writable = ~0u },
   { .number = kReadTemperature1, .bytes = 2, .reset = 0 },
};

constexpr Quantity onPage( uint8_t page, std::string_view name, uint8_t number ) {
   return { .name = name,
            .number = number,
            .step = 1,
            .bits = kPageBits,
            .shift = static_cast< uint8_t >( page * kPageBits ) };
}

constexpr Quantity kIslQuantities[] = {
   onPage( 0, "temperature0", kReadTemperature1 ), onPage( 1, "temperature1", kReadTemperature1 ),
   onPage( 0, "warningLimit0", kWarningLimit ),    onPage( 1, "warningLimit1", kWarningLimit ),
   onPage( 0, "faultLimit0", kFaultLimit ),        onPage( 1, "faultLimit1", kFaultLimit ),
};

class Isl6812x : public RegisterChip {
 public:
   Isl6812x() : RegisterChip( ByteOrder::kLowFirst, kIslRegisters, kIslQuantities ) {}

 protected:
   // With all pages selected, the first one answers.
   uint32_t fetch( uint8_t number ) override {
      if ( number == kPage ) {
         return value( kPage );
      }
      return value( number ) >> ( value( kPage ) == 1 ? kPageBits : 0 ) & kPageMask;
   }

   // A page that does not exist is refused.
   void store( uint8_t number, uint32_t written ) override {
      if ( number == kPage ) {
         if ( written < kPages || written == kAllPages ) {
            assign( kPage, written );
         }
         return;
      }
      uint32_t page = value( kPage );
      uint32_t kept = page == kAllPages ? 0 : page == 0 ? ~kPageMask : kPageMask;
      RegisterChip::store( number,
                           ( value( number ) & kept ) | ( onBothPages( written ) & ~kept ) );
   }
};

}  // namespace

std::unique_ptr< Chip > newIR357x() {
   return std::make_unique< IR357x >();
}

std::unique_ptr< Chip > newMpsVrm() {
   return std::make_unique< RegisterChip >( ByteOrder::kLowFirst, kMpsRegisters, kMpsQuantities );
}

std::unique_ptr< Chip > newIsl6812x() {
   return std::make_unique< Isl6812x >();
}

}  // namespace SmbusService::Emulator
