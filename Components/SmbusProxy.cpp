#include "Components/SmbusProxy.h"

#include <cstdio>
#include <string>

#include "Components/HardwareDevice.h"
#include "Components/LogicalDevice.h"
#include "Components/NotImplementedException.h"
#include "Topology/Topology.h"

namespace {

// The label "stem<0xNN>" of the topology device at an address.
std::string deviceLabel( const char* stem, uint8_t address ) {
   char suffix[ sizeof "<0x00>" ];
   snprintf( suffix, sizeof suffix, "<0x%02x>", address );
   return std::string( stem ) + suffix;
}

// Turns the labelled device into a proxy for good: later lookups see the changed arguments.
Component::DeviceBase* deviceByLabel( const char* stem,
                                      uint8_t address,
                                      Drivers::DriverArgs& args ) {
   const Topology::Device* node =
      Topology::getDeviceByLabel( deviceLabel( stem, address ).c_str() );
   if ( !node || !node->args ) {
      pl_trace( 0, "smbus_add failed: device does not exist in topology" );
      return nullptr;
   }
   node->args->driver = "SmbusProxyDriver";
   args = *node->args;
   Component::DeviceBase* device = Component::HardwareDevice::create( args, nullptr );
   if ( !device ) {
      pl_trace( 0, "DeviceBase::create() failed" );
   }
   return device;
}

Component::DeviceBase* deviceFromJson( const char* json, Drivers::DriverArgs& args ) {
   Component::DeviceBase* device = Component::DeviceBase::create( json, args );
   if ( !device ) {
      pl_trace( 0, "DeviceBase::create() failed" );
   }
   return device;
}

}  // namespace

pl_status pl_smbus_init( const char* topologyJson ) {
   pl_trace( 7, "%s\n", __FUNCTION__ );
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_smbus* pl_smbus_add( const char* device, uint8_t address ) {
   pl_trace( 7, "pl_smbus_add( '%s', %u )", device, address );
   Drivers::DriverArgs args;
   Component::DeviceBase* hardware = Topology::isDeviceObject( device )
                                        ? deviceFromJson( device, args )
                                        : deviceByLabel( device, address, args );
   if ( !hardware ) {
      return nullptr;
   }
   auto proxy = hardware->newSmbusProxy( args );
   if ( !proxy ) {
      pl_trace( 0, "newSmbusProxy() failed" );
      return nullptr;
   }
   return proxy->record();
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

SmbusProxy::SmbusProxy() : record_{ .host = nullptr, .ops = &ops_, .priv = this } {}

pl_status SmbusProxy::quickCommand( int ) {
   throw NotImplementedException( "quickCommand" );
}

pl_status SmbusProxy::blockProcessCall(
   uint32_t, uint8_t, const uint8_t*, uint8_t, uint8_t*, uint8_t* ) {
   throw NotImplementedException( "blockProcessCall" );
}

namespace {

template < typename... Parameters, typename... Arguments >
pl_status forward( const char* name,
                   pl_smbus* smbus,
                   pl_status ( SmbusProxy::*operation )( Parameters... ),
                   Arguments... arguments ) {
   pl_trace( 1, "%s", name );
   return ( objectOf< SmbusProxy >( smbus )->*operation )( arguments... );
}

}  // namespace

pl_status SmbusProxy::quickCommandCallback( pl_smbus* smbus, int value ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::quickCommand, value );
}

pl_status SmbusProxy::receiveByteCallback( pl_smbus* smbus, uint8_t* out ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::receiveByte, out );
}

pl_status SmbusProxy::sendByteCallback( pl_smbus* smbus, uint8_t value ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::sendByte, value );
}

pl_status SmbusProxy::readByteCallback( pl_smbus* smbus,
                                        uint32_t reg,
                                        uint8_t regSize,
                                        uint8_t* out ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::readByte, reg, regSize, out );
}

pl_status SmbusProxy::writeByteCallback( pl_smbus* smbus,
                                         uint32_t reg,
                                         uint8_t regSize,
                                         uint8_t value ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::writeByte, reg, regSize, value );
}

pl_status SmbusProxy::readWordCallback( pl_smbus* smbus,
                                        uint32_t reg,
                                        uint8_t regSize,
                                        uint16_t* out ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::readWord, reg, regSize, out );
}

pl_status SmbusProxy::writeWordCallback( pl_smbus* smbus,
                                         uint32_t reg,
                                         uint8_t regSize,
                                         uint16_t value ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::writeWord, reg, regSize, value );
}

pl_status SmbusProxy::blockReadCallback(
   pl_smbus* smbus, uint32_t reg, uint8_t regSize, uint8_t* buffer, uint32_t* length ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::blockRead, reg, regSize, buffer, length );
}

pl_status SmbusProxy::blockWriteCallback(
   pl_smbus* smbus, uint32_t reg, uint8_t regSize, const uint8_t* data, uint32_t length ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::blockWrite, reg, regSize, data, length );
}

pl_status SmbusProxy::i2cBlockReadCallback(
   pl_smbus* smbus, uint32_t reg, uint8_t regSize, uint8_t* buffer, uint32_t length ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::i2cBlockRead, reg, regSize, buffer, length );
}

pl_status SmbusProxy::i2cBlockWriteCallback(
   pl_smbus* smbus, uint32_t reg, uint8_t regSize, const uint8_t* data, uint32_t length ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::i2cBlockWrite, reg, regSize, data, length );
}

pl_status SmbusProxy::processCallCallback(
   pl_smbus* smbus, uint32_t reg, uint8_t regSize, uint16_t value, uint16_t* out ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::processCall, reg, regSize, value, out );
}

pl_status SmbusProxy::blockProcessCallCallback( pl_smbus* smbus,
                                                uint32_t reg,
                                                uint8_t regSize,
                                                const uint8_t* data,
                                                uint8_t length,
                                                uint8_t* buffer,
                                                uint8_t* answerLength ) {
   return forward( __FUNCTION__, smbus, &SmbusProxy::blockProcessCall, reg, regSize, data, length,
                   buffer, answerLength );
}

}  // namespace Component::LogicalDevice
