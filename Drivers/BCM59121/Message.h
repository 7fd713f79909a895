#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>

#include "pl.h"

// The messages of a PoE controller, requests and responses alike: the command in byte 0, a sequence
// field in byte 1, then parameters or data; unused bytes are 0xFF, the last byte is the checksum.
// Numbers have their high byte first. Nothing here reads outside a response, however short it is.
namespace Drivers::Poe {

constexpr size_t kMessageLength = 12;
constexpr uint8_t kUnused = 0xFF;

// Bytes 1 to 10 of a request.
using Parameters = std::array< uint8_t, 10 >;

// These from byte 2 on.
Parameters parameters( std::initializer_list< uint8_t > values );

std::string request( uint8_t command, const Parameters& parameters );

// The sum, modulo 256, of all bytes but the last, which is where it belongs. Messages are not
// empty.
uint8_t calcCheckSum( const std::string& message );
void setCheckSum( std::string& message );

// PL_STATUS_IO_ERROR when the response is short or its checksum is another, PL_STATUS_DEVICE_ERROR
// when it is not one to the command: its byte 0 then is an error code.
[[nodiscard]] pl_status check( uint8_t command, const std::string& response );

// How texts for people name a failure of an exchange.
const char* failureText( pl_status status );

// Fields of a response; 0 beyond its end.
uint8_t byteAt( const std::string& response, size_t index );
uint16_t wordAt( const std::string& response, size_t index );

// A signed number times the scale, plus the offset.
double getMeasurementVal( int8_t high, uint8_t low, double scale, double offset );
// The same of a response's field, without an offset.
double measurementAt( const std::string& response, size_t index, double scale );

// Degrees Celsius of the controller's temperature code.
double getTemperatureVal( int8_t high, uint8_t low );

}  // namespace Drivers::Poe
