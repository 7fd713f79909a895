#include "Host/Session/PoeSettings.h"

#include <fmt/format.h>

#include <cstdlib>

#include "Host/Session/LabelledText.h"
#include "Host/Session/ParseNumber.h"
#include "Host/Session/PoeReading.h"
#include "Host/Session/UseError.h"

namespace Host {

namespace {

constexpr std::string_view kLimitWord = "limit ";
constexpr double kLargestWhole = 49.5;  // watts that fit the controller's byte undivided

// Of the alternative channel, where the library halves the limit.
constexpr const char* kChannel = "Alternative";
constexpr std::string_view kHalved = "0x14,";

// The controller disables no port that is enabled but when it is told to.
bool isForcedOff( const LabelledText& information ) {
   return information.value( "Enabled" ) == "yes" &&
          information.value( "Port status" ) == "disabled";
}

pl_status switchOn( pl_poe_port* port ) {
   std::string text;
   if ( pl_status status = readPoeInformation( port, text ) ) {
      return status;
   }
   pl_status status = port->ops->set_poe_port_pse( port, true );
   return status == PL_STATUS_OK && isForcedOff( LabelledText( text ) )
             ? port->ops->poe_port_power_on( port, true )
             : status;
}

bool isHalved( pl_poe_port* port ) {
   std::string text;
   return readPoeDebugReport( port, false, text ) == PL_STATUS_OK &&
          LabelledText( text ).hasValue( kChannel, kHalved );
}

pl_status limitTo( pl_poe_port* port, double watts ) {
   if ( watts > kLargestWhole && !isHalved( port ) ) {
      throw UseError(
         fmt::format( "{} W do not fit the controller's register; the largest limit of this port "
                      "is {} W now, or class",
                      watts, kLargestWhole ) );
   }
   return port->ops->set_poe_port_limit( port, PL_POE_LIMIT_USER, static_cast< float >( watts ) );
}

}  // namespace

std::optional< Setting > parsePoeSetting( const ObjectSpec&, const std::string& text ) {
   if ( text == "on" || text == "off" ) {
      return Setting{ text == "on" ? 1.0 : 0.0, Setting::kEnabled };
   }
   if ( !text.starts_with( kLimitWord ) ) {
      return std::nullopt;
   }
   std::string_view limit = std::string_view( text ).substr( kLimitWord.size() );
   if ( limit == "class" ) {
      return Setting{ .what = Setting::kClassLimit };
   }
   auto watts = parseNumber( limit, kLeastPoeLimit, kLargestPoeLimit );
   return watts ? std::optional( Setting{ *watts, Setting::kLimit } ) : std::nullopt;
}

pl_status applyPoeSetting( void* object, const Setting& setting ) {
   auto port = static_cast< pl_poe_port* >( object );
   switch ( setting.what ) {
      case Setting::kEnabled:
         return setting.number != 0 ? switchOn( port ) : port->ops->set_poe_port_pse( port, false );
      case Setting::kClassLimit:
         return port->ops->set_poe_port_limit( port, PL_POE_LIMIT_CLASS, 0 );
      default:
         return limitTo( port, setting.number );
   }
}

}  // namespace Host
