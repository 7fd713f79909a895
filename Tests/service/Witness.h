#pragma once

#include <bitset>

#include "SmbusService/Emulator/Chip.h"

namespace Tests {

// A chip that counts on from register to register, and notes what is done to it that it does not
// permit.
class Witness : public SmbusService::Emulator::Chip {
 public:
   using Registers = std::bitset< 256 >;

   // A wide one has register numbers of two bytes.
   Witness( Registers readable, Registers writable, bool isWide )
       : readable_( readable ), writable_( writable ), pointerSize_( isWide ? 2 : 1 ) {}

   void reset() override {}

   bool start( SmbusService::Emulator::Direction direction ) override {
      bool reads = direction == SmbusService::Emulator::Direction::kRead;
      pointerLeft_ = reads ? 0 : pointerSize_;
      hasRead_ |= reads;
      ++transfers;
      isTouched |= readable_.none() && writable_.none();
      return true;
   }

   bool write( uint8_t byte ) override {
      if ( pointerLeft_ ) {
         pointer_ = byte;
         --pointerLeft_;
         isCommand_ = true;
      } else {
         isTouched |= !writable_[ pointer_++ ];
         isCommand_ = false;
      }
      return true;
   }

   uint8_t read() override {
      isTouched |= !readable_[ pointer_++ ];
      return 1;
   }

   // A register number alone is a command.
   void stop() override {
      isTouched |= isCommand_ && !hasRead_ && !writable_[ pointer_ ];
      isCommand_ = hasRead_ = false;
   }

   bool isTouched = false;  // by a transfer that it does not permit
   size_t transfers = 0;

 private:
   const Registers readable_;
   const Registers writable_;
   const int pointerSize_;
   uint8_t pointer_ = 0;
   int pointerLeft_ = 0;  // bytes of it to come
   bool isCommand_ = false;
   bool hasRead_ = false;
};

}  // namespace Tests
