#pragma once

#include <string>
#include <vector>

#include "BoardFiles/Finding.h"
#include "SmbusService/Log.h"

namespace SmbusService {

// What the program is asked to serve; empty texts ask for nothing.
struct Options {
   std::string board;  // a folder, one of these two
   std::string emulated;
   std::string socket;
   std::string control;
   std::string wireLog;
   std::string replay;
   std::string policy;
   std::string group;  // of the socket

   const std::string& directory() const { return board.empty() ? emulated : board; }
};

// Hangups wait from now on: one that nobody handles would end the process, at its start and while
// it writes its last lines. To be called before there is a second thread.
void holdHangups();

// Serves the board until a signal ends the process; SIGHUP has it read anew what may change. Throws
// BoardFiles::BoardError, std::runtime_error and std::system_error when it cannot be served.
void serve( const Options& options, Log& log );

// On stderr at once. Before anybody is served, who could have to wait for the lines.
void complain( const std::vector< BoardFiles::Finding >& findings );

}  // namespace SmbusService
