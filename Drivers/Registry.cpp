#include "Drivers/BCM59121/BCM59121.h"
#include "Drivers/Corvid/CpuCPLD.h"
#include "Drivers/Corvid/MorrowFanspinnerController.h"
#include "Drivers/Corvid/MorrowFanspinnerIdprom.h"
#include "Drivers/Corvid/QuillonRearCardStatusLed.h"
#include "Drivers/Corvid/TarnRearCardCPLD.h"
#include "Drivers/Corvid/TarnStatusLed.h"
#include "Drivers/Drivers.h"
#include "Drivers/Dummy.h"
#include "Drivers/GenericSmbusMux.h"
#include "Drivers/IR357x.h"
#include "Drivers/Isl6812x.h"
#include "Drivers/LM73.h"
#include "Drivers/Max6658.h"
#include "Drivers/Max6697.h"
#include "Drivers/MpsVrm.h"
#include "Drivers/SmbusProxyDriver.h"
#include "Drivers/TMP46x.h"
#include "Drivers/TMP75.h"

namespace Drivers {

std::map< std::string, DriverFactory > drivers = {
   { "BCM59121", BCM59121::create },
   { "CpuCPLD", CpuCPLD::create },
   { "Dummy", Dummy::create },
   { "GpioDriver", Dummy::create },
   { "IR357x", IR357x::create },
   { "Isl6812x", Isl6812x::create },
   { "LM73", LM73::create },
   { "Max6658", Max6658::create },
   { "Max6697", Max6697::create },
   { "Max7356", GenericSmbusMux::create },
   { "MorrowFanspinnerController", MorrowFanspinnerController::create },
   { "MorrowFanspinnerIdprom", MorrowFanspinnerIdprom::create },
   { "MpsVrm", MpsVrm::create },
   { "PCA9548", GenericSmbusMux::create },
   { "QuillonRearCardStatusLed", QuillonRearCardStatusLed::create },
   { "SmbusProxyDriver", SmbusProxyDriver::create },
   { "TMP46x", TMP46x::create },
   { "TMP75", TMP75::create },
   { "TarnRearCardCPLD", TarnRearCardCPLD::create },
   { "TarnStatusLed", TarnStatusLed::create },
};

}  // namespace Drivers
