#include "SmbusService/AddressWord.h"

namespace SmbusService {

namespace {

using std::chrono::milliseconds;

struct Field {
   int shift;
   uint32_t mask;
   constexpr uint8_t of( uint32_t word ) const {
      return static_cast< uint8_t >( word >> shift & mask );
   }
};

constexpr Field kDevice{ 0, 0x7f };
constexpr Field kBus{ 7, 0x7f };
constexpr Field kAccelerator{ 14, 0x7f };
constexpr Field kPlainTransfer{ 21, 1 };
constexpr Field kBusTimeout{ 22, 7 };
constexpr Field kRegisterSize{ 25, 3 };
constexpr Field kExtraDelay{ 27, 1 };
constexpr Field kWriteDelay{ 28, 3 };
constexpr Field kReadDelay{ 30, 3 };

constexpr int kBusTimeouts[] = { 0, 10, 25, 50, 100, 250, 500, 1000 };
constexpr int kDelays[] = { 0, 1, 5, 20 };
constexpr int kExtraDelays[] = { 0, 50 };
constexpr uint8_t kRegisterSizes[] = { 4, 1, 2, 0 };

}  // namespace

AddressWord decodeAddressWord( uint32_t word ) {
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

}  // namespace SmbusService
