#include "Ham/Ham.h"
#include "Ham/LumenSmbusHam.h"
#include "Ham/SimHam.h"

namespace Ham {

std::map< std::string, HamFactory > hams = {
   { "LumenSmbus", LumenSmbusHam::create },
   { "SimHam", SimHam::create },
};
std::map< std::string, HamFactory > ipmiHams;

}  // namespace Ham
