#pragma once

#include <vector>

#include "Ham/Ham.h"
#include "Ham/Mux.h"
#include "Topology/Topology.h"
#include "smbus.pb.h"

namespace Ham {

// The production HAM: one batch is one request to the SMBus service and one reply. For a device
// behind muxes, the channel selections stand at the head of every request and the resets are
// appended behind the batch, so that the muxes stay invisible to drivers.
class LumenSmbusHam : public Ham {
 public:
   // The HAM for the device or component of `args`; null when the topology does not have it. Not
   // yet initialised.
   static Ham* create( const Topology::Topology& topology, const Drivers::DriverArgs& args );

   // A HAM for a 7-bit address on a bus of the topology, initialised. The walk does not stop at the
   // bus: buses, accelerators and media that it reaches afterwards apply as well, and the last one
   // wins. Null when the bus is not of the topology, or is itself a medium.
   static LumenSmbusHam* createOnBus( const Topology::Topology& topology,
                                      const Topology::Bus* bus,
                                      const uint32_t& address );

   // A HAM for an address outside any topology, without muxes, initialised. An accelerator needs a
   // PCI address.
   static LumenSmbusHam* createFromAddress( const HamAddress& address, const PCIAddress& pci );

   void init() override;
   void prepare() override;
   [[nodiscard]] pl_status execute() override;
   bool lacksAcknowledge() const override;

   ResponseId addRecvByte() override;
   ResponseId addRead8( Register reg, uint8_t regSize ) override;
   ResponseId addRead16( Register reg, uint8_t regSize ) override;
   ResponseId addRead( Register reg, uint32_t length, bool flag, uint8_t regSize ) override;
   ResponseId addReadBlock( Register reg, uint8_t regSize ) override;
   void addSendByte( uint8_t value, bool flag ) override;
   void addWrite8( Register reg, uint8_t value, bool flag, uint8_t regSize ) override;
   void addWrite16( Register reg, uint16_t value, bool flag, uint8_t regSize ) override;
   void addWrite(
      Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) override;
   void addWriteBlock(
      Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) override;
   ResponseId addProcessCall( Register reg, uint16_t value, uint8_t regSize ) override;

   uint8_t get8( ResponseId idx ) override;
   uint16_t get16( ResponseId idx ) override;
   // Returns the whole response, whatever the length.
   std::string getBlock( ResponseId idx, uint32_t length ) override;

   virtual void setAddress( uint8_t value );
   virtual uint8_t getAddress() const;
   virtual void setBus( uint8_t value );
   virtual uint8_t getBus() const;

 private:
   friend class LumenSmbusVisitor;

   struct Transaction {
      Register reg;
      Smbus::RequestType type;
      uint32_t size;  // bytes
      uint8_t regSize;
      bool flag = false;      // a write's
      bool readFlag = false;  // a read's
   };

   // Puts the channel of this mux chip in front of the path.
   void addMux( uint32_t did, uint32_t channel );
   // Queues it with the `size` bytes of `data`, when there are any.
   ResponseId addRequest( const Transaction& transaction, const void* data = nullptr );
   void requestInit( Smbus::Request* request, const Transaction& transaction );
   // Runs `queue` while this HAM speaks to the mux's chip.
   template < typename Queue >
   void atMuxChip( const Component::LogicalDevice::Mux* mux, Queue queue );
   const std::string& responseData( ResponseId idx ) const;

   uint32_t prepareRequestCount_ = 0;
   ResponseId lastResponseId = INVALID_RESPONSE_ID;
   HamAddress address;
   PCIAddress pci = 0;
   Smbus::TransactionRequest request_;
   Smbus::TransactionResponse response_;
   Smbus::MasterType mastertype = Smbus::MASTER_SIMULATED;
   std::vector< Component::LogicalDevice::Mux* > muxes;  // on the path, outermost first
};

}  // namespace Ham
