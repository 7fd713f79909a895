#include <gmock/gmock.h>

#include "SmbusService/Emulator/Chip.h"

namespace SmbusService::Emulator {

std::unique_ptr< Chip > newXT100();

namespace {

int readTemperature( Chip& chip ) {
   chip.start( Direction::kWrite );
   chip.write( 0x00 );
   chip.start( Direction::kRead );
   int high = chip.read();
   int word = high << 8 | chip.read();
   chip.stop();
   return word;
}

TEST( ExampleModel, MeasuresOnceItWasStarted ) {
   auto chip = newXT100();
   chip->reset();
   chip->set( "temperature", -0.5 );
   EXPECT_EQ( readTemperature( *chip ), 0 );
   chip->start( Direction::kWrite );
   chip->write( 0x01 );
   chip->write( 0x20 );
   chip->stop();
   EXPECT_EQ( readTemperature( *chip ), 0xFF80 );
   EXPECT_EQ( chip->get( "alertLimit" ), 80 );
   chip->reset();
   EXPECT_EQ( readTemperature( *chip ), 0 );
   EXPECT_EQ( chip->get( "temperature" ), -0.5 ) << "what is measured outlasts a reset";
}

}  // namespace
}  // namespace SmbusService::Emulator
