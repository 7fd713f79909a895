#pragma once

#include <memory>

namespace CLI {
class FormatterBase;
}

namespace CommandLine {

// Help texts for 80 columns. What stands behind an option is its type name; defaults and the
// options that go with it or do not follow its description.
//
// To be given to the outermost command before it gets others, which take it over.
std::shared_ptr< CLI::FormatterBase > helpFormatter();

}  // namespace CommandLine
