#pragma once

#include <functional>
#include <map>
#include <string>
#include <vector>

namespace CLI {
class App;
}

// What a shell asks a program of ours while its user types, so that the shells' scripts know
// nothing of commands and options:
//
//    PROGRAM __complete WORD... LAST
//
// The words are those behind the program's name, without their quotes; the last one, which may be
// empty, is to be completed. The answer has a line for each candidate, the whole word, a tab and
// what it means; a word that ends with "=" goes on. Instead of candidates there may be one of the
// lines ":files" and ":directories", which are for the shell to find.
namespace CommandLine {

struct Candidate {
   std::string word;
   std::string meaning = {};
};

// The words before the one that is completed.
struct Given {
   std::map< std::string, std::string > options;  // the last value of each, "--board"
   std::vector< std::string > arguments;          // of the command
   std::string last;                              // what there is of the word, or of its value
};

// What can stand for an option or an argument, by its type name. There are sources of our own for
// DIR, FILE and PATH, and for alternatives: `a|b|c`, or a list that a validator describes.
using Source = std::function< std::vector< Candidate >( const Given& ) >;
using Sources = std::map< std::string, Source >;

// Whether a shell asks; it then gets its answer soon, or none.
bool isAsked( int argc, const char* const* argv );

// The answer. A source that throws has no candidates.
std::string answer( const CLI::App& app,
                    const Sources& sources,
                    int argc,
                    const char* const* argv );

}  // namespace CommandLine
