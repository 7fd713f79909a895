#include <gmock/gmock.h>

#include <cstdlib>
#include <memory>

#include "Drivers/GenericPCA9555.h"
#include "Ham/SimHam.h"
#include "Tests/support/FakeDevice.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"

using namespace testing;
using Component::LogicalDevice::Gpio;
using Tests::DriverArguments;

namespace {

class TestExpander : public Drivers::GPIOExpander {
 public:
   using GPIOExpander::GPIOExpander;

   // Lets time pass for one input bank.
   void age( uint8_t bank, int seconds ) { lastRead_[ bank ].tv_sec -= seconds; }
};

class Expander : public testing::Test {
 protected:
   Expander() { expander.hamIs( &ham ); }

   Tests::FakeHam ham;
   TestExpander expander{ 3, 2, 0x10, 0x20, 0xFE };
   Tests::TraceLog traces;
   uint8_t byte = 0;
   bool bit = false;
};

TEST_F( Expander, InputBanksAreReadAgainWhenTheirCacheTimeHasPassed ) {
   ham.load( 0x11, "5a" );
   EXPECT_EQ( expander.readBit( 1, 1, &bit ), PL_STATUS_OK );
   EXPECT_TRUE( bit );
   ham.load( 0x11, "00" );
   EXPECT_EQ( expander.readBit( 9, &bit ), PL_STATUS_OK );
   EXPECT_TRUE( bit ) << "pin 9 is bit 1 of bank 1, from the cache";
   EXPECT_EQ( expander.getInBank( 2, &byte ), PL_STATUS_OK );
   for ( uint8_t expected : { 0x5A, 0x00 } ) {
      expander.age( 1, 1 );
      EXPECT_EQ( expander.getInBank( 1, &byte ), PL_STATUS_OK );
      EXPECT_EQ( byte, expected );
   }
   EXPECT_THAT( ham.log, ElementsAre( "R8 11", "R8 12", "R8 11" ) ) << "each has its own time";
   EXPECT_THAT(
      traces.lines,
      ElementsAre( "5 GPIOExpander::getInBank( 1 ) = 5a", "5 GPIOExpander::readBit( 1, 1 ) = 1",
                   "5 GPIOExpander::getInBank( 1 ) = 5a", "5 GPIOExpander::readBit( 1, 1 ) = 1",
                   "5 GPIOExpander::getInBank( 2 ) = 0", "5 GPIOExpander::getInBank( 1 ) = 5a",
                   "5 GPIOExpander::getInBank( 1 ) = 0" ) );
   for ( auto [ cacheTime, reads ] : { std::pair( 4000000000u, 1u ), { 0u, 2u } } ) {
      TestExpander other{ 1, cacheTime, 0, 1, 2 };
      other.hamIs( &ham );
      ham.log.clear();
      EXPECT_EQ( other.getInBank( 0, &byte ), PL_STATUS_OK );
      EXPECT_EQ( other.getInBank( 0, &byte ), PL_STATUS_OK );
      EXPECT_THAT( ham.log, SizeIs( reads ) );
   }
}

TEST_F( Expander, OutputsArePendingUntilOneBatchSavesThem ) {
   ham.load( 0x21, "10" );
   EXPECT_EQ( expander.writeBit( 1, 3, true ), PL_STATUS_OK );
   EXPECT_EQ( expander.writeBit( 12, false ), PL_STATUS_OK );
   EXPECT_EQ( expander.writeBit( 0, 7, true ), PL_STATUS_OK );
   EXPECT_THAT( ham.log, ElementsAre( "R8 21", "R8 20" ) ) << "one read for each bank, no write";
   EXPECT_EQ( expander.save(), PL_STATUS_OK );
   EXPECT_EQ( expander.save(), PL_STATUS_OK ) << "nothing is pending";
   EXPECT_EQ( ham.batches, 3 );
   EXPECT_THAT(
      traces.take(),
      ElementsAre( "5 GPIOExpander::getoutBank( 1 ) = 10", "5 GPIOExpander::getoutBank( 1 ) = 18",
                   "5 GPIOExpander::getoutBank( 0 ) = 0", "5 GPIOExpander::save",
                   "5  GPIOExpander::save -- writing output bank 0 = 128",
                   "5  GPIOExpander::save -- writing output bank 1 = 8", "5 GPIOExpander::save" ) );
   EXPECT_EQ( expander.writeBit( 1, 0, true ), PL_STATUS_OK );
   EXPECT_EQ( expander.save(), PL_STATUS_OK );
   EXPECT_THAT( ham.log,
                ElementsAre( "R8 21", "R8 20", "W8 20=80", "W8 21=08", "R8 21", "W8 21=09" ) )
      << "starts from what the chip holds";
}

TEST_F( Expander, WritesTheConfigurationOfEveryBankInOneBatch ) {
   constexpr uint8_t config[] = { 1, 2, 3 };
   EXPECT_EQ( expander.writeConfig( config ), PL_STATUS_OK );
   EXPECT_THAT( ham.log, ElementsAre( "W8 fe=01", "W8 ff=02", "W8 00=03" ) );
   EXPECT_EQ( ham.batches, 1 );
   EXPECT_EQ( expander.outputBankAddr( 0xE0 ), 0x00 );
   TestExpander empty( 0, 0, 0, 0, 0 );
   empty.hamIs( &ham );
   EXPECT_EQ( empty.writeConfig( nullptr ), PL_STATUS_OK );
   EXPECT_EQ( ham.batches, 2 );
}

TEST_F( Expander, TracesFailuresAndReadsAgainAfterThem ) {
   ham.failOn( "R8", PL_STATUS_FAILURE );
   EXPECT_EQ( expander.readBit( 2, 7, &bit ), PL_STATUS_FAILURE );
   EXPECT_EQ( expander.writeBit( 1, 0, true ), PL_STATUS_FAILURE );
   EXPECT_THAT( traces.take(), ElementsAre( "0 Error: status 6 while reading input bank 2",
                                            "5 Error 6: GPIOExpander::readBit( 2, 7 )",
                                            "0 Error: status 6 while reading output bank 1" ) );
   ham.failOn( "W8", PL_STATUS_IO_ERROR );
   EXPECT_EQ( expander.readBit( 2, 7, &bit ), PL_STATUS_OK );
   EXPECT_EQ( expander.writeBit( 1, 0, true ), PL_STATUS_OK );
   EXPECT_EQ( expander.save(), PL_STATUS_IO_ERROR );
   EXPECT_EQ( traces.lines.back(), "0 Error: status 4 writing to GPIOExpander" );
   EXPECT_EQ( expander.save(), PL_STATUS_OK ) << "a failed change is forgotten";
   EXPECT_THAT( ham.log, ElementsAre( "R8 12", "R8 21", "R8 12", "R8 21", "W8 21=01" ) );
}

class PCA9555 : public testing::Test {
 protected:
   // The driver is not in the registry: a board adds it under a name of its own.
   PCA9555() { Drivers::drivers[ "BoardPCA9555" ] = Drivers::GenericPCA9555::create; }

   static Component::HardwareDevice* create( Ham::Ham& ham, DriverArguments arguments = {} ) {
      arguments.insert( { { "bank-io-0", "255" }, { "bank-io-1", "256" } } );
      return Tests::createDevice( "BoardPCA9555", ham, arguments );
   }

   static std::unique_ptr< Gpio > gpioOf( Component::HardwareDevice* device,
                                          const DriverArguments& arguments ) {
      return std::unique_ptr< Gpio >( device->newGpio( Tests::argumentsOf( arguments ) ) );
   }

   Tests::FakeHam ham;
   Tests::TraceLog traces;
   unsigned int value = 7;
};

TEST_F( PCA9555, WritesItsConfigurationWhenCreated ) {
   create( ham );
   EXPECT_THAT( traces.take(), Contains( "0 Creating ambiguous PCA9555 Device: cacheTimeout 2s" ) );
   create( ham, { { "cacheTimeout", "261" },
                  { "inputBankBase", "16" },
                  { "outputBankBase", "32" },
                  { "configBankBase", "304" } } );
   EXPECT_THAT( traces.take(), Contains( "0 Creating ambiguous PCA9555 Device: cacheTimeout 5s" ) );
   EXPECT_THAT( ham.log, ElementsAre( "W8 06=ff", "W8 07=00", "W8 30=ff", "W8 31=00" ) );
   ham.failOn( "W8", PL_STATUS_FAILURE );
   EXPECT_NE( create( ham ), nullptr ) << "a chip that does not answer is kept";
}

TEST_F( PCA9555, PinsAreGpios ) {
   auto gpio = gpioOf( create( ham ), { { "bank", "1" }, { "bit", "3" } } );
   ham.log.clear();
   ham.load( 0x03, "10" );
   ham.load( 0x01, "08" );
   EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK );
   EXPECT_EQ( gpio->bitClear(), PL_STATUS_OK );
   EXPECT_EQ( gpio->bitRead( &value ), PL_STATUS_OK );
   EXPECT_EQ( value, 1u );
   EXPECT_THAT( ham.log, ElementsAre( "R8 03", "W8 03=18", "R8 03", "W8 03=10", "R8 01" ) );
   ham.failOn( "W8", PL_STATUS_IO_ERROR );
   EXPECT_EQ( gpio->bitSet(), PL_STATUS_IO_ERROR );
   EXPECT_EQ( traces.lines.back(), "0 GenericPCA9555 bitSet() failed!" );
   EXPECT_EQ( gpio->bitClear(), PL_STATUS_IO_ERROR );
   EXPECT_EQ( traces.lines.back(), "0 GenericPCA9555 bitClear() failed!" );
   ham.failOn( "R8", PL_STATUS_FAILURE );
   EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK ) << "nothing was pending, so nothing failed to save";
   EXPECT_EQ( gpioOf( create( ham ), { { "bank", "0" }, { "bit", "0" } } )->bitRead( &value ),
              PL_STATUS_FAILURE );
   EXPECT_EQ( value, 0u );
   EXPECT_EQ( traces.lines.back(), "0 GenericPCA9555 bitRead() failed!" );
}

TEST_F( Expander, BanksAndBitsThatDoNotExistEndTheProcess ) {
   EXPECT_DEATH( ( void )expander.readBit( 0, 8, &bit ), "Drivers/GPIOExpander.cpp.*`bit <= 7'" );
   EXPECT_DEATH( ( void )expander.writeBit( 0, 8, true ), "`bit <= 7'" );
   EXPECT_DEATH( ( void )expander.getInBank( 3, &byte ), "`n < numBanks_'" );
   EXPECT_DEATH( ( void )expander.writeBit( 24, true ), "`n < numBanks_'" );
}

TEST_F( PCA9555, MissingArgumentsEndTheProcess ) {
   constexpr const char* kMissing =
      R"(Drivers/GenericPCA9555.cpp.*`it != args\.driverArgs\.end\(\)')";
   EXPECT_DEATH( Tests::createDevice( "BoardPCA9555", ham, { { "bank-io-0", "0" } } ), kMissing );
   EXPECT_DEATH( Tests::createDevice( "BoardPCA9555", ham, { { "bank-io-1", "0" } } ), kMissing );
   EXPECT_DEATH( gpioOf( create( ham ), { { "bank", "0" } } ), kMissing );
   EXPECT_DEATH( gpioOf( create( ham ), { { "bit", "0" } } ), kMissing );
   EXPECT_THROW( create( ham, { { "bank-io-1", "x" } } ), std::invalid_argument );
   uint8_t config[ 3 ] = {};
   EXPECT_DEATH( Drivers::GenericPCA9555( config, 3, 2, 0, 2, 6 ),
                 "`numBanks <= sizeof\\( this->config \\) / sizeof\\( this->config\\[ 0 \\] \\)'" );
}

TEST_F( PCA9555, WorksOnASimulationFile ) {
   Tests::TemporaryDirectory directory;
   setenv( "LUMENLIB_SIMDIR", directory.path().c_str(), 1 );
   Ham::SimHam simulation;
   auto device = create( simulation );
   EXPECT_EQ( gpioOf( device, { { "bank", "1" }, { "bit", "4" } } )->bitClear(), PL_STATUS_OK );
   uint8_t byte = 0;
   EXPECT_EQ( simulation.read8( 3, &byte, 1 ), PL_STATUS_OK );
   EXPECT_EQ( byte, 0xEF );
}

}  // namespace
