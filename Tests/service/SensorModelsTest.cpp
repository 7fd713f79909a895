#include <gtest/gtest.h>

#include "SmbusService/Emulator/Chips/Models.h"

namespace {

using namespace SmbusService::Emulator;

using Bytes = std::vector< uint8_t >;
using Settings = std::vector< std::pair< std::string, double > >;

// A model and the transfers of a bus master, in bus order.
class Bench {
 public:
   explicit Bench( const char* model ) : chip( newChip( model ) ) { chip->reset(); }

   void write( uint8_t reg, const Bytes& bytes ) {
      chip->start( Direction::kWrite );
      chip->write( reg );
      for ( uint8_t byte : bytes ) {
         chip->write( byte );
      }
      chip->stop();
   }

   Bytes read( uint8_t reg, size_t count ) {
      chip->start( Direction::kWrite );
      chip->write( reg );
      chip->start( Direction::kRead );
      Bytes bytes( count );
      for ( uint8_t& byte : bytes ) {
         byte = chip->read();
      }
      chip->stop();
      return bytes;
   }

   void set( const Settings& settings ) {
      for ( const auto& [ quantity, value ] : settings ) {
         chip->set( quantity, value );
      }
   }

   std::unique_ptr< Chip > chip;
};

TEST( SensorModels, ShowDegreesInTheirRegisters ) {
   struct Row {
      const char* model;
      Settings settings;
      uint8_t reg;
      Bytes bytes;
   };
   const Row rows[] = {
      { "LM73", { { "temperature", 25.3 } }, 0x00, { 0x0c, 0xa0 } },
      { "LM73", { { "temperature", -0.2 } }, 0x00, { 0xff, 0xe0 } },
      { "LM73", { { "temperature", 25 }, { "highLimit", 20 } }, 0x04, { 0x05 } },
      { "LM73", { { "temperature", 20 }, { "lowLimit", 30 } }, 0x04, { 0x0b } },
      { "TMP468", { { "temperature8", -40.0625 } }, 0x08, { 0xeb, 0xf8 } },
      { "TMP468", { { "temperature0", 255 }, { "therm2Limit0", 254 } }, 0x22, { 0x00, 0x80 } },
      { "TMP468", { { "temperature0", 255 }, { "therm2Limit0", 254 } }, 0x21, { 0x00, 0x00 } },
      { "TMP464", { { "temperature4", 25 }, { "fault4", 1 } }, 0x04, { 0x80, 0x00 } },
      { "TMP464", { { "fault4", 1 }, { "fault1", 1 } }, 0x23, { 0x09, 0x00 } },
      { "Max6697", { { "temperature1", 42.9 } }, 0x01, { 42 } },
      { "Max6697", { { "temperature1", 42.9 } }, 0x09, { 0xe0 } },
      { "Max6697", { { "temperature7", -5 } }, 0x07, { 0 } },
      { "Max6697", { { "temperature6", 200 } }, 0x06, { 127 } },
      { "Max6697", { { "fault3", 1 } }, 0x03, { 0xff } },
      { "Max6697", { { "fault3", 1 }, { "fault6", 1 } }, 0x46, { 0x48 } },
      { "Max6697", { { "temperature7", 91 }, { "fault3", 1 } }, 0x44, { 0x40 } },
      { "Max6697", { { "temperature6", 91 }, { "temperature3", 120 } }, 0x45, { 0x20 } },
      { "Max6658", { { "temperature1", -9.625 } }, 0x01, { 0xf6 } },
      { "Max6658", { { "temperature1", -9.625 } }, 0x10, { 0x60 } },
      { "Max6658", { { "temperature0", 25.125 } }, 0x11, { 0x20 } },
      { "Max6658", { { "temperature1", 25 }, { "fault1", 1 } }, 0x01, { 0x80 } },
      { "Max6658", { { "temperature0", 90 }, { "fault1", 1 } }, 0x02, { 0x45 } },
      { "Max6658", { { "temperature1", -56 } }, 0x02, { 0x08 } },
      { "IR357x", { { "temperature2", 300 } }, 0x8e, { 0x2c, 0x01 } },
      { "MpsVrm", { { "temperature", 55 } }, 0x8d, { 55, 0 } },
      { "Isl6812x", { { "temperature0", 55 }, { "temperature1", 66 } }, 0x8d, { 55, 0 } },
   };
   for ( const auto& [ model, settings, reg, bytes ] : rows ) {
      Bench bench( model );
      bench.set( settings );
      EXPECT_EQ( bench.read( reg, bytes.size() ), bytes )
         << model << " " << settings[ 0 ].first << " " << settings[ 0 ].second;
   }
}

TEST( SensorModels, KeepWhatIsMeasuredThroughAReset ) {
   Bench bench( "Max6658" );
   bench.set( { { "temperature1", 30.5 }, { "fault1", 1 } } );
   bench.write( 0x0d, { 60 } );
   bench.chip->reset();
   EXPECT_EQ( bench.read( 0x01, 1 ), Bytes{ 0x80 } );
   bench.set( { { "fault1", 0 } } );
   EXPECT_EQ( bench.read( 0x01, 1 ), Bytes{ 30 } );
   EXPECT_EQ( bench.chip->get( "alertLimit1" ), 70 );
}

TEST( SensorModels, AnLM73ResolvesWhatItIsToldTo ) {
   Bench bench( "LM73" );
   bench.set( { { "temperature", -0.03125 } } );
   for ( const auto& [ control, low ] : { std::pair( 0x00, 0xe0 ), std::pair( 0x20, 0xf0 ),
                                          std::pair( 0x40, 0xf8 ), std::pair( 0x60, 0xfc ) } ) {
      bench.write( 0x04, { static_cast< uint8_t >( control ) } );
      EXPECT_EQ( bench.read( 0x00, 2 )[ 1 ], low );
   }
   bench.write( 0x02, { 0x32, 0x1f } );
   EXPECT_EQ( bench.chip->get( "highLimit" ), 100 );
   bench.write( 0x01, { 0x50 } );
   EXPECT_EQ( bench.read( 0x04, 1 ), Bytes{ 0x61 } );
}

TEST( SensorModels, ATMP46xTakesLimitsOnlyWhileUnlocked ) {
   Bench bench( "TMP468" );
   bench.write( 0x42, { 0x2a, 0x80 } );
   bench.write( 0xc4, { 0x19, 0xeb } );
   bench.write( 0x42, { 0x2a, 0x80 } );
   EXPECT_EQ( bench.chip->get( "thermLimit1" ), 255.5 );
   bench.write( 0xc4, { 0xeb, 0x19 } );
   EXPECT_EQ( bench.read( 0xc4, 2 ), ( Bytes{ 0, 0 } ) );
   bench.write( 0x42, { 0x2a, 0x80 } );
   EXPECT_EQ( bench.chip->get( "thermLimit1" ), 85 );
   bench.write( 0xc4, { 0x5c, 0xa6 } );
   EXPECT_EQ( bench.read( 0xc4, 2 ), ( Bytes{ 0x80, 0 } ) );
   bench.write( 0x42, { 0x00, 0x00 } );
   EXPECT_EQ( bench.chip->get( "thermLimit1" ), 85 );
}

TEST( SensorModels, AMax6658IsWrittenAtOtherAddressesThanItIsRead ) {
   Bench bench( "Max6658" );
   for ( const auto& [ writeAddress, readAddress ] :
         { std::pair( 0x09, 0x03 ), std::pair( 0x0a, 0x04 ), std::pair( 0x0b, 0x05 ),
           std::pair( 0x0e, 0x08 ), std::pair( 0x20, 0x20 ) } ) {
      auto reg = static_cast< uint8_t >( readAddress );
      bench.write( static_cast< uint8_t >( writeAddress ), { 0x1f } );
      EXPECT_EQ( bench.read( reg, 1 ), Bytes{ 0x1f } );
      if ( writeAddress != readAddress ) {
         bench.write( reg, { 0x55 } );
         EXPECT_EQ( bench.read( reg, 1 ), Bytes{ 0x1f } );
      }
   }
}

TEST( SensorModels, AnIsl6812xKeepsItsPagesApart ) {
   Bench bench( "Isl6812x" );
   bench.set( { { "temperature0", 55 }, { "temperature1", 66 } } );
   bench.write( 0x00, { 1 } );
   EXPECT_EQ( bench.read( 0x8d, 2 ), ( Bytes{ 66, 0 } ) );
   bench.write( 0x51, { 105, 0 } );
   bench.write( 0x00, { 2 } );
   EXPECT_EQ( bench.read( 0x00, 1 ), Bytes{ 1 } );
   bench.write( 0x00, { 0 } );
   EXPECT_EQ( bench.read( 0x51, 2 ), ( Bytes{ 110, 0 } ) );
   EXPECT_EQ( bench.chip->get( "warningLimit1" ), 105 );
   bench.write( 0x00, { 0xff } );
   bench.write( 0x4f, { 0x2c, 0x01 } );
   EXPECT_EQ( bench.chip->get( "faultLimit0" ), 300 );
   EXPECT_EQ( bench.chip->get( "faultLimit1" ), 300 );
}

}  // namespace
