#pragma once

#include <optional>

#include "Drivers/Drivers.h"
#include "Ham/LumenSmbusHam.h"
#include "Topology/Topology.h"

namespace Ham {

// A channel of the mux chip that the arguments describe; null, after a trace, when the chip's
// driver cannot be created. The chip is created with its own HAM.
Component::LogicalDevice::Mux* newMux( Drivers::DriverArgs args, uint32_t channel );

// The HAM of the mux's chip.
const Ham* hamOf( const Component::LogicalDevice::Mux* mux );

// Collects the addressing facts on the way up from the find.
class LumenSmbusVisitor : public Topology::TopologyVisitor {
 public:
   using TopologyVisitor::visit;
   bool visit( const Topology::Mux* mux ) override;
   bool visit( const Topology::Bus* bus ) override;
   bool visit( const Topology::Accelerator* accelerator ) override;
   bool visit( const Topology::SCD* medium ) override;
   bool visit( const Topology::I2C* medium ) override;
   bool visit( const Topology::IOPort* ) override;
   bool visit( const Topology::Celestica* ) override;
   bool visit( const Topology::PLM* ) override;
   bool visit( const Topology::SccSpi* ) override;
   bool visit( const Topology::FbDomFpga* medium ) override;

   bool found = false;
   LumenSmbusHam* ham = nullptr;
   uint32_t busId = 0xFFFFFFFF;  // the last bus passed on the way up

 protected:
   ~LumenSmbusVisitor() = default;

   void createHam( const HamAddress& address );

 private:
   bool masterIs( Smbus::MasterType type, std::optional< PCIAddress > pci = {} ) const;
};

// For a device, or one of its components.
class LumenSmbusDriverVisitor final : public LumenSmbusVisitor {
 public:
   explicit LumenSmbusDriverVisitor( const Drivers::DriverArgs& wanted ) : args( wanted ) {}

   using LumenSmbusVisitor::visit;
   bool visit( const Topology::Component* component ) override;
   bool visit( const Topology::Device* device ) override;

 private:
   const Drivers::DriverArgs& args;
};

// For an address on a bus. It never stops the walk.
class LumenSmbusBusIdVisitor final : public LumenSmbusVisitor {
 public:
   LumenSmbusBusIdVisitor( const Topology::Bus* bus, uint32_t address )
       : wantedBus( bus ), wantedAddress( address ) {}

   using LumenSmbusVisitor::visit;
   bool visit( const Topology::Bus* bus ) override;

 private:
   const Topology::Bus* wantedBus;
   uint32_t wantedAddress;
};

}  // namespace Ham
