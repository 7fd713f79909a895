#include <fmt/format.h>
#include <sys/mman.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <vector>

#include "Bench/Measures.h"
#include "Bench/TemporaryBoard.h"
#include "Bench/Timing.h"
#include "BoardFiles/Board.h"
#include "Host/Session/ChipName.h"
#include "Host/Session/Session.h"
#include "SmbusService/EmbeddedService.h"
#include "pl_host.h"
#include "smbus.pb.h"

namespace Bench {

namespace {

using BoardFiles::Wiring;

constexpr int kBitRate = 100'000;
constexpr size_t kMostAdapters = 32;

// A fan-spinner controller samples its tachometer for so long, at each reading of its fan.
constexpr const char* kSamplingDriver = "MorrowFanspinnerController";
constexpr double kSamplingTime = 53;  // milliseconds

constexpr int kSweeps = 5;
constexpr int kReadings = 300;  // of the sensor beside the ports

// Counted by the workers of a session, which are processes of their own.
struct WireBits {
   std::atomic< uint64_t > ofAdapter[ kMostAdapters ];
};

struct Count {
   const Wiring& wiring;
   WireBits& bits;
};

// 9 bits for each byte, one for each start, repeated start and stop: counted here from what the
// library sent, so that the limit is not the emulator's own account.
uint64_t bitsOf( const pl_wire_transfer& transfer ) {
   uint64_t bytes = 1 + transfer.written_size + transfer.read_size;
   bool reads = transfer.operation != Smbus::REQUEST_WRITE &&
                transfer.operation != Smbus::REQUEST_BLOCK_WRITE;
   bool isShort = transfer.size == 0;
   bool isBlock = transfer.operation == Smbus::REQUEST_BLOCK_READ ||
                  transfer.operation == Smbus::REQUEST_BLOCK_WRITE;
   bytes += isBlock ? 1 : 0;
   if ( isShort ) {
      return 2 + 9 * ( bytes + ( reads ? 0 : 1 ) );
   }
   bytes += transfer.reg_size + ( reads ? 1 : 0 );
   return 2 + 9 * bytes + ( reads ? 1 : 0 );
}

void countBits( void* user, const pl_wire_batch* batch ) {
   auto& count = *static_cast< Count* >( user );
   for ( int i = 0; i < batch->count; ++i ) {
      const pl_wire_transfer& transfer = batch->transfers[ i ];
      size_t bus = count.wiring.adapterBus( transfer.master, transfer.pci, transfer.accelerator,
                                            transfer.bus );
      count.bits.ofAdapter[ count.wiring.busses[ bus ].adapter ] += bitsOf( transfer );
   }
}

WireBits& sharedBits() {
   void* memory = mmap( nullptr, sizeof( WireBits ), PROT_READ | PROT_WRITE,
                        MAP_SHARED | MAP_ANONYMOUS, -1, 0 );
   if ( memory == MAP_FAILED ) {
      throw std::runtime_error( "no memory to share with the workers" );
   }
   return *new ( memory ) WireBits{};
}

std::string textOf( const std::filesystem::path& path ) {
   std::ostringstream text;
   text << std::ifstream( path ).rdbuf();
   return text.str();
}

// A copy of a board of this project whose adapters work at the bit rate.
class SlowBoard {
 public:
   explicit SlowBoard( const std::string& name ) : folder_( "[]", {} ) {
      std::filesystem::path from = LUMEN_SOURCE_DIR "/Boards/" + name;
      std::filesystem::copy( from, folder_.path(),
                             std::filesystem::copy_options::overwrite_existing |
                                std::filesystem::copy_options::recursive );
      std::string emulation = textOf( from / "emulation.json" );
      emulation.insert( emulation.find( '{' ) + 1, fmt::format( R"("bitRate":{},)", kBitRate ) );
      std::ofstream( folder_.path() + "/emulation.json" ) << emulation;
   }

   BoardFiles::Board load() const { return BoardFiles::loadBoard( folder_.path(), {} ); }
   const std::string& path() const { return folder_.path(); }

 private:
   TemporaryBoard folder_;
};

void expectAll( const std::vector< Host::Observation >& observations ) {
   for ( const Host::Observation& observation : observations ) {
      if ( observation.state == Host::State::Failed ) {
         throw std::runtime_error( observation.object->name + ": " + observation.reason );
      }
   }
}

// Of each adapter, the milliseconds in which chips keep a sweep waiting while the wire is idle.
std::vector< double > pausesOf( const BoardFiles::Board& board ) {
   std::vector< double > pauses( kMostAdapters );
   for ( const BoardFiles::ObjectSpec& object : board.objects ) {
      auto did = Host::deviceIdOf( board.wiring, object );
      bool samples = object.kind == BoardFiles::Kind::Fan &&
                     object.device.find( kSamplingDriver ) != std::string::npos;
      if ( did && samples ) {
         size_t bus = board.wiring.devices.at( *did ).bus;
         pauses[ board.wiring.busses[ bus ].adapter ] += kSamplingTime;
      }
   }
   return pauses;
}

// The worst hundredth of a sensor's readings, in microseconds.
double worstReading( void* sensor ) {
   std::vector< double > times;
   for ( int i = 0; i < kReadings; ++i ) {
      auto start = Clock::now();
      ( void )Host::readAsKind( BoardFiles::Kind::TempSensor, sensor );
      times.push_back( microseconds( Clock::now() - start ) );
   }
   std::sort( times.begin(), times.end() );
   return times[ times.size() * 99 / 100 ];
}

// Of a board's sensors, beside its other objects.
double worstOfSensors( const BoardFiles::Board& board, const std::string& socket ) {
   Host::DriverLibrary library( "" );
   auto read = []( BoardFiles::Kind kind, void* object ) {
      return kind == BoardFiles::Kind::TempSensor ? Host::Reading{ .value = worstReading( object ) }
                                                  : Host::readAsKind( kind, object );
   };
   Host::Session session( library, board, { .socket = socket, .readObject = read } );
   double best = 1e18;
   for ( int i = 0; i < kSweeps; ++i ) {
      expectAll( session.read() );
      double worst = 0;
      for ( const Host::Observation& observation : session.latest() ) {
         if ( observation.object->kind == BoardFiles::Kind::TempSensor ) {
            worst = std::max( worst, observation.reading.value() );
         }
      }
      best = std::min( best, worst );
   }
   return best;
}

}  // namespace

void measureSweep( Report& report ) {
   SlowBoard slow( "demo" );
   BoardFiles::Board board = slow.load();
   SmbusService::EmbeddedService service( slow.path() );
   Host::DriverLibrary library( "" );
   WireBits& bits = sharedBits();
   Count count{ board.wiring, bits };
   Host::Session session( library, board, { .socket = service.path(), .beginWorker = [ &count ] {
                                              pl_wire_sink_set( countBits, &count );
                                           } } );
   auto pauses = pausesOf( board );
   expectAll( session.read() );
   double sweep = 0;
   double busiest = 0;
   for ( int i = 0; i < kSweeps; ++i ) {
      for ( auto& adapter : bits.ofAdapter ) {
         adapter = 0;
      }
      auto start = Clock::now();
      expectAll( session.read() );
      double time = microseconds( Clock::now() - start ) / 1000;
      double least = 0;
      for ( size_t adapter = 0; adapter < kMostAdapters; ++adapter ) {
         auto wire = static_cast< double >( bits.ofAdapter[ adapter ] ) * 1000 / kBitRate;
         least = std::max( least, wire + pauses[ adapter ] );
      }
      if ( i == 0 || time / least < sweep / busiest ) {
         sweep = time;
         busiest = least;
      }
   }
   munmap( &bits, sizeof bits );
   report.add( { "a sweep of the demo board at 100 kHz", sweep,
                 "its busiest adapter: wire, sampling", busiest, "ms", 1.15 } );
}

void measureNeighbour( Report& report ) {
   SlowBoard slow( "poe48" );
   BoardFiles::Board both = slow.load();
   BoardFiles::Board alone = slow.load();
   std::erase_if( alone.objects, []( const BoardFiles::ObjectSpec& object ) {
      return object.kind != BoardFiles::Kind::TempSensor;
   } );
   SmbusService::EmbeddedService service( slow.path() );
   double beside = worstOfSensors( both, service.path() );
   double single = worstOfSensors( alone, service.path() );
   report.add( { "99th percentile of a reading beside 48 PoE ports", beside, "the same alone",
                 single, "us", 1.2 } );
}

}  // namespace Bench
