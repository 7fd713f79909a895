#include "Drivers/Drivers.h"
#include "Drivers/Dummy.h"
#include "Drivers/GenericSmbusMux.h"
#include "Drivers/SmbusProxyDriver.h"
#include "Drivers/TMP75.h"

namespace Drivers {

std::map< std::string, DriverFactory > drivers = {
   { "Dummy", Dummy::create },
   { "GpioDriver", Dummy::create },
   { "Max7356", GenericSmbusMux::create },
   { "PCA9548", GenericSmbusMux::create },
   { "SmbusProxyDriver", SmbusProxyDriver::create },
   { "TMP75", TMP75::create },
};

}  // namespace Drivers
