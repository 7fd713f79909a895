#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "BoardFiles/Board.h"
#include "Host/Output/WireTrace.h"
#include "Host/Session/DriverLibrary.h"
#include "Host/Session/Session.h"

namespace CLI {
class App;
class Option;
}  // namespace CLI

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
   bool traceWire = false;

   // Starts a service for the emulated board in a folder and returns its socket; throws
   // std::runtime_error. The service lives as long as the program.
   std::function< std::string( const std::string& ) > startEmulator;

   // Makes the emulated board of the documents and throws it away; throws BoardError.
   std::function< void( const Board& ) > tryEmulator;

   std::function< int() > command;  // returns the exit status

   // Runs the command and reports what it throws; returns the exit status.
   int run() const;
};

// The heading of commands in help texts.
constexpr char kCommandGroup[] = "Commands";

struct Synopsis {
   const char* name;
   const char* help;
};

// The exit status at the program's end, which is not well when output was lost.
int finish( int status );

// A line on stderr for each of the first findings, and how many more there are.
void complain( const std::vector< Finding >& findings );

// The board's object with this name, as its position. Throws UseError with the name that was likely
// meant.
size_t findObject( const Board& board, const std::string& name );

// The socket of the service that the program is to use; the emulated board is started, and a
// simulation is told of. Throws UseError.
std::string findService( const Program& program );

// Null where none is wanted.
std::unique_ptr< WireTrace > makeWireTrace( const Program& program, const Board& board );

// Everything a command needs to work with a board's objects.
struct OpenBoard {
   Board board;
   DriverLibrary library;
   std::unique_ptr< WireTrace > wireTrace;  // null where none is wanted
   Session session;

   // Socket and traces are those of the program. Throws UseError and BoardError.
   OpenBoard( const Program& program, Board onBoard, SessionOptions options = {} );

   OpenBoard( const OpenBoard& ) = delete;
   OpenBoard& operator=( const OpenBoard& ) = delete;
};

// The board's documents, as the program needs them: the whole board, or of its objects the one with
// this name, or those that the patterns mean, all without any. A pattern is a name or, where none
// is equal, has the wildcards *, ? and [...]. Throws UseError for one that means no object.
Board loadBoard( const Program& program );
Board loadOneObject( const Program& program, const std::string& name );
Board loadObjects( const Program& program, const std::vector< std::string >& patterns );

// The command's objects, as patterns.
CLI::Option* addPatterns( CLI::App& command, std::vector< std::string >& patterns );

// Adds a command that may be followed by the program's own options.
CLI::App* addCommand( CLI::App& app,
                      Program& program,
                      const Synopsis& synopsis,
                      std::function< int() > run );

// Each adds a command with its own options, in a file of its own.
void addStatusCommand( CLI::App& app, Program& program );
void addCheckCommand( CLI::App& app, Program& program );
void addEmuCommand( CLI::App& app, Program& program );
void addGetAndSetCommands( CLI::App& app, Program& program );
void addLogCommand( CLI::App& app, Program& program );
void addPoeCommand( CLI::App& app, Program& program );
void addScanCommand( CLI::App& app, Program& program );
void addShowCommand( CLI::App& app, Program& program );
void addSmbusCommand( CLI::App& app, Program& program );
void addWatchCommand( CLI::App& app, Program& program );

}  // namespace Host
