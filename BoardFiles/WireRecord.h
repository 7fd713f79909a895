#pragma once

#include <chrono>
#include <cstdint>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "BoardFiles/Finding.h"
#include "BoardFiles/Place.h"
#include "Utils/Json.h"
#include "smbus.pb.h"

namespace BoardFiles {

// One transfer on a bus, as the service's wire log keeps it.
struct WireRecord {
   uint64_t number = 0;  // from 1, since the service started
   std::chrono::system_clock::time_point time = {};
   uint64_t client = 0;  // tells the service's clients apart; 0 is the service itself
   uint32_t uid = 0;     // of the client
   Smbus::MasterType master = Smbus::MASTER_SIMULATED;
   uint32_t pci = 0;
   uint32_t accelerator = 0;
   uint32_t bus = 0;
   // The muxes with open channels when it began, outermost first: address and control byte.
   std::vector< std::pair< uint8_t, uint8_t > > path = {};
   uint8_t device = 0;  // 7-bit address
   Smbus::RequestType operation = Smbus::REQUEST_READ;
   uint32_t reg = 0;  // register number, or the byte itself of a send-byte
   uint8_t registerSize = 1;
   uint32_t size = 0;         // bytes; 0 is a receive-byte or send-byte
   std::string written = {};  // as bytes, like the next
   std::string read = {};
   int status = 0;            // errno value
   std::string problem = {};  // in words; empty where there was none
   std::chrono::nanoseconds duration = {};
};

// A line of JSON (wirelog.schema.json), without its end.
std::string wireRecordText( const WireRecord& );

// What satisfies the schema.
WireRecord readWireRecord( const Utils::Json::Value& );

// A file with a record a line. The first lines that are none are told, and left out.
std::vector< WireRecord > readWireLog( const std::string& path, std::vector< Finding >& findings );

}  // namespace BoardFiles
