#pragma once

#include "pl.h"

namespace Component::LogicalDevice {

// A temperature reading with two limits, all in degrees Celsius.
class TempSensor {
 public:
   TempSensor();
   virtual ~TempSensor() = default;
   TempSensor( const TempSensor& ) = delete;
   TempSensor& operator=( const TempSensor& ) = delete;

   // A driver whose chip has limit registers overrides these, stores the value and programs it.
   virtual void alertThresholdIs( float celsius );
   virtual void criticalThresholdIs( float celsius );

   virtual pl_status getTemperature( float* celsius ) = 0;

   pl_temp_sensor* record() { return &record_; }

   static const pl_temp_sensor_ops ops_;
   static pl_status getTemperatureCallback( pl_temp_sensor* sensor, float* celsius );

 private:
   pl_temp_sensor record_;

 protected:
   float alertThreshold = 0;
   float criticalThreshold = 0;
};

}  // namespace Component::LogicalDevice
