#include "Host/Output/Table.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>

#include "Utils/Text.h"

namespace Host {

namespace {

constexpr size_t kGap = 2;
constexpr size_t kLeastWrapWidth = 20;  // below it, long lines read better than a narrow column

constexpr std::array kEscapes = { "", "\x1b[32m", "\x1b[33m", "\x1b[31m", "\x1b[2m" };  // by Colour

// Breaks at blanks; a word longer than the width has a line of its own.
std::vector< std::string > wrap( const std::string& text, size_t width ) {
   std::vector< std::string > lines( 1 );
   size_t position = 0;
   while ( position < text.size() ) {
      size_t end = std::min( text.find( ' ', position ), text.size() );
      std::string word = text.substr( position, end - position );
      std::string& line = lines.back();
      if ( !line.empty() && Utils::columns( line ) + 1 + Utils::columns( word ) > width ) {
         lines.push_back( word );
      } else {
         line += line.empty() ? word : " " + word;
      }
      position = end + 1;
   }
   return lines;
}

class Formatter {
 public:
   Formatter( const std::vector< Column >& columns, const TableStyle& style )
       : columns_( columns ), style_( style ) {}

   std::string format( std::vector< std::vector< Cell > > rows );

 private:
   void measure( const std::vector< std::vector< Cell > >& rows );
   std::string padded( const Cell& cell, size_t column ) const;
   std::string formatRow( const std::vector< Cell >& row ) const;

   const std::vector< Column >& columns_;
   const TableStyle& style_;
   std::vector< size_t > widths_;  // of all columns but the last
   size_t indent_ = 0;             // where the last column begins
};

std::string Formatter::format( std::vector< std::vector< Cell > > rows ) {
   std::vector< Cell > titles;
   for ( const Column& column : columns_ ) {
      titles.push_back( { column.title, Colour::Dim } );
   }
   rows.insert( rows.begin(), std::move( titles ) );
   for ( auto& row : rows ) {
      for ( Cell& cell : row ) {
         cell.text = Utils::printable( cell.text );
      }
   }
   measure( rows );
   std::string text;
   for ( const auto& row : rows ) {
      text += formatRow( row );
   }
   return text;
}

void Formatter::measure( const std::vector< std::vector< Cell > >& rows ) {
   widths_.assign( columns_.size() - 1, 0 );
   for ( const auto& row : rows ) {
      for ( size_t i = 0; i < widths_.size(); ++i ) {
         widths_[ i ] = std::max( widths_[ i ], Utils::columns( row[ i ].text ) );
      }
   }
   for ( size_t width : widths_ ) {
      indent_ += width + kGap;
   }
}

std::string Formatter::padded( const Cell& cell, size_t column ) const {
   std::string blanks( widths_[ column ] - Utils::columns( cell.text ), ' ' );
   std::string text = coloured( cell.text, cell.colour, style_ );
   return columns_[ column ].rightAligned ? blanks + text : text + blanks;
}

std::string Formatter::formatRow( const std::vector< Cell >& row ) const {
   std::string text;
   for ( size_t i = 0; i < widths_.size(); ++i ) {
      text += padded( row[ i ], i ) + std::string( kGap, ' ' );
   }
   const Cell& last = row.back();
   bool wraps = style_.width >= indent_ + kLeastWrapWidth;
   auto lines = wraps ? wrap( last.text, style_.width - indent_ ) : std::vector{ last.text };
   for ( size_t i = 0; i < lines.size(); ++i ) {
      text += i == 0 ? "" : std::string( indent_, ' ' );
      text += coloured( lines[ i ], last.colour, style_ ) + "\n";
   }
   return text;
}

}  // namespace

std::string coloured( const std::string& text, Colour colour, const TableStyle& style ) {
   if ( !style.colours || colour == Colour::None ) {
      return text;
   }
   return kEscapes[ static_cast< size_t >( colour ) ] + text + "\x1b[0m";
}

TableStyle TableStyle::ofOutput() {
   TableStyle style;
   if ( !isatty( STDOUT_FILENO ) ) {
      return style;
   }
   const char* noColour = getenv( "NO_COLOR" );
   const char* terminal = getenv( "TERM" );
   bool isDumb = !terminal || !*terminal || strcmp( terminal, "dumb" ) == 0;
   style.colours = !isDumb && ( !noColour || !*noColour );
   winsize size{};
   if ( ioctl( STDOUT_FILENO, TIOCGWINSZ, &size ) == 0 ) {
      style.width = size.ws_col;
   }
   return style;
}

std::string formatTable( const std::vector< Column >& columns,
                         const std::vector< std::vector< Cell > >& rows,
                         const TableStyle& style ) {
   return Formatter( columns, style ).format( rows );
}

}  // namespace Host
