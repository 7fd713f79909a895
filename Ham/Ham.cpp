#include "Ham/Ham.h"

#include "Drivers/Drivers.h"
#include "Ham/SearchVisitor.h"
#include "Topology/Topology.h"
#include "Utils/Assert.h"
#include "Utils/NotImplementedException.h"
#include "Utils/Simulation.h"

namespace Ham {

Ham* createHam( const Drivers::DriverArgs& args ) {
   const Topology::Topology* topology = Topology::_topology;
   LUMEN_ASSERT( topology );
   pl_trace( 0, "looking for component %u of device %u in topology", args.uid, args.did );
   SearchVisitor visitor( args.uid, args.did );
   topology->acceptFor( args.uid, args.did, &visitor );
   if ( !visitor.found ) {
      pl_trace( 0, "could not find component uid %d in topology",
                static_cast< int32_t >( args.uid ) );
      return nullptr;
   }
   std::string name = Utils::inSimulation() ? "SimHam" : visitor.ham;
   pl_trace( 0, "creating %s HAM using topology information", name.c_str() );
   Ham* ham = Ham::create( name, *topology, args );
   if ( !ham ) {
      pl_trace( 0, "failed to create HAM" );
   }
   return ham;
}

Ham* Ham::create( const std::string& name,
                  const Topology::Topology& topology,
                  const Drivers::DriverArgs& args ) {
   pl_trace( 3, "looking up for %s in %p with %p", name.c_str(),
             static_cast< const void* >( &topology ), static_cast< const void* >( &args ) );
   auto it = hams.find( name );
   if ( it == hams.end() ) {
      pl_trace( 0, "Couldn't find HAM %s", name.c_str() );
      return nullptr;
   }
   pl_trace( 3, "calling %s factory function", name.c_str() );
   Ham* ham = it->second( topology, args );
   if ( !ham ) {
      pl_trace( 0, "Factory function returned, couldn't create HAM %s", name.c_str() );
      return nullptr;
   }
   pl_trace( 3, "ham initialisation" );
   ham->init();
   return ham;
}

void Ham::init() {}

// Takes the operation's result, its name and its parameters.
#define LUMEN_NOT_IMPLEMENTED( Result, name, ... ) \
   Result Ham::name( __VA_ARGS__ ) {               \
      throw NotImplementedException( #name );      \
   }
LUMEN_NOT_IMPLEMENTED( Ham::ResponseId, addRecvByte )
LUMEN_NOT_IMPLEMENTED( Ham::ResponseId, addRead8, Register, uint8_t )
LUMEN_NOT_IMPLEMENTED( Ham::ResponseId, addRead16, Register, uint8_t )
LUMEN_NOT_IMPLEMENTED( Ham::ResponseId, addRead32, Register, uint8_t )
LUMEN_NOT_IMPLEMENTED( Ham::ResponseId, addRead, Register, uint32_t, bool, uint8_t )
LUMEN_NOT_IMPLEMENTED( Ham::ResponseId, addReadBlock, Register, uint8_t )
LUMEN_NOT_IMPLEMENTED( void, addSendByte, uint8_t, bool )
LUMEN_NOT_IMPLEMENTED( void, addWrite8, Register, uint8_t, bool, uint8_t )
LUMEN_NOT_IMPLEMENTED( void, addWrite16, Register, uint16_t, bool, uint8_t )
LUMEN_NOT_IMPLEMENTED( void, addWrite32, Register, uint32_t, bool, uint8_t )
LUMEN_NOT_IMPLEMENTED( void, addWrite, Register, const void*, uint32_t, bool, uint8_t )
LUMEN_NOT_IMPLEMENTED( void, addWriteBlock, Register, const void*, uint32_t, bool, uint8_t )
LUMEN_NOT_IMPLEMENTED( Ham::ResponseId, addProcessCall, Register, uint16_t, uint8_t )
LUMEN_NOT_IMPLEMENTED( uint8_t, get8, ResponseId )
LUMEN_NOT_IMPLEMENTED( uint16_t, get16, ResponseId )
LUMEN_NOT_IMPLEMENTED( uint32_t, get32, ResponseId )
LUMEN_NOT_IMPLEMENTED( std::string, getBlock, ResponseId, uint32_t )
#undef LUMEN_NOT_IMPLEMENTED

void Ham::setExpected( const Utils::ExpectedValues* ) {
   pl_trace( 0, "virtual Ham::setExpected() invoked!!!" );
}
void Ham::setDriverName( std::string, std::string ) {
   pl_trace( 0, "virtual Ham::setDriverName() invoked!!!" );
}

void Ham::retryCountIs( uint32_t count ) {
   retryCount = count;
   retryCountSet = true;
}

namespace {

// The batch of one transaction that every wrapper is: what `queue` adds, and `store` for the
// identifier that it returns, when the batch went well.
template < typename Queue, typename Store >
pl_status transact( Ham& ham, Queue queue, Store store ) {
   ham.prepare();
   Ham::ResponseId id = queue();
   pl_status status = ham.execute();
   if ( status == PL_STATUS_OK ) {
      store( id );
   }
   return status;
}

// For what brings nothing back.
template < typename Queue >
pl_status transact( Ham& ham, Queue queue ) {
   auto queueAlone = [ & ] {
      queue();
      return Ham::INVALID_RESPONSE_ID;
   };
   return transact( ham, queueAlone, []( Ham::ResponseId ) {} );
}

}  // namespace

pl_status Ham::recvByte( uint8_t* out ) {
   return transact(
      *this, [ & ] { return addRecvByte(); }, [ & ]( ResponseId id ) { *out = get8( id ); } );
}

pl_status Ham::read8( Register reg, uint8_t* out, uint8_t regSize ) {
   return transact(
      *this, [ & ] { return addRead8( reg, regSize ); },
      [ & ]( ResponseId id ) { *out = get8( id ); } );
}

pl_status Ham::read16( Register reg, uint16_t* out, uint8_t regSize ) {
   return transact(
      *this, [ & ] { return addRead16( reg, regSize ); },
      [ & ]( ResponseId id ) { *out = get16( id ); } );
}

pl_status Ham::read32( Register reg, uint32_t* out, uint8_t regSize ) {
   return transact(
      *this, [ & ] { return addRead32( reg, regSize ); },
      [ & ]( ResponseId id ) { *out = get32( id ); } );
}

pl_status Ham::read( Register reg, uint32_t length, std::string* out, bool flag, uint8_t regSize ) {
   return transact(
      *this, [ & ] { return addRead( reg, length, flag, regSize ); },
      [ & ]( ResponseId id ) { getBlock( id, length ).swap( *out ); } );
}

pl_status Ham::readBlock( Register reg, std::string* out, uint8_t regSize ) {
   return transact(
      *this, [ & ] { return addReadBlock( reg, regSize ); },
      [ & ]( ResponseId id ) { getBlock( id, 0 ).swap( *out ); } );
}

pl_status Ham::processCall( Register reg, uint16_t value, uint16_t* out, uint8_t regSize ) {
   return transact(
      *this, [ & ] { return addProcessCall( reg, value, regSize ); },
      [ & ]( ResponseId id ) { *out = get16( id ); } );
}

pl_status Ham::sendByte( uint8_t value, bool flag ) {
   return transact( *this, [ & ] { addSendByte( value, flag ); } );
}

pl_status Ham::write8( Register reg, uint8_t value, bool flag, uint8_t regSize ) {
   return transact( *this, [ & ] { addWrite8( reg, value, flag, regSize ); } );
}

pl_status Ham::write16( Register reg, uint16_t value, bool flag, uint8_t regSize ) {
   return transact( *this, [ & ] { addWrite16( reg, value, flag, regSize ); } );
}

pl_status Ham::write32( Register reg, uint32_t value, bool flag, uint8_t regSize ) {
   return transact( *this, [ & ] { addWrite32( reg, value, flag, regSize ); } );
}

pl_status Ham::write(
   Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) {
   return transact( *this, [ & ] { addWrite( reg, data, length, flag, regSize ); } );
}

pl_status Ham::writeBlock(
   Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) {
   return transact( *this, [ & ] { addWriteBlock( reg, data, length, flag, regSize ); } );
}

}  // namespace Ham
