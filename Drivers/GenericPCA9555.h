#pragma once

#include "Components/Gpio.h"
#include "Drivers/GPIOExpander.h"

namespace Drivers {

// Expanders of the PCA9555 kind: two banks. Driver arguments, decimal, low eight bits used:
// "bank-io-0" and "bank-io-1" (configuration bytes, a 1 bit makes the pin an input) are required;
// "cacheTimeout" (seconds) is 2, "inputBankBase" 0, "outputBankBase" 2 and "configBankBase" 6 when
// absent.
//
// A GPIO takes the driver arguments "bank" and "bit", both required. A board that uses the chip on
// its own adds the factory to the registry.
class GenericPCA9555 : public GPIOExpander {
 public:
   class ExpGpio;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   static constexpr uint8_t kBanks = 2;
   static constexpr uint8_t kCacheTime = 2;  // seconds

   // 8 bits each, one for each bank.
   static constexpr uint8_t kInput = 0x00;
   static constexpr uint8_t kOutput = 0x02;
   static constexpr uint8_t kConfiguration = 0x06;

   GenericPCA9555( const uint8_t* bankConfig,
                   uint8_t numBanks = kBanks,
                   uint8_t cacheTime = kCacheTime,
                   uint8_t inputBase = kInput,
                   uint8_t outputBase = kOutput,
                   uint8_t configBase = kConfiguration );

   void init() override;
   Component::LogicalDevice::Gpio* newGpio( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override { return expectedValues_; }

 private:
   uint8_t config[ 2 ] = {};
   Utils::ExpectedValues expectedValues_;
};

class GenericPCA9555::ExpGpio : public Component::LogicalDevice::Gpio {
 public:
   ExpGpio( GenericPCA9555* expander, const DriverArgs& args );

   [[nodiscard]] pl_status bitClear() override;
   [[nodiscard]] pl_status bitSet() override;
   [[nodiscard]] pl_status bitRead( unsigned int* value ) override;

 private:
   [[nodiscard]] pl_status write( bool value );

   GenericPCA9555* expander_;
   int bank_;
   int bit_;
};

}  // namespace Drivers
