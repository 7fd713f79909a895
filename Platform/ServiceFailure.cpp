#include "Platform/ServiceFailure.h"

#include <cerrno>
#include <cstring>

#include "Platform/ServicePath.h"
#include "pl_host.h"
#include "smbus.pb.h"

namespace {

constexpr int kNone = -1;  // in place of a request's number

pl_service_failure latest;
const pl_service_failure* last = nullptr;
std::string latestReason;
std::string latestText;
pl_failure_sink failureSink = nullptr;
void* failureSinkUser = nullptr;

void note( const pl_service_failure& failure, const std::string& reason, const std::string& text ) {
   latest = failure;
   latest.reason = ( latestReason = reason ).c_str();
   latest.text = ( latestText = text ).c_str();
   last = &latest;
   if ( failureSink ) {
      failureSink( failureSinkUser, last );
   }
}

std::string textOf( const Smbus::TransactionResponse& answer, int count ) {
   if ( !answer.failure() ) {
      return std::to_string( answer.response_size() ) + " answers to " + std::to_string( count ) +
             " requests";
   }
   return answer.has_error() ? answer.error() : strerror( answer.failure() );
}

}  // namespace

namespace PlatformLibrary {

void noteNoAnswer( int error, const std::string& reason ) {
   pl_service_failure failure{};
   failure.error = error;
   failure.request = kNone;
   note( failure, reason, std::string( "SMBus service at " ) + servicePath() + ": " + reason );
}

void noteAnswer( const Smbus::TransactionResponse& answer, int count ) {
   const Smbus::Failure& details = answer.details();
   pl_service_failure failure{};
   failure.error = answer.failure() ? answer.failure() : EPROTO;
   failure.answered = 1;
   failure.request = details.has_request() ? static_cast< int >( details.request() ) : kNone;
   failure.count = count;
   failure.operation = details.type();
   failure.size = details.size();
   failure.reg = details.reg();
   failure.device = details.device();
   failure.master = static_cast< unsigned >( details.master() );
   failure.pci = details.pci();
   failure.accelerator = details.accelerator();
   failure.bus = details.bus();
   std::string text = textOf( answer, count );
   note( failure, details.has_reason() ? details.reason() : text, text );
}

}  // namespace PlatformLibrary

void pl_failure_sink_set( pl_failure_sink sink, void* user ) {
   failureSink = sink;
   failureSinkUser = user;
}

const struct pl_service_failure* pl_last_failure( void ) {
   return last;
}

void pl_failure_forget( void ) {
   last = nullptr;
}
