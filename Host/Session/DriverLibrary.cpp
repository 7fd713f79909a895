#include "Host/Session/DriverLibrary.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include "Host/Session/UseError.h"

namespace Host {

namespace {

// Beside the platform library, which the program is linked with; else where the dynamic linker
// looks.
std::string defaultPath() {
   Dl_info platform;
   std::error_code error;
   if ( dladdr( reinterpret_cast< const void* >( &pl_trace ), &platform ) ) {
      auto beside =
         std::filesystem::path( platform.dli_fname ).replace_filename( LUMEN_DRIVER_LIBRARY );
      if ( std::filesystem::exists( beside, error ) ) {
         return beside.string();
      }
   }
   return LUMEN_DRIVER_LIBRARY;
}

}  // namespace

DriverLibrary::DriverLibrary( const std::string& given ) {
   std::string path = given.empty() ? defaultPath() : given;
   void* handle = dlopen( path.c_str(), RTLD_NOW | RTLD_LOCAL );
   if ( !handle ) {
      throw UseError( std::string( "cannot load the driver library: " ) + dlerror() );
   }
   auto find = [ & ]( const std::string& name ) {
      void* symbol = dlsym( handle, name.c_str() );
      if ( !symbol ) {
         throw UseError( path + " is no driver library: it has no " + name );
      }
      return symbol;
   };
   for ( size_t kind = 0; kind < kKindNames.size(); ++kind ) {
      std::string prefix = "pl_" + std::string( kKindNames[ kind ] );
      EntryPoints& entryPoints = entryPoints_[ kind ];
      entryPoints.init = reinterpret_cast< Init* >( find( prefix + "_init" ) );
      entryPoints.add = reinterpret_cast< EntryPoint >( find( prefix + "_add" ) );
   }
}

pl_status DriverLibrary::init( Kind kind, const std::string& topology ) const {
   return entryPoints_[ static_cast< size_t >( kind ) ].init( topology.c_str() );
}

void* DriverLibrary::add( const ObjectSpec& spec ) const {
   return operations( spec.kind )
      .add( entryPoints_[ static_cast< size_t >( spec.kind ) ].add, spec );
}

}  // namespace Host
