#include <gmock/gmock.h>

#include <atomic>

#include "SmbusService/Emulator/Control.h"
#include "Tests/service/Support.h"

using namespace Tests;
using namespace SmbusService;
using testing::HasSubstr;

TEST( ControlTest, AnswersEachOperation ) {
   BoardFolder folder( kSensorTopology, kSensorEmulation );
   auto board = folder.load();
   auto ask = [ & ]( const char* request ) { return Emulator::answerControl( *board, request ); };
   auto reading = [ & ] { return execute( *board, batchOf( { readBytes( 0x48, 0, 2 ) } ) ); };

   EXPECT_EQ( ask( R"({"op":"set","did":16,"quantity":"temperature","value":85.5})" ),
              R"({"ok":true})" );
   EXPECT_EQ( reading(), "5580" );
   EXPECT_EQ( ask( R"({"op":"get","did":16,"quantity":"temperature"})" ),
              R"({"ok":true,"value":85.5})" );
   EXPECT_EQ( ask( R"({"op":"fault","did":16,"kind":"timeout","skip":1})" ), R"({"ok":true})" );
   EXPECT_EQ(
      ask( R"({"op":"list"})" ),
      R"({"ok":true,"chips":[{"did":16,"model":"TMP75","address":72,"plugged":true,"faults":1,)"
      R"("quantities":{"temperature":85.5,"lowLimit":75.0,"highLimit":80.0}}]})" );
   EXPECT_EQ( reading(), "5580" );
   EXPECT_THAT( reading(), HasSubstr( "timed out" ) );
   EXPECT_EQ( ask( R"({"op":"unplug","did":16})" ), R"({"ok":true})" );
   EXPECT_THAT( reading(), HasSubstr( "no acknowledge" ) );
   EXPECT_EQ( ask( R"({"op":"plug","did":16})" ), R"({"ok":true})" );
   EXPECT_EQ( reading(), "5580" );

   struct Row {
      const char* request;
      const char* error;
   };
   for ( const Row& row : {
            Row{ "", "request: line 1, column 1: The document is empty." },
            Row{ "[]", "request: must be an object" },
            Row{ "{}", "request: \\\"op\\\" is missing" },
            Row{ R"({"op":"dance","did":16})",
                 "request: /op: unknown operation 'dance'; there are "
                 "list, set, get, unplug, plug, fault" },
            Row{ R"({"op":"get","did":-1})", "request: /did: must be an unsigned integer" },
            Row{ R"({"op":"plug","did":9})", "no chip has device id 9" },
            Row{ R"({"op":"get","did":16,"quantity":"x"})",
                 "unknown quantity 'x'; this chip has temperature, lowLimit, highLimit" },
            Row{ R"({"op":"fault","did":16})", "request: \\\"kind\\\" is missing" },
            Row{ "{\"op\":\"get\",\"did\":16,\"quantity\":\"\xff\"}",
                 "unknown quantity '?'; this chip has temperature, lowLimit, highLimit" },
         } ) {
      EXPECT_EQ( ask( row.request ),
                 std::string( R"({"ok":false,"error":")" ) + row.error + "\"}" );
   }
}

TEST( ControlTest, SocketTakesALineAtATimeWhileBatchesRun ) {
   BoardFolder folder( kSensorTopology, kSensorEmulation );
   auto board = folder.load();
   Emulator::Control control( *board, folder.path() + "/control" );
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
      const char* value = i % 2 ? "42.5" : "85.5";
      client.send( std::string( R"({"op":"set","did":16,"quantity":"temperature","value":)" ) +
                   value +
                   "}\n"
                   R"({"op":"get","did":16,"quantity":"temperature"})"
                   "\n" );
      std::string answers = std::string( "{\"ok\":true}\n{\"ok\":true,\"value\":" ) + value + "}\n";
      EXPECT_EQ( receiveBytes( client.descriptor(), answers.size() ), answers );
   }
   done = true;
   reader.join();
   client.send( std::string( 70000, 'x' ) );
   EXPECT_EQ( client.receive(), "closed" ) << "a line without end";
}
