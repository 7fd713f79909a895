#include "Components/SmbusProxy.h"

#include <string>

#include "Components/EntryPoint.h"
#include "Components/HardwareDevice.h"
#include "Topology/Topology.h"
#include "Utils/NotImplementedException.h"
#include "Utils/Text.h"

namespace {

constexpr Component::LogicalDevice::FailureTrace kFailure = { 0, "newSmbusProxy() failed" };

// Turns the labelled device into a proxy for good: later lookups see the changed arguments.
pl_smbus* addByLabel( const char* stem, uint8_t address ) {
   using namespace Component;
   LogicalDevice::MakersErrno makersErrno;
   const Topology::Device* node =
      Topology::getDeviceByLabel( Utils::deviceLabel( stem, address ).c_str() );
   if ( !node || !node->args ) {
      pl_trace( 0, "smbus_add failed: device does not exist in topology" );
      return nullptr;
   }
   node->args->driver = "SmbusProxyDriver";
   Drivers::DriverArgs args = *node->args;
   DeviceBase* device = HardwareDevice::create( args, nullptr );
   return LogicalDevice::recordOf( makersErrno.of( [ & ] {
      return LogicalDevice::makeObject( device, args, &DeviceBase::newSmbusProxy, kFailure );
   } ) );
}

}  // namespace

pl_status pl_smbus_init( const char* topologyJson ) {
   pl_trace( 7, "%s\n", __FUNCTION__ );
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_smbus* pl_smbus_add( const char* device, uint8_t address ) {
   using namespace Component;
   pl_trace( 7, "pl_smbus_add( '%s', %u )", device, address );
   if ( !Topology::isDeviceObject( device ) ) {
      return addByLabel( device, address );
   }
   return LogicalDevice::recordOf(
      LogicalDevice::addObject( device, &DeviceBase::newSmbusProxy, kFailure ) );
}

namespace Component::LogicalDevice {

const pl_smbus_ops SmbusProxy::ops_ = {
   .size = sizeof( pl_smbus_ops ),
   .quick_command = quickCommandCallback,
   .receive_byte = receiveByteCallback,
   .send_byte = sendByteCallback,
   .read_byte = readByteCallback,
   .write_byte = writeByteCallback,
   .read_word = readWordCallback,
   .write_word = writeWordCallback,
   .block_read = blockReadCallback,
   .block_write = blockWriteCallback,
   .i2c_block_read = i2cBlockReadCallback,
   .i2c_block_write = i2cBlockWriteCallback,
   .process_call = processCallCallback,
   .block_process_call = blockProcessCallCallback,
};

pl_status SmbusProxy::quickCommand( int ) {
   throw NotImplementedException( "quickCommand" );
}

pl_status SmbusProxy::blockProcessCall(
   uint32_t, uint8_t, const uint8_t*, uint8_t, uint8_t*, uint8_t* ) {
   throw NotImplementedException( "blockProcessCall" );
}

}  // namespace Component::LogicalDevice
