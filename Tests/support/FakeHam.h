#pragma once

#include <deque>
#include <functional>
#include <map>
#include <set>
#include <string>
#include <vector>

#include "Ham/Ham.h"

namespace Tests {

// Registers in bus order behind the HAM interface, and a log of one line per executed transaction:
//    R8 00   R16 00   R3 9a (raw, 3 bytes)   RB 9a (block)   W8 01=40   W16 c4=eb19 (bus order)
//    W3 10=0a0b0c   WB 10=0a0b   PC 05=3412   S 04 (send byte)   Q 00 (receive byte)
// Registers that no test loaded read as zero.
class FakeHam : public Ham::Ham {
 public:
   void load( Register reg, const std::string& hexBytes );
   // What the next reads give, one each, before the register's own bytes.
   void loadNext( Register reg, const std::vector< std::string >& hexBytes );

   // Batches with a transaction whose log line begins so fail with `status`.
   void failOn( const std::string& linePrefix, pl_status status ) {
      failingLine_ = linePrefix;
      failure_ = status;
   }
   bool lacksAcknowledge() const override { return isAbsent; }
   bool isAbsent = false;  // what failures are to be taken for

   void failNothing() { failOn( "nothing", PL_STATUS_OK ); }

   // The `step`th transaction from now on fails; whether it did.
   void failNth( size_t step, pl_status status ) {
      failingStep_ = log.size() + step;
      failure_ = status;
   }
   bool hasFailed() const { return log.size() >= failingStep_; }

   std::vector< std::string > log;
   int batches = 0;             // executed, failed ones included
   std::set< Register > fixed;  // what a write leaves as it is
   // Told of each write that arrived; may load what the chip answers.
   std::function< void( Register, const std::string& bytes ) > onWrite;

   void prepare() override { batch_.clear(); }
   pl_status execute() override;
   ResponseId addRecvByte() override { return addReading( "Q", 0, 1 ); }
   ResponseId addRead8( Register reg, uint8_t ) override { return addReading( "R8", reg, 1 ); }
   ResponseId addRead16( Register reg, uint8_t ) override { return addReading( "R16", reg, 2 ); }
   ResponseId addRead( Register reg, uint32_t length, bool, uint8_t ) override {
      return addReading( "R" + std::to_string( length ), reg, length );
   }
   ResponseId addReadBlock( Register reg, uint8_t ) override {
      return addReading( "RB", reg, kWholeRegister );
   }
   void addSendByte( uint8_t value, bool ) override { addReading( "S", value, 0 ); }
   void addWrite8( Register reg, uint8_t value, bool, uint8_t ) override {
      addWriting( "W8", reg, &value, 1 );
   }
   void addWrite16( Register reg, uint16_t value, bool, uint8_t ) override {
      addWriting( "W16", reg, &value, 2 );
   }
   void addWrite( Register reg, const void* data, uint32_t length, bool, uint8_t ) override {
      addWriting( "W" + std::to_string( length ), reg, data, length );
   }
   void addWriteBlock( Register reg, const void* data, uint32_t length, bool, uint8_t ) override {
      addWriting( "WB", reg, data, length );
   }
   ResponseId addProcessCall( Register reg, uint16_t value, uint8_t ) override;
   uint8_t get8( ResponseId id ) override { return byte( id, 0 ); }
   uint16_t get16( ResponseId id ) override {
      return static_cast< uint16_t >( byte( id, 0 ) | byte( id, 1 ) << 8 );
   }
   std::string getBlock( ResponseId id, uint32_t ) override { return batch_.at( id ).answer; }

 private:
   static constexpr size_t kWholeRegister = static_cast< size_t >( -1 );

   struct Transaction {
      std::string line;
      Register reg;
      size_t readLength;
      std::string written;  // nothing by a read
      std::string answer;
   };

   ResponseId addReading( const std::string& name, Register reg, size_t length );
   void addWriting( const std::string& name, Register reg, const void* data, size_t length );
   uint8_t byte( ResponseId id, size_t index ) const {
      return static_cast< uint8_t >( batch_.at( id ).answer.at( index ) );
   }

   std::map< Register, std::string > registers_;
   std::map< Register, std::deque< std::string > > next_;
   std::string failingLine_ = "nothing";
   size_t failingStep_ = kWholeRegister;  // as the log counts
   pl_status failure_ = PL_STATUS_OK;
   std::vector< Transaction > batch_;
};

}  // namespace Tests
