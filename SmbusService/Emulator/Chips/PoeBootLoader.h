#pragma once

#include "SmbusService/Emulator/Chips/PoeMessage.h"

// The firmware of a PoE controller, and the boot loader that replaces it.
namespace SmbusService::Emulator {

struct PoeVersion {
   uint8_t version = 1;
   uint8_t extended = 0;
};

class PoeBootLoader {
 public:
   static constexpr uint32_t kLongestImage = 1u << 20;

   bool isRunning() const { return state_ == State::kRunning; }
   PoeVersion version() const { return version_; }
   void setMissing( bool isMissing );

   // Power that went and came back.
   void restart();

   static bool knows( uint8_t command );
   static size_t sizeOf( uint8_t command );

   // One of the requests that it knows, of the size that it has. Fills the answer's data.
   enum class Outcome { kRefused, kDone, kCleared, kStarted };
   Outcome handle( PoeRequest, PoeAnswer& );

 private:
   enum class State { kMissing, kErased, kReceiving, kComplete, kRunning };

   bool clear( PoeRequest key );
   bool announce( uint32_t length, PoeVersion );
   bool take( uint32_t number, PoeRequest payload );
   bool finish( uint32_t crc );
   bool start();

   State state_ = State::kRunning;
   PoeVersion version_;
   uint32_t length_ = 0;  // of the image that was announced
   uint32_t blocks_ = 0;  // of it that were written
   uint32_t crc_ = 0;     // of what they hold
};

}  // namespace SmbusService::Emulator
