#include "Drivers/BCM59121/Message.h"

#include <algorithm>
#include <numeric>

namespace Drivers::Poe {

namespace {

constexpr size_t kFirstParameter = 1;  // of Parameters: byte 2 of the message

// The temperature code falls as the controller warms up.
constexpr int kCodeAtReference = 120;
constexpr double kReference = 125.0;
constexpr double kDegreesPerCode = -1.25;

}  // namespace

Parameters parameters( std::initializer_list< uint8_t > values ) {
   Parameters bytes;
   bytes.fill( kUnused );
   size_t count = std::min( values.size(), bytes.size() - kFirstParameter );
   std::copy_n( values.begin(), count, bytes.begin() + kFirstParameter );
   return bytes;
}

std::string request( uint8_t command, const Parameters& parameters ) {
   std::string message( 1, static_cast< char >( command ) );
   message.append( parameters.begin(), parameters.end() );
   message.resize( kMessageLength );
   setCheckSum( message );
   return message;
}

uint8_t calcCheckSum( const std::string& message ) {
   unsigned sum = std::accumulate(
      message.begin(), message.end() - 1, 0u,
      []( unsigned before, char byte ) { return before + static_cast< uint8_t >( byte ); } );
   return static_cast< uint8_t >( sum );
}

void setCheckSum( std::string& message ) {
   message.back() = static_cast< char >( calcCheckSum( message ) );
}

pl_status check( uint8_t command, const std::string& response ) {
   if ( response.size() != kMessageLength ||
        byteAt( response, kMessageLength - 1 ) != calcCheckSum( response ) ) {
      return PL_STATUS_IO_ERROR;
   }
   return byteAt( response, 0 ) == command ? PL_STATUS_OK : PL_STATUS_DEVICE_ERROR;
}

const char* failureText( pl_status status ) {
   switch ( status ) {
      case PL_STATUS_DEVICE_ERROR:
         return "hardware error";
      case PL_STATUS_IO_ERROR:
         return "checksum error";
      default:
         return "SMBus error";
   }
}

uint8_t byteAt( const std::string& response, size_t index ) {
   return index < response.size() ? static_cast< uint8_t >( response[ index ] ) : 0;
}

uint16_t wordAt( const std::string& response, size_t index ) {
   return static_cast< uint16_t >( byteAt( response, index ) << 8 | byteAt( response, index + 1 ) );
}

double getMeasurementVal( int8_t high, uint8_t low, double scale, double offset ) {
   return ( high * 256 | low ) * scale + offset;
}

double measurementAt( const std::string& response, size_t index, double scale ) {
   return getMeasurementVal( static_cast< int8_t >( byteAt( response, index ) ),
                             byteAt( response, index + 1 ), scale, 0 );
}

double getTemperatureVal( int8_t high, uint8_t low ) {
   return ( ( high * 256 | low ) - kCodeAtReference ) * kDegreesPerCode + kReference;
}

}  // namespace Drivers::Poe
