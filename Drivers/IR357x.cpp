#include "Drivers/IR357x.h"

#include "Drivers/Registers.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

constexpr uint8_t kChannels = 3;

// Blocks of one byte, read raw: the count, which is 1, and the byte.
constexpr Ham::Ham::Register kModel = 0x9A;
constexpr Ham::Ham::Register kRevision = 0x9B;
constexpr uint32_t kIdentityLength = 2;

constexpr struct {
   uint8_t code;
   const char* name;
} kModels[] = {
   { 0x20, "IR3567" }, { 0x21, "IR3563" },  { 0x22, "IR3565" },
   { 0x23, "IR3566" }, { 0x24, "IR3570A" }, { 0x25, "IR3564" },
};

void traceModel( uint8_t code ) {
   for ( const auto& model : kModels ) {
      if ( model.code == code ) {
         pl_trace( 5, "VRM model is %s", model.name );
         return;
      }
   }
   pl_trace( 5, "Invalid high bit value %02x", code );
}

}  // namespace

Component::HardwareDevice* IR357x::create( const FactoryArgs&, Ham::Ham* ) {
   pl_trace( 5, "Creating IR357x device" );
   return new IR357x;
}

void IR357x::init() {
   pl_trace( 5, "%s: block read to get model information", __PRETTY_FUNCTION__ );
   ham()->prepare();
   auto modelId = ham()->addRead( kModel, kIdentityLength, false, kRegSize );
   auto revisionId = ham()->addRead( kRevision, kIdentityLength, false, kRegSize );
   if ( ham()->execute() != PL_STATUS_OK ) {
      return;
   }
   Ham::saveReg( ham(), kModel );
   std::string model = ham()->getBlock( modelId, kIdentityLength );
   LUMEN_ASSERT( model[ 0 ] == 0x01 );
   Ham::saveReg( ham(), kRevision );
   std::string revision = ham()->getBlock( revisionId, kIdentityLength );
   LUMEN_ASSERT( revision[ 0 ] == 0x01 );
   traceModel( static_cast< uint8_t >( model[ 1 ] ) );
   pl_trace( 5, "VRM revision is 0x%02x", static_cast< int8_t >( revision[ 1 ] ) );
}

bool IR357x::channelIsValid( uint8_t channel ) {
   return channel < kChannels;
}

const Utils::ExpectedValues& IR357x::expectedValues() {
   static const Utils::ExpectedValues values = {
      { temperatureCommand( 0 ), { 25, 2 } },          { temperatureCommand( 1 ), { 25, 2 } },
      { temperatureCommand( 2 ), { 25, 2 } },          { kModel, Utils::ExpectedVal( "\x01\x24" ) },
      { kRevision, Utils::ExpectedVal( "\x01\x01" ) },
   };
   return values;
}

}  // namespace Drivers
