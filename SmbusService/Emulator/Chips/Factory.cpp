#include "SmbusService/Emulator/Chips/Factory.h"

namespace SmbusService::Emulator {

using Factory = std::unique_ptr< Chip >();

Factory newBCM59121, newCpuCPLD, newEEPROM, newIR357x, newIsl6812x, newLM73, newMax6658, newMax6697,
   newMorrowFanspinnerController, newMorrowFanspinnerIdprom, newMpsVrm, newMux, newPCA9555,
   newQuillonRearCardStatusLed, newTarnRearCardCPLD, newTMP464, newTMP468, newTMP75;

namespace {

struct Model {
   std::string_view name;
   Factory* create;
};

// Models of chips that have a driver bear the driver's name.
constexpr Model kModels[] = {
   { "BCM59121", newBCM59121 },
   { "CpuCPLD", newCpuCPLD },
   { "EEPROM", newEEPROM },
   { "IR357x", newIR357x },
   { "Isl6812x", newIsl6812x },
   { "LM73", newLM73 },
   { "Max6658", newMax6658 },
   { "Max6697", newMax6697 },
   { "Max7356", newMux },
   { "MorrowFanspinnerController", newMorrowFanspinnerController },
   { "MorrowFanspinnerIdprom", newMorrowFanspinnerIdprom },
   { "MpsVrm", newMpsVrm },
   { "PCA9548", newMux },
   { "PCA9555", newPCA9555 },
   { "QuillonRearCardStatusLed", newQuillonRearCardStatusLed },
   { "TMP464", newTMP464 },
   { "TMP468", newTMP468 },
   { "TMP46x", newTMP468 },
   { "TMP75", newTMP75 },
   { "TarnRearCardCPLD", newTarnRearCardCPLD },
   { "TarnStatusLed", newPCA9555 },
};

}  // namespace

std::unique_ptr< Chip > newChip( std::string_view name ) {
   for ( const Model& model : kModels ) {
      if ( model.name == name ) {
         return model.create();
      }
   }
   return nullptr;
}

std::vector< std::string > modelNames() {
   std::vector< std::string > names;
   for ( const Model& model : kModels ) {
      names.emplace_back( model.name );
   }
   return names;
}

}  // namespace SmbusService::Emulator
