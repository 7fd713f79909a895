#include "Host/Session/DriverLibrary.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include "BoardFiles/Finding.h"

namespace Host {

namespace {

constexpr const char* kFileName = "libLumenDriversCorvid.so";

std::string defaultPath() {
   std::error_code error;
   auto program = std::filesystem::read_symlink( "/proc/self/exe", error );
   auto installed = program.parent_path().parent_path() / "lib" / kFileName;
   return std::filesystem::exists( installed, error ) ? installed.string() : kFileName;
}

class Binder {
 public:
   explicit Binder( const std::string& path )
       : path_( path ), handle_( dlopen( path.c_str(), RTLD_NOW | RTLD_LOCAL ) ) {
      if ( !handle_ ) {
         throw StartError( std::string( "cannot load the driver library: " ) + dlerror() );
      }
   }

   template < typename Function >
   void bind( Function*& function, const std::string& name ) const {
      void* symbol = dlsym( handle_, name.c_str() );
      if ( !symbol ) {
         throw StartError( path_ + " is no driver library: it has no " + name );
      }
      function = reinterpret_cast< Function* >( symbol );
   }

 private:
   std::string path_;
   void* handle_;
};

}  // namespace

Library loadLibrary( const std::string& path ) {
   Binder binder( path.empty() ? defaultPath() : path );
   Library library{};
   for ( size_t kind = 0; kind < kKinds.size(); ++kind ) {
      binder.bind( library.init[ kind ], "pl_" + std::string( kKinds[ kind ].name ) + "_init" );
   }
   binder.bind( library.addSystem, "pl_system_add" );
   binder.bind( library.addSlot, "pl_slot_add" );
   binder.bind( library.addLed, "pl_led_add" );
   binder.bind( library.addPoePort, "pl_poe_port_add" );
   binder.bind( library.addTempSensor, "pl_temp_sensor_add" );
   binder.bind( library.addFan, "pl_fan_add" );
   binder.bind( library.addXcvr, "pl_xcvr_add" );
   binder.bind( library.addPsu, "pl_psu_add" );
   binder.bind( library.addGpio, "pl_gpio_add" );
   binder.bind( library.addSmbus, "pl_smbus_add" );
   return library;
}

}  // namespace Host
