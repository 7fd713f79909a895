#include <fmt/format.h>

#include "Drivers/Corvid/CpuCPLD.h"
#include "Utils/Text.h"

namespace Drivers {

namespace {

constexpr uint8_t kTypeMask = 7;  // what of a module's type is told

}  // namespace

CpuCPLD::Slot::Slot( CpuCPLD* device, uint8_t index, const DriverArgs& args )
    : index_( index ),
      driverArgs_( args.driverArgs ),
      jsonText_( args.jsonText ),
      device_( device ) {}

pl_status CpuCPLD::Slot::getPresence( char** info ) {
   bool present;
   uint8_t type;
   if ( pl_status status = device_->getFanPresence( index_, present, type ) ) {
      return status;
   }
   if ( !present ) {
      return PL_STATUS_ABSENT;
   }
   if ( ( type & kTypeMask ) != cachedType_ ) {
      try {
         cachedInfo_ = describe( type );
      } catch ( const std::exception& error ) {
         pl_trace( 0, "Error: fan module %d cannot be described: %s", index_ + 1, error.what() );
         return PL_STATUS_FAILURE;
      }
      cachedType_ = type & kTypeMask;
   }
   return Utils::copyToHeap( cachedInfo_, info ) ? PL_STATUS_OK : PL_STATUS_FAILURE;
}

// A program in the host's language for fans.
std::string CpuCPLD::Slot::describe( uint8_t type ) const {
   std::string name;
   int maxRpm;
   double p;
   double i;
   parseFanInformation( type, driverArgs_, &name, &maxRpm, nullptr, &p, &i, nullptr, nullptr );
   return fmt::format(
      "FruFactoryIds: PLDevice\n"
      "device.group = 'FanTray'\n"
      "slotId = {}\n"
      "device.fanTray = ( 'FanTray%d' % slotId, )\n"
      "fanTray = device.fanTray\n"
      "fanTray.modelName = '{}'\n"
      "fanTray.serialNum = '{}'\n"
      "fanTray.slotId = slotId\n"
      "fan = fanTray.newFan( 'Fan%d' % ( slotId ) )\n"
      "fan.airflowDirection = '{}Airflow'\n"
      "fan.maxRpm = {}\n"
      "fan.p = {:f}\n"
      "fan.i = {:f}\n"
      "fan.libPath = '{}'\n"
      "fan.devArgs = '{}'\n",
      index_ + 1, name, "N/A", isFrontToBack( type ) ? "frontToBack" : "backToFront",
      static_cast< unsigned >( maxRpm ), p, i, "", jsonText_ ? jsonText_ : "" );
}

}  // namespace Drivers
