#include <fstream>

#include "Fuzz/Support.h"
#include "SmbusService/Emulator/BoardLoader.h"
#include "SmbusService/LinuxI2c/KernelBackend.h"
#include "Tests/support/TemporaryDirectory.h"

using namespace SmbusService;

namespace {

constexpr const char* kDocuments[] = { "topology.json", "objects.json", "emulation.json",
                                       "adapters.json" };

// A system whose two adapters cannot be opened.
class ClosedSystem : public LinuxI2c::System {
 public:
   ClosedSystem() {
      for ( const char* adapter : { "i2c-0", "i2c-3" } ) {
         auto device = directory_.path() / "sys/bus/i2c/devices" / adapter;
         std::filesystem::create_directories( device );
         std::ofstream( device / "name" ) << "SMBus " << adapter << " adapter";
      }
   }
   LinuxI2c::Sysfs sysfs() const { return LinuxI2c::Sysfs( directory_.path() ); }
   int open( const std::string& ) override { return -EACCES; }

 private:
   Tests::TemporaryDirectory directory_;
};

}  // namespace

// The documents of a board, from the topology on; those that are not given are not there. What the
// check finds no mistake in, the emulator and the service take or refuse.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   using enum BoardFiles::Demand;
   static ClosedSystem system;
   static const Tests::TemporaryDirectory directory;
   auto parts = Fuzz::partsOf( data, size, std::size( kDocuments ) );
   for ( size_t i = 0; i < std::size( kDocuments ); ++i ) {
      auto path = directory.path() / kDocuments[ i ];
      std::filesystem::remove( path );
      if ( i < parts.size() ) {
         std::ofstream( path, std::ios::binary ) << parts[ i ];
      }
   }
   try {
      auto board = BoardFiles::loadBoard(
         directory.path(), { .emulation = IfPresent, .adapters = IfPresent, .drivers = true } );
      Emulator::loadBoard( board );
      LinuxI2c::KernelBackend( system, system.sysfs() ).check( board );
   } catch ( const BoardFiles::BoardError& error ) {
      Fuzz::require( !BoardFiles::linesOf( error.findings ).empty() );
   }
   return 0;
}
