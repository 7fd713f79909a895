#pragma once

#include "CommandLine/Completion.h"

namespace Host {

// The types of options and arguments that are names on a board, by which shells complete them.
constexpr char kObjectType[] = "OBJECT";
constexpr char kSettableType[] = "SETTABLE";
constexpr char kSettingType[] = "SETTING";  // of the settable object before it
constexpr char kNameAndSettingType[] = "NAME=VALUE";
constexpr char kPoePortType[] = "POE_PORT";
constexpr char kChipType[] = "CHIP";  // an object, or a device's label
constexpr char kBusType[] = "BUS";

// What there is of each, from the documents of the board that --board names. No chip and no service
// is asked.
CommandLine::Sources namesOnBoard();

}  // namespace Host
