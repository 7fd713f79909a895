#include <fmt/format.h>
#include <gmock/gmock.h>

#include <map>

#include "Tests/endtoend/Process.h"
#include "Tests/support/FakeService.h"

using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace Tests {
namespace {

struct Failure {
   int error;
   const char* reason;
   int offset = 0;  // from the probe to the request that fails
};

// Probes by the muxes on their way, the master and the address: "2 7 0x48". Others go unanswered.
class ScanTest : public testing::Test {
 protected:
   ScanTest() {
      service.spoil = [ this ]( Smbus::TransactionResponse& reply ) { judge( reply ); };
   }

   void judge( Smbus::TransactionResponse& reply ) {
      int probe = service.batch.request_size() / 2;
      if ( service.batch.request_size() == 0 ) {
         return;
      }
      const Smbus::Request& request = service.batch.request( probe );
      std::string key = fmt::format( "{} {} 0x{:02x}", probe, int{ request.mastertype() },
                                     request.address() & 0x7F );
      ++probes[ key ];
      batches[ key ] = service.requests;
      auto failure = failures.find( key );
      if ( failure == failures.end() ) {
         fail( reply, probe, { ENXIO, "no acknowledge" } );
      } else if ( failure->second.error ) {
         fail( reply, probe, failure->second );
      }
   }

   static void fail( Smbus::TransactionResponse& reply, int probe, const Failure& failure ) {
      reply.Clear();
      reply.set_failure( failure.error );
      reply.mutable_details()->set_reason( failure.reason );
      reply.mutable_details()->set_request( static_cast< uint32_t >( probe + failure.offset ) );
      reply.mutable_details()->set_device( 0x71 );
   }

   Outcome scan( const std::string& arguments ) {
      return lumen( "--board Boards/demo scan " + arguments );
   }

   std::map< std::string, Failure > failures;
   std::map< std::string, int > probes;
   std::map< std::string, std::vector< std::string > > batches;
   FakeService service{ { &FakeService::serve, &FakeService::serve } };
};

TEST( Scan, FindsTheEmulatedBoardAsItIsDeclared ) {
   for ( const char* board : { "demo", "minimal", "poe48" } ) {
      Outcome outcome = lumen( fmt::format( "--board Boards/{} --emulate scan", board ) );
      EXPECT_EQ( outcome.status, 0 ) << outcome.output << outcome.errors;
      EXPECT_THAT( outcome.output, HasSubstr( ", and none that is not declared\n" ) );
   }
}

TEST_F( ScanTest, TellsWhatAnswersFromWhatIsDeclared ) {
   failures = { { "0 7 0x70", {} },
                { "0 7 0x30", { EACCES, "not allowed" } },
                { "0 7 0x31", { EBUSY, "held by lm75" } },
                { "1 7 0x71", {} },
                { "2 7 0x22", {} },
                { "2 7 0x48", { EIO, "short answer" } } };
   Outcome outcome = scan( "fpga3" );
   EXPECT_EQ( outcome.status, 1 ) << outcome.errors;
   for ( const char* text : {
            "\n40: -- -- -- -- -- -- -- -- -- xx -- ",
            "\n30: UU UU -- ",
            "\n0x31     -            -        held: held by lm75\n",
            "\n0x49     fpga3<0x49>  TMP75    does not answer\n"
            "0x70     fpga3<0x70>  PCA9548  ok\nrefused: not allowed: 0x30\n",
            "\noptics-port2 (fpga3 0x70:0x01 0x71:0x02)\n",
            "\n20: -- -- 22 -- ",
            "\n0x22     -                   -      answers, not declared\n",
            "\n0x48     optics-port1<0x48>  TMP75  failed: short answer\n",
            "\n70: ^^ ^^ -- -- -- -- -- --\n",
            "\nanswer as well at fpga3: 0x70\nanswer as well at fpga3 0x70:0x01: 0x71\n",
         } ) {
      EXPECT_THAT( outcome.output, HasSubstr( text ) );
   }
   EXPECT_EQ( probes[ "1 7 0x70" ], 0 );
   EXPECT_THAT( batches[ "2 7 0x48" ],
                ElementsAre( "write 0 reg 01 address 020001f0", "write 0 reg 02 address 020001f1",
                             "read 0 reg 00 address 020001c8", "write 0 reg 00 address 020001f1",
                             "write 0 reg 00 address 020001f0" ) );
}

TEST_F( ScanTest, LeavesAFailingAdapterAloneAndGoesOnWithTheOthers ) {
   failures = { { "0 1 0x10", { ETIMEDOUT, "timed out" } },
                { "0 7 0x70", {} },
                { "1 7 0x0a", { ENXIO, "no acknowledge", -1 } } };
   std::string json = scan( "--json" ).output;
   EXPECT_EQ( probes[ "0 1 0x0f" ], 1 );
   EXPECT_EQ( probes[ "0 1 0x11" ], 0 );
   EXPECT_EQ( probes[ "0 2 0x77" ], 4 );
   EXPECT_EQ( probes[ "1 7 0x0b" ], 0 ) << "its mux does not answer";
   EXPECT_EQ( probes[ "2 7 0x08" ], 0 ) << "it is behind that";
   EXPECT_THAT( json, HasSubstr( "\"problem\": \"timed out\"" ) );
   EXPECT_THAT( json, HasSubstr( "\"problem\": \"mux 0x71 on the way to fpga3 0x70:0x01: no "
                                 "acknowledge\"" ) );
   EXPECT_THAT( json, HasSubstr( "\"state\": \"not reached\"" ) );
   EXPECT_THAT( json, HasSubstr( "\"error\": null,\n  \"ok\": false\n" ) );
}

TEST_F( ScanTest, EndsWithTheService ) {
   setenv( "PL_SMBUS_TIMEOUT_MS", "300", 1 );
   failures = { { "0 2 0x09", { 0, "" } } };
   service.answers = [ this ]( const Smbus::Request& ) {
      return probes[ "0 2 0x08" ] ? std::string( 2 << 20, 'x' ) : "";
   };
   Outcome outcome = scan( "" );
   EXPECT_EQ( outcome.status, 1 );
   EXPECT_THAT( outcome.output, Not( HasSubstr( "scd0" ) ) );
   EXPECT_THAT( outcome.errors, HasSubstr( "lumen: the scan ends: SMBus service at " ) );
}

}  // namespace
}  // namespace Tests
