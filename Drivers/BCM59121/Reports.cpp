#include "Drivers/BCM59121/Reports.h"

#include <fmt/format.h>

#include "Drivers/BCM59121/PoePort.h"
#include "Drivers/BCM59121/ReportSections.h"
#include "Utils/Text.h"

namespace Drivers::Poe {

namespace {

constexpr size_t kLabelWidth = 26;

std::string line( const std::string& label, const std::string& value ) {
   return fmt::format( "{:<{}}{}\n", label + ":", kLabelWidth, value );
}

std::string bytesOf( const std::string& response ) {
   std::string text;
   for ( size_t i = 0; i < response.size(); ++i ) {
      text += fmt::format( "{}{:02x}", i ? " " : "", byteAt( response, i ) );
   }
   return text;
}

// A section, or how it failed.
struct Description {
   std::string text;
   bool isServiceLost;  // there is no use in asking for more
};

Description describe( BCM59121& device, uint8_t port, const Section& section, bool withBytes ) {
   std::string response;
   pl_status result =
      device.queryDebug( section.isOfPort ? port : kUnused, section.command, response );
   std::string text;
   if ( result != PL_STATUS_OK ) {
      text = line( section.title, failureText( result ) );
   } else {
      text = fmt::format( "{}\n", section.title );
      for ( const Field& field : section.fields ) {
         text += line( fmt::format( "  {}", field.label ), field.value( response ) );
      }
   }
   if ( withBytes && !response.empty() ) {
      text += line( "  Bytes", bytesOf( response ) );
   }
   return { text, result == PL_STATUS_IO_ERROR && response.empty() };
}

std::string describe( BCM59121& device, uint8_t port, bool isForDevelopers, bool withBytes ) {
   std::string text = line( "PoE port", std::to_string( port ) );
   bool isServiceLost = false;
   for ( const Section& section : reportSections() ) {
      if ( section.isForDevelopers && !isForDevelopers ) {
         continue;
      }
      if ( isServiceLost ) {
         text += line( section.title, failureText( PL_STATUS_IO_ERROR ) );
         continue;
      }
      Description description = describe( device, port, section, withBytes );
      text += description.text;
      isServiceLost = description.isServiceLost;
   }
   return text;
}

}  // namespace

std::string portInformation( BCM59121& device, uint8_t port ) {
   return describe( device, port, false, false );
}

std::string debugInformation( BCM59121& device, uint8_t port, bool isVerbose ) {
   return describe( device, port, true, isVerbose );
}

}  // namespace Drivers::Poe

namespace Drivers {

pl_status BCM59121::getPortInformation( PoePort* port, char** out ) {
   LUMEN_TRACE_PORT_OPERATION( "getPortInformation", ", char**" );
   if ( pl_status status = refusal( port ) ) {
      return status;
   }
   return Utils::copyToHeap( Poe::portInformation( *this, port->id ), out ) ? PL_STATUS_OK
                                                                            : PL_STATUS_FAILURE;
}

pl_status BCM59121::debugInfo( PoePort* port, char** out, bool verbose ) {
   LUMEN_TRACE_PORT_OPERATION( "debugInfo", ", char**, bool" );
   if ( pl_status status = refusal( port ) ) {
      return status;
   }
   return Utils::copyToHeap( Poe::debugInformation( *this, port->id, verbose ), out )
             ? PL_STATUS_OK
             : PL_STATUS_FAILURE;
}

}  // namespace Drivers
