#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "BoardFiles/Board.h"
#include "Host/Session/ControlClient.h"
#include "Host/Session/UseError.h"
#include "Utils/Json.h"

namespace Host {

using namespace BoardFiles;

struct EmulatedChip {
   uint32_t did;
   uint8_t address;
   std::string model;
   bool isPlugged;
   unsigned faults;  // that wait for its next transfers
   std::vector< std::pair< std::string, double > > quantities;

   std::string label;  // empty where the topology has none
   std::string place;  // its bus
   std::vector< std::string > objects;
};

// Of a request, with the emulator's reason.
class Refusal : public UseError {
   using UseError::UseError;
};

// JSON of a text that is part of a request, whatever it was made of.
std::string quoted( const std::string& text );

// The emulator at a service's control socket, which knows chips by their device ids only.
class EmulatorControl {
 public:
   // Throws UseError where no service answers, or one that emulates nothing or another board.
   EmulatorControl( const Board& board, const std::string& path );

   // All, as they are when this is called.
   std::vector< EmulatedChip > chips();

   // The device id of the chip that is meant: that of an object, of a device by its label or, where
   // no other begins so, by its label's stem, or the id itself. Throws UseError, also where the
   // emulator has no such chip.
   uint32_t find( const std::string& name ) const;

   // Throws Refusal.
   Utils::Json::Document ask( const std::string& request );

 private:
   void compare( const std::vector< EmulatedChip >& chips ) const;
   EmulatedChip named( const Utils::Json::Value& chip ) const;
   uint32_t deviceCalled( const std::string& name ) const;

   const Board& board_;
   std::map< uint32_t, std::vector< std::string > > objects_;  // of each device
   std::string path_;
   ControlClient service_;
   std::vector< uint32_t > dids_;  // that the emulator has
};

}  // namespace Host
