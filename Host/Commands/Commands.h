#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>

#include "BoardFiles/Board.h"
#include "Host/Session/DriverLibrary.h"
#include "Host/Session/Session.h"

namespace CLI {
class App;
}

namespace Host {

using namespace BoardFiles;

// Exit statuses of the program.
constexpr int kAllWell = 0;
constexpr int kNotWell = 1;
constexpr int kWrongUse = 2;  // or a board that cannot be used

// The program: its options, and the command that was chosen.
struct Program {
   std::string board;
   std::string socket;
   std::string library;
   bool emulate = false;
   bool json = false;
   int trace = -1;

   // Starts a service for the emulated board in a folder and returns its socket; throws
   // std::runtime_error. The service lives as long as the program.
   std::function< std::string( const std::string& ) > startEmulator;

   // Makes the emulated board in a folder and throws it away; throws std::runtime_error.
   std::function< void( const std::string& ) > tryEmulator;

   std::function< int() > command;  // returns the exit status

   // Runs the command, reporting what it throws, and whether its output was lost.
   int run() const;

 private:
   int runCommand() const;
};

// A line on stderr, whatever the text was made of.
void complain( std::string_view text );

// A line for each of the first findings, and how many more there are.
void complain( const std::vector< Finding >& findings );

// Everything a command needs to work with a board's objects.
struct OpenBoard {
   Board board;
   Library library;
   Session session;

   // The whole board, or the one object that is named. Throws StartError.
   explicit OpenBoard( const Program& program,
                       const std::optional< std::string >& onlyObject = std::nullopt );
};

// The socket of the service that the program is to use; throws StartError where none answers.
std::string findService( const Program& program );

// Each adds a command with its own options, in a file of its own.
void addStatusCommand( CLI::App& app, Program& program );
void addCheckCommand( CLI::App& app, Program& program );
void addGetAndSetCommands( CLI::App& app, Program& program );
void addSmbusCommand( CLI::App& app, Program& program );
void addWatchCommand( CLI::App& app, Program& program );

}  // namespace Host
