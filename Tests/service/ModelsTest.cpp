#include <gmock/gmock.h>

#include <numeric>

#include "SmbusService/Emulator/Chips/Factory.h"
#include "SmbusService/Emulator/Chips/Rotor.h"
#include "SmbusService/Emulator/RegisterChip.h"
#include "Tests/service/Steps.h"

// What the chips do beside what their drivers use.

namespace {

using namespace SmbusService::Emulator;
using Tests::ChipBoard;
using Tests::textOf;

TEST( ModelsTest, BehaveAsTheirDataSheetsSay ) {
   std::istringstream lines( textOf( LUMEN_SOURCE_DIR "/Tests/service/models.txt" ) );
   size_t rows = 0;
   for ( std::string line; std::getline( lines, line ); ) {
      size_t colon = line.find( ": " );
      size_t arrow = line.find( " -> " );
      if ( !line.starts_with( '#' ) ) {
         ChipBoard board( newChip( line.substr( 0, colon ) ) );
         EXPECT_EQ( board.run( line.substr( colon + 2, arrow - colon - 2 ) ),
                    line.substr( arrow + 4 ) + " " )
            << line;
         ++rows;
      }
   }
   EXPECT_GT( rows, 20u );
}

TEST( ModelsTest, KeepWhatIsMeasuredThroughAReset ) {
   ChipBoard sensor( newChip( "Max6658" ) );
   sensor.run( "temperature1=30.5 fault1=1 >0d3c" );
   ChipBoard pins( newChip( "PCA9555" ) );
   pins.run( "pin0=0 >020f00 >06f0ff" );
   ChipBoard fans( newChip( "CpuCPLD" ) );
   fans.run( "present1=1 type1=4 stopped1=1 present2=1 >1000 >1100 >24fe" );
   for ( ChipBoard* board : { &sensor, &pins, &fans } ) {
      board->unplug( 1 );
      board->plug( 1 );
   }
   EXPECT_EQ( sensor.run( "<01:1 alertLimit1 fault1=0 <01:1" ), "80 70 1e " );
   EXPECT_EQ( pins.run( "<00:2" ), "feff " );
   EXPECT_EQ( fans.run( "<21:1 type1 rpm1 duty1 green1 rpm2 <02:1" ), "fc 4 0 255 0 10000 b8 " );
}

TEST( ModelsTest, RefuseWhatTheChipCannotBe ) {
   for ( auto [ model, quantity, low, high ] :
         { std::tuple( "Max6697", "temperature1", 0.0, 127.875 ),
           std::tuple( "TMP468", "temperature8", -256.0, 255.9375 ),
           std::tuple( "PCA9548", "channels", 0.0, 255.0 ),
           std::tuple( "BCM59121", "class47", 0.0, 8.0 ), std::tuple( "PCA9555", "pin9", 0.0, 1.0 ),
           std::tuple( "CpuCPLD", "type8", 0.0, 255.0 ),
           std::tuple( "MorrowFanspinnerController", "minRpm", 100.0, 60000.0 ) } ) {
      auto chip = newChip( model );
      chip->reset();
      chip->set( quantity, low );
      chip->set( quantity, high );
      EXPECT_EQ( chip->get( quantity ), high ) << model;
      for ( double value : { low - 1, high + 1, std::stod( "nan" ) } ) {
         EXPECT_THROW( chip->set( quantity, value ), std::invalid_argument ) << model << value;
      }
      EXPECT_THROW( chip->get( "humidity" ), std::invalid_argument );
   }
}

TEST( ModelsTest, AnEEPROMReadsOnAndWritesPages ) {
   auto chip = newChip( "EEPROM" );
   Chip& memory = *chip;
   memory.load( "0011 2233 445566" );
   ChipBoard board( std::move( chip ) );
   EXPECT_EQ( board.run( "<02:3 < <ff:2 >0661626364" ), "223344 55 ff00 - " );
   EXPECT_FALSE( memory.start( Direction::kRead ) ) << "deaf while it programs";
   std::this_thread::sleep_for( std::chrono::milliseconds( 6 ) );
   EXPECT_EQ( board.run( "<00:9" ), "6364223344556162ff " ) << "the page wraps";
   memory.load( "Plain text" );
   EXPECT_EQ( board.run( "<00:3" ), "506c61 " );
}

// A text of one byte is padded; the board area comes with the first of its texts.
TEST( ModelsTest, AFruMemoryHoldsItsFields ) {
   auto chip = newChip( "MorrowFanspinnerIdprom" );
   Chip& memory = *chip;
   ChipBoard board( std::move( chip ) );
   const std::string product = "010319c25820c0c0c0c3533132c0c0c100000000000000af";
   memory.describe( "serialNumber", "S12" );
   memory.describe( "manufacturer", "X" );
   EXPECT_EQ( board.run( "<00:33" ), "01000000010000fe" + product + "ff " );
   memory.describe( "boardPartNumber", "P9" );
   EXPECT_EQ( board.run( "<00:49" ),
              "01000001030000fb"
              "010219000000c0c0c0c25039c0c100d8" +
                 product + "ff " );
}

// Sends a message, whose last bytes may be left out where they are ff, and fetches its answer, both
// without their sums.
std::string ask( ChipBoard& board, const std::string& message, size_t size = 12 ) {
   std::string bytes = Tests::bytesOf( message );
   bytes.resize( size - 1, '\xff' );
   bytes += static_cast< char >( std::accumulate( bytes.begin(), bytes.end(), 0 ) );
   return board.run( ">" + Tests::hex( bytes ) + " <ff:12" ).substr( 2, 22 );
}

// An image of 30 bytes, "A" to "^". Power is lost after each step.
TEST( ModelsTest, APoeControllerHasNewFirmwareOrNone ) {
   const std::string first = "d2ff0000" + Tests::hex( "ABCDEFGHIJKLMNOPQRSTUVWX" );
   const std::string last = "d2ff0001" + Tests::hex( "YZ[\\]^" );
   struct Step {
      std::string request;
      size_t size;
      std::string answer;
   };
   const std::vector< Step > steps = {
      { "d0ff434c5221", 12, "d0ff00" }, { "d1ff0000001e0702", 12, "d1ff00" },
      { first, 29, "d2ff000000" },      { "d2ff0000", 29, "d2ff000000" },
      { last, 29, "d2ff000100" },       { "d3ff91088cc6", 12, "d3ff00" },
      { "d3ff91088cc6", 12, "d3ff00" }, { "d4", 12, "d4ff00" },
   };
   for ( size_t done = 0; done <= steps.size(); ++done ) {
      ChipBoard board( newChip( "BCM59121" ) );
      ask( board, "00ff0001" );
      ask( board, "e0f0" );
      board.run( "busy=0 device0=1" );
      for ( size_t i = 0; i < done; ++i ) {
         EXPECT_THAT( ask( board, steps[ i ].request, steps[ i ].size ),
                      testing::StartsWith( steps[ i ].answer ) )
            << i;
         EXPECT_EQ( board.run( "busy=0 powered0" ), "0 " );
      }
      board.unplug( 1 );
      board.plug( 1 );
      const char* expected = done == 0              ? "0 1 1 20ff023000912101000200"
                             : done == steps.size() ? "0 0 0 20ff023000912107000202"
                                                    : "1 0 1 afffffffffffffffffffff";
      std::string state = board.run( "busy=0 firmwareMissing powered0 enabled0" );
      EXPECT_EQ( state + ask( board, "20" ), expected );
      if ( done > 0 && done < steps.size() ) {
         std::string refused = steps[ done ].answer;
         refused.back() = '1';
         EXPECT_THAT( ask( board, steps[ done ].request, steps[ done ].size ),
                      testing::StartsWith( refused ) )
            << "goes on after step " << done;
      }
   }
}

TEST( RotorTest, FollowsWithAFirstOrderLag ) {
   using std::chrono::milliseconds;
   Rotor rotor;
   Rotor::Clock::time_point start( std::chrono::hours( 1 ) );
   rotor.setRange( 1000, 6100 );
   EXPECT_EQ( rotor.rpm( start ), 6100 ) << "at once when mounted";
   rotor.setDuty( 0, start );
   EXPECT_NEAR( rotor.rpm( start + Rotor::kLag ), 1000 + 5100 / 2.71828, 1 );
   EXPECT_EQ( rotor.rpm( start + Rotor::kSettling ), 1000 );
   // The same duty again does not disturb it, another one sets out from where it is.
   rotor.setDuty( 0, start + milliseconds( 800 ) );
   EXPECT_EQ( rotor.rpm( start + Rotor::kSettling ), 1000 );
   rotor.setDuty( 255, start + Rotor::kLag );
   EXPECT_NEAR( rotor.rpm( start + Rotor::kLag ), 1000 + 5100 / 2.71828, 1 );
   auto later = start + std::chrono::hours( 1 );
   rotor.setBlocked( true, later );
   EXPECT_EQ( rotor.rpm( later ), 0 );
   rotor.setBlocked( false, later );
   EXPECT_NEAR( rotor.rpm( later + Rotor::kLag ), 6100 - 6100 / 2.71828, 1 );
}

// Its pointer advances, and register 0x20 is a block.
class BlockChip : public RegisterChip {
 public:
   explicit BlockChip( ByteOrder order ) : RegisterChip( order, kRegisters, kQuantities ) {
      blocks()[ 0x20 ] = "abc";
   }
   uint8_t following( uint8_t number ) const override { return number + 1; }

 private:
   static constexpr Register kRegisters[] = {
      { .number = 0x10, .bytes = 2, .reset = 0x1234, .writable = 0xffff },
      { .number = 0x11, .bytes = 1, .reset = 0x56, .writable = 0x0f },
   };
   static constexpr Quantity kQuantities[] = {
      { .name = "low", .number = 0x10, .step = 0.5, .bits = 4, .isSigned = false },
      { .name = "high", .number = 0x10, .step = 0.5, .bits = 4, .shift = 12 },
   };
};

TEST( RegisterChipTest, ServesWordsBytesAndBlocks ) {
   using namespace Tests;
   for ( bool highFirst : { true, false } ) {
      ChipBoard board( std::make_unique< BlockChip >( highFirst ? ByteOrder::kHighFirst
                                                                : ByteOrder::kLowFirst ) );
      EXPECT_EQ( board.run( "<10:4 >11ff <11:1" ),
                 highFirst ? "123456ff - 5f " : "341256ff - 5f " );
      Smbus::Request block = request( Smbus::REQUEST_BLOCK_READ, 0x48, 0x20, 0 );
      EXPECT_EQ(
         execute(
            board,
            batchOf( { block, readBytes( 0x48, 0x20, 5 ),
                       request( Smbus::REQUEST_BLOCK_WRITE, 0x48, 0x20, 2, "xy" ), block,
                       request( Smbus::REQUEST_PROCESS_CALL, 0x48, 0x10, 2, "\x78\x9a" ) } ) ),
         "616263 03616263ff - 7879 5fff" );
      // A wide register number is just more bytes, most significant first.
      Smbus::Request wide = writeBytes( 0x48, 0x10010203, "\x04" );
      wide.set_address( 0x48 );
      execute( board, batchOf( { wide } ) );
      EXPECT_EQ( board.run( "<10:3 >10789a" ), "010253 - " );
      EXPECT_EQ( board.run( "low high high=-1 <10:2" ),
                 highFirst ? "5 3.5 e89a " : "4 -3.5 78ea " );
   }
}

}  // namespace
