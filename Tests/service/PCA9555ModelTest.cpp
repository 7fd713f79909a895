#include <gmock/gmock.h>

#include <stdexcept>

#include "SmbusService/Emulator/Chips/Models.h"

namespace {

using namespace SmbusService::Emulator;
using ::testing::ElementsAre;

class PCA9555Model : public testing::Test {
 protected:
   PCA9555Model() { chip->reset(); }

   void write( uint8_t reg, std::initializer_list< uint8_t > bytes ) {
      chip->start( Direction::kWrite );
      chip->write( reg );
      for ( uint8_t byte : bytes ) {
         chip->write( byte );
      }
      chip->stop();
   }

   std::vector< int > read( uint8_t reg, size_t count = 2 ) {
      chip->start( Direction::kWrite );
      chip->write( reg );
      chip->start( Direction::kRead );
      std::vector< int > bytes( count );
      for ( int& byte : bytes ) {
         byte = chip->read();
      }
      chip->stop();
      return bytes;
   }

   std::unique_ptr< Chip > chip = newChip( "PCA9555" );
};

TEST_F( PCA9555Model, PowersOnWithAllPinsInputsPulledUp ) {
   EXPECT_THAT( read( 0 ), ElementsAre( 0xff, 0xff ) );
   EXPECT_THAT( read( 2 ), ElementsAre( 0xff, 0xff ) );
   EXPECT_THAT( read( 4 ), ElementsAre( 0, 0 ) );
   EXPECT_THAT( read( 6 ), ElementsAre( 0xff, 0xff ) );
}

TEST_F( PCA9555Model, TransfersAlternateWithinAPairOfRegisters ) {
   write( 2, { 0x12, 0x34, 0x56 } );
   EXPECT_THAT( read( 2, 3 ), ElementsAre( 0x56, 0x34, 0x56 ) );
   write( 3, { 0x78, 0x9a } );
   EXPECT_THAT( read( 3, 3 ), ElementsAre( 0x78, 0x9a, 0x78 ) );
   EXPECT_THAT( read( 4 ), ElementsAre( 0, 0 ) ) << "the next pair is untouched";
}

TEST_F( PCA9555Model, InputsShowThePinsWhoeverDrivesThem ) {
   chip->set( "pin0", 0 );
   chip->set( "pin15", 0 );
   EXPECT_THAT( read( 0 ), ElementsAre( 0xfe, 0x7f ) );
   EXPECT_EQ( chip->get( "pin15" ), 0 );
   EXPECT_EQ( chip->get( "input0" ), 0xfe );

   write( 2, { 0x0f, 0x00 } );
   EXPECT_THAT( read( 0 ), ElementsAre( 0xfe, 0x7f ) ) << "no pin is an output yet";
   write( 6, { 0xf0, 0xff } );
   EXPECT_THAT( read( 0 ), ElementsAre( 0xff, 0x7f ) );
   EXPECT_EQ( chip->get( "pin0" ), 1 );
   write( 4, { 0x81, 0xff } );
   EXPECT_THAT( read( 0 ), ElementsAre( 0x7e, 0x80 ) );
   EXPECT_EQ( chip->get( "pin0" ), 1 ) << "polarity is a matter of the register";
   write( 0, { 0x55, 0x55 } );
   EXPECT_THAT( read( 0 ), ElementsAre( 0x7e, 0x80 ) ) << "read only";

   chip->reset();
   EXPECT_THAT( read( 0 ), ElementsAre( 0xfe, 0x7f ) ) << "the board still drives its levels";
}

TEST_F( PCA9555Model, QuantitiesAreLevelsAndWholePorts ) {
   EXPECT_EQ( chip->quantities().size(), 18u );
   chip->set( "input1", 0xa5 );
   EXPECT_EQ( chip->get( "pin8" ), 1 );
   EXPECT_EQ( chip->get( "pin9" ), 0 );
   chip->set( "pin9", 7 );
   chip->set( "input0", -3 );
   EXPECT_THAT( read( 0 ), ElementsAre( 0x00, 0xa7 ) );
   chip->set( "input0", 1000 );
   EXPECT_EQ( chip->get( "input0" ), 255 );
   EXPECT_THROW( chip->set( "pin16", 1 ), std::invalid_argument );
   EXPECT_THROW( chip->get( "output0" ), std::invalid_argument );
}

}  // namespace
