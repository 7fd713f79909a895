#include "Ham/LumenSmbusHam.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <ranges>

#include "Components/HardwareDevice.h"
#include "Components/Library.h"
#include "Ham/LumenSmbusVisitor.h"
#include "PlatformLibrary/PLSocket.h"
#include "Utils/Assert.h"

namespace Ham {

namespace {

// Makes sure that building a mux chip's own path does not come back to the same chip.
class MuxInProgress {
 public:
   explicit MuxInProgress( uint32_t did ) {
      bool reachedThroughItself = std::ranges::find( chips, did ) != chips.end();
      LUMEN_ASSERT( !reachedThroughItself );
      chips.push_back( did );
   }
   ~MuxInProgress() { chips.pop_back(); }
   MuxInProgress( const MuxInProgress& ) = delete;
   MuxInProgress& operator=( const MuxInProgress& ) = delete;

 private:
   static inline std::vector< uint32_t > chips;
};

}  // namespace

Ham* LumenSmbusHam::create( const Topology::Topology& topology, const Drivers::DriverArgs& args ) {
   LumenSmbusDriverVisitor visitor( args );
   topology.acceptFor( args.uid, args.did, &visitor );
   return visitor.ham;
}

LumenSmbusHam* LumenSmbusHam::createOnBus( const Topology::Topology& topology,
                                           const Topology::Bus* bus,
                                           const uint32_t& address ) {
   LumenSmbusBusIdVisitor visitor( bus, address );
   topology.accept( &visitor );
   if ( visitor.ham ) {
      visitor.ham->init();
   }
   return visitor.ham;
}

LumenSmbusHam* LumenSmbusHam::createFromAddress( const HamAddress& address,
                                                 const PCIAddress& pci ) {
   auto ham = std::make_unique< LumenSmbusHam >();
   ham->address = address;
   if ( pci ) {
      ham->mastertype = Smbus::MASTER_SCD;
      ham->pci = pci;
   } else {
      LUMEN_ASSERT( address.accelerator == 0 );
      ham->mastertype = Smbus::MASTER_I2C;
   }
   ham->init();
   return ham.release();
}

void LumenSmbusHam::init() {
   prepareRequestCount_ = 0;
   request_.Clear();
   response_.Clear();
   for ( Component::LogicalDevice::Mux* mux : muxes ) {
      prepareRequestCount_ += atMuxChip( mux, [ & ] { return mux->selectRequest( this ); } );
   }
}

void LumenSmbusHam::addMux( uint32_t did, uint32_t channel ) {
   pl_trace( 3, "Mux using device %u with value %u", did, channel );
   const Topology::Device* topoDev = Topology::findDevice( did );
   if ( !topoDev || !topoDev->args ) {
      pl_trace( 3, "Device %u isn't declared inline", did );
   }
   LUMEN_ASSERT_TEXT( topoDev && topoDev->args, "topoDev->args" );
   MuxInProgress guard( did );
   Drivers::DriverArgs args = *topoDev->args;
   Component::HardwareDevice* muxDevice = Component::HardwareDevice::create( args, nullptr );
   LUMEN_ASSERT( muxDevice );
   muxes.insert( muxes.begin(), muxDevice->newMux( args, channel ) );
}

template < typename Queue >
uint32_t LumenSmbusHam::atMuxChip( const Component::LogicalDevice::Mux* mux, Queue queue ) {
   auto muxHam = dynamic_cast< const LumenSmbusHam* >( mux->device()->ham() );
   LUMEN_ASSERT( muxHam );
   HamAddress ownAddress = address;
   address = muxHam->address;
   uint32_t count = queue();
   address = ownAddress;
   return count;
}

void LumenSmbusHam::prepare() {
   // RemoveLast keeps the message objects for the next batch.
   auto* requests = request_.mutable_request();
   while ( static_cast< uint32_t >( requests->size() ) > prepareRequestCount_ ) {
      requests->RemoveLast();
   }
   response_.Clear();
   lastResponseId = INVALID_RESPONSE_ID;
}

pl_status LumenSmbusHam::execute() {
   for ( Component::LogicalDevice::Mux* mux : muxes | std::views::reverse ) {
      atMuxChip( mux, [ & ] { return mux->resetRequest( this ); } );
   }
   pl_trace( 4, "executing LumenSmbusHam request" );
   if ( retryCountSet ) {
      request_.set_retry_count( retryCount );
   }
   LUMEN_ASSERT( _plSock );
   Smbus::TransactionResponse* reply = nullptr;
   int result = _plSock->sendRequestWait( &request_, &reply );
   std::unique_ptr< Smbus::TransactionResponse > owner( reply );
   if ( result < 0 ) {
      pl_trace( 3, "%s: error. %d, %s", __FUNCTION__, errno, strerror( errno ) );
      return PL_STATUS_IO_ERROR;
   }
   response_.Swap( reply );
   if ( response_.failure() != 0 ) {
      pl_trace( 3, "%s: failure in response %s", __FUNCTION__,
                response_.has_error() ? response_.error().c_str() : "unknown reason" );
      return PL_STATUS_FAILURE;
   }
   if ( request_.request_size() != response_.response_size() ) {
      pl_trace( 3, "%s: invalid number of response entries; expected %d, got %d", __FUNCTION__,
                request_.request_size(), response_.response_size() );
      return PL_STATUS_FAILURE;
   }
   return PL_STATUS_OK;
}

void LumenSmbusHam::requestInit( Smbus::Request* request,
                                 Register reg,
                                 Smbus::RequestType type,
                                 uint32_t size,
                                 bool flag,
                                 bool readFlag,
                                 uint8_t regSize ) {
   address.command = reg;
   if ( readFlag ) {
      // Never cleared again: every later request of this HAM carries the bit.
      address.writeNoStopReadCurrent = 1;
   }
   LUMEN_ASSERT( regSize <= sizeof( Register ) );
   address.addrSize = regSize % 4;
   request->set_reg( address.command );
   request->set_address( address.word() );
   request->set_type( type );
   request->set_size( size );
   request->set_flag( flag );
   request->set_pci( pci );
   request->set_mastertype( mastertype );
   ++lastResponseId;
}

Smbus::Request* LumenSmbusHam::addRequest( Register reg,
                                           Smbus::RequestType type,
                                           uint32_t size,
                                           bool flag,
                                           bool readFlag,
                                           uint8_t regSize ) {
   Smbus::Request* request = request_.add_request();
   requestInit( request, reg, type, size, flag, readFlag, regSize );
   return request;
}

Ham::ResponseId LumenSmbusHam::addRecvByte() {
   addRequest( 0, Smbus::REQUEST_READ, 0, false, false, 1 );
   return lastResponseId;
}

Ham::ResponseId LumenSmbusHam::addRead8( Register reg, uint8_t regSize ) {
   addRequest( reg, Smbus::REQUEST_READ, 1, false, false, regSize );
   return lastResponseId;
}

Ham::ResponseId LumenSmbusHam::addRead16( Register reg, uint8_t regSize ) {
   addRequest( reg, Smbus::REQUEST_READ, 2, false, false, regSize );
   return lastResponseId;
}

Ham::ResponseId LumenSmbusHam::addRead( Register reg,
                                        uint32_t length,
                                        bool flag,
                                        uint8_t regSize ) {
   addRequest( reg, Smbus::REQUEST_READ, length, false, flag, regSize );
   return lastResponseId;
}

Ham::ResponseId LumenSmbusHam::addReadBlock( Register reg, uint8_t regSize ) {
   addRequest( reg, Smbus::REQUEST_BLOCK_READ, 0, false, false, regSize );
   return lastResponseId;
}

void LumenSmbusHam::addSendByte( uint8_t value, bool flag ) {
   addRequest( value, Smbus::REQUEST_WRITE, 0, flag, false, 1 );
}

void LumenSmbusHam::addWrite8( Register reg, uint8_t value, bool flag, uint8_t regSize ) {
   addRequest( reg, Smbus::REQUEST_WRITE, 1, flag, false, regSize )->set_data( &value, 1 );
}

namespace {

struct LittleEndian16 {
   explicit LittleEndian16( uint16_t word )
       : bytes{ static_cast< uint8_t >( word ), static_cast< uint8_t >( word >> 8 ) } {}

   uint8_t bytes[ 2 ];
};

}  // namespace

void LumenSmbusHam::addWrite16( Register reg, uint16_t value, bool flag, uint8_t regSize ) {
   addRequest( reg, Smbus::REQUEST_WRITE, 2, flag, false, regSize )
      ->set_data( LittleEndian16( value ).bytes, 2 );
}

void LumenSmbusHam::addWrite(
   Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) {
   addRequest( reg, Smbus::REQUEST_WRITE, length, flag, false, regSize )->set_data( data, length );
}

void LumenSmbusHam::addWriteBlock(
   Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) {
   addRequest( reg, Smbus::REQUEST_BLOCK_WRITE, length, flag, false, regSize )
      ->set_data( data, length );
}

Ham::ResponseId LumenSmbusHam::addProcessCall( Register reg, uint16_t value, uint8_t regSize ) {
   addRequest( reg, Smbus::REQUEST_PROCESS_CALL, 2, false, false, regSize )
      ->set_data( LittleEndian16( value ).bytes, 2 );
   return lastResponseId;
}

const std::string& LumenSmbusHam::responseData( ResponseId idx ) const {
   LUMEN_ASSERT( idx != INVALID_RESPONSE_ID );
   LUMEN_ASSERT_TEXT( static_cast< uint64_t >( response_.response_size() ) >
                         static_cast< uint64_t >( prepareRequestCount_ ) + idx,
                      "( uint32_t )response_.response_size() > prepareRequestCount_ + idx" );
   return response_.response( static_cast< int >( prepareRequestCount_ + idx ) ).data();
}

uint8_t LumenSmbusHam::get8( ResponseId idx ) {
   const std::string& data = responseData( idx );
   LUMEN_ASSERT( data.size() == 1 );
   return static_cast< uint8_t >( data[ 0 ] );
}

uint16_t LumenSmbusHam::get16( ResponseId idx ) {
   const std::string& data = responseData( idx );
   LUMEN_ASSERT( data.size() == 2 );
   return static_cast< uint16_t >( static_cast< uint8_t >( data[ 0 ] ) |
                                   static_cast< uint8_t >( data[ 1 ] ) << 8 );
}

std::string LumenSmbusHam::getBlock( ResponseId idx, uint32_t ) {
   return responseData( idx );
}

void LumenSmbusHam::setAddress( uint8_t value ) {
   address.address = value;
}
uint8_t LumenSmbusHam::getAddress() const {
   return address.address;
}
void LumenSmbusHam::setBus( uint8_t value ) {
   address.bus = value;
}
uint8_t LumenSmbusHam::getBus() const {
   return address.bus;
}

}  // namespace Ham
