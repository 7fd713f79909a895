#include "Host/Session/SettingOperations.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <climits>
#include <cmath>

#include "Host/Session/ParseNumber.h"
#include "Host/Session/PoeSettings.h"
#include "Host/Session/UseError.h"
#include "Utils/LedStatus.h"

namespace Host {

namespace {

using Utils::kLedStatusNames;

std::optional< Setting > settingOf( const std::optional< int >& number ) {
   return number ? std::optional( Setting{ static_cast< double >( *number ) } ) : std::nullopt;
}

std::optional< Setting > parsePercentage( const ObjectSpec& fan, std::string_view text ) {
   auto percentage = parseNumber( text, 0.0, 100.0 );
   if ( !percentage ) {
      return std::nullopt;
   }
   if ( !fan.range.min || !fan.range.max ) {
      throw UseError( fmt::format(
         "\"{}\" has no range: give \"min\" and \"max\" in objects.json, or an rpm", fan.name ) );
   }
   return Setting{ std::round( std::lerp( *fan.range.min, *fan.range.max, *percentage / 100 ) ) };
}

std::optional< Setting > parseSpeed( const ObjectSpec& fan, const std::string& text ) {
   if ( text.ends_with( '%' ) ) {
      return parsePercentage( fan, std::string_view( text ).substr( 0, text.size() - 1 ) );
   }
   auto rpm = parseNumber( text, 0, INT_MAX );
   if ( rpm && fan.range.max && *rpm > *fan.range.max ) {
      throw UseError( fmt::format( "\"{}\" turns at {} rpm at most", fan.name, *fan.range.max ) );
   }
   return settingOf( rpm );
}

std::optional< Setting > parseBit( const ObjectSpec&, const std::string& text ) {
   return settingOf( parseNumber( text, 0, 1 ) );
}

std::optional< Setting > parseLedStatus( const ObjectSpec&, const std::string& text ) {
   auto equalIgnoringCase = [ & ]( std::string_view name ) {
      return std::ranges::equal( name, text, []( unsigned char a, unsigned char b ) {
         return std::tolower( a ) == std::tolower( b );
      } );
   };
   auto name = std::ranges::find_if( kLedStatusNames, equalIgnoringCase );
   bool isKnown = name != std::end( kLedStatusNames );
   return isKnown ? std::optional( Setting{ static_cast< double >( name - kLedStatusNames ) } )
                  : std::nullopt;
}

pl_status applyLedStatus( void* object, const Setting& status ) {
   auto led = static_cast< pl_led* >( object );
   return led->ops->set_light_setting( led, static_cast< pl_led_status >( status.number ) );
}

const char* ledStatusName( const Setting& status ) {
   return kLedStatusNames[ static_cast< size_t >( status.number ) ];
}

pl_status applyRpm( void* object, const Setting& rpm ) {
   auto fan = static_cast< pl_fan* >( object );
   return fan->ops->set_rpm( fan, static_cast< int >( rpm.number ) );
}

pl_status applyBit( void* object, const Setting& bit ) {
   auto gpio = static_cast< pl_gpio* >( object );
   return bit.number != 0 ? gpio->ops->bit_set( gpio ) : gpio->ops->bit_clear( gpio );
}

std::vector< std::string > ledStatusWords() {
   std::vector< std::string > words;
   for ( std::string word : kLedStatusNames ) {
      std::ranges::transform( word, word.begin(), []( unsigned char c ) {
         return static_cast< char >( std::tolower( c ) );
      } );
      words.push_back( std::move( word ) );
   }
   return words;
}

const SettingOperations kLed = {
   .subject = "an LED",
   .choice = fmt::format( "it knows {}", fmt::join( kLedStatusNames, ", " ) ),
   .words = ledStatusWords(),
   .parse = parseLedStatus,
   .apply = applyLedStatus,
   .name = ledStatusName };

const SettingOperations kFan = {
   .subject = "a fan",
   .choice = "give its rpm, 0 or more, or a percentage of its range, 0% to 100%",
   .words = {},
   .parse = parseSpeed,
   .apply = applyRpm };

const SettingOperations kGpio = { .subject = "a GPIO",
                                  .choice = "give 0 or 1",
                                  .words = { "0", "1" },
                                  .parse = parseBit,
                                  .apply = applyBit };

const SettingOperations kPoePort = {
   .subject = "a PoE port",
   .choice = fmt::format( "give on, off, limit class, or limit and its watts, {} to {}",
                          kLeastPoeLimit,
                          kLargestPoeLimit ),
   .words = { "on", "off", "limit" },
   .parse = parsePoeSetting,
   .apply = applyPoeSetting };

}  // namespace

const SettingOperations* settingOperations( Kind kind ) {
   switch ( kind ) {
      case Kind::Led:
         return &kLed;
      case Kind::Fan:
         return &kFan;
      case Kind::Gpio:
         return &kGpio;
      case Kind::PoePort:
         return &kPoePort;
      default:
         return nullptr;
   }
}

Setting parseSetting( const ObjectSpec& object, const std::string& text ) {
   const SettingOperations* operations = settingOperations( object.kind );
   if ( !operations ) {
      throw UseError( fmt::format( "\"{}\" is a {}; only an led, fan, gpio or poe_port can be set",
                                   object.name, kindName( object.kind ) ) );
   }
   std::optional< Setting > value = operations->parse( object, text );
   if ( !value ) {
      throw UseError( fmt::format( "{} cannot be set to \"{}\"; {}", operations->subject, text,
                                   operations->choice ) );
   }
   return *value;
}

}  // namespace Host
