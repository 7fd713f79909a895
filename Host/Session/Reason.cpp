#include "Host/Session/Reason.h"

#include <fmt/format.h>
#include <signal.h>
#include <sys/wait.h>

#include <cstring>

namespace Host {

namespace {

std::string statusText( pl_status status, const char* deviceError ) {
   switch ( status ) {
      case PL_STATUS_ABSENT:
         return "not there";
      case PL_STATUS_DEVICE_ERROR:
         return deviceError;
      case PL_STATUS_UNSUPPORTED:
         return "not supported";
      case PL_STATUS_IO_ERROR:
         return "I/O error";
      case PL_STATUS_FAILURE:
         return kGaveUp;
      default:
         return fmt::format( "status {}", status );
   }
}

}  // namespace

std::string whyNotOk( pl_status status, const std::string& request, const char* deviceError ) {
   if ( request.empty() ) {
      return statusText( status, deviceError );
   }
   // These say no more than that a request failed.
   bool tellsNothing = status == PL_STATUS_IO_ERROR || status == PL_STATUS_FAILURE;
   return tellsNothing ? request : statusText( status, deviceError ) + ": " + request;
}

std::string whyDied( int waitStatus ) {
   if ( !WIFSIGNALED( waitStatus ) ) {
      return fmt::format( "the driver ended with exit status {}; --trace 0 shows why",
                          WEXITSTATUS( waitStatus ) );
   }
   int signal = WTERMSIG( waitStatus );
   return signal == SIGABRT
             ? kGaveUp
             : fmt::format( "killed by signal {} ({})", signal, strsignal( signal ) );
}

std::string whyHung( std::chrono::milliseconds limit ) {
   return fmt::format( "no answer within {} s", static_cast< double >( limit.count() ) / 1000 );
}

}  // namespace Host
