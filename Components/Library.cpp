#include "Components/Library.h"

#include <unistd.h>

#include "PlatformLibrary/PLSocket.h"
#include "Topology/Topology.h"

PlatformLibrary::PLSocket* _plSock = nullptr;

pl_status lumenLibraryInit( const char* name, const char* json, int tries ) {
   pl_trace( 0, "%s", name );
   pl_trace( 5, "%s: json = %s", name, json );
   if ( pl_status status = plSockInit( name, tries ) ) {
      return status;
   }
   return Topology::loadTopology( json );
}

pl_status plSockInit( const char* name, int tries ) {
   if ( _plSock ) {
      return PL_STATUS_OK;
   }
   _plSock = new PlatformLibrary::PLSocket;
   for ( int attempt = 0; attempt < tries; ++attempt ) {
      if ( _plSock->setup() == 0 ) {
         return PL_STATUS_OK;
      }
      sleep( 1 );
   }
   pl_trace( 0, "%s: socket Setup failed!", name );
   _plSock->cleanup();
   delete _plSock;
   _plSock = nullptr;
   return PL_STATUS_IO_ERROR;
}
