#include <gmock/gmock.h>

#include "SmbusService/Emulator/Chips/Factory.h"
#include "SmbusService/Emulator/RegisterChip.h"
#include "Tests/service/Steps.h"

// What the chips do beside what their drivers use.

namespace {

using namespace SmbusService::Emulator;
using Tests::ChipBoard;

TEST( ModelsTest, BehaveAsTheirDataSheetsSay ) {
   struct Row {
      const char* model;
      const char* steps;
      const char* answers;
   };
   const Row rows[] = {
      { "TMP75", "temperature=-0.125 <00:2 >0120 <00:2 >0140 <00:2 >0160 <00:2",
        "ff80 - ffc0 - ffe0 - ffe0 " },
      { "TMP75", "temperature=20 >0101 temperature=30 <00:2 >0181 <01:1 <00:2 >0100 <00:2",
        "- 1400 - 01 1e00 - 1e00 " },
      { "TMP75", "<02:2 >0355ff <03:2 < >0311 <03:2 highLimit", "4b00 - 55f0 55 - 55f0 85.9375 " },
      { "LM73", "temperature=-0.03125 >0400 <00:2 >0420 <00:2 >0440 <00:2 >0460 <00:2",
        "- ffe0 - fff0 - fff8 - fffc " },
      { "LM73", "temperature=25 highLimit=20 <04:1 >0150 <04:1", "05 - 0d " },
      { "LM73", "temperature=20 lowLimit=30 <04:1 >02321f highLimit", "0b - 100 " },
      { "TMP468", "temperature0=255 therm2Limit0=254 <22:2 <21:2", "0080 0000 " },
      { "TMP468", ">422a80 thermLimit1 >c4eb19 <c4:2 >422a80 thermLimit1 >c45ca6 <c4:2",
        "- 255.5 - 0000 - 85 - 8000 " },
      { "TMP464", "temperature4=25 fault4=1 fault1=1 <04:2 <23:2 <ff:2", "8000 0900 1464 " },
      { "Max6697", "fault3=1 fault6=1 <03:1 <46:1", "ff 48 " },
      { "Max6697", "temperature7=91 fault3=1 <44:1", "40 " },
      { "Max6697", "temperature6=91 temperature3=120 <45:1", "20 " },
      { "Max6658", "temperature0=90 fault1=1 <01:1 <10:1 <02:1", "80 00 45 " },
      { "Max6658", "temperature1=-56 <02:1", "08 " },
      { "Max6658", ">091f <03:1 >0e1e <08:1 >201d <20:1 >0355 <03:1", "- 1f - 1e - 1d - 1f " },
      { "Isl6812x", "temperature1=66 >0001 <8d:2 >516900 >0002 <00:1 >0000 <51:2",
        "- 4200 - - 01 - 6e00 " },
      { "Isl6812x", ">00ff >4f2c01 faultLimit0 faultLimit1", "- - 300 300 " },
      { "PCA9548", "< >a5 < >0102 < channels=4 <", "00 - a5 - 02 04 " },
      { "PCA9555", "<00:2 <02:2 <04:2 <06:2", "ffff ffff 0000 ffff " },
      { "PCA9555", ">02123456 <02:3 >03789a <03:3 <04:2", "- 563456 - 789a78 0000 " },
      { "PCA9555", "pin0=0 pin15=0 <00:2 input0 >020f00 <00:2 >06f0ff <00:2 pin0",
        "fe7f 254 - fe7f - ff7f 1 " },
      { "PCA9555", "input1=165 pin8 pin9 pin9=1 >0481ff <00:2 pin0 >005555 <00:2",
        "1 0 - 7e58 1 - 7e58 " },
   };
   for ( const auto& [ model, steps, answers ] : rows ) {
      EXPECT_EQ( ChipBoard( newChip( model ) ).run( steps ), answers ) << model << ": " << steps;
   }
}

TEST( ModelsTest, KeepWhatIsMeasuredThroughAReset ) {
   ChipBoard sensor( newChip( "Max6658" ) );
   sensor.run( "temperature1=30.5 fault1=1 >0d3c" );
   ChipBoard pins( newChip( "PCA9555" ) );
   pins.run( "pin0=0 >020f00 >06f0ff" );
   for ( ChipBoard* board : { &sensor, &pins } ) {
      board->unplug( 1 );
      board->plug( 1 );
   }
   EXPECT_EQ( sensor.run( "<01:1 alertLimit1 fault1=0 <01:1" ), "80 70 1e " );
   EXPECT_EQ( pins.run( "<00:2" ), "feff " );
}

TEST( ModelsTest, RefuseWhatTheChipCannotBe ) {
   for ( auto [ model, quantity, low, high ] :
         { std::tuple( "Max6697", "temperature1", 0.0, 127.875 ),
           std::tuple( "TMP468", "temperature8", -256.0, 255.9375 ),
           std::tuple( "PCA9548", "channels", 0.0, 255.0 ),
           std::tuple( "PCA9555", "pin9", 0.0, 1.0 ) } ) {
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
