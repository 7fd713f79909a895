#include <gtest/gtest.h>

#include <sstream>
#include <stdexcept>
#include <thread>

#include "SmbusService/Emulator/Chips/Factory.h"

// What the chips do beside what their drivers use.

namespace SmbusService::Emulator {
namespace {

std::string bytesOf( const std::string& hex ) {
   std::string bytes;
   for ( size_t i = 0; i + 1 < hex.size(); i += 2 ) {
      bytes += static_cast< char >( std::stoi( hex.substr( i, 2 ), nullptr, 16 ) );
   }
   return bytes;
}

bool write( Chip& chip, const std::string& bytes ) {
   bool acknowledged = chip.start( Direction::kWrite );
   for ( char byte : bytes ) {
      chip.write( static_cast< uint8_t >( byte ) );
   }
   return acknowledged;
}

std::string read( Chip& chip, int count ) {
   std::string hex = " ";
   chip.start( Direction::kRead );
   while ( count-- > 0 ) {
      int byte = chip.read();
      hex += "0123456789abcdef"[ byte >> 4 ];
      hex += "0123456789abcdef"[ byte & 15 ];
   }
   chip.stop();
   return hex;
}

// ">0480" writes bytes, "<04:2" writes 04 and reads two bytes, "<:1" reads one, "reset" powers on,
// "low=-4" sets a quantity, "low" reads it. What was read, each after a blank.
std::string run( Chip& chip, const std::string& steps ) {
   std::ostringstream answers;
   std::istringstream words( steps );
   for ( std::string word; words >> word; ) {
      size_t mark = word.find_first_of( ":=" );
      std::string value = mark == std::string::npos ? "" : word.substr( mark + 1 );
      if ( word[ 0 ] == '>' ) {
         EXPECT_TRUE( write( chip, bytesOf( word.substr( 1 ) ) ) );
         chip.stop();
      } else if ( word[ 0 ] == '<' ) {
         if ( mark > 1 ) {
            write( chip, bytesOf( word.substr( 1, mark - 1 ) ) );
         }
         answers << read( chip, std::stoi( value ) );
      } else if ( word == "reset" ) {
         chip.reset();
      } else if ( !value.empty() ) {
         chip.set( word.substr( 0, mark ), std::stod( value ) );
      } else {
         answers << ' ' << chip.get( word );
      }
   }
   return answers.str();
}

TEST( ModelsTest, BehaveAsTheirDataSheetsSay ) {
   struct Row {
      const char* model;
      const char* steps;
      const char* answers;
   };
   const Row rows[] = {
      { "TMP75", "temperature=-0.125 <00:2 >0120 <00:2 >0140 <00:2 >0160 <00:2",
        " ff80 ffc0 ffe0 ffe0" },
      { "TMP75", "temperature=20 >0101 temperature=30 <00:2 >0181 <01:1 <00:2 >0100 <00:2",
        " 1400 01 1e00 1e00" },
      { "TMP75", "<02:2 >0355ff <03:2 <:1 >0311 <03:2 highLimit", " 4b00 55f0 55 55f0 85.9375" },
      { "LM73", "temperature=-0.03125 >0400 <00:2 >0420 <00:2 >0440 <00:2 >0460 <00:2",
        " ffe0 fff0 fff8 fffc" },
      { "LM73", "temperature=25 highLimit=20 <04:1 >0150 <04:1", " 05 0d" },
      { "LM73", "temperature=20 lowLimit=30 <04:1 >02321f highLimit", " 0b 100" },
      { "TMP468", "temperature0=255 therm2Limit0=254 <22:2 <21:2", " 0080 0000" },
      { "TMP468", ">422a80 thermLimit1 >c4eb19 <c4:2 >422a80 thermLimit1 >c45ca6 <c4:2 >420000",
        " 255.5 0000 85 8000" },
      { "TMP464", "temperature4=25 fault4=1 fault1=1 <04:2 <23:2 <ff:2", " 8000 0900 1464" },
      { "Max6697", "fault3=1 fault6=1 <03:1 <46:1", " ff 48" },
      { "Max6697", "temperature7=91 fault3=1 <44:1", " 40" },
      { "Max6697", "temperature6=91 temperature3=120 <45:1", " 20" },
      { "Max6658", "temperature0=90 fault1=1 <01:1 <10:1 <02:1", " 80 00 45" },
      { "Max6658", "temperature1=-56 <02:1", " 08" },
      { "Max6658", ">091f <03:1 >0e1e <08:1 >201d <20:1 >0355 <03:1", " 1f 1e 1d 1f" },
      { "Max6658", "temperature1=30.5 fault1=1 >0d3c reset <01:1 alertLimit1 fault1=0 <01:1",
        " 80 70 1e" },
      { "Isl6812x", "temperature0=55 temperature1=66 >0001 <8d:2 >516900 >0002 <00:1 >0000 <51:2",
        " 4200 01 6e00" },
      { "Isl6812x", ">00ff >4f2c01 faultLimit0 faultLimit1", " 300 300" },
      { "PCA9548", "<:1 >a5 <:1 >0102 <:1 channels=4 <:1 reset channels", " 00 a5 02 04 0" },
      { "PCA9555", "<00:2 <02:2 <04:2 <06:2", " ffff ffff 0000 ffff" },
      { "PCA9555", ">02123456 <02:3 >03789a <03:3 <04:2", " 563456 789a78 0000" },
      { "PCA9555", "pin0=0 pin15=0 <00:2 input0 >020f00 <00:2 >06f0ff <00:2 pin0 reset <00:2",
        " fe7f 254 fe7f ff7f 1 fe7f" },
      { "PCA9555", "input1=165 pin8 pin9 pin9=1 >0481ff <00:2 pin0 >005555 <00:2",
        " 1 0 7e58 1 7e58" },
   };
   for ( const auto& [ model, steps, answers ] : rows ) {
      auto chip = newChip( model );
      chip->reset();
      EXPECT_EQ( run( *chip, steps ), answers ) << model << ": " << steps;
   }
}

TEST( ModelsTest, RefuseWhatTheChipCannotBe ) {
   for ( auto [ model, quantity, low, high ] :
         { std::tuple( "Max6697", "temperature1", 0.0, 127.875 ),
           std::tuple( "Max6697", "temperature7", 0.0, 127.0 ),
           std::tuple( "TMP468", "temperature8", -256.0, 255.9375 ),
           std::tuple( "PCA9548", "channels", 0.0, 255.0 ),
           std::tuple( "PCA9555", "pin9", 0.0, 1.0 ),
           std::tuple( "PCA9555", "input0", 0.0, 255.0 ) } ) {
      auto chip = newChip( model );
      chip->reset();
      for ( double value : { low, high } ) {
         chip->set( quantity, value );
         EXPECT_EQ( chip->get( quantity ), value ) << model;
      }
      for ( double value : { low - 1, high + 1, std::stod( "nan" ) } ) {
         EXPECT_THROW( chip->set( quantity, value ), std::invalid_argument ) << model << value;
      }
      EXPECT_THROW( chip->get( "humidity" ), std::invalid_argument );
      EXPECT_THROW( chip->set( "humidity", low ), std::invalid_argument );
   }
}

TEST( ModelsTest, AnEEPROMReadsOnAndWritesPages ) {
   auto chip = newChip( "EEPROM" );
   chip->load( "0011 2233 445566" );
   EXPECT_EQ( run( *chip, "<02:3 <:1 <ff:2" ), " 223344 55 ff00" );
   run( *chip, ">0661626364" );
   EXPECT_FALSE( chip->start( Direction::kRead ) ) << "deaf while it programs";
   std::this_thread::sleep_for( std::chrono::milliseconds( 6 ) );
   EXPECT_EQ( run( *chip, "<00:9" ), " 6364223344556162ff" ) << "the page wraps";
   chip->load( "Plain text" );
   EXPECT_EQ( run( *chip, "<00:3" ), " 506c61" );
}

}  // namespace
}  // namespace SmbusService::Emulator
