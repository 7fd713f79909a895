#include "SmbusService/LinuxI2c/StuckBus.h"

#include <algorithm>
#include <cerrno>

namespace SmbusService::LinuxI2c {

bool StuckBus::isSign( int error ) {
   return error == EBUSY || error == ETIMEDOUT;
}

void StuckBus::note( int error, Clock::time_point now ) {
   inRow_ = isSign( error ) ? std::min( inRow_ + 1, kPatience ) : 0;
   tryAgain_ = now + kPause;
}

}  // namespace SmbusService::LinuxI2c
