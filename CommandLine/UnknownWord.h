#pragma once

#include <string>

namespace CLI {
class App;
}

namespace CommandLine {

// What is wrong with the first word of the command line that is nobody's, with the command or
// option that was likely meant; empty where each is known. After parsing.
std::string unknownWord( const CLI::App& app );

}  // namespace CommandLine
