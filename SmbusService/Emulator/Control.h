#pragma once

#include <asio/io_context.hpp>
#include <memory>
#include <string>
#include <string_view>
#include <thread>

#include "SmbusService/Emulator/EmulatedBoard.h"
#include "SmbusService/Listener.h"

namespace SmbusService::Emulator {

// Answers one request about a board, both JSON objects without line ends (control.schema.json):
//
//   { "op": "list" }                          all chips with their quantities and pending faults
//   { "op": "set", "did": 16, "quantity": "temperature", "value": 85.5 }
//   { "op": "get", "did": 16, "quantity": "temperature" }
//   { "op": "unplug", "did": 16 }
//   { "op": "plug", "did": 16 }               powers the chip on: its registers are reset
//   { "op": "fault", "did": 16, "kind": "nak", "count": 2, "skip": 1 }
//
// The answer has "ok": true, and "value" or "chips" where asked for; or "ok": false and "error".
std::string answerControl( EmulatedBoard&, std::string_view line );

// The control socket: a request a line, an answer a line. It lives on a thread of its own.
class Control {
 public:
   // Throws std::runtime_error with a text for people.
   Control( EmulatedBoard&, const std::string& path );
   ~Control();

 private:
   class Session;

   EmulatedBoard& board_;
   asio::io_context context_{ 1 };
   Listener listener_;
   std::thread thread_;
};

}  // namespace SmbusService::Emulator
