#pragma once

#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "Ham/Ham.h"

namespace Tests {

// Registers in bus order behind the HAM interface, and a log of one line per executed transaction:
//    R8 00   R16 00   R3 9a (raw, 3 bytes)   RB 9a (block)   W8 01=40   W16 c4=eb19 (bus order)
//    W3 10=0a0b0c   WB 10=0a0b   PC 05=3412   S 04 (send byte)   Q (receive byte)
class FakeHam : public Ham::Ham {
 public:
   void load( uint32_t reg, const std::string& hexBytes );

   // Batches with a transaction whose log line begins so fail with `status`.
   void failOn( const std::string& linePrefix, pl_status status ) {
      failures_[ linePrefix ] = status;
   }
   void failNothing() { failures_.clear(); }

   // The `step`th transaction from now on fails; whether it did.
   void failNth( size_t step, pl_status status ) {
      failingStep_ = log.size() + step;
      stepFailure_ = status;
   }
   bool hasFailed() const { return failingStep_ != 0 && log.size() >= failingStep_; }

   std::vector< std::string > log;
   int batches = 0;  // executed, failed ones included
   std::function< void( uint32_t reg ) > afterWrite;

   void prepare() override;
   pl_status execute() override;
   ResponseId addRecvByte() override;
   ResponseId addRead8( Register reg, uint8_t regSize ) override;
   ResponseId addRead16( Register reg, uint8_t regSize ) override;
   ResponseId addRead( Register reg, uint32_t length, bool flag, uint8_t regSize ) override;
   ResponseId addReadBlock( Register reg, uint8_t regSize ) override;
   void addSendByte( uint8_t value, bool flag ) override;
   void addWrite8( Register reg, uint8_t value, bool flag, uint8_t regSize ) override;
   void addWrite16( Register reg, uint16_t value, bool flag, uint8_t regSize ) override;
   void addWrite(
      Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) override;
   void addWriteBlock(
      Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) override;
   ResponseId addProcessCall( Register reg, uint16_t value, uint8_t regSize ) override;
   uint8_t get8( ResponseId id ) override;
   uint16_t get16( ResponseId id ) override;
   std::string getBlock( ResponseId id, uint32_t length ) override;

 private:
   static constexpr size_t kWholeRegister = static_cast< size_t >( -1 );

   struct Transaction {
      std::string line;
      uint32_t reg;
      bool isWrite;
      std::string written;
      size_t readLength;
      std::string answer;
   };

   ResponseId addReading( const std::string& name, Register reg, size_t length );
   void addWriting( const std::string& name, Register reg, std::string bytes );
   std::string stored( uint32_t reg, size_t length ) const;

   std::map< uint32_t, std::string > registers_;
   std::map< std::string, pl_status > failures_;
   size_t failingStep_ = 0;  // as the log counts, 0 for none
   pl_status stepFailure_ = PL_STATUS_OK;
   std::vector< Transaction > batch_;
};

std::string toHex( const std::string& bytes );
std::string fromHex( const std::string& digits );

}  // namespace Tests
