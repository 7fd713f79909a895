#pragma once

#include <string>
#include <string_view>

namespace SmbusService {

class WireLog;
namespace Emulator {
class EmulatedBoard;
}

struct Controlled {
   const WireLog& log;
   Emulator::EmulatedBoard* board = nullptr;  // null where the board is a real one
};

// Answers one request to the control socket, both JSON objects without line ends
// (control.schema.json):
//
//   { "op": "log", "after": 1000 }            transfers with greater numbers, the first of them,
//   and
//                                             the number of the last there is
//   { "op": "list" }                          all chips with their quantities and pending faults
//   { "op": "set", "did": 16, "quantity": "temperature", "value": 85.5 }
//   { "op": "get", "did": 16, "quantity": "temperature" }
//   { "op": "unplug", "did": 16 }
//   { "op": "plug", "did": 16 }               powers the chip on: its registers are reset
//   { "op": "fault", "did": 16, "kind": "nak", "count": 2, "skip": 1 }
//   { "op": "clear", "did": 16 }              forgets the chip's pending faults; of all without did
//
// All but the first need an emulated board. The answer (control-answer.schema.json) has "ok": true,
// and "value", "chips" or "records" where asked for; or "ok": false and "error".
std::string answerControl( const Controlled&, std::string_view line );

// The answer to a request that is refused.
std::string refuseControl( std::string_view why );

}  // namespace SmbusService
