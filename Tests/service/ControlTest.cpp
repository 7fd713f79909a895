#include <gmock/gmock.h>

#include <atomic>

#include "BoardFiles/Documents.h"
#include "SmbusService/Control.h"
#include "SmbusService/ControlSocket.h"
#include "SmbusService/WireLog.h"
#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;
using testing::HasSubstr;

TEST( ControlTest, AnswersEachOperation ) {
   BoardFolder folder( kSensorTopology, kSensorEmulation );
   auto board = folder.load();
   WireLog log;
   const std::pair< const char*, const char* > rows[] = {
      { R"({"op":"set","did":16,"quantity":"temperature","value":85.5})", R"({"ok":true})" },
      { R"({"op":"get","did":16,"quantity":"temperature"})", R"({"ok":true,"value":85.5})" },
      { R"({"op":"fault","did":16,"kind":"timeout","skip":1})", R"({"ok":true})" },
      { R"({"op":"unplug","did":16})", R"({"ok":true})" },
      { R"({"op":"list"})", R"({"ok":true,"chips":[{"did":16,"model":"TMP75","address":72,)"
                            R"("plugged":false,"faults":1,"quantities":{"temperature":85.5,)"
                            R"("lowLimit":75.0,"highLimit":80.0}}]})" },
      { R"({"op":"plug","did":16})", R"({"ok":true})" },
      { "{\n\"op\":}", R"({"ok":false,"error":"request:2:6: Invalid value."})" },
      { R"({"op":"set","did":-1})",
        R"({"ok":false,"error":"request: member \"quantity\" is missing; request: member )"
        R"(\"value\" is missing; request: /did: must be at least 0"})" },
      { R"({"op":"dance"})",
        R"({"ok":false,"error":"request: /op: must be \"list\", \"set\", \"get\", \"unplug\", )"
        R"(\"plug\", \"fault\", \"clear\" or \"log\", not \"dance\""})" },
      { R"({"op":"list","did":16})", R"({"ok":false,"error":"request: /did: unknown member"})" },
      { R"({"op":"fault","did":16,"kind":"nak","count":0})",
        R"({"ok":false,"error":"request: /count: must be at least 1"})" },
      { R"({"op":"plug","did":9})", R"({"ok":false,"error":"no chip has device id 9"})" },
      { R"({"op":"set","did":16,"quantity":"temperature","value":128})",
        R"({"ok":false,"error":"'temperature' can be -128 to 127.9375 on this chip, not 128"})" },
   };
   for ( const auto& [ request, answer ] : rows ) {
      EXPECT_EQ( answerControl( { log, board.get() }, request ), answer );
      std::vector< BoardFiles::Finding > findings;
      EXPECT_TRUE( BoardFiles::readControlAnswer( answer, findings ).sound ) << answer;
   }
   auto reading = [ & ] { return execute( *board, batchOf( { readBytes( 0x48, 0, 2 ) } ) ); };
   EXPECT_EQ( reading(), "5580" );
   EXPECT_THAT( reading(), HasSubstr( "timed out" ) );
   for ( const char* clear : { R"({"op":"clear","did":16})", R"({"op":"clear"})" } ) {
      board->addFault( 16, { BoardFiles::FaultKind::kNak } );
      EXPECT_EQ( answerControl( { log, board.get() }, clear ), R"({"ok":true})" );
      EXPECT_EQ( reading(), "5580" ) << clear;
   }
}

TEST( ControlTest, SocketTakesALineAtATimeWhileBatchesRun ) {
   BoardFolder folder( kSensorTopology, kSensorEmulation );
   auto board = folder.load();
   WireLog log;
   auto answer = [ & ]( auto line ) { return answerControl( { log, board.get() }, line ); };
   ControlSocket control( answer, folder.path() + "/control" );
   RawClient silent( folder.path() + "/control" );
   RawClient client( folder.path() + "/control" );
   std::atomic< bool > done = false;
   std::thread reader( [ & ] {
      while ( !done ) {
         std::string bytes = execute( *board, batchOf( { readBytes( 0x48, 0, 2 ) } ) );
         EXPECT_TRUE( bytes == "2a80" || bytes == "5580" ) << bytes;
      }
   } );
   for ( int i = 0; i < 200; ++i ) {
      std::string value = i % 2 ? "42.5" : "85.5";
      client.send( R"({"op":"set","did":16,"quantity":"temperature","value":)" + value +
                   "}\n{\"op\":\"get\",\"did\":16,\"quantity\":\"temperature\"}\n" );
      std::string answers = "{\"ok\":true}\n{\"ok\":true,\"value\":" + value + "}\n";
      EXPECT_EQ( receiveBytes( client.descriptor(), answers.size() ), answers );
   }
   done = true;
   reader.join();
   client.send( std::string( 70000, 'x' ) );
   std::string refusal = "{\"ok\":false,\"error\":\"the line is longer than 65536 bytes\"}\n";
   EXPECT_EQ( receiveBytes( client.descriptor(), refusal.size() + 1 ), refusal );
}

TEST( ControlTest, SilentClientsGiveTheirPlacesToOthers ) {
   TemporaryDirectory directory;
   std::string path = directory.path() / "control";
   for ( auto leastIdle :
         { std::chrono::milliseconds( 0 ), std::chrono::milliseconds( 3600'000 ) } ) {
      PlaceLimits places{ .all = 2, .roots = 0, .ofUser = 2, .leastIdle = leastIdle };
      ControlSocket control( []( auto line ) { return std::string( line ); }, path, places );
      RawClient first( path );
      RawClient second( path );
      RawClient third( path );
      third.send( "hello\n" );
      EXPECT_EQ( receiveBytes( third.descriptor(), 6 ),
                 leastIdle.count() ? "{\"ok\":" : "hello\n" );
      EXPECT_EQ( first.receive( leastIdle.count() ? 20 : 10000 ),
                 leastIdle.count() ? "silence" : "closed" );
   }
}
