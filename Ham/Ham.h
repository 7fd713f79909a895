#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>

#include "Utils/ExpectedVal.h"
#include "pl.h"

namespace Drivers {
struct DriverArgs;
}
namespace Topology {
class Topology;
}

namespace Ham {

// Hardware access method: how a driver reaches its chip's registers.
//
// A batch is prepare(), any number of add...() calls, execute(); when that returned PL_STATUS_OK,
// the results are read with get...() and the identifiers that the add...() calls returned, any
// number of times, until the next prepare(). init() runs once, before the first batch.
//
// Words travel low byte first; `regSize` is the number of bytes (1, 2 or 4) in which the register
// number is sent. `flag` asks the transport, on a read, for a combined transfer without a stop in
// between, for this one and all that the HAM queues later; on a write, to take a missing
// acknowledge for success. An operation that a HAM does not have throws NotImplementedException
// naming it. An identifier that is not of the batch is an assertion.
class Ham {
 public:
   using Register = uint32_t;
   using ResponseId = uint32_t;

   static constexpr ResponseId INVALID_RESPONSE_ID = 0xFFFFFFFF;

   virtual void init();
   virtual void prepare() = 0;
   [[nodiscard]] virtual pl_status execute() = 0;

   virtual ResponseId addRecvByte();
   virtual ResponseId addRead8( Register reg, uint8_t regSize );
   virtual ResponseId addRead16( Register reg, uint8_t regSize );
   virtual ResponseId addRead32( Register reg, uint8_t regSize );
   virtual ResponseId addRead( Register reg, uint32_t length, bool flag, uint8_t regSize );
   virtual ResponseId addReadBlock( Register reg, uint8_t regSize );
   virtual void addSendByte( uint8_t value, bool flag );
   virtual void addWrite8( Register reg, uint8_t value, bool flag, uint8_t regSize );
   virtual void addWrite16( Register reg, uint16_t value, bool flag, uint8_t regSize );
   virtual void addWrite32( Register reg, uint32_t value, bool flag, uint8_t regSize );
   virtual void addWrite(
      Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize );
   virtual void addWriteBlock(
      Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize );
   virtual ResponseId addProcessCall( Register reg, uint16_t value, uint8_t regSize );

   virtual uint8_t get8( ResponseId id );
   virtual uint16_t get16( ResponseId id );
   virtual uint32_t get32( ResponseId id );
   // The bytes read; length 0 means as many as the device returned.
   virtual std::string getBlock( ResponseId id, uint32_t length );

   // For the simulation HAM: the registers' initial contents (kept by pointer), and the driver's
   // name with that of its instance, which may be empty.
   virtual void setExpected( const Utils::ExpectedValues* expected );
   virtual void setDriverName( std::string driverName, std::string qualifier );

   // After execute() failed: whether it did because the device itself did not acknowledge, as one
   // that is not there. False where the transport cannot tell.
   virtual bool lacksAcknowledge() const { return false; }

   // How often the transport repeats a failing batch, for all later batches.
   void retryCountIs( uint32_t count );

   // One-transaction batches. The output is written only when the status is PL_STATUS_OK.
   [[nodiscard]] pl_status recvByte( uint8_t* out );
   [[nodiscard]] pl_status read8( Register reg, uint8_t* out, uint8_t regSize );
   [[nodiscard]] pl_status read16( Register reg, uint16_t* out, uint8_t regSize );
   [[nodiscard]] pl_status read32( Register reg, uint32_t* out, uint8_t regSize );
   [[nodiscard]] pl_status read(
      Register reg, uint32_t length, std::string* out, bool flag, uint8_t regSize );
   [[nodiscard]] pl_status readBlock( Register reg, std::string* out, uint8_t regSize );
   [[nodiscard]] pl_status processCall( Register reg,
                                        uint16_t value,
                                        uint16_t* out,
                                        uint8_t regSize );
   [[nodiscard]] pl_status sendByte( uint8_t value, bool flag );
   [[nodiscard]] pl_status write8( Register reg, uint8_t value, bool flag, uint8_t regSize );
   [[nodiscard]] pl_status write16( Register reg, uint16_t value, bool flag, uint8_t regSize );
   [[nodiscard]] pl_status write32( Register reg, uint32_t value, bool flag, uint8_t regSize );
   [[nodiscard]] pl_status write(
      Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize );
   [[nodiscard]] pl_status writeBlock(
      Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize );

   // The HAM registered under `name`, made for the device and initialised; null after a trace.
   static Ham* create( const std::string& name,
                       const Topology::Topology& topology,
                       const Drivers::DriverArgs& args );

 protected:
   uint32_t retryCount = 0;
   bool retryCountSet = false;
};

using HamFactory = std::function< Ham*( const Topology::Topology&, const Drivers::DriverArgs& ) >;

// Every HAM by its name in the topology document; complete before any entry point runs.
extern std::map< std::string, HamFactory > hams;
extern std::map< std::string, HamFactory > ipmiHams;

// The HAM for a device, or for one of its components, from its place in the current topology; the
// simulation HAM when in simulation. Null after a trace. No topology is an assertion.
Ham* createHam( const Drivers::DriverArgs& args );

}  // namespace Ham
