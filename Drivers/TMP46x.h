#pragma once

#include "Components/HardwareDevice.h"
#include "Components/TempSensor.h"

namespace Drivers {

// TMP464 and TMP468 temperature monitors: channel 0 is their own, 1 to 4 or 8 are remote diodes.
class TMP46x : public Component::HardwareDevice {
 public:
   class TempSensor;

   enum class Threshold : uint8_t { Overheat = 0, Alert = 1 };

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   // Degrees Celsius and the words of the temperature and limit registers, the chip's first byte
   // in the low half.
   static float registerToTemperature( uint16_t word );
   static uint16_t temperatureToRegister( float celsius );

   static uint8_t getThresholdRegAddr( uint8_t channel, Threshold threshold );

   void init() override;
   Component::LogicalDevice::TempSensor* newTempSensor( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;

   // While locked, the chip ignores writes of its configuration and limits.
   [[nodiscard]] pl_status unlockRegister();
   [[nodiscard]] pl_status lockRegister();

   [[nodiscard]] pl_status getTemperature( uint8_t channel, float* celsius );
   [[nodiscard]] pl_status setThreshold( uint8_t channel, Threshold threshold, float celsius );
   [[nodiscard]] pl_status getThreshold( uint8_t channel, Threshold threshold, float* celsius );

 private:
   [[nodiscard]] pl_status getDeviceId( uint16_t* id );
   [[nodiscard]] pl_status writeLock( uint16_t code, uint16_t expectedState );

   uint8_t maxChannel_ = 0;
};

class TMP46x::TempSensor : public Component::LogicalDevice::TempSensor {
 public:
   TempSensor( TMP46x* device, uint8_t id ) : device_( device ), id_( id ) {}

   void alertThresholdIs( float value ) override;
   void criticalThresholdIs( float value ) override;
   [[nodiscard]] pl_status getTemperature( float* celsius ) override {
      return device_->getTemperature( id_, celsius );
   }

 private:
   TMP46x* device_;
   uint8_t id_;  // channel
};

}  // namespace Drivers
