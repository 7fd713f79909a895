#include "Drivers/Helpers.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <chrono>
#include <cstring>
#include <new>
#include <numeric>
#include <optional>
#include <utility>

#include "Components/Gpio.h"
#include "Components/HardwareDevice.h"
#include "Drivers/Shell.h"
#include "Topology/Topology.h"
#include "Utils/Assert.h"
#include "Utils/Json.h"
#include "pl.h"

namespace Drivers {

namespace {

constexpr int kTimeoutExpired = 124;  // exit status of the timeout utility

// For what the timeout utility does not end: the rest of a list of commands, and what runs in the
// background.
constexpr std::chrono::seconds kGrace( 1 );

bool isWritable( const char* text ) {
   return Utils::Json::tryWrite( Utils::Json::Value( rapidjson::StringRef( text ) ) ).has_value();
}

}  // namespace

FormatFdl::FormatFdl( std::string fdl ) : template_( std::move( fdl ) ) {}

void FormatFdl::start() {
   text_ = template_;
   active_ = true;
}

bool FormatFdl::set( std::string key, std::string value ) {
   pl_trace( 5, "FormatFdl::set( '%s', '%s' )", key.c_str(), value.c_str() );
   LUMEN_ASSERT( active_ && "FormatFdl: Must call start() before set(...)" );
   std::string placeholder = fmt::format( "{{{}}}", key );
   size_t place = text_.find( placeholder );
   if ( place == std::string::npos ) {
      pl_trace( 0, "Error: FormatFdl::set -- invalid key '%s'", placeholder.c_str() );
      LUMEN_ASSERT( false && "Invalid key in FormatFdl::set" );
   }
   // From the start each time: a value may complete a placeholder with the text before it.
   for ( ; place != std::string::npos; place = text_.find( placeholder ) ) {
      text_.replace( place, placeholder.size(), value );
   }
   return true;
}

std::string FormatFdl::str() {
   LUMEN_ASSERT( active_ && "FormatFdl: Must call start() before str()" );
   active_ = false;
   return text_;
}

const char* FormatFdl::charPtr() {
   LUMEN_ASSERT( active_ && "FormatFdl: Must call start() before charPtr()" );
   active_ = false;
   return text_.c_str();
}

pl_status runCmd( const char* cmd, std::string& output, unsigned int timeoutSeconds ) try {
   output.clear();
   std::chrono::seconds limit( timeoutSeconds );
   Shell shell( fmt::format( "timeout {}s {}", timeoutSeconds, cmd ),
                limit.count() ? limit + kGrace : limit );
   if ( !shell.isStarted() ) {
      return PL_STATUS_FAILURE;
   }
   std::optional< int > status;
   if ( !shell.readAll( output ) || !( status = shell.awaitEnd() ) ) {
      return PL_STATUS_IO_ERROR;
   }
   if ( *status < 0 || !WIFEXITED( *status ) ) {
      return PL_STATUS_FAILURE;
   }
   switch ( WEXITSTATUS( *status ) ) {
      case 0:
         return PL_STATUS_OK;
      case kTimeoutExpired:
         return PL_STATUS_IO_ERROR;
      default:
         return PL_STATUS_FAILURE;
   }
} catch ( const std::bad_alloc& ) {
   return PL_STATUS_FAILURE;
}

bool insertDriverArg( const char* devArgs, char** out, const char* key, const char* value ) {
   Utils::Json::Document document;
   if ( auto error = Utils::Json::parse( devArgs, document ) ) {
      pl_trace( 0, "failed to parse psu devArgs: %s offset %zd", error->message,
                static_cast< ssize_t >( error->offset ) );
      return false;
   }
   LUMEN_ASSERT( document.HasMember( "driverArgs" ) );
   auto& allocator = document.GetAllocator();
   document[ "driverArgs" ].AddMember( Utils::Json::Value( key, allocator ),
                                       Utils::Json::Value( value, allocator ), allocator );
   auto text = Utils::Json::tryWrite( document );
   if ( !text ) {
      pl_trace( 0, "failed to insert driver argument: the %s is not valid UTF-8",
                isWritable( key ) ? isWritable( value ) ? "document" : "value" : "key" );
      return false;
   }
   char* copy = strdup( text->c_str() );
   if ( !copy ) {
      return false;
   }
   *out = copy;
   return true;
}

Component::HardwareDevice* getHardwareDeviceByLabel( const char* label,
                                                     std::string defaultDriver ) {
   Topology::Device* device = Topology::getDeviceByLabel( label );
   if ( !device ) {
      pl_trace( 0, "Unable to locate device %s", label );
   }
   LUMEN_ASSERT( device );
   LUMEN_ASSERT( device->args );
   if ( device->args->driver.empty() ) {
      device->args->driver = std::move( defaultDriver );
   }
   auto dev = Component::HardwareDevice::create( *device->args, nullptr );
   LUMEN_ASSERT( dev );
   return dev;
}

Component::LogicalDevice::Gpio* getRegGpioForDevice( Component::HardwareDevice* device,
                                                     uint32_t reg,
                                                     uint32_t bit ) {
   DriverArgs args;
   args.driverArgs[ "register" ] = std::to_string( reg );
   args.driverArgs[ "bitpos" ] = std::to_string( bit );
   auto gpio = device->newGpio( args );
   LUMEN_ASSERT( gpio );
   return gpio;
}

Component::LogicalDevice::Gpio* getRegGpioForDevice( const char* label,
                                                     uint32_t reg,
                                                     uint32_t bit ) {
   return getRegGpioForDevice( getHardwareDeviceByLabel( label, "Dummy" ), reg, bit );
}

std::string trim( const std::string& text ) {
   constexpr const char* kBlanks = " \t";
   size_t first = text.find_first_not_of( kBlanks );
   if ( first == std::string::npos ) {
      return "";
   }
   return text.substr( first, text.find_last_not_of( kBlanks ) + 1 - first );
}

bool zeroChecksum( std::string& bytes ) {
   auto add = []( uint8_t sum, char byte ) {
      return static_cast< uint8_t >( sum + static_cast< uint8_t >( byte ) );
   };
   return std::accumulate( bytes.begin(), bytes.end(), uint8_t{ 0 }, add ) == 0;
}

}  // namespace Drivers
