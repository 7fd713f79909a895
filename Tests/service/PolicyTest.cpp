#include <gmock/gmock.h>

#include <random>

#include "SmbusService/Emulator/Chips/Factory.h"
#include "SmbusService/PolicyStore.h"
#include "Tests/endtoend/Process.h"
#include "Tests/service/Steps.h"
#include "Tests/service/Witness.h"

using namespace Tests;
using namespace SmbusService;
using testing::HasSubstr;

namespace {

// A mux behind a mux. Device ids tell the place: 10 on the adapter's own bus, 20 and 30 behind the
// first mux's channels, 40 and 50 behind the second one's.
constexpr const char* kTopology =
   R"([ { "type": "I2C", "ham": "LumenSmbus", "id": 0, "label": "cpu",
   "devices": [ { "did": 10, "driver": "PCA9548", "address": { "address": 112 }, "label": "outer" },
                { "did": 11, "driver": "TMP75", "address": { "address": 72 }, "label": "sensor" },
                { "did": 12, "driver": "TMP75", "address": { "address": 80 }, "label": "memory" } ],
   "muxes": [ { "did": 10, "busses": [
      { "id": 1, "label": "near", "devices": [
           { "did": 20, "driver": "PCA9548", "address": { "address": 113 }, "label": "inner" },
           { "did": 21, "driver": "TMP75", "address": { "address": 73 }, "label": "vault" } ],
        "muxes": [ { "did": 20, "busses": [
           { "id": 1, "label": "left", "devices": [
              { "did": 40, "driver": "TMP75", "address": { "address": 74 }, "label": "ranged" } ] },
           { "id": 2, "label": "right", "devices": [
              { "did": 50, "driver": "TMP75", "address": { "address": 74 }, "label": "locked" } ] }
        ] } ] },
      { "id": 2, "label": "far", "devices": [
           { "did": 30, "driver": "TMP75", "address": { "address": 73 }, "label": "open" },
           { "did": 31, "driver": "TMP75", "address": { "address": 81 }, "label": "sealed" } ] },
      { "id": 4, "label": "shut", "devices": [
           { "did": 60, "driver": "TMP75", "address": { "address": 75 }, "label": "closed" } ] } ] } ] } ])";

constexpr const char* kPolicy = R"({ "rules": [
   { "name": "watch", "groups": [ 600 ], "devices": [ "sensor", 31 ], "access": "read" },
   { "name": "tune", "groups": [ 600 ], "devices": [ "ranged" ], "access": "both",
     "registers": [ "0x10-0x1f", 5 ] },
   { "name": "free", "users": [ 500 ], "devices": [ "open" ], "access": "both" },
   { "name": "wide", "users": [ 500 ], "devices": [ "memory" ], "access": "read",
     "registerSize": 2 },
   { "name": "modules", "users": [ 500 ], "adapters": [ { "medium": "cpu", "addresses": [ "0x60" ],
     "path": [ { "mux": "outer", "channel": 2 } ] } ], "access": "read" },
   { "name": "own bus", "users": [ 500 ], "adapters": [ { "medium": "cpu", "addresses": [ "0x61" ] } ],
     "access": "read" },
   { "name": "all", "users": [ 0 ], "devices": "all", "access": "both",
     "adapters": [ { "medium": "cpu", "path": "any", "addresses": "all" } ] },
   { "name": "muxes", "users": [ 501 ], "devices": [ "outer" ], "access": "both" } ] })";

const Peer kNobody{ .number = 1, .uid = 5000 };
const Peer kUser{ .number = 2, .uid = 500, .groups = { 600 } };
const Peer kRoot{ .number = 3, .uid = 0 };
const Peer kMuxUser{ .number = 4, .uid = 501 };

// Where chips are that the board does not declare, on each of its busses.
constexpr uint8_t kUndeclared[] = { 0x62, 0x61, 0x62, 0x62, 0x60, 0x62 };

// Beside what "Steps.h" has: "48<00:2/2" has a register number of two bytes, "48<00:B" reads a
// block, "48>0011B" writes one, "48>001122P" is a process call, "70>00?" needs no acknowledge.
Smbus::Request policyStep( std::string step ) {
   char mark = step.back();
   bool isMarked = std::string_view( "BP?" ).find( mark ) != std::string_view::npos;
   size_t slash = step.find( '/' );
   std::string plain = step.substr( 0, std::min( slash, step.size() - isMarked ) );
   Smbus::Request request = requestOf( plain.ends_with( ':' ) ? plain + "0" : plain );
   if ( mark == 'B' ) {
      request.set_type( request.type() == Smbus::REQUEST_READ ? Smbus::REQUEST_BLOCK_READ
                                                              : Smbus::REQUEST_BLOCK_WRITE );
   } else if ( mark == 'P' ) {
      request.set_type( Smbus::REQUEST_PROCESS_CALL );
   }
   request.set_flag( mark == '?' );
   if ( slash != step.npos ) {
      uint32_t code = step[ slash + 1 ] == '4' ? 0 : 2;
      request.set_address( ( request.address() & ~kOneByteRegisters ) | code << 25 );
   }
   return request;
}

// The two-mux board with witnesses for chips, and its policy.
class PolicyTest : public testing::Test {
 protected:
   using Registers = Witness::Registers;

   PolicyTest() {
      std::ofstream( folder.path() + "/policy.json" ) << kPolicy;
      documents = BoardFiles::loadBoard( folder.path(), {} );
      policy.emplace( rulesOf( folder.path() + "/policy.json", documents.wiring ),
                      documents.wiring );
      std::vector< Emulator::Segment* > segments;
      for ( const auto& place : documents.wiring.busses ) {
         bool isRoot = place.above == BoardFiles::Wiring::kNone;
         segments.push_back( isRoot ? &bus.root() : &bus.newSegment() );
      }
      for ( const auto& [ did, device ] : documents.wiring.devices ) {
         addChip( did, static_cast< uint8_t >( *device.address ), *segments[ device.bus ] );
      }
      for ( size_t i = 0; i < segments.size(); ++i ) {
         const auto& place = documents.wiring.busses[ i ];
         if ( place.above != BoardFiles::Wiring::kNone ) {
            sites.at( place.mux )
               ->channels.push_back( { static_cast< uint8_t >( place.channel ), segments[ i ] } );
         }
         addChip( 100 + i, kUndeclared[ i ], *segments[ i ] );
      }
      Emulator::Segment& unknown = bus.newSegment();
      sites.at( 10 )->channels.push_back( { 8, &unknown } );
      addChip( 110, 0x4a, unknown );
      board.connectMuxes( documents.wiring );
   }

   // What the user 500 with the group 600 may do to a chip.
   static std::pair< Registers, Registers > permissionsFor( uint32_t did ) {
      Registers all;
      all.set();
      Registers range( 1 << 5 );
      range |= Registers( 0xffff ) << 0x10;
      switch ( did ) {
         case 11:
         case 12:
         case 31:
         case 104:
            return { all, {} };
         case 30:
            return { all, all };
         case 40:
            return { range, range };
         default:
            return {};
      }
   }

   void addChip( uint32_t did, uint8_t address, Emulator::Segment& segment ) {
      auto site = std::make_unique< Emulator::Site >();
      site->did = did;
      site->address = address;
      if ( did == 10 || did == 20 ) {
         site->chip = Emulator::newChip( "PCA9548" );
      } else {
         auto [ readable, writable ] = permissionsFor( did );
         auto witness = std::make_unique< Witness >( readable, writable, did == 12 );
         witnesses[ did ] = witness.get();
         site->chip = std::move( witness );
      }
      sites[ did ] = site.get();
      board.add( bus, segment, std::move( site ) );
   }

   // "ok", or the refused step and why. Batches are separated by ';', the last one counts.
   std::string judge( const Peer& peer, const std::string& steps ) {
      Smbus::TransactionRequest batch;
      Smbus::TransactionResponse reply;
      for ( const std::string& step : wordsOf( steps + " ;" ) ) {
         if ( step != ";" ) {
            *batch.add_request() = policyStep( step );
            continue;
         }
         Batch( board, peer, &*policy ).execute( batch, reply );
         batch.Clear();
      }
      return reply.failure() == EACCES
                ? std::to_string( reply.details().request() ) + ": " + reply.details().reason()
                : "ok";
   }

   BoardFolder folder{ kTopology };
   BoardFiles::Board documents;
   std::optional< Policy > policy;
   Emulator::EmulatedBoard board;
   Emulator::Bus& bus = board.bus( AdapterId::of( Smbus::MASTER_I2C, 0, 0, 0 ) );
   std::map< uint32_t, Emulator::Site* > sites;
   std::map< uint32_t, Witness* > witnesses;
};

}  // namespace

TEST_F( PolicyTest, JudgesEachTransferByAllThatItReaches ) {
   const std::string vault = "no rule lists vault for this client";
   const std::string range = "rule \"tune\" lets ranged be used at registers 0x05, 0x10-0x1f only";
   const std::tuple< Peer, const char*, std::string > rows[] = {
      { kUser, "48<00:2", "ok" },
      { kUser, "48<", "ok" },
      { kUser, "48>0180", "0: rule \"watch\" lets sensor be read only" },
      { kUser, "48<00:2 48>00", "1: rule \"watch\" lets sensor be read only" },
      { kUser, "48>001122P", "0: rule \"watch\" lets sensor be read only" },
      // The second byte of a register number would be data.
      { kUser, "48<00:2/2",
        "0: rule \"watch\" lets sensor be used with register numbers of 1 byte only" },
      { kUser, "50<00:2/2", "ok" },
      { kUser, "50<00:2/4",
        "0: rule \"wide\" lets memory be used with register numbers of 2 bytes only" },
      { kNobody, "48<00:2", "0: no rule lists sensor for this client" },
      { kNobody, "70>00", "0: no rule lists outer, or anything behind it, for this client" },
      { kRoot, "70>0f 48>0011 4b>0011 70>00", "ok" },
      // Selections
      { kUser, "70>02 49<00:1 49>0011 70>00", "ok" },
      { kUser, "49>0011", "0: no rule lists address 0x49 on cpu for this client" },
      { kUser, "70>02 ; 49>0011", "ok" },
      { kUser, "70>01 49<00:1", "1: " + vault },
      { kUser, "70>03 49<00:1", "1: " + vault },
      { kUser, "70>02 70>01 49<00:1", "2: " + vault },
      { kUser, "70>02 70<01:1 49<00:1", "1: no rule lists outer for this client" },
      { kUser, "70>0002", "0: no rule lists outer for this client" },
      { kUser, "70>04", "0: no rule lists anything behind channel 4 of outer for this client" },
      { kUser, "70>08",
        "0: 0x08 opens undeclared channels of outer, which no rule lists for this client" },
      { kUser, "70>01 71>02",
        "1: no rule lists anything behind channel 2 of inner for this client" },
      { kUser, "70>01 71< 70<", "ok" },
      { kMuxUser, "70>0008", "ok" },
      { kMuxUser, "70>08 48<00:1 70>00", "1: no rule lists sensor for this client" },
      // A selection that need not be acknowledged, and a reset after a selection that failed
      { kUser, "70>01 ; 70>02? 49<00:1", "1: " + vault },
      { kUser, "70>01 ; 70>02 49>00", "1: " + vault },
      // Registers
      { kUser, "70>01 71>01 4a<10:16 4a<05:1 4a>05 71>00 70>00", "ok" },
      { kUser, "70>01 71>01 4a>1e11B 4a>1c1122P", "ok" },
      { kUser, "70>01 71>01 4a<10:17", "2: " + range },
      { kUser, "70>01 71>01 4a<", "2: " + range },
      { kUser, "70>01 71>01 4a>1f11B", "2: " + range },
      { kUser, "70>01 71>01 4a>1d1122P", "2: " + range },
      { kUser, "70>01 71>01 4a<10:B", "2: " + range },
      { kUser, "70>01 71>01 4a<10:1/2",
        "2: rule \"tune\" lets ranged be used with register numbers of 1 byte only" },
      // Chips that the board does not declare
      { kUser, "70>02 60<00:1", "ok" },
      { kUser, "60<00:1", "0: no rule lists address 0x60 on cpu for this client" },
      { kUser, "61<00:1", "ok" },
      { kUser, "70>01 61<00:1", "1: no rule lists address 0x61 on near for this client" },
   };
   for ( const auto& [ peer, steps, verdict ] : rows ) {
      EXPECT_EQ( judge( peer, steps ), verdict ) << steps;
      judge( kRoot, "70>00" );
   }
   judge( kUser, "70>02" );
   EXPECT_NE( judge( kNobody, "48<00:2" ), "ok" );
   EXPECT_EQ( judge( kUser, "49<00:1" ), "ok" ) << "what is refused closes nobody's channels";
}

TEST_F( PolicyTest, WithoutAPolicyOnlyMemoriesAreProtected ) {
   policy.emplace( rulesWithoutPolicy(), documents.wiring );
   const std::pair< const char*, const char* > rows[] = {
      { "48>0011 70>08 4a>0011", "ok" },
      { "50<00:9/2 50< 50<00:B", "ok" },
      { "50>0011", "0: rule \"memories, without a policy\" lets memory be read only" },
      { "70>02 51>00", "1: rule \"memories, without a policy\" lets sealed be read only" },
      { "57>00", "0: rule \"memories, without a policy\" lets address 0x57 on cpu be read only" },
      { "36<00:1", "ok" },
      { "36<00:1/2",
        "0: rule \"protection of memories, without a policy\" lets address 0x36 on cpu "
        "be used with register numbers of 1 byte only" },
   };
   for ( const auto& [ steps, verdict ] : rows ) {
      EXPECT_EQ( judge( kNobody, steps ), verdict ) << steps;
      judge( kRoot, "70>00" );
   }
}

// What the chips saw is the judge, whatever the policy thinks of the muxes.
TEST_F( PolicyTest, NoBatchOfAClientReachesWhatItMayNotUse ) {
#ifdef __SANITIZE_ADDRESS__
   constexpr int kBatches = 50'000;
#else
   constexpr int kBatches = 100'000;
#endif
   std::mt19937 random( 1 );
   auto pick = [ & ]( const auto& list ) { return list[ random() % std::size( list ) ]; };
   auto oneIn = [ & ]( unsigned count ) { return random() % count == 0; };
   const std::string values = bytesOf( "000101010202020408030000" );
   const std::string devices = bytesOf( "484849494949494a4a4a4b505160616263" );
   const std::string registers = bytesOf( "000105050f1010181f20ff" );
   const int sizes[] = { 0, 1, 1, 1, 2, 3, 16, 255 };
   auto fill = [ & ]( Smbus::Request& step ) {
      bool isMux = oneIn( 2 );
      bool isSelection = isMux && !oneIn( 8 );
      auto type = static_cast< Smbus::RequestType >( isSelection ? 1 : random() % 5 );
      bool writes = type != Smbus::REQUEST_READ && type != Smbus::REQUEST_BLOCK_READ;
      int size = isSelection ? 0 : type == Smbus::REQUEST_PROCESS_CALL ? 2 : pick( sizes );
      uint32_t device = isMux ? ( oneIn( 3 ) ? 0x71 : 0x70 ) : pick( devices );
      uint32_t registerSize = oneIn( 16 ) ? 2 * ( random() % 2 ) : 1;  // 0 stands for 4
      step.set_address( device | registerSize << 25 );
      step.set_mastertype( Smbus::MASTER_I2C );
      step.set_type( type );
      step.set_reg( static_cast< uint8_t >( isMux ? pick( values ) : pick( registers ) ) );
      step.set_size( size );
      step.mutable_data()->assign( writes ? size : 0, pick( values ) );
      step.set_flag( oneIn( 2 ) );
   };
   Batch user( board, kUser, &*policy );
   Batch root( board, kRoot, &*policy );
   int accepted = 0;
   bool isOwnTurn = false;  // the user's batch was the last one
   std::map< uint32_t, size_t > used;
   Smbus::TransactionRequest batch;
   Smbus::TransactionResponse reply;
   for ( int i = 0; i < kBatches; ++i ) {
      batch.Clear();
      for ( int left = 1 + random() % 5; left > 0; --left ) {
         fill( *batch.add_request() );
      }
      bool isRoots = oneIn( 3 );
      Emulator::Faults& faults = sites.at( oneIn( 2 ) ? 10 : 20 )->faults;
      if ( isOwnTurn && !isRoots && oneIn( 2 ) ) {
         faults.add( { .kind = Emulator::FaultKind::kNak } );
      }
      ( isRoots ? root : user ).execute( batch, reply );
      isOwnTurn = !isRoots;
      accepted += !isRoots && reply.failure() != EACCES;
      faults = {};
      for ( auto& [ did, witness ] : witnesses ) {
         ASSERT_FALSE( !isRoots && witness->isTouched ) << "batch " << i << " on device " << did;
         used[ did ] += isRoots ? witness->isTouched : witness->transfers > 0;
         witness->isTouched = false;
         witness->transfers = 0;
      }
   }
   EXPECT_GT( accepted, kBatches / 20 );
   for ( const auto& [ did, count ] : used ) {
      EXPECT_GT( count, 5u ) << "of device " << did;
   }
}

TEST( PolicyFileTest, IsReadAgainWhenAskedAndNotWithMistakes ) {
   BoardFolder folder;
   std::string file = folder.path() + "/policy.json";
   std::string path = folder.path() + "/socket";
   std::string log = folder.path() + "/log";
   auto write = [ & ]( const std::string& access ) {
      std::ofstream( file ) << R"({ "rules": [ { "name": "r", "groups": "all", "devices": [ 16 ], )"
                            << R"("access": ")" << access << "\" } ] }";
   };
   write( "read" );
   Process service( "lumen-smbusd --emulate " + folder.path() + " --socket " + path + " --policy " +
                    file + " 2>" + log );
   ASSERT_TRUE(
      eventually( [ & ] { return RawClient( path ).ask( kReading ) == kReadingReply; } ) );
   RawClient client( path );
   auto writing = batchOf( { writeBytes( 0x48, 2, "ab" ) } );
   EXPECT_THAT( client.ask( writing ), HasSubstr( "rule \"r\" lets device 16 be read only" ) );
   write( "reed" );
   service.signal( SIGHUP );
   EXPECT_TRUE( eventually( [ & ] { return textOf( log ).find( "reed" ) != std::string::npos; } ) );
   EXPECT_THAT( textOf( log ), HasSubstr( "nothing is reloaded:\nlumen-smbusd: " + file +
                                          ": /rules/0/access: must be " ) );
   EXPECT_EQ( client.ask( kReading ), kReadingReply );
   EXPECT_THAT( client.ask( writing ), HasSubstr( "read only" ) );
   write( "both" );
   service.signal( SIGHUP );
   EXPECT_TRUE( eventually( [ & ] { return client.ask( writing ) == "-"; } ) );
   service.end( SIGTERM );
   EXPECT_THAT( textOf( log ), HasSubstr( "uid " + std::to_string( geteuid() ) +
                                          " is refused device 0x48: rule \"r\"" ) );
}

TEST( PolicyReportTest, TellsWhatSomebodyMayDoAndByWhichRule ) {
   BoardFolder folder( kTopology );
   std::string file = folder.path() + "/policy.json";
   std::ofstream( file ) << kPolicy;
   std::string command =
      "lumen-smbusd --board " + folder.path() + " --policy " + file + " check-policy ";
   const std::tuple< const char*, int, const char* > rows[] = {
      { "--groups 600,5000 sensor", 0,
        "groups 600, 5000: sensor 0x48: read yes, by rule \"watch\"; write no, rule \"watch\" is "
        "for reading only\n" },
      { "--user 500 --groups 600 40", 0,
        "user 500 (groups 600): ranged 0x4a: read registers 0x05, 0x10-0x1f, by rule \"tune\"; "
        "write registers 0x05, 0x10-0x1f, by rule \"tune\"\n" },
      { "--user 501 locked", 0,
        "user 501: locked 0x4a: read no, no rule lists it; write no, no rule lists it\n" },
      { "--user 500 outer", 0,
        "user 500: outer 0x70: read no, no rule lists it; write no, no rule lists it; may select "
        "channel 2\n" },
      { "", 0, "the policy has no mistakes\n" },
      { "--user 500 nothing", 1, "" },
   };
   for ( const auto& [ arguments, status, text ] : rows ) {
      Outcome outcome = Process( command + arguments ).wait();
      EXPECT_EQ( outcome.output, text ) << outcome.errors;
      EXPECT_EQ( outcome.status, status ) << arguments;
   }
}
