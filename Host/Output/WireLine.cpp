#include "Host/Output/WireLine.h"

#include <fmt/format.h>
#include <time.h>

#include "BoardFiles/OperationWords.h"

namespace Host {

namespace {

constexpr size_t kMostBytes = 32;  // that are shown

std::string clockTime( std::chrono::system_clock::time_point time ) {
   using namespace std::chrono;
   time_t seconds = system_clock::to_time_t( time );
   tm local{};
   localtime_r( &seconds, &local );
   return fmt::format(
      "{:02}:{:02}:{:02}.{:06}", local.tm_hour, local.tm_min, local.tm_sec,
      duration_cast< microseconds >( time.time_since_epoch() ).count() % 1'000'000 );
}

std::string hexBytes( const std::string& bytes ) {
   std::string text;
   for ( char byte : bytes.substr( 0, kMostBytes ) ) {
      text += fmt::format( "{}{:02x}", text.empty() ? "" : " ", static_cast< uint8_t >( byte ) );
   }
   return bytes.size() > kMostBytes ? fmt::format( "{} ... {} bytes", text, bytes.size() ) : text;
}

// With the bytes that were written.
std::string requestText( const WireTransfer& transfer ) {
   std::string text =
      operationWords( transfer.operation, transfer.size, transfer.reg, transfer.registerSize );
   return transfer.isSendByte() || transfer.written.empty()
             ? text
             : text + " = " + hexBytes( transfer.written );
}

std::string outcomeText( const WireTransfer& transfer ) {
   if ( !transfer.problem.empty() ) {
      return transfer.problem;
   }
   return transfer.read.empty() ? "ok" : hexBytes( transfer.read );
}

}  // namespace

std::string wireLine( const WireTransfer& transfer, const WireNames& names ) {
   std::string position =
      transfer.count > 1 ? fmt::format( "{} of {}, ", transfer.position, transfer.count ) : "";
   return fmt::format( "{} {} {}: {} ({}{:.1f} ms)", clockTime( transfer.time ),
                       names.placeOf( transfer ), requestText( transfer ), outcomeText( transfer ),
                       position,
                       std::chrono::duration< double, std::milli >( transfer.duration ).count() );
}

}  // namespace Host
