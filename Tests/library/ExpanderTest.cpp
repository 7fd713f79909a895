#include <gmock/gmock.h>

#include <cstdlib>
#include <memory>

#include "Drivers/GenericPCA9555.h"
#include "Ham/SimHam.h"
#include "Tests/support/FakeDevice.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"

using ::testing::ElementsAre;

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

   pl_status readIn( uint8_t bank ) { return expander.getInBank( bank, &byte ); }

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
   EXPECT_THAT( ham.log, ElementsAre( "R8 11" ) );
   EXPECT_EQ( readIn( 2 ), PL_STATUS_OK );
   expander.age( 1, 1 );
   EXPECT_EQ( readIn( 1 ), PL_STATUS_OK );
   EXPECT_EQ( byte, 0x5A );
   EXPECT_THAT( ham.log, ElementsAre( "R8 11", "R8 12" ) ) << "each bank has its own time";
   expander.age( 1, 1 );
   EXPECT_EQ( readIn( 1 ), PL_STATUS_OK );
   EXPECT_EQ( byte, 0 );
   EXPECT_THAT( ham.log, ElementsAre( "R8 11", "R8 12", "R8 11" ) );
   EXPECT_THAT(
      traces.lines,
      ElementsAre( "5 GPIOExpander::getInBank( 1 ) = 5a", "5 GPIOExpander::readBit( 1, 1 ) = 1",
                   "5 GPIOExpander::getInBank( 1 ) = 5a", "5 GPIOExpander::readBit( 1, 1 ) = 1",
                   "5 GPIOExpander::getInBank( 2 ) = 0", "5 GPIOExpander::getInBank( 1 ) = 5a",
                   "5 GPIOExpander::getInBank( 1 ) = 0" ) );
}

TEST_F( Expander, CacheTimeCountsFromTheFirstRead ) {
   for ( auto [ cacheTime, reads ] : { std::pair( 4000000000u, 1u ), std::pair( 0u, 2u ) } ) {
      TestExpander other{ 1, cacheTime, 0, 1, 2 };
      other.hamIs( &ham );
      ham.log.clear();
      EXPECT_EQ( other.getInBank( 0, &byte ), PL_STATUS_OK );
      EXPECT_EQ( other.getInBank( 0, &byte ), PL_STATUS_OK );
      EXPECT_EQ( ham.log, std::vector< std::string >( reads, "R8 00" ) );
   }
}

TEST_F( Expander, OutputsArePendingUntilOneBatchSavesThem ) {
   ham.load( 0x21, "10" );
   EXPECT_EQ( expander.writeBit( 1, 3, true ), PL_STATUS_OK );
   EXPECT_EQ( expander.writeBit( 12, false ), PL_STATUS_OK );
   EXPECT_EQ( expander.writeBit( 0, 7, true ), PL_STATUS_OK );
   EXPECT_EQ( expander.getOutBank( 1, &byte ), PL_STATUS_OK );
   EXPECT_EQ( byte, 0x08 );
   EXPECT_THAT( ham.log, ElementsAre( "R8 21", "R8 20" ) ) << "one read for each bank, no write";
   EXPECT_THAT(
      traces.take(),
      ElementsAre( "5 GPIOExpander::getoutBank( 1 ) = 10", "5 GPIOExpander::getoutBank( 1 ) = 18",
                   "5 GPIOExpander::getoutBank( 0 ) = 0", "5 GPIOExpander::getoutBank( 1 ) = 8" ) );
   ham.log.clear();
   ham.batches = 0;
   EXPECT_EQ( expander.save(), PL_STATUS_OK );
   EXPECT_THAT( ham.log, ElementsAre( "W8 20=80", "W8 21=08" ) );
   EXPECT_EQ( ham.batches, 1 );
   EXPECT_THAT(
      traces.take(),
      ElementsAre( "5 GPIOExpander::save", "5  GPIOExpander::save -- writing output bank 0 = 128",
                   "5  GPIOExpander::save -- writing output bank 1 = 8" ) );
   ham.log.clear();
   EXPECT_EQ( expander.save(), PL_STATUS_OK );
   EXPECT_EQ( ham.batches, 1 ) << "nothing is pending";
   EXPECT_EQ( expander.writeBit( 1, 0, true ), PL_STATUS_OK );
   EXPECT_EQ( expander.save(), PL_STATUS_OK );
   EXPECT_THAT( ham.log, ElementsAre( "R8 21", "W8 21=09" ) ) << "starts from what the chip holds";
}

TEST_F( Expander, WritesTheConfigurationOfEveryBankInOneBatch ) {
   constexpr uint8_t config[] = { 1, 2, 3 };
   EXPECT_EQ( expander.writeConfig( config ), PL_STATUS_OK );
   EXPECT_THAT( ham.log, ElementsAre( "W8 fe=01", "W8 ff=02", "W8 00=03" ) );
   EXPECT_EQ( ham.batches, 1 );
   EXPECT_EQ( expander.outputBankAddr( 0xE0 ), 0x00 );
   EXPECT_EQ( expander.configBankAddr( 1 ), 0xFF );
   TestExpander empty( 0, 0, 0, 0, 0 );
   empty.hamIs( &ham );
   EXPECT_EQ( empty.writeConfig( nullptr ), PL_STATUS_OK );
   EXPECT_EQ( ham.batches, 2 );
   EXPECT_EQ( empty.save(), PL_STATUS_OK );
   EXPECT_EQ( ham.batches, 2 );
   EXPECT_THAT( traces.lines, ElementsAre( "5 GPIOExpander::save" ) );
}

TEST_F( Expander, TracesFailuresAndReadsAgainAfterThem ) {
   ham.failOn( "R8", PL_STATUS_FAILURE );
   EXPECT_EQ( expander.readBit( 2, 7, &bit ), PL_STATUS_FAILURE );
   EXPECT_EQ( expander.writeBit( 1, 0, true ), PL_STATUS_FAILURE );
   EXPECT_THAT( traces.take(), ElementsAre( "0 Error: status 6 while reading input bank 2",
                                            "5 Error 6: GPIOExpander::readBit( 2, 7 )",
                                            "0 Error: status 6 while reading output bank 1" ) );
   ham.failNothing();
   ham.log.clear();
   EXPECT_EQ( readIn( 2 ), PL_STATUS_OK );
   EXPECT_EQ( expander.writeBit( 1, 0, true ), PL_STATUS_OK );
   ham.failOn( "W8", PL_STATUS_IO_ERROR );
   EXPECT_EQ( expander.save(), PL_STATUS_IO_ERROR );
   EXPECT_EQ( traces.lines.back(), "0 Error: status 4 writing to GPIOExpander" );
   EXPECT_EQ( expander.save(), PL_STATUS_OK ) << "a failed change is forgotten";
   EXPECT_THAT( ham.log, ElementsAre( "R8 12", "R8 21", "W8 21=01" ) );
}

TEST_F( Expander, BanksAndBitsThatDoNotExistEndTheProcess ) {
   EXPECT_DEATH( ( void )expander.readBit( 0, 8, &bit ), "Drivers/GPIOExpander.cpp.*`bit <= 7'" );
   EXPECT_DEATH( ( void )expander.writeBit( 0, 8, true ), "`bit <= 7'" );
   EXPECT_DEATH( readIn( 3 ), "`n < numBanks_'" );
   EXPECT_DEATH( ( void )expander.getOutBank( 3, &byte ), "`n < numBanks_'" );
   EXPECT_DEATH( ( void )expander.writeBit( 24, true ), "`n < numBanks_'" );
}

class PCA9555 : public testing::Test {
 protected:
   using DriverArguments = Tests::DriverArguments;

   // The driver is not in the registry: a board adds it under a name of its own.
   PCA9555() { Drivers::drivers[ "BoardPCA9555" ] = Drivers::GenericPCA9555::create; }
   ~PCA9555() override { Drivers::drivers.erase( "BoardPCA9555" ); }

   Component::HardwareDevice* create( DriverArguments arguments = {} ) {
      arguments.insert( { { "bank-io-0", "255" }, { "bank-io-1", "256" } } );
      return Tests::createDevice( "BoardPCA9555", ham, arguments );
   }

   static std::unique_ptr< Component::LogicalDevice::Gpio > gpioOf(
      Component::HardwareDevice* device, const char* bank, const char* bit ) {
      return std::unique_ptr< Component::LogicalDevice::Gpio >(
         device->newGpio( Tests::argumentsOf( { { "bank", bank }, { "bit", bit } } ) ) );
   }

   Tests::FakeHam ham;
   Tests::TraceLog traces;
};

TEST_F( PCA9555, WritesItsConfigurationWhenCreated ) {
   create();
   EXPECT_THAT( ham.log, ElementsAre( "W8 06=ff", "W8 07=00" ) );
   EXPECT_EQ( ham.batches, 1 );
   EXPECT_THAT( traces.take(),
                testing::Contains( "0 Creating ambiguous PCA9555 Device: cacheTimeout 2s" ) );
   ham.log.clear();
   create( { { "cacheTimeout", "261" },
             { "inputBankBase", "16" },
             { "outputBankBase", "32" },
             { "configBankBase", "304" } } );
   EXPECT_THAT( ham.log, ElementsAre( "W8 30=ff", "W8 31=00" ) );
   EXPECT_THAT( traces.take(),
                testing::Contains( "0 Creating ambiguous PCA9555 Device: cacheTimeout 5s" ) );
   ham.failOn( "W8", PL_STATUS_FAILURE );
   EXPECT_NE( create(), nullptr ) << "a chip that does not answer is kept";
}

TEST_F( PCA9555, PinsAreGpios ) {
   auto device = create();
   auto gpio = gpioOf( device, "1", "3" );
   ham.log.clear();
   ham.load( 0x03, "10" );
   EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK );
   EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK );
   EXPECT_EQ( gpio->bitClear(), PL_STATUS_OK );
   EXPECT_THAT( ham.log,
                ElementsAre( "R8 03", "W8 03=18", "R8 03", "W8 03=18", "R8 03", "W8 03=10" ) );
   ham.log.clear();
   ham.load( 0x01, "08" );
   unsigned int value = 7;
   EXPECT_EQ( gpio->bitRead( &value ), PL_STATUS_OK );
   EXPECT_EQ( value, 1u );
   EXPECT_EQ( gpioOf( device, "1", "2" )->bitRead( &value ), PL_STATUS_OK );
   EXPECT_EQ( value, 0u );
   EXPECT_THAT( ham.log, ElementsAre( "R8 01" ) );
   EXPECT_EQ( gpio->record()->ops, &Component::LogicalDevice::Gpio::ops_ );
}

TEST_F( PCA9555, GpioFailures ) {
   auto gpio = gpioOf( create(), "0", "0" );
   traces.take();
   ham.failOn( "R8", PL_STATUS_FAILURE );
   EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK ) << "nothing was pending, so nothing failed to save";
   EXPECT_EQ( gpio->bitClear(), PL_STATUS_OK );
   unsigned int value = 7;
   EXPECT_EQ( gpio->bitRead( &value ), PL_STATUS_FAILURE );
   EXPECT_EQ( value, 0u );
   EXPECT_EQ( traces.take().back(), "0 GenericPCA9555 bitRead() failed!" );
   ham.failNothing();
   ham.failOn( "W8", PL_STATUS_IO_ERROR );
   EXPECT_EQ( gpio->bitSet(), PL_STATUS_IO_ERROR );
   EXPECT_EQ( traces.take().back(), "0 GenericPCA9555 bitSet() failed!" );
   EXPECT_EQ( gpio->bitClear(), PL_STATUS_IO_ERROR );
   EXPECT_EQ( traces.take().back(), "0 GenericPCA9555 bitClear() failed!" );
}

TEST_F( PCA9555, MissingArgumentsEndTheProcess ) {
   constexpr const char* kMissing =
      R"(Drivers/GenericPCA9555.cpp.*`it != args\.driverArgs\.end\(\)')";
   EXPECT_DEATH( Tests::createDevice( "BoardPCA9555", ham, { { "bank-io-0", "0" } } ), kMissing );
   EXPECT_DEATH( Tests::createDevice( "BoardPCA9555", ham, { { "bank-io-1", "0" } } ), kMissing );
   auto device = create();
   EXPECT_DEATH( device->newGpio( Tests::argumentsOf( { { "bank", "0" } } ) ), kMissing );
   EXPECT_DEATH( device->newGpio( Tests::argumentsOf( { { "bit", "0" } } ) ), kMissing );
   EXPECT_THROW( create( { { "bank-io-1", "x" } } ), std::invalid_argument );
   uint8_t config[ 3 ] = {};
   EXPECT_DEATH( Drivers::GenericPCA9555( config, 3, 2, 0, 2, 6 ),
                 "`numBanks <= sizeof\\( this->config \\) / sizeof\\( this->config\\[ 0 \\] \\)'" );
}

TEST_F( PCA9555, WorksOnASimulationFile ) {
   Tests::TemporaryDirectory directory;
   setenv( "LUMENLIB_SIMDIR", directory.path().c_str(), 1 );
   Ham::SimHam simulation;
   auto device = Tests::createDevice( "BoardPCA9555", simulation,
                                      { { "bank-io-0", "255" }, { "bank-io-1", "0" } } );
   EXPECT_EQ( gpioOf( device, "1", "4" )->bitClear(), PL_STATUS_OK );
   EXPECT_EQ( gpioOf( device, "0", "7" )->bitClear(), PL_STATUS_OK );
   const std::pair< uint32_t, uint8_t > rows[] = {
      { 0, 0xFF }, { 1, 0xFF }, { 2, 0x7F }, { 3, 0xEF }, { 6, 0xFF }, { 7, 0x00 },
   };
   for ( const auto& [ reg, content ] : rows ) {
      uint8_t byte = 0x55;
      EXPECT_EQ( simulation.read8( reg, &byte, 1 ), PL_STATUS_OK ) << reg;
      EXPECT_EQ( byte, content ) << reg;
   }
}

}  // namespace
