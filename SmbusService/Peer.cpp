#include "SmbusService/Peer.h"

#include <poll.h>
#include <sys/socket.h>

#include <atomic>
#include <cerrno>
#include <system_error>

namespace SmbusService {

namespace {

constexpr size_t kUsualGroups = 32;

[[noreturn]] void fail() {
   throw std::system_error( errno, std::generic_category(), "the client's credentials" );
}

ucred credentialsAt( int socket ) {
   ucred credentials{};
   socklen_t size = sizeof credentials;
   if ( getsockopt( socket, SOL_SOCKET, SO_PEERCRED, &credentials, &size ) < 0 ) {
      fail();
   }
   return credentials;
}

std::vector< gid_t > groupsAt( int socket ) {
   std::vector< gid_t > groups( kUsualGroups );
   while ( true ) {
      auto size = static_cast< socklen_t >( groups.size() * sizeof( gid_t ) );
      int result = getsockopt( socket, SOL_SOCKET, SO_PEERGROUPS, groups.data(), &size );
      groups.resize( size / sizeof( gid_t ) );
      if ( result == 0 ) {
         return groups;
      }
      if ( errno != ERANGE ) {
         fail();
      }
   }
}

}  // namespace

Peer Peer::at( int socket ) {
   static std::atomic< uint64_t > count = 0;
   ucred credentials = credentialsAt( socket );
   Peer peer{
      .number = ++count, .uid = credentials.uid, .groups = groupsAt( socket ), .socket = socket };
   peer.groups.push_back( credentials.gid );
   return peer;
}

uid_t Peer::userAt( int socket ) {
   return credentialsAt( socket ).uid;
}

bool Peer::hasLeft() const {
   pollfd entry{ socket, 0, 0 };
   return socket >= 0 && poll( &entry, 1, 0 ) > 0 && ( entry.revents & POLLHUP );
}

}  // namespace SmbusService
