#include "Host/Session/SettingOperations.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <charconv>
#include <climits>
#include <cmath>

#include "Host/Session/UseError.h"
#include "Utils/LedStatus.h"

namespace Host {

namespace {

using Utils::kLedStatusNames;

// The number that the whole text is, within the limits.
template < typename Number >
std::optional< Number > parseNumber( std::string_view text, Number lowest, Number highest ) {
   Number number{};
   auto [ end, error ] = std::from_chars( text.data(), text.data() + text.size(), number );
   bool whole = error == std::errc() && end == text.data() + text.size();
   return whole && number >= lowest && number <= highest ? std::optional( number ) : std::nullopt;
}

std::optional< int > parsePercentage( const ObjectSpec& fan, std::string_view text ) {
   auto percentage = parseNumber( text, 0.0, 100.0 );
   if ( !percentage ) {
      return std::nullopt;
   }
   if ( !fan.range.min || !fan.range.max ) {
      throw UseError( fmt::format(
         "\"{}\" has no range: give \"min\" and \"max\" in objects.json, or an rpm", fan.name ) );
   }
   return static_cast< int >(
      std::lround( std::lerp( *fan.range.min, *fan.range.max, *percentage / 100 ) ) );
}

std::optional< int > parseSpeed( const ObjectSpec& fan, const std::string& text ) {
   if ( text.ends_with( '%' ) ) {
      return parsePercentage( fan, std::string_view( text ).substr( 0, text.size() - 1 ) );
   }
   auto rpm = parseNumber( text, 0, INT_MAX );
   if ( rpm && fan.range.max && *rpm > *fan.range.max ) {
      throw UseError( fmt::format( "\"{}\" turns at {} rpm at most", fan.name, *fan.range.max ) );
   }
   return rpm;
}

std::optional< int > parseBit( const ObjectSpec&, const std::string& text ) {
   return parseNumber( text, 0, 1 );
}

std::optional< int > parseLedStatus( const ObjectSpec&, const std::string& text ) {
   auto equalIgnoringCase = [ & ]( std::string_view name ) {
      return std::ranges::equal( name, text, []( unsigned char a, unsigned char b ) {
         return std::tolower( a ) == std::tolower( b );
      } );
   };
   auto name = std::ranges::find_if( kLedStatusNames, equalIgnoringCase );
   bool isKnown = name != std::end( kLedStatusNames );
   return isKnown ? std::optional( static_cast< int >( name - kLedStatusNames ) ) : std::nullopt;
}

pl_status applyLedStatus( void* object, int status ) {
   auto led = static_cast< pl_led* >( object );
   return led->ops->set_light_setting( led, static_cast< pl_led_status >( status ) );
}

const char* ledStatusName( int status ) {
   return kLedStatusNames[ status ];
}

pl_status applyRpm( void* object, int rpm ) {
   auto fan = static_cast< pl_fan* >( object );
   return fan->ops->set_rpm( fan, rpm );
}

pl_status applyBit( void* object, int bit ) {
   auto gpio = static_cast< pl_gpio* >( object );
   return bit ? gpio->ops->bit_set( gpio ) : gpio->ops->bit_clear( gpio );
}

const SettingOperations kLed = {
   .subject = "an LED",
   .choice = fmt::format( "it knows {}", fmt::join( kLedStatusNames, ", " ) ),
   .parse = parseLedStatus,
   .apply = applyLedStatus,
   .name = ledStatusName };

const SettingOperations kFan = {
   .subject = "a fan",
   .choice = "give its rpm, 0 or more, or a percentage of its range, 0% to 100%",
   .parse = parseSpeed,
   .apply = applyRpm };

const SettingOperations kGpio = {
   .subject = "a GPIO", .choice = "give 0 or 1", .parse = parseBit, .apply = applyBit };

}  // namespace

const SettingOperations* settingOperations( Kind kind ) {
   switch ( kind ) {
      case Kind::Led:
         return &kLed;
      case Kind::Fan:
         return &kFan;
      case Kind::Gpio:
         return &kGpio;
      default:
         return nullptr;
   }
}

int parseSetting( const ObjectSpec& object, const std::string& text ) {
   const SettingOperations* operations = settingOperations( object.kind );
   if ( !operations ) {
      throw UseError( fmt::format( "\"{}\" is a {}; only an led, fan or gpio can be set",
                                   object.name, kindName( object.kind ) ) );
   }
   std::optional< int > value = operations->parse( object, text );
   if ( !value ) {
      throw UseError( fmt::format( "{} cannot be set to \"{}\"; {}", operations->subject, text,
                                   operations->choice ) );
   }
   return *value;
}

}  // namespace Host
