#include "Ham/LumenSmbusVisitor.h"

#include "BoardFiles/Media.h"
#include "Components/HardwareDevice.h"

namespace Ham {

namespace {

constexpr uint8_t kOneByteRegisters = 1;  // addrSize code

}  // namespace

Component::LogicalDevice::Mux* newMux( Drivers::DriverArgs args, uint32_t channel ) {
   auto chip = Component::HardwareDevice::create( args, nullptr );
   return chip ? chip->newMux( args, channel ) : nullptr;
}

const Ham* hamOf( const Component::LogicalDevice::Mux* mux ) {
   return mux->device()->ham();
}

void LumenSmbusVisitor::createHam( const HamAddress& address ) {
   ham = new LumenSmbusHam;
   ham->address = address;
   ham->address.addrSize = kOneByteRegisters;
}

bool LumenSmbusVisitor::visit( const Topology::Mux* mux ) {
   if ( found ) {
      ham->addMux( mux->did, busId );
   }
   return true;
}

bool LumenSmbusVisitor::visit( const Topology::Bus* bus ) {
   if ( found ) {
      ham->address.bus = bus->id;
      busId = bus->id;
   }
   return true;
}

bool LumenSmbusVisitor::visit( const Topology::Accelerator* accelerator ) {
   if ( found ) {
      ham->address.accelerator = accelerator->id;
   }
   return true;
}

bool LumenSmbusVisitor::visit( const Topology::SCD* medium ) {
   return masterIs( Media::kScd.master, medium->pci );
}
bool LumenSmbusVisitor::visit( const Topology::FbDomFpga* medium ) {
   return masterIs( Media::kFbDomFpga.master, medium->pci );
}
bool LumenSmbusVisitor::visit( const Topology::I2C* medium ) {
   return masterIs( medium->simulated ? Smbus::MASTER_SIMULATED : Media::kI2c.master );
}
bool LumenSmbusVisitor::visit( const Topology::IOPort* ) {
   return masterIs( Media::kIoPort.master );
}
bool LumenSmbusVisitor::visit( const Topology::Celestica* ) {
   return masterIs( Media::kCelestica.master );
}
bool LumenSmbusVisitor::visit( const Topology::PLM* ) {
   return masterIs( Media::kPlm.master );
}
bool LumenSmbusVisitor::visit( const Topology::SccSpi* ) {
   return masterIs( Media::kSccSpi.master );
}

bool LumenSmbusVisitor::masterIs( Smbus::MasterType type, std::optional< PCIAddress > pci ) const {
   if ( found ) {
      ham->mastertype = type;
      ham->pci = pci.value_or( ham->pci );
   }
   return true;
}

bool LumenSmbusDriverVisitor::visit( const Topology::Component* component ) {
   if ( component->uid != args.uid ) {
      return true;
   }
   found = true;
   return false;
}

bool LumenSmbusDriverVisitor::visit( const Topology::Device* device ) {
   if ( !found && ( args.uid != Drivers::DriverArgs::kNoUid || device->did != args.did ) ) {
      return true;
   }
   found = true;
   createHam( args.address );
   return false;
}

bool LumenSmbusBusIdVisitor::visit( const Topology::Bus* bus ) {
   if ( bus == wantedBus ) {
      found = true;
      createHam( HamAddress{ .address = wantedAddress } );
   }
   return LumenSmbusVisitor::visit( bus );
}

}  // namespace Ham
