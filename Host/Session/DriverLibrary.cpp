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

class Binder {
 public:
   explicit Binder( const std::string& path )
       : path_( path ), handle_( dlopen( path.c_str(), RTLD_NOW | RTLD_LOCAL ) ) {
      if ( !handle_ ) {
         throw UseError( std::string( "cannot load the driver library: " ) + dlerror() );
      }
   }

   template < typename Function >
   void bind( Function*& function, const std::string& name ) const {
      void* symbol = dlsym( handle_, name.c_str() );
      if ( !symbol ) {
         throw UseError( path_ + " is no driver library: it has no " + name );
      }
      function = reinterpret_cast< Function* >( symbol );
   }

 private:
   std::string path_;
   void* handle_;
};

}  // namespace

DriverLibrary::DriverLibrary( const std::string& path ) {
   Binder binder( path.empty() ? defaultPath() : path );
   for ( size_t kind = 0; kind < kKinds.size(); ++kind ) {
      std::string prefix = "pl_" + std::string( kKinds[ kind ].name );
      binder.bind( entryPoints_[ kind ].init, prefix + "_init" );
      binder.bind( entryPoints_[ kind ].add, prefix + "_add" );
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
