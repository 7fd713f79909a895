#include "Host/Watch/Screen.h"

#define NCURSES_NOMACROS
#define NCURSES_WIDECHAR 1
#include <curses.h>
#include <langinfo.h>
#include <signal.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <algorithm>
#include <clocale>
#include <cstdlib>
#include <cstring>
#include <map>
#include <stdexcept>
#include <string>

#include "Utils/Text.h"

namespace Host {

namespace {

constexpr int kEscapeMs = 25;  // a key's further bytes come sooner

constexpr int kControl = 0x1F;

// The texts are UTF-8, whatever the user's own are.
void chooseCharacters() {
   setlocale( LC_CTYPE, "" );
   if ( strcmp( nl_langinfo( CODESET ), "UTF-8" ) != 0 ) {
      setlocale( LC_CTYPE, "C.UTF-8" );
   }
}

bool chooseColours() {
   const char* unwanted = getenv( "NO_COLOR" );
   if ( ( unwanted && *unwanted ) || !has_colors() || start_color() != OK ) {
      return false;
   }
   use_default_colors();
   init_pair( static_cast< short >( Colour::Green ), COLOR_GREEN, -1 );
   init_pair( static_cast< short >( Colour::Yellow ), COLOR_YELLOW, -1 );
   init_pair( static_cast< short >( Colour::Red ), COLOR_RED, -1 );
   return true;
}

attr_t attributesOf( const Span& span ) {
   attr_t weight = span.weight == Weight::Bold      ? A_BOLD
                   : span.weight == Weight::Reverse ? A_REVERSE
                                                    : A_NORMAL;
   return span.colour == Colour::Dim ? weight | A_DIM : weight;
}

// Interrupts and stops come as signals; a terminal that a key holds up would hold up the watch.
void setModes() {
   cbreak();
   noecho();
   nonl();
   termios modes{};
   tcgetattr( STDIN_FILENO, &modes );
   modes.c_iflag &= ~static_cast< tcflag_t >( IXON );
   tcsetattr( STDIN_FILENO, TCSANOW, &modes );
   def_prog_mode();
}

// What a terminal needs to look as before.
const char* wayBack() {
   static std::string sequence;
   sequence.clear();
   for ( const char* name : { "sgr0", "rmkx", "cnorm", "rmcup" } ) {
      sequence += Terminal::capability( name );
   }
   return sequence.c_str();
}

std::string utf8Of( wint_t character ) {
   char bytes[ MB_LEN_MAX ];
   mbstate_t state{};
   size_t size = wcrtomb( bytes, static_cast< wchar_t >( character ), &state );
   return size > sizeof bytes ? "" : std::string( bytes, size );
}

Key functionKey( wint_t code ) {
   static const std::map< wint_t, Key::Name > kNames = {
      { KEY_UP, Key::Up },          { KEY_DOWN, Key::Down },  { KEY_PPAGE, Key::PageUp },
      { KEY_NPAGE, Key::PageDown }, { KEY_HOME, Key::Home },  { KEY_END, Key::End },
      { KEY_FIND, Key::Home },      { KEY_SELECT, Key::End }, { KEY_BACKSPACE, Key::Erase },
      { KEY_ENTER, Key::Enter },
   };
   auto name = kNames.find( code );
   return { name == kNames.end() ? Key::Other : name->second };
}

Key characterKey( wint_t character ) {
   switch ( character ) {
      case '\x1b':
         return { Key::Escape };
      case '\b':
      case '\x7f':
         return { Key::Erase };
      case '\r':
      case '\n':
         return { Key::Enter };
      default:
         return character < ' ' ? Key{ Key::Other } : Key{ Key::Character, utf8Of( character ) };
   }
}

}  // namespace

Screen::Screen() {
   chooseCharacters();
   screen_ = newterm( nullptr, stdout, stdin );
   if ( !screen_ ) {
      throw std::runtime_error( "the terminal cannot show a whole screen" );
   }
   setModes();
   set_escdelay( kEscapeMs );
   keypad( stdscr, true );
   nodelay( stdscr, true );
   leaveok( stdscr, true );
   curs_set( 0 );
   hasColours_ = chooseColours();
   Terminal::rescueIs( wayBack() );
}

// Also where somebody else has the terminal now.
Screen::~Screen() {
   auto former = signal( SIGTTOU, SIG_IGN );
   leave();
   signal( SIGTTOU, former );
   delscreen( screen_ );
}

FrameSize Screen::size() const {
   return { static_cast< size_t >( getmaxy( stdscr ) ),
            static_cast< size_t >( getmaxx( stdscr ) ) };
}

void Screen::draw( const Frame& frame ) {
   if ( isLeft() ) {
      return;
   }
   werase( stdscr );
   for ( size_t i = 0; i < std::min( frame.size(), size().lines ); ++i ) {
      drawLine( static_cast< int >( i ), frame[ i ] );
   }
   wrefresh( stdscr );
}

void Screen::drawLine( int number, const Line& line ) const {
   wmove( stdscr, number, 0 );
   size_t left = size().columns;
   for ( const Span& span : line ) {
      size_t width = std::min( left, Utils::columns( span.text ) );
      auto colour = static_cast< short >(
         hasColours_ && span.colour != Colour::Dim ? span.colour : Colour::None );
      wattr_set( stdscr, attributesOf( span ), colour, nullptr );
      waddstr( stdscr, fitted( span.text, width ).c_str() );
      left -= width;
   }
   wattr_set( stdscr, A_NORMAL, 0, nullptr );
}

std::optional< Key > Screen::key() {
   wint_t code = 0;
   int kind = wget_wch( stdscr, &code );
   if ( kind == ERR ) {
      return std::nullopt;
   }
   if ( kind == KEY_CODE_YES ) {
      return code == KEY_RESIZE ? key() : functionKey( code );
   }
   if ( code == ( 'L' & kControl ) ) {
      show();
   }
   return characterKey( code );
}

void Screen::leave() {
   if ( !isLeft() ) {
      endwin();
      terminal_.restoreModes();
   }
}

bool Screen::isLeft() const {
   return isendwin();
}

void Screen::show() {
   winsize size{};
   if ( ioctl( STDOUT_FILENO, TIOCGWINSZ, &size ) == 0 && size.ws_row > 0 && size.ws_col > 0 ) {
      resizeterm( size.ws_row, size.ws_col );
   }
   clearok( stdscr, true );
   wrefresh( stdscr );
}

}  // namespace Host
