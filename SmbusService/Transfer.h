#pragma once

#include <compare>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "BoardFiles/Wiring.h"
#include "Platform/AddressWord.h"
#include "smbus.pb.h"

namespace SmbusService {

using PlatformLibrary::AddressWord;

// What tells one adapter from another. Masters with a single bus have 0 for bus and accelerator,
// whatever the address word says; an FPGA master has no accelerators.
struct AdapterId {
   Smbus::MasterType master;
   uint32_t pci;
   uint8_t accelerator;
   uint8_t bus;

   static AdapterId of( Smbus::MasterType, uint32_t pci, uint8_t accelerator, uint8_t bus );

   auto operator<=>( const AdapterId& ) const = default;
};

AdapterId idOf( const BoardFiles::Wiring::Adapter& );

// One request, decoded. On the wire, with register numbers most significant byte first:
//
//   read n         register, repeated start, n bytes read; n = 0: one byte read, no register
//   write n        register, n bytes of data; n = 0: one byte, `reg`
//   process call   register, 2 bytes of data, repeated start, 2 bytes read
//   block read     register, repeated start, a count and as many bytes read
//   block write    register, a count, as many bytes of data
struct Transfer {
   Smbus::RequestType type;
   AddressWord address;
   AdapterId adapter;
   uint32_t reg;
   uint32_t size;
   std::string_view data;  // points into the request
   bool acknowledgeOptional;

   bool reads() const {
      return type == Smbus::REQUEST_READ || type == Smbus::REQUEST_BLOCK_READ ||
             type == Smbus::REQUEST_PROCESS_CALL;
   }
   bool writes() const { return type != Smbus::REQUEST_READ && type != Smbus::REQUEST_BLOCK_READ; }
   bool isSendByte() const { return type == Smbus::REQUEST_WRITE && size == 0; }
   bool isReceiveByte() const { return type == Smbus::REQUEST_READ && size == 0; }

   // The most bytes that the answer can have.
   uint32_t answerLimit() const;
};

// Transfers of the service's own.
Transfer sendByte( const AdapterId&, uint8_t device, uint8_t byte );
Transfer receiveByte( const AdapterId&, uint8_t device );

// Bytes that one transfer moves at most in each direction.
constexpr uint32_t kMaxTransferSize = 8192;
constexpr uint32_t kMaxBlockSize = 255;

Transfer decode( const Smbus::Request& );

// What is wrong with a request, if anything.
std::optional< std::string > problemOf( const Smbus::Request&, const Transfer& );

// `read 2 bytes, register 0x00, device 0x48, bus 1`
std::string describe( const Transfer& );

}  // namespace SmbusService
