#include "Host/Session/DriverLibrary.h"

#include <dlfcn.h>

#include <filesystem>
#include <system_error>

#include "Host/Session/UseError.h"

namespace Host {

namespace {

constexpr const char* kFileName = "libLumenDriversCorvid.so";

std::string defaultPath() {
   std::error_code error;
   auto program = std::filesystem::read_symlink( "/proc/self/exe", error );
   auto installed = program.parent_path().parent_path() / "lib" / kFileName;
   return std::filesystem::exists( installed, error ) ? installed.string() : kFileName;
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
