#include "Drivers/Corvid/FanFdl.h"

#include <string_view>

#include "Drivers/Helpers.h"

namespace Drivers {

namespace {

constexpr std::string_view kKeyPrefix = "fanFdlMapKey_";
constexpr std::string_view kValuePrefix = "fanFdlMapValue_";

bool mayStand( unsigned char character ) {
   constexpr std::string_view kSpecial = "'\"\\{}\x7f";
   return character >= ' ' && kSpecial.find( static_cast< char >( character ) ) == kSpecial.npos;
}

// U+0080 to U+009F in UTF-8.
bool isControl( char first, char second ) {
   return first == '\xC2' && static_cast< uint8_t >( second ) < 0xA0;
}

}  // namespace

std::map< int, std::string > fanFdlTemplates( const Arguments& args ) {
   std::map< int, std::string > templates;
   for ( const auto& [ key, id ] : args ) {
      if ( key.starts_with( kKeyPrefix ) ) {
         std::string value = std::string( kValuePrefix ) + key.substr( kKeyPrefix.size() );
         templates[ Utils::stoi( id ) ] =
            LUMEN_ARGUMENT( args, value.c_str(), "fdlIter != args.end()" );
      }
   }
   return templates;
}

std::string fillFdl( const std::string& fdl, const std::map< std::string, std::string >& values ) {
   FormatFdl text( fdl );
   text.start();
   for ( const auto& [ key, value ] : values ) {
      if ( fdl.find( "{" + key + "}" ) != fdl.npos ) {
         text.set( key, value );
      }
   }
   return text.str();
}

std::string fdlValue( const std::string& text ) {
   std::string value;
   for ( size_t i = 0; i < text.size(); ++i ) {
      if ( isControl( text[ i ], text[ i + 1 ] ) ) {
         ++i;
      } else if ( mayStand( text[ i ] ) ) {
         value += text[ i ];
      }
   }
   return value.empty() ? kUnknownFdlValue : value;
}

}  // namespace Drivers
