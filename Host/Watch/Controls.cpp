#include "Host/Watch/Controls.h"

#include "Utils/Text.h"

namespace Host {

namespace {

constexpr size_t kLongestFilter = 200;  // bytes

std::string withoutLastCharacter( const std::string& text ) {
   size_t size = text.size();
   while ( size > 0 && ( static_cast< unsigned char >( text[ size - 1 ] ) & 0xC0 ) == 0x80 ) {
      --size;
   }
   return text.substr( 0, size - std::min< size_t >( size, 1 ) );
}

// The letters are those of a common pager. Everything else is as it was.
Key::Name movement( const Key& key ) {
   if ( key.name != Key::Character ) {
      return key.name;
   }
   return key.text == "j" ? Key::Down : key.text == "k" ? Key::Up : Key::Character;
}

void scroll( Key::Name name, WatchModel& model ) {
   auto page = static_cast< ptrdiff_t >( model.height() );
   auto all = static_cast< ptrdiff_t >( model.size() );
   switch ( name ) {
      case Key::Up:
         return model.scroll( -1 );
      case Key::Down:
         return model.scroll( 1 );
      case Key::PageUp:
         return model.scroll( -page );
      case Key::PageDown:
         return model.scroll( page );
      case Key::Home:
         return model.scroll( -all );
      case Key::End:
         return model.scroll( all );
      default:
         return;
   }
}

}  // namespace

const std::vector< std::string >& Controls::help() {
   static const std::vector< std::string > kHelp = {
      "q, Ctrl-C    quit",
      "/            show names with a text, or that match a glob; Enter keeps it",
      "Esc          show all names again",
      "s            sort by state, name, kind, reading",
      "Up, Down     scroll, as k and j do",
      "PgUp, PgDn   scroll by a screen",
      "Home, End    the first and the last rows",
      "Ctrl-L       draw the screen anew",
      "?, h         these keys; any key goes back",
   };
   return kHelp;
}

bool Controls::press( const Key& key, WatchModel& model ) {
   if ( mode_ == Mode::Help ) {
      mode_ = Mode::Rows;
      return true;
   }
   if ( key.name == Key::Escape ) {
      model.filterIs( "" );
      mode_ = Mode::Rows;
      return true;
   }
   if ( mode_ == Mode::Rows ) {
      return pressInRows( key, model );
   }
   if ( key.name == Key::Character && model.filter().size() < kLongestFilter ) {
      model.filterIs( model.filter() + key.text );
   } else if ( key.name == Key::Erase ) {
      model.filterIs( withoutLastCharacter( model.filter() ) );
   } else if ( key.name == Key::Enter ) {
      mode_ = Mode::Rows;
   }
   scroll( key.name, model );
   return true;
}

bool Controls::pressInRows( const Key& key, WatchModel& model ) {
   if ( key.text == "q" ) {
      return false;
   }
   if ( key.text == "s" ) {
      model.nextOrder();
   } else if ( key.text == "/" ) {
      mode_ = Mode::Filter;
   } else if ( key.text == "?" || key.text == "h" ) {
      mode_ = Mode::Help;
   }
   scroll( movement( key ), model );
   return true;
}

}  // namespace Host
