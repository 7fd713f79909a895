#include "Bench/Boards.h"

#include <fmt/format.h>

namespace Bench {

std::string topologyOf( unsigned devices, uint32_t firstDid ) {
   std::string text = R"([{"type":"FbDomFpga","ham":"LumenSmbus","pci":16,"busses":[)";
   for ( unsigned i = 0; i < devices; ++i ) {
      if ( i % kDevicesPerBus == 0 ) {
         text += fmt::format( R"({}{{"id":{},"label":"bus{}","devices":[)", i ? "]}," : "",
                              i / kDevicesPerBus, i / kDevicesPerBus );
      }
      text += fmt::format(
         R"({}{{"did":{},"label":"sensor{}","driver":"TMP75","address":{{"address":{}}},"driverArgs":{{}}}})",
         i % kDevicesPerBus ? "," : "", firstDid + i, firstDid + i,
         kFirstAddress + i % kDevicesPerBus );
   }
   return text + "]}]}]";
}

std::string objectsOf( unsigned devices, uint32_t firstDid ) {
   std::string text = "[";
   for ( unsigned i = 0; i < devices; ++i ) {
      text += fmt::format(
         R"({}{{"kind":"temp_sensor","name":"sensor{}","device":{{"driver":"TMP75","did":{},"address":{{"address":{}}}}},"alert":80,"critical":90}})",
         i ? "," : "", i, firstDid + i, kFirstAddress + i % kDevicesPerBus );
   }
   return text + "]";
}

std::string argumentsOf( uint32_t did ) {
   return fmt::format( R"({{"driver":"TMP75","did":{},"address":{{"address":{}}}}})", did,
                       kFirstAddress );
}

}  // namespace Bench
