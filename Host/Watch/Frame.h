#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "Host/Output/Table.h"

// What the whole screen shows, for whatever draws it.
namespace Host {

enum class Weight { Plain, Bold, Reverse };

// Printable text.
struct Span {
   std::string text;
   Colour colour = Colour::None;
   Weight weight = Weight::Plain;
};

using Line = std::vector< Span >;

// The lines from the top; below them nothing.
using Frame = std::vector< Line >;

struct FrameSize {
   size_t lines;
   size_t columns;
};

enum class Align { Left, Right };

// Any text, made printable, in exactly so many columns of the terminal; where it is too long, an
// ellipsis stands for the rest.
std::string fitted( std::string_view text, size_t columns, Align align = Align::Left );

}  // namespace Host
