#pragma once

#include <cstdint>

// What byte 0 of a message means.
namespace Drivers::Poe {

// Settings.
constexpr uint8_t kPortEnable = 0x00;
constexpr uint8_t kPortOn = 0x01;
constexpr uint8_t kPortMap = 0x02;
constexpr uint8_t kPortOff = 0x03;
constexpr uint8_t kDetectionOptions = 0x08;
constexpr uint8_t kSystemOptions = 0x0A;
constexpr uint8_t kPortOutput = 0x0E;
constexpr uint8_t kDetectionType = 0x10;
constexpr uint8_t kAutomaticPowerUp = 0x12;
constexpr uint8_t kLimitType = 0x15;
constexpr uint8_t kLimit = 0x16;
constexpr uint8_t kPowerManagement = 0x17;
constexpr uint8_t kPowerUpMode = 0x1C;
constexpr uint8_t kShutOffMask = 0x1E;
constexpr uint8_t kCrcAutocorrect = 0x4E;
constexpr uint8_t kStore = 0xE0;

// Queries.
constexpr uint8_t kSystem = 0x20;
constexpr uint8_t kPortStatus = 0x21;
constexpr uint8_t kCounters = 0x22;
constexpr uint8_t kPowerBudget = 0x23;
constexpr uint8_t kPortConfiguration = 0x25;
constexpr uint8_t kPortExtended = 0x26;
constexpr uint8_t kDevice = 0x2B;
constexpr uint8_t kCrcStatus = 0x2D;
constexpr uint8_t kMeasurements = 0x30;
constexpr uint8_t kChannelPower = 0x3C;
constexpr uint8_t kChannels = 0x3D;
constexpr uint8_t kCrcStatusOfFirmware = 0x4C;

// The boot loader's.
constexpr uint8_t kClearImage = 0xD0;
constexpr uint8_t kAnnounceImage = 0xD1;
constexpr uint8_t kBlock = 0xD2;
constexpr uint8_t kFinishImage = 0xD3;
constexpr uint8_t kStartImage = 0xD4;

// Answers that are no command's.
constexpr uint8_t kNoFirmware = 0xAF;
constexpr uint8_t kNotReady = 0xFF;

}  // namespace Drivers::Poe
