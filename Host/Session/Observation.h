#pragma once

#include <array>
#include <optional>
#include <string>
#include <vector>

#include "Host/Session/KindOperations.h"

namespace Host {

enum class State { Ok, Alert, Critical, Absent, Fault, Failed, Pending };

const char* stateName( State state );

// The worst first.
inline constexpr std::array kStatesByUrgency = { State::Failed, State::Critical, State::Fault,
                                                 State::Alert,  State::Absent,   State::Pending,
                                                 State::Ok };

// The position among them.
size_t urgency( State state );

// How far off the speed that is wanted a fan's may be, as a share of it: tachometers count in
// steps, and rotors differ.
constexpr double kFanTolerance = 0.1;

// What is known of one object.
struct Observation {
   const ObjectSpec* object;
   State state;
   std::string reason = {};  // where the state does not tell all
   std::optional< double > reading = {};
   std::string text = {};  // that the object told
};

// `reason` tells why the status is not PL_STATUS_OK; `previous` is what was observed before, if
// anything was: limits with a hysteresis ask for it.
Observation observed( const ObjectSpec& object,
                      const Reading& reading,
                      std::string reason,
                      const Observation* previous = nullptr );
Observation failed( const ObjectSpec& object, std::string reason );

bool allOk( const std::vector< Observation >& observations );

}  // namespace Host
