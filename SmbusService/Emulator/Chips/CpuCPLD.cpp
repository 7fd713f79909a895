#include "SmbusService/Emulator/Chips/FanCPLD.h"

// CPU board CPLD: modules of one fan each, numbered from 1.

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kTachometers = 0x00;
constexpr uint8_t kDuties = 0x10;
constexpr uint8_t kTypes = 0x18;  // bit 0: airflow front to back; bits 1 and 2: generation
constexpr uint8_t kHealth = 0x20;
constexpr uint8_t kPresence = 0x21;
constexpr uint8_t kGreen = 0x24;
constexpr uint8_t kRed = 0x25;
constexpr uint8_t kRevision = 0x40;

constexpr uint8_t kFrontToBack = 0x01;

// A tachometer counts the clock through one period of the fan's pulses.
constexpr int kClock = 1'000'000;  // Hz
constexpr int kPulses = 2;         // of a revolution
constexpr int kCountTimesRpm = 60 * kClock / kPulses;
static_assert( kCountTimesRpm == 30'000'000 );

constexpr Register kConstants[] = {
   { .number = kRevision, .bytes = 1, .reset = 0x12 },
};

constexpr RotorLayout kRotors[] = {
   { .stopped = "stopped",
     .maxRpm = "maxRpm",
     .rpm = "rpm",
     .duty = "duty",
     .tachometers = kTachometers,
     .duties = kDuties,
     .highestRpm = 10'000 },
};

constexpr FanLayout kLayout = {
   .constants = kConstants,
   .rotors = kRotors,
   .firstModule = 1,
   .countTimesRpm = kCountTimesRpm,
   .types = kTypes,
   .type = kFrontToBack,
   .presence = kPresence,
   .presentLevel = false,
   .health = kHealth,
   .green = kGreen,
   .red = kRed,
};

}  // namespace

std::unique_ptr< Chip > newCpuCPLD() {
   static const FanPart part( kLayout );
   return std::make_unique< FanCPLD >( part );
}

}  // namespace SmbusService::Emulator
