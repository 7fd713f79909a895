#include "Host/Output/WireLine.h"

#include <fmt/format.h>
#include <time.h>

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

std::string counted( uint32_t bytes ) {
   return fmt::format( "{} byte{}", bytes, bytes == 1 ? "" : "s" );
}

std::string operationText( const WireTransfer& transfer ) {
   switch ( transfer.operation ) {
      case Smbus::REQUEST_READ:
         return "read " + counted( transfer.size );
      case Smbus::REQUEST_WRITE:
         return "write " + counted( transfer.size );
      case Smbus::REQUEST_PROCESS_CALL:
         return "process call";
      case Smbus::REQUEST_BLOCK_READ:
         return "block read";
      case Smbus::REQUEST_BLOCK_WRITE:
         return "block write " + counted( transfer.size );
   }
   return "unknown operation";
}

// With the register, and the bytes that were written.
std::string requestText( const WireTransfer& transfer ) {
   if ( transfer.isSendByte() ) {
      return fmt::format( "send byte 0x{:02x}", transfer.reg );
   }
   if ( transfer.operation == Smbus::REQUEST_READ && transfer.size == 0 ) {
      return "receive byte";
   }
   return fmt::format( "{}, register 0x{:0{}x}{}", operationText( transfer ), transfer.reg,
                       2 * transfer.registerSize,
                       transfer.written.empty() ? "" : " = " + hexBytes( transfer.written ) );
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
