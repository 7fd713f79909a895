#include "Components/TempSensor.h"

#include "Components/EntryPoint.h"

pl_status pl_temp_sensor_init( const char* topologyJson ) {
   return lumenLibraryInit( __FUNCTION__, topologyJson, kInitTries );
}

pl_temp_sensor* pl_temp_sensor_add( const char* deviceArgsJson,
                                    float alertThreshold,
                                    float criticalThreshold ) {
   using namespace Component;
   auto sensor = LogicalDevice::addObject( deviceArgsJson, &DeviceBase::newTempSensor );
   if ( !sensor ) {
      return nullptr;
   }
   // Alert before critical: drivers that program limits write their registers in this order.
   pl_trace( 0, "setting alert threshold" );
   sensor->alertThresholdIs( alertThreshold );
   pl_trace( 0, "setting critical threshold" );
   sensor->criticalThresholdIs( criticalThreshold );
   return sensor->record();
}

namespace Component::LogicalDevice {

const pl_temp_sensor_ops TempSensor::ops_ = {
   .size = sizeof( pl_temp_sensor_ops ),
   .unused = nullptr,
   .get_temperature = getTemperatureCallback,
};

void TempSensor::alertThresholdIs( float celsius ) {
   alertThreshold = celsius;
}

void TempSensor::criticalThresholdIs( float celsius ) {
   criticalThreshold = celsius;
}

}  // namespace Component::LogicalDevice
