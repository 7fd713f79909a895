#include "Ham/LumenSmbusHam.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <cstring>
#include <memory>
#include <utility>

#include "Ham/LumenSmbusVisitor.h"
#include "Ham/ServiceSocket.h"
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

std::array< uint8_t, 2 > lowByteFirst( uint16_t word ) {
   return { static_cast< uint8_t >( word ), static_cast< uint8_t >( word >> 8 ) };
}

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
      atMuxChip( mux, [ & ] { prepareRequestCount_ += mux->selectRequest( this ); } );
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
   Component::LogicalDevice::Mux* mux = newMux( *topoDev->args, channel );
   LUMEN_ASSERT_TEXT( mux, "muxDevice" );
   muxes.insert( muxes.begin(), mux );
}

template < typename Queue >
void LumenSmbusHam::atMuxChip( const Component::LogicalDevice::Mux* mux, Queue queue ) {
   auto muxHam = dynamic_cast< const LumenSmbusHam* >( hamOf( mux ) );
   LUMEN_ASSERT( muxHam );
   HamAddress ownAddress = std::exchange( address, muxHam->address );
   queue();
   address = ownAddress;
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
   for ( auto mux = muxes.rbegin(); mux != muxes.rend(); ++mux ) {
      atMuxChip( *mux, [ & ] { return ( *mux )->resetRequest( this ); } );
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

// A mux on the way may be the silent chip, where the answer tells which one it was.
bool LumenSmbusHam::lacksAcknowledge() const {
   int error = response_.failure();
   bool isOwn = !response_.has_details() || response_.details().device() == address.address;
   return isOwn && ( error == ENXIO || error == EREMOTEIO );
}

void LumenSmbusHam::requestInit( Smbus::Request* request, const Transaction& transaction ) {
   address.command = transaction.reg;
   if ( transaction.readFlag ) {
      // Never cleared again: every later request of this HAM carries the bit.
      address.writeNoStopReadCurrent = 1;
   }
   uint8_t regSize = transaction.regSize;
   LUMEN_ASSERT( regSize <= sizeof( Register ) );
   address.addrSize = regSize % 4;
   request->set_reg( address.command );
   request->set_address( address.word() );
   request->set_type( transaction.type );
   request->set_size( transaction.size );
   request->set_flag( transaction.flag );
   request->set_pci( pci );
   request->set_mastertype( mastertype );
   ++lastResponseId;
}

Ham::ResponseId LumenSmbusHam::addRequest( const Transaction& transaction, const void* data ) {
   Smbus::Request* request = request_.add_request();
   requestInit( request, transaction );
   if ( data ) {
      request->set_data( data, transaction.size );
   }
   return lastResponseId;
}

Ham::ResponseId LumenSmbusHam::addRecvByte() {
   return addRequest( { 0, Smbus::REQUEST_READ, 0, 1 } );
}

Ham::ResponseId LumenSmbusHam::addRead8( Register reg, uint8_t regSize ) {
   return addRequest( { reg, Smbus::REQUEST_READ, 1, regSize } );
}

Ham::ResponseId LumenSmbusHam::addRead16( Register reg, uint8_t regSize ) {
   return addRequest( { reg, Smbus::REQUEST_READ, 2, regSize } );
}

Ham::ResponseId LumenSmbusHam::addRead( Register reg,
                                        uint32_t length,
                                        bool flag,
                                        uint8_t regSize ) {
   return addRequest( { .reg = reg,
                        .type = Smbus::REQUEST_READ,
                        .size = length,
                        .regSize = regSize,
                        .readFlag = flag } );
}

Ham::ResponseId LumenSmbusHam::addReadBlock( Register reg, uint8_t regSize ) {
   return addRequest( { reg, Smbus::REQUEST_BLOCK_READ, 0, regSize } );
}

void LumenSmbusHam::addSendByte( uint8_t value, bool flag ) {
   addRequest( { value, Smbus::REQUEST_WRITE, 0, 1, flag } );
}

void LumenSmbusHam::addWrite8( Register reg, uint8_t value, bool flag, uint8_t regSize ) {
   addRequest( { reg, Smbus::REQUEST_WRITE, sizeof value, regSize, flag }, &value );
}

void LumenSmbusHam::addWrite16( Register reg, uint16_t value, bool flag, uint8_t regSize ) {
   addRequest( { reg, Smbus::REQUEST_WRITE, sizeof value, regSize, flag },
               lowByteFirst( value ).data() );
}

void LumenSmbusHam::addWrite(
   Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) {
   addRequest( { reg, Smbus::REQUEST_WRITE, length, regSize, flag }, data );
}

void LumenSmbusHam::addWriteBlock(
   Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) {
   addRequest( { reg, Smbus::REQUEST_BLOCK_WRITE, length, regSize, flag }, data );
}

Ham::ResponseId LumenSmbusHam::addProcessCall( Register reg, uint16_t value, uint8_t regSize ) {
   return addRequest( { reg, Smbus::REQUEST_PROCESS_CALL, 2, regSize },
                      lowByteFirst( value ).data() );
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
