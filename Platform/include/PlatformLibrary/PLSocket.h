#pragma once

#include <sys/types.h>

#include <cstdint>
#include <string>
#include <vector>

namespace Smbus {
class TransactionRequest;
class TransactionResponse;
}  // namespace Smbus

namespace PlatformLibrary {

// Client of the SMBus service: one request, one reply, in turn.
//
// The socket's path is PL_SMBUS_SOCKET, else /run/lumen/smbus.sock; the time limit of one exchange
// is PL_SMBUS_TIMEOUT_MS, else 5000 ms. Any error of an exchange closes the connection, so that a
// late reply can never be taken for the answer to the next request; the next request connects
// again, once. So does one that finds the connection closed by the service, which has then not
// taken it. Requests carry an id, and an answer that carries another one is an error. A forked
// child gets a connection of its own with its first request.
class PLSocket {
 public:
   PLSocket() = default;
   ~PLSocket();
   PLSocket( const PLSocket& ) = delete;
   PLSocket& operator=( const PLSocket& ) = delete;

   // Connects. 0 on success, else -1 with errno; the first failure in the process is traced at
   // level 0. With SIMULATION_VMID set in the environment it succeeds without a connection.
   int setup();

   // Closes the connection.
   void cleanup();

   // Closes those of all sockets of the process; each connects again with its next request.
   static void disconnectAll();

   // Sends one batch and waits for its reply. 0 on success: *reply is a new message that the caller
   // owns. Negative with errno on failure (ETIMEDOUT, EPIPE, ECONNRESET, EPROTO, EMSGSIZE, ...):
   // *reply is untouched. pl_last_failure() tells of both kinds of failure: no answer, and an
   // answer that says what failed.
   int sendRequestWait( const Smbus::TransactionRequest* request,
                        Smbus::TransactionResponse** reply );

 private:
   int connectToService();
   int exchange( const Smbus::TransactionRequest&, Smbus::TransactionResponse** reply );
   int noted( int result ) const;
   std::string reasonFor( int error ) const;
   int reconnect();
   int deliver( bool isNewConnection );
   int takeAnswer( const Smbus::TransactionRequest&, Smbus::TransactionResponse& );
   int broken( const char* problem );
   int sendFrame();
   int receiveFrame();
   int waitFor( short events ) const;

   int fd_ = -1;
   uint32_t timeoutMs_ = 0;
   uint32_t exchanges_ = 0;   // completed on this connection
   uint32_t reconnects_ = 0;  // since setup()
   bool reconnect_ = true;
   std::string lengthBuffer_ = std::string( 4, '\0' );  // the reply's header
   uint32_t received_ = 0;                              // bytes of the reply's frame
   uint32_t payload_ = 0;                               // bytes that its header announces
   uint32_t lengthWanted_ = 4;
   std::string buffer_;              // the reply's frame
   std::vector< int64_t > pending_;  // deadlines of requests in flight, monotonic nanoseconds
   // A platform's own members come behind those that every platform has, whose order is fixed.
   std::string request_;       // the request's frame
   uint32_t id_ = 0;           // the latest request's
   const char* problem_ = "";  // what is wrong with an answer that came
};

}  // namespace PlatformLibrary
