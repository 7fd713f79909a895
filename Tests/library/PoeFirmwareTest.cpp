#include <gmock/gmock.h>

#include <cstdlib>
#include <fstream>

#include "Drivers/BCM59121/FirmwareImage.h"
#include "Tests/support/PoeController.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"

using namespace std::string_literals;
using namespace testing;
using Drivers::Poe::crc32;
using Outcome = std::pair< pl_status, std::string >;

namespace {

constexpr size_t kBlock = 24;
constexpr size_t kNever = 1000;
const std::string kPayload = "123456789, the last block of three is not full: 123456";
const std::string kBlocks = kPayload + std::string( 3 * kBlock - kPayload.size(), '\xFF' );
const std::string kKey =
   "\xFF"
   "CLR!";

std::string word( uint32_t number ) {
   return { static_cast< char >( number >> 24 ), static_cast< char >( number >> 16 ),
            static_cast< char >( number >> 8 ), static_cast< char >( number ) };
}

std::string image( const std::string& payload = kPayload, uint32_t crc = crc32( kPayload ) ) {
   return "LPSE" + word( static_cast< uint32_t >( payload.size() ) ) + word( crc ) + "\7\1\0\0"s +
          payload;
}

// A controller whose firmware can be replaced; its changes keep it busy for two answers.
class BootLoader : public Tests::PoeController {
 public:
   explicit BootLoader( const std::string& file = image(), const std::string& path = "." )
       : PoeController( "firmwarePath=" + path ) {
      std::ofstream( root.path() / "poe_firmware.bin", std::ios::binary ) << file;
      Drivers::Poe::firmwareRoot = root.path().c_str();
   }

   Outcome reprogram( bool force ) {
      char* text = nullptr;
      pl_status status = port( 3 )->reprogramPoeFirmware( force, &text );
      std::string kept = text ? text : "-";
      free( text );
      return { status, kept };
   }

   bool isRunning = false;
   std::string memory;
   size_t blocksUntilPowerFails = kNever;
   std::function< void() > onBlock = [] {};

 protected:
   std::string answerTo( uint8_t cmd, const std::string& rest ) override {
      if ( busy > 0 ) {
         --busy;
         return answer( 0xFF, "" );
      }
      busy = cmd == 0xD0 || cmd == 0xD4 ? 2 : 0;
      bool isGood = isErased;
      if ( cmd == 0xD0 ) {
         isErased = isGood = rest.starts_with( kKey );
         isRunning = false;
         memory.clear();
      } else if ( cmd == 0xD1 ) {
         isGood = isErased && rest.starts_with( '\xFF' + word( kPayload.size() ) + "\7\1" );
      } else if ( cmd == 0xD2 ) {
         return answer( cmd, fmt::format( "00{:02x}{}", rest[ 2 ], takes( rest ) ? "00" : "01" ) );
      } else if ( cmd == 0xD3 ) {
         isGood = memory == kBlocks && rest.starts_with( '\xFF' + word( crc32( kPayload ) ) );
      } else if ( cmd == 0xD4 ) {
         isRunning = isGood = memory == kBlocks;
      } else {
         return isRunning ? PoeController::answerTo( cmd, rest ) : answer( 0xAF, "" );
      }
      return answer( cmd, isGood ? "00" : "01" );
   }

 private:
   bool takes( const std::string& rest ) {
      onBlock();
      if ( blocksUntilPowerFails-- == 0 ) {
         isErased = false;
         memory.clear();
      }
      size_t place = kBlock * static_cast< uint8_t >( rest[ 2 ] );
      std::string message = '\xD2' + rest;
      char sum = message.back();
      Drivers::Poe::setCheckSum( message );
      bool isTaken = isErased && message.size() == 29 && message.back() == sum &&
                     ( place == memory.size() || place + kBlock == memory.size() );
      if ( isTaken ) {
         memory.replace( place, kBlock, rest.substr( 3, kBlock ) );
      }
      return isTaken;
   }

   Tests::TemporaryDirectory root;
   int busy = 0;
   bool isErased = false;
};

TEST( PoeFirmware, IsWrittenWhereThereIsNone ) {
   Tests::TraceLog traces;
   BootLoader controller;
   EXPECT_EQ( controller.port( 3 )->poePortInit(), PL_STATUS_OK );
   EXPECT_TRUE( controller.isRunning );
   EXPECT_THAT( traces.lines,
                IsSupersetOf( { "0 Clearing current image", "0 Writing firmware",
                                "0 Loading firmware", "0 Configuring 4-pair port mapping" } ) );
   controller.requests();
   controller.answers[ "20" ] = "000000000007000801";
   EXPECT_EQ( controller.reprogram( false ),
              Outcome( PL_STATUS_OK, "PoE firmware 7.1 is running." ) );
   EXPECT_EQ( controller.requests(), "20=ffffffffffffffffffff16 " );
   EXPECT_EQ( controller.reprogram( true ), Outcome( PL_STATUS_OK, "PoE firmware 7.1 loaded." ) );
   EXPECT_THAT( controller.requests(), StartsWith( "d0=ff434c5221ffffffffffcc " ) );
   EXPECT_EQ( controller.port( 3 )->poePortInit(), PL_STATUS_OK );
   EXPECT_THAT( controller.requests(), StartsWith( "20=ffffffffffffffffffff16 17=" ) );
}

TEST( PoeFirmware, BadImagesAreRefusedBeforeAnythingIsCleared ) {
   EXPECT_EQ( crc32( "123456789" ), 0xCBF43926 );
   const char* kNotFound = "PoE firmware not found.";
   const char* kPath = "PoE firmware path is not allowed.";
   const char* kLength = "PoE firmware has a wrong length.";
   const std::tuple< std::string, std::string, const char* > rows[] = {
      { "", ".", kNotFound },
      { image(), "other", kNotFound },
      { image(), "x/../.", kPath },
      { image(), "..", kPath },
      { image(), "/", kPath },
      { "LPSF" + image().substr( 4 ), ".", "PoE firmware is no image." },
      { image().substr( 0, 15 ), ".", kLength },
      { image().substr( 0, image().size() - 1 ), ".", kLength },
      { image() + "x", ".", kLength },
      { image( "", 0 ), ".", kLength },
      { image( std::string( 1'048'577, 'x' ) ), ".", kLength },
      { image( kPayload, 0 ), ".", "PoE firmware is damaged." },
   };
   for ( const auto& [ file, path, text ] : rows ) {
      BootLoader controller( file, path );
      EXPECT_EQ( controller.reprogram( true ), Outcome( PL_STATUS_FAILURE, text ) );
      EXPECT_THAT( controller.log, IsEmpty() );
   }
   char* text = nullptr;
   EXPECT_EQ( Tests::PoeController().port( 3 )->reprogramPoeFirmware( true, &text ),
              PL_STATUS_FAILURE );
   EXPECT_STREQ( text, kNotFound );
   free( text );
}

TEST( PoeFirmware, BeginsAnewAfterPowerWasLost ) {
   for ( size_t blocks = 0; blocks < 3; ++blocks ) {
      BootLoader controller;
      controller.blocksUntilPowerFails = blocks;
      EXPECT_EQ( controller.reprogram( false ),
                 Outcome( PL_STATUS_DEVICE_ERROR,
                          "Writing firmware: hardware error. PoE ports may have no power until it "
                          "is done again." ) );
      controller.blocksUntilPowerFails = kNever;
      EXPECT_EQ( controller.reprogram( false ).first, PL_STATUS_OK );
      EXPECT_TRUE( controller.isRunning );
   }
}

// The port map begins with the 27th transfer.
TEST( PoeFirmware, LostTransfersAreRepeated ) {
   for ( size_t step = 1; step <= 26; ++step ) {
      BootLoader controller;
      controller.failNth( step, PL_STATUS_FAILURE );
      EXPECT_EQ( controller.reprogram( true ).first, PL_STATUS_OK ) << step;
      EXPECT_TRUE( controller.isRunning );
   }
   BootLoader silent;
   silent.silent = 0xD2;
   EXPECT_EQ( silent.reprogram( true ).first, PL_STATUS_FAILURE );
   EXPECT_EQ( std::ranges::count( silent.log, "R12 ff" ), 1 + 3 + 1 + 4 );
}

TEST( PoeFirmware, NothingElseIsDoneMeanwhile ) {
   BootLoader controller;
   auto port = controller.port( 4 );
   controller.onBlock = [ & ] {
      float volts;
      EXPECT_EQ( port->getPoePortVoltage( &volts ), PL_STATUS_DEVICE_ERROR );
      EXPECT_EQ( port->poePortInit(), PL_STATUS_DEVICE_ERROR );
      EXPECT_EQ( port->setPoePortPse( true ), PL_STATUS_DEVICE_ERROR );
      EXPECT_EQ( controller.reprogram( true ), Outcome( PL_STATUS_DEVICE_ERROR, "-" ) );
   };
   EXPECT_EQ( controller.reprogram( true ).first, PL_STATUS_OK );
}

}  // namespace
