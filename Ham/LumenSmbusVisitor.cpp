#include "Ham/LumenSmbusVisitor.h"

namespace Ham {

namespace {

constexpr uint8_t kOneByteRegisters = 1;  // addrSize code

}  // namespace

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
   return masterIs( Smbus::MASTER_SCD, medium->pci );
}
bool LumenSmbusVisitor::visit( const Topology::FbDomFpga* medium ) {
   return masterIs( Smbus::MASTER_FB_DOM_FPGA, medium->pci );
}
bool LumenSmbusVisitor::visit( const Topology::I2C* medium ) {
   return masterIs( medium->simulated ? Smbus::MASTER_SIMULATED : Smbus::MASTER_I2C );
}
bool LumenSmbusVisitor::visit( const Topology::IOPort* ) {
   return masterIs( Smbus::MASTER_IO_PORT );
}
bool LumenSmbusVisitor::visit( const Topology::Celestica* ) {
   return masterIs( Smbus::MASTER_CELESTICA );
}
bool LumenSmbusVisitor::visit( const Topology::PLM* ) {
   return masterIs( Smbus::MASTER_PLM );
}
bool LumenSmbusVisitor::visit( const Topology::SccSpi* ) {
   return masterIs( Smbus::MASTER_SCC_SPI );
}

bool LumenSmbusVisitor::masterIs( Smbus::MasterType type ) {
   if ( found ) {
      ham->mastertype = type;
   }
   return true;
}

bool LumenSmbusVisitor::masterIs( Smbus::MasterType type, PCIAddress pci ) {
   if ( found ) {
      ham->pci = pci;
   }
   return masterIs( type );
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
