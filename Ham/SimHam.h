#pragma once

#include <map>
#include <string>

#include "Ham/Ham.h"

namespace Ham {

// Serves registers from a plain file, one for each driver instance, so that a person or a test
// harness can watch and change them while the host runs. Other processes may share the files: each
// access takes a record lock on the whole file.
//
// There is one current register, named by the latest read-type add...() or by saveReg(); getters,
// writes and execute() act on it, whatever register they are given.
class SimHam : public Ham {
 public:
   static Ham* create( const Topology::Topology& topology, const Drivers::DriverArgs& args );

   void prepare() override {}
   // PL_STATUS_IO_ERROR when the current register has no expected value, once there is a file.
   [[nodiscard]] pl_status execute() override;

   ResponseId addRecvByte() override { return kOnlyId; }
   ResponseId addRead8( Register reg, uint8_t ) override { return current( reg ); }
   ResponseId addRead16( Register reg, uint8_t ) override { return current( reg ); }
   ResponseId addRead( Register reg, uint32_t, bool, uint8_t ) override { return current( reg ); }
   ResponseId addReadBlock( Register reg, uint8_t ) override { return current( reg ); }
   ResponseId addProcessCall( Register reg, uint16_t, uint8_t ) override { return current( reg ); }
   void addSendByte( uint8_t, bool ) override {}
   void addWrite8( Register reg, uint8_t value, bool flag, uint8_t regSize ) override;
   void addWrite16( Register reg, uint16_t value, bool flag, uint8_t regSize ) override;
   void addWrite(
      Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) override;
   void addWriteBlock(
      Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) override;

   // A register without an expected value gives 0 after a warning; getBlock throws
   // std::logic_error.
   uint8_t get8( ResponseId id ) override;
   uint16_t get16( ResponseId id ) override;
   std::string getBlock( ResponseId id, uint32_t length ) override;

   // The name must be set before a map that is not empty arrives: that creates the file anew.
   void setDriverName( std::string driverName, std::string qualifier ) override;
   void setExpected( const Utils::ExpectedValues* map ) override;

   void saveReg( uint32_t reg ) { currentReg = reg; }
   bool isAddrSimulated() const;

 private:
   static constexpr ResponseId kOnlyId = 0;  // no getter looks at it

   ResponseId current( Register reg ) {
      saveReg( reg );
      return kOnlyId;
   }
   void createSimFile();
   bool isServed() const;
   std::string readFromFile( size_t length ) const;
   void writeToFile( const std::string& value ) const;
   void writeNumber( uint32_t value, uint32_t size ) const;
   uint32_t readNumber( uint32_t size ) const;
   void warnUnsimulated() const;

   const Utils::ExpectedValues* expected = nullptr;  // the driver's
   std::map< uint32_t, size_t > offsets;             // of each register's entry in the file
   std::string driverName_;
   std::string qualifier_;
   uint32_t currentReg = 0;
   bool simFileExists_ = false;
   std::string simFileName_;
};

// Names the register that the next write means, for the simulation; other HAMs take it from the
// write itself.
void saveReg( Ham* ham, Ham::Register reg );

}  // namespace Ham
