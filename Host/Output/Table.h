#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Host {

enum class Colour { None, Green, Yellow, Red, Dim };

struct Cell {
   std::string text;
   Colour colour = Colour::None;
};

struct Column {
   std::string title;
   bool rightAligned = false;
};

struct TableStyle {
   bool colours = false;
   size_t width = 0;  // of the terminal; 0 where lines may have any length

   // As it suits what the standard output is connected to.
   static TableStyle ofOutput();
};

// For the terminal, where the style has colours.
std::string coloured( const std::string& text, Colour colour, const TableStyle& style );

// Aligned columns, two blanks apart; texts too long for the terminal wrap within the last one.
std::string formatTable( const std::vector< Column >& columns,
                         const std::vector< std::vector< Cell > >& rows,
                         const TableStyle& style );

}  // namespace Host
