#pragma once

#include <chrono>
#include <cstdint>

namespace PlatformLibrary {

// The fields of a request's packed address word.
struct AddressWord {
   uint8_t device;  // 7 bits, as the next two
   uint8_t bus;
   uint8_t accelerator;
   bool plainTransfer;    // a plain combined transfer even where an SMBus command would do
   uint8_t registerSize;  // bytes of a register number: 1, 2 or 4; 0 for the code without meaning
   std::chrono::milliseconds busTimeout;  // zero stands for the adapter's own
   std::chrono::milliseconds writeDelay;  // pause after each transfer that writes
   std::chrono::milliseconds readDelay;   // pause after each transfer that reads

   static AddressWord of( uint32_t word );
};

namespace Detail {

struct AddressField {
   int shift;
   uint32_t mask;
   constexpr uint8_t of( uint32_t word ) const {
      return static_cast< uint8_t >( word >> shift & mask );
   }
   constexpr uint32_t packed( uint32_t value ) const { return ( value & mask ) << shift; }
};

constexpr AddressField kDevice{ 0, 0x7f };
constexpr AddressField kBus{ 7, 0x7f };
constexpr AddressField kAccelerator{ 14, 0x7f };
constexpr AddressField kPlainTransfer{ 21, 1 };
constexpr AddressField kBusTimeout{ 22, 7 };
constexpr AddressField kRegisterSize{ 25, 3 };
constexpr AddressField kExtraDelay{ 27, 1 };
constexpr AddressField kWriteDelay{ 28, 3 };
constexpr AddressField kReadDelay{ 30, 3 };

constexpr int kBusTimeouts[] = { 0, 10, 25, 50, 100, 250, 500, 1000 };
constexpr int kDelays[] = { 0, 1, 5, 20 };
constexpr int kExtraDelays[] = { 0, 50 };
constexpr uint8_t kRegisterSizes[] = { 4, 1, 2, 0 };

}  // namespace Detail

inline AddressWord AddressWord::of( uint32_t word ) {
   using namespace Detail;
   using std::chrono::milliseconds;
   int extra = kExtraDelays[ kExtraDelay.of( word ) ];
   return {
      .device = kDevice.of( word ),
      .bus = kBus.of( word ),
      .accelerator = kAccelerator.of( word ),
      .plainTransfer = kPlainTransfer.of( word ) != 0,
      .registerSize = kRegisterSizes[ kRegisterSize.of( word ) ],
      .busTimeout = milliseconds( kBusTimeouts[ kBusTimeout.of( word ) ] ),
      .writeDelay = milliseconds( kDelays[ kWriteDelay.of( word ) ] + extra ),
      .readDelay = milliseconds( kDelays[ kReadDelay.of( word ) ] + extra ),
   };
}

// The word of a chip with one-byte register numbers, without delays.
inline uint32_t packedAddress( uint32_t device, uint32_t bus, uint32_t accelerator ) {
   using namespace Detail;
   return kDevice.packed( device ) | kBus.packed( bus ) | kAccelerator.packed( accelerator ) |
          kRegisterSize.packed( 1 );
}

}  // namespace PlatformLibrary
