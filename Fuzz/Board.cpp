#include <algorithm>
#include <fstream>

#include "Fuzz/HostObject.h"
#include "Fuzz/Support.h"
#include "Ham/ServiceSocket.h"
#include "PlatformLibrary/PLSocket.h"
#include "SmbusService/Batch.h"
#include "SmbusService/Emulator/BoardLoader.h"
#include "SmbusService/LinuxI2c/KernelBackend.h"
#include "Tests/support/TemporaryDirectory.h"
#include "pl_host.h"

using namespace SmbusService;

namespace {

constexpr const char* kDocuments[] = { "topology.json", "objects.json", "emulation.json",
                                       "adapters.json" };
constexpr std::string_view kKinds = "-sletfxpgm";  // as addObject() calls those of the enumeration

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

// What the library's requests go to, and whether all went well.
Emulator::EmulatedBoard* chips = nullptr;
bool isWell = true;

bool isPlain( const BoardFiles::ChipSpec& chip ) {
   return !chip.model && !chip.isUnplugged && chip.faults.empty() && chip.quantities.empty();
}

// On chips as they come the library makes every object of a board that the check has nothing to say
// about.
void useLibrary( const BoardFiles::Board& board ) {
   Fuzz::forgetDevices();
   Fuzz::require( Fuzz::completes( [ & ] { ( void )pl_led_init( board.topology.c_str() ); } ) );
   for ( const BoardFiles::ObjectSpec& object : board.objects ) {
      if ( object.device.starts_with( '{' ) ) {
         isWell = true;
         std::string text = kKinds[ static_cast< size_t >( object.kind ) ] + object.device;
         Fuzz::require( object.kind == BoardFiles::Kind::System || Fuzz::addObject( text ) ||
                        !isWell );
      }
   }
}

}  // namespace

// This program's definition comes before the shared library's.
int PlatformLibrary::PLSocket::sendRequestWait( const Smbus::TransactionRequest* request,
                                                Smbus::TransactionResponse** reply ) {
   *reply = new Smbus::TransactionResponse;
   Batch( *chips ).execute( *request, **reply );
   isWell = isWell && !( *reply )->failure();
   return 0;
}

// The documents of a board, from the topology on; those that are not given are not there. What the
// check finds no mistake in, the emulator and the service take or refuse.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   using enum BoardFiles::Demand;
   static ClosedSystem system;
   if ( !_plSock ) {
      pl_trace_level_set( -1 );
      _plSock = new PlatformLibrary::PLSocket;
   }
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
      auto emulated = Emulator::loadBoard( board );
      chips = emulated.get();
      if ( board.warnings.empty() && std::ranges::all_of( board.chips, isPlain ) ) {
         useLibrary( board );
      }
      LinuxI2c::KernelBackend( system, system.sysfs() ).check( board );
   } catch ( const BoardFiles::BoardError& error ) {
      Fuzz::require( !BoardFiles::linesOf( error.findings ).empty() );
   }
   return 0;
}
