#include "SmbusService/Emulator/Chips/FanCPLD.h"

// Rear card CPLD: modules of an outer and an inner fan each, numbered from 0.

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kMinorVersion = 0x00;
constexpr uint8_t kMajorVersion = 0x01;
constexpr uint8_t kOuterTachometers = 0x10;
constexpr uint8_t kInnerTachometers = 0x20;
constexpr uint8_t kOuterDuties = 0x30;
constexpr uint8_t kInnerDuties = 0x38;
constexpr uint8_t kTypes = 0x41;
constexpr uint8_t kPresence = 0x49;
constexpr uint8_t kHealth = 0x4a;
constexpr uint8_t kGreen = 0x4b;
constexpr uint8_t kRed = 0x4c;

constexpr Register kConstants[] = {
   { .number = kMinorVersion, .bytes = 1, .reset = 0x03 },
   { .number = kMajorVersion, .bytes = 1, .reset = 0x01 },
};

constexpr RotorLayout kRotors[] = {
   { .stopped = "outerStopped",
     .maxRpm = "outerMaxRpm",
     .rpm = "outerRpm",
     .duty = "outerDuty",
     .tachometers = kOuterTachometers,
     .duties = kOuterDuties,
     .highestRpm = 20'000 },
   { .stopped = "innerStopped",
     .maxRpm = "innerMaxRpm",
     .rpm = "innerRpm",
     .duty = "innerDuty",
     .tachometers = kInnerTachometers,
     .duties = kInnerDuties,
     .highestRpm = 18'000 },
};

constexpr FanLayout kLayout = {
   .constants = kConstants,
   .rotors = kRotors,
   .firstModule = 0,
   .countTimesRpm = 3'000'000,
   .types = kTypes,
   .type = 0,
   .presence = kPresence,
   .presentLevel = true,
   .health = kHealth,
   .green = kGreen,
   .red = kRed,
};

}  // namespace

std::unique_ptr< Chip > newTarnRearCardCPLD() {
   static const FanPart part( kLayout );
   return std::make_unique< FanCPLD >( part );
}

}  // namespace SmbusService::Emulator
