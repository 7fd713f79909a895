#include "Host/Session/Setting.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <optional>

#include "BoardFiles/Finding.h"

namespace Host {

namespace {

constexpr std::array kLedNames = {
   "Off", "Good", "Warning", "Bad", "Inactive", "Unknown", "Beacon",
};

bool equalIgnoringCase( std::string_view left, std::string_view right ) {
   return std::ranges::equal( left, right, []( unsigned char a, unsigned char b ) {
      return std::tolower( a ) == std::tolower( b );
   } );
}

std::optional< int > wholeNumber( const std::string& text ) {
   int number = 0;
   auto [ end, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
   bool whole = error == std::errc() && end == text.data() + text.size();
   return whole ? std::optional( number ) : std::nullopt;
}

int ledStatus( const std::string& text ) {
   auto name = std::ranges::find_if(
      kLedNames, [ & ]( const char* each ) { return equalIgnoringCase( each, text ); } );
   if ( name == kLedNames.end() ) {
      throw StartError( fmt::format( "an LED cannot be set to \"{}\"; it knows {}", text,
                                     fmt::join( kLedNames, ", " ) ) );
   }
   return static_cast< int >( name - kLedNames.begin() );
}

}  // namespace

int parseSetting( const ObjectSpec& object, const std::string& text ) {
   std::optional< int > number = wholeNumber( text );
   switch ( object.kind ) {
      case Kind::Led:
         return ledStatus( text );
      case Kind::Fan:
         if ( !number || *number < 0 ) {
            throw StartError(
               fmt::format( "a fan cannot be set to \"{}\"; give its rpm, 0 or more", text ) );
         }
         return *number;
      case Kind::Gpio:
         if ( number != 0 && number != 1 ) {
            throw StartError( fmt::format( "a GPIO cannot be set to \"{}\"; give 0 or 1", text ) );
         }
         return *number;
      default:
         throw StartError( fmt::format( "\"{}\" is a {}; only an led, fan or gpio can be set",
                                        object.name, info( object.kind ).name ) );
   }
}

pl_status setObject( Kind kind, void* object, int setting ) {
   switch ( kind ) {
      case Kind::Led: {
         auto led = static_cast< pl_led* >( object );
         return led->ops->set_light_setting( led, static_cast< pl_led_status >( setting ) );
      }
      case Kind::Fan: {
         auto fan = static_cast< pl_fan* >( object );
         return fan->ops->set_rpm( fan, setting );
      }
      case Kind::Gpio: {
         auto gpio = static_cast< pl_gpio* >( object );
         return setting ? gpio->ops->bit_set( gpio ) : gpio->ops->bit_clear( gpio );
      }
      default:
         return PL_STATUS_UNSUPPORTED;
   }
}

size_t findObject( const Board& board, const std::string& name ) {
   auto object = std::ranges::find( board.objects, name, &ObjectSpec::name );
   if ( object == board.objects.end() ) {
      std::vector< std::string > names;
      std::ranges::transform( board.objects, std::back_inserter( names ), &ObjectSpec::name );
      throw StartError(
         fmt::format( "the board has no object \"{}\"; it has {}", name,
                      names.empty() ? "none" : fmt::format( "{}", fmt::join( names, ", " ) ) ) );
   }
   return static_cast< size_t >( object - board.objects.begin() );
}

}  // namespace Host
