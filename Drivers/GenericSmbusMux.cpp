#include "Drivers/GenericSmbusMux.h"

namespace Drivers {

namespace {

constexpr uint8_t kNoChannel = 0x00;

}  // namespace

Component::HardwareDevice* GenericSmbusMux::create( const FactoryArgs&, Ham::Ham* ) {
   return new GenericSmbusMux;
}

Component::LogicalDevice::Mux* GenericSmbusMux::newMux( const DriverArgs&, uint32_t channel ) {
   return new Mux( this, static_cast< uint8_t >( channel ) );
}

uint32_t GenericSmbusMux::Mux::selectRequest( Ham::Ham* ham ) {
   ham->addSendByte( channel_, false );
   return 1;
}

uint32_t GenericSmbusMux::Mux::resetRequest( Ham::Ham* ham ) {
   ham->addSendByte( kNoChannel, false );
   return 1;
}

pl_status GenericSmbusMux::Mux::executeMuxRequest() {
   Ham::Ham* ham = device_->ham();
   ham->prepare();
   selectRequest( ham );
   return ham->execute();
}

}  // namespace Drivers
