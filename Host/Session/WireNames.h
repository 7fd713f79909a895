#pragma once

#include <chrono>
#include <cstdint>
#include <string>
#include <vector>

#include "BoardFiles/Wiring.h"
#include "smbus.pb.h"

namespace Host {

using namespace BoardFiles;

// A mux's channels are open: the mux chip's address, and the byte that opened them.
struct OpenChannel {
   uint32_t mux;
   uint32_t byte;
};
using OpenChannels = std::vector< OpenChannel >;  // outermost first

// One transfer on a bus, whoever recorded it.
struct WireTransfer {
   std::chrono::system_clock::time_point time;
   uint32_t master, pci, accelerator, bus;  // numbers that the master does not have may be anything
   OpenChannels channels;
   uint32_t device;  // 7-bit address
   Smbus::RequestType operation;
   uint32_t size;          // bytes; 0 for a receive-byte or send-byte
   uint32_t reg;           // register number, or the byte itself for a send-byte
   uint32_t registerSize;  // bytes
   std::string written;    // as bytes, like the next
   std::string read;
   std::string problem;  // empty where there was none
   std::chrono::nanoseconds duration;
   int position = 1;  // in its batch; the duration is that of the whole batch
   int count = 1;

   bool isSendByte() const { return operation == Smbus::REQUEST_WRITE && size == 0; }
};

// What the board's documents call the places and chips of transfers.
class WireNames {
 public:
   // The wiring must outlive the names.
   explicit WireNames( const Wiring& wiring ) : wiring_( wiring ) {}

   // Adapter, open channels and chip: "fpga3 0x70:0x01 TMP75 0x48".
   std::string placeOf( const WireTransfer& transfer ) const;

   // The bus by its adapter and channels, whatever its label: "fpga3 0x70:0x01".
   std::string pathOf( size_t bus ) const;

   // What must be open for the bus to be reached; a mux without address is told as 0.
   OpenChannels channelsTo( size_t bus ) const;

   // What is open after the transfer, which is a mux's selection or reset or anything else.
   OpenChannels channelsAfter( const WireTransfer& transfer ) const;

 private:
   using DeviceEntry = std::pair< const uint32_t, Wiring::Device >;

   size_t adapterBus( const WireTransfer& transfer ) const;
   const DeviceEntry* findDevice( const WireTransfer& transfer ) const;
   std::vector< size_t > reachedBusses( const WireTransfer& transfer ) const;
   bool isMux( uint32_t did ) const;

   const Wiring& wiring_;
};

// The chip's label where that says more than its bus and address, else its driver, else "device".
std::string nameOfChip( const Wiring::Device& device );

}  // namespace Host
