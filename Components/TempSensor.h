#pragma once

#include "Components/LogicalDevice.h"

namespace Component::LogicalDevice {

// A temperature reading with two limits, all in degrees Celsius.
class TempSensor {
 public:
   virtual ~TempSensor() = default;

   // A driver whose chip has limit registers overrides these, stores the value and programs it.
   virtual void alertThresholdIs( float celsius );
   virtual void criticalThresholdIs( float celsius );

   [[nodiscard]] virtual pl_status getTemperature( float* celsius ) = 0;

   pl_temp_sensor* record() { return record_.get(); }

   static constexpr auto getTemperatureCallback =
      callback< pl_temp_sensor, "getTemperatureCallback", &TempSensor::getTemperature >;
   static const pl_temp_sensor_ops ops_;

 private:
   HostRecord< pl_temp_sensor > record_{ &ops_, this };

 protected:
   float alertThreshold = 0;
   float criticalThreshold = 0;
};

}  // namespace Component::LogicalDevice
