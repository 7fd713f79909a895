#include "Ham/Ham.h"

#include "Components/NotImplementedException.h"
#include "Drivers/Drivers.h"
#include "Ham/SearchVisitor.h"
#include "Topology/Topology.h"
#include "Utils/Assert.h"
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

Ham::ResponseId Ham::addRecvByte() {
   throw NotImplementedException( "addRecvByte" );
}
Ham::ResponseId Ham::addRead8( Register, uint8_t ) {
   throw NotImplementedException( "addRead8" );
}
Ham::ResponseId Ham::addRead16( Register, uint8_t ) {
   throw NotImplementedException( "addRead16" );
}
Ham::ResponseId Ham::addRead32( Register, uint8_t ) {
   throw NotImplementedException( "addRead32" );
}
Ham::ResponseId Ham::addRead( Register, uint32_t, bool, uint8_t ) {
   throw NotImplementedException( "addRead" );
}
Ham::ResponseId Ham::addReadBlock( Register, uint8_t ) {
   throw NotImplementedException( "addReadBlock" );
}
void Ham::addSendByte( uint8_t, bool ) {
   throw NotImplementedException( "addSendByte" );
}
void Ham::addWrite8( Register, uint8_t, bool, uint8_t ) {
   throw NotImplementedException( "addWrite8" );
}
void Ham::addWrite16( Register, uint16_t, bool, uint8_t ) {
   throw NotImplementedException( "addWrite16" );
}
void Ham::addWrite32( Register, uint32_t, bool, uint8_t ) {
   throw NotImplementedException( "addWrite32" );
}
void Ham::addWrite( Register, const void*, uint32_t, bool, uint8_t ) {
   throw NotImplementedException( "addWrite" );
}
void Ham::addWriteBlock( Register, const void*, uint32_t, bool, uint8_t ) {
   throw NotImplementedException( "addWriteBlock" );
}
Ham::ResponseId Ham::addProcessCall( Register, uint16_t, uint8_t ) {
   throw NotImplementedException( "addProcessCall" );
}
uint8_t Ham::get8( ResponseId ) {
   throw NotImplementedException( "get8" );
}
uint16_t Ham::get16( ResponseId ) {
   throw NotImplementedException( "get16" );
}
uint32_t Ham::get32( ResponseId ) {
   throw NotImplementedException( "get32" );
}
std::string Ham::getBlock( ResponseId, uint32_t ) {
   throw NotImplementedException( "getBlock" );
}

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

pl_status Ham::recvByte( uint8_t* out ) {
   prepare();
   ResponseId id = addRecvByte();
   pl_status status = execute();
   if ( status == PL_STATUS_OK ) {
      *out = get8( id );
   }
   return status;
}

pl_status Ham::read8( Register reg, uint8_t* out, uint8_t regSize ) {
   prepare();
   ResponseId id = addRead8( reg, regSize );
   pl_status status = execute();
   if ( status == PL_STATUS_OK ) {
      *out = get8( id );
   }
   return status;
}

pl_status Ham::read16( Register reg, uint16_t* out, uint8_t regSize ) {
   prepare();
   ResponseId id = addRead16( reg, regSize );
   pl_status status = execute();
   if ( status == PL_STATUS_OK ) {
      *out = get16( id );
   }
   return status;
}

pl_status Ham::read32( Register reg, uint32_t* out, uint8_t regSize ) {
   prepare();
   ResponseId id = addRead32( reg, regSize );
   pl_status status = execute();
   if ( status == PL_STATUS_OK ) {
      *out = get32( id );
   }
   return status;
}

pl_status Ham::read( Register reg, uint32_t length, std::string* out, bool flag, uint8_t regSize ) {
   prepare();
   ResponseId id = addRead( reg, length, flag, regSize );
   pl_status status = execute();
   if ( status == PL_STATUS_OK ) {
      getBlock( id, length ).swap( *out );
   }
   return status;
}

pl_status Ham::readBlock( Register reg, std::string* out, uint8_t regSize ) {
   prepare();
   ResponseId id = addReadBlock( reg, regSize );
   pl_status status = execute();
   if ( status == PL_STATUS_OK ) {
      getBlock( id, 0 ).swap( *out );
   }
   return status;
}

pl_status Ham::processCall( Register reg, uint16_t value, uint16_t* out, uint8_t regSize ) {
   prepare();
   ResponseId id = addProcessCall( reg, value, regSize );
   pl_status status = execute();
   if ( status == PL_STATUS_OK ) {
      *out = get16( id );
   }
   return status;
}

pl_status Ham::sendByte( uint8_t value, bool flag ) {
   prepare();
   addSendByte( value, flag );
   return execute();
}

pl_status Ham::write8( Register reg, uint8_t value, bool flag, uint8_t regSize ) {
   prepare();
   addWrite8( reg, value, flag, regSize );
   return execute();
}

pl_status Ham::write16( Register reg, uint16_t value, bool flag, uint8_t regSize ) {
   prepare();
   addWrite16( reg, value, flag, regSize );
   return execute();
}

pl_status Ham::write32( Register reg, uint32_t value, bool flag, uint8_t regSize ) {
   prepare();
   addWrite32( reg, value, flag, regSize );
   return execute();
}

pl_status Ham::write(
   Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) {
   prepare();
   addWrite( reg, data, length, flag, regSize );
   return execute();
}

pl_status Ham::writeBlock(
   Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) {
   prepare();
   addWriteBlock( reg, data, length, flag, regSize );
   return execute();
}

}  // namespace Ham
