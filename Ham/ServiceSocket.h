#pragma once

namespace PlatformLibrary {
class PLSocket;
}

// The process's one connection to the SMBus service; null until the first successful
// initialisation.
extern __attribute__( ( visibility( "default" ) ) ) PlatformLibrary::PLSocket* _plSock;
