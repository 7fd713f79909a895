#include <gmock/gmock.h>
#include <sys/wait.h>

#include <fstream>
#include <sstream>

#include "Drivers/Drivers.h"
#include "Ham/SimHam.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"
#include "Topology/Topology.h"
#include "Utils/Simulation.h"

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::HasSubstr;
using ::testing::IsEmpty;

namespace {

class SimHam : public testing::Test {
 protected:
   SimHam() { setenv( "LUMENLIB_SIMDIR", ( directory.path() / "sim" ).c_str(), 1 ); }

   void start( const Utils::ExpectedValues& values ) {
      ham.setDriverName( "Chip", "3" );
      ham.setExpected( &values );
   }

   std::filesystem::path file() const { return directory.path() / "sim" / "Chip-3"; }

   std::string content() const {
      std::ostringstream text;
      text << std::ifstream( file() ).rdbuf();
      return text.str();
   }

   void overwrite( const std::string& text ) const { std::ofstream( file() ) << text; }

   Tests::TemporaryDirectory directory;
   Ham::SimHam ham;
   uint8_t byte = 0x77;
   uint16_t word = 0x7777;
   std::string block = "untouched";
};

const Utils::ExpectedValues kValues = {
   { 0x20, Utils::ExpectedVal( "ab" ) }, { 0x10, { 5, 1 } }, { 0x30, { 0xABCD, 2 } } };

TEST_F( SimHam, KeepsEveryRegisterInAscendingOrderInOneFile ) {
   Tests::TraceLog traces;
   start( kValues );
   EXPECT_EQ( content(), "05ababcd\n" );
   EXPECT_THAT( traces.take(), ElementsAre( "5 Created " + file().string() ) );

   EXPECT_EQ( ham.read8( 0x10, &byte, 1 ), PL_STATUS_OK );
   EXPECT_EQ( byte, 5 );
   EXPECT_THAT( traces.take(),
                ElementsAre( "5 " + file().string() + " - Read 05 from register 0x10" ) );
   EXPECT_EQ( ham.read16( 0x30, &word, 1 ), PL_STATUS_OK );
   EXPECT_EQ( word, 0xABCD );
   EXPECT_EQ( ham.read( 0x20, 2, &block, false, 1 ), PL_STATUS_OK );
   EXPECT_EQ( block, "ab" );
   EXPECT_EQ( ham.read( 0x20, 4, &block, false, 1 ), PL_STATUS_OK );
   EXPECT_EQ( block,
              "\xFF\xFF"
              "ab" );
   EXPECT_EQ( ham.read16( 0x10, &word, 1 ), PL_STATUS_OK );
   EXPECT_EQ( word, 0xff05 );
   overwrite( "7fxyzzzz\n" );
   EXPECT_EQ( ham.read8( 0x10, &byte, 1 ), PL_STATUS_OK );
   EXPECT_EQ( byte, 0x7F );
   EXPECT_EQ( ham.read16( 0x30, &word, 1 ), PL_STATUS_OK );
   EXPECT_EQ( word, 0 );
}

TEST_F( SimHam, WritesTheCurrentRegisterWhateverTheWriteSays ) {
   start( kValues );
   ham.addRead8( 0x10, 1 );
   EXPECT_EQ( ham.write8( 0x30, 0xEF, false, 1 ), PL_STATUS_OK );
   EXPECT_EQ( content(), "efababcd\n" );
   ham.saveReg( 0x30 );
   Tests::TraceLog traces;
   ham.write8( 0x30, 0x12, false, 1 );  // another size than the register's
   EXPECT_EQ( content(), "efababcd\n" );
   EXPECT_THAT( traces.take(), IsEmpty() );
   ham.write16( 0x30, 0x34, false, 1 );
   EXPECT_EQ( content(), "efab0034\n" );
   EXPECT_THAT( traces.lines.back(), EndsWith( " - Wrote 0034 to register 0x30" ) );
   ham.saveReg( 0x20 );
   ham.writeBlock( 0x20, "xy", 2, false, 1 );
   ham.write( 0x20, "xyz", 3, false, 1 );
   EXPECT_EQ( content(), "efxy0034\n" );
}

TEST_F( SimHam, WarnsOfRegistersWithoutAnExpectedValue ) {
   const std::string warning =
      "0 WARNING: Simulated Driver Chip doesn't yet have expectedVal set "
      "for register 0x40 using SIMULATION_HAM()\n";
   ham.setDriverName( "Chip", "3" );
   Tests::TraceLog traces;
   EXPECT_EQ( ham.read8( 0x40, &byte, 1 ), PL_STATUS_OK ) << "no file yet";
   EXPECT_EQ( byte, 0 );
   EXPECT_THAT( traces.take(), ElementsAre( warning ) );
   start( kValues );
   traces.take();
   EXPECT_EQ( ham.read16( 0x40, &word, 1 ), PL_STATUS_IO_ERROR );
   EXPECT_EQ( word, 0x7777 );
   EXPECT_EQ( ham.get8( 0 ), 0 );
   EXPECT_EQ( ham.get16( 0 ), 0 );
   EXPECT_EQ( ham.write8( 0x10, 1, false, 1 ), PL_STATUS_IO_ERROR );
   EXPECT_THROW( ham.getBlock( 0, 1 ), std::logic_error );
   EXPECT_THAT( traces.take(), ElementsAre( warning, warning, warning, warning ) );
   EXPECT_THROW( ham.get32( 0 ), std::exception );
}

TEST_F( SimHam, SurvivesAFileThatSomeoneCutShort ) {
   start( kValues );
   for ( const char* text : { "", "0", "05a", "05abab" } ) {
      overwrite( text );
      EXPECT_EQ( ham.read16( 0x30, &word, 1 ), PL_STATUS_OK );
      EXPECT_EQ( word, std::string( text ).size() == 6 ? 0xABFF : 0xFFFF );
      ham.write16( 0x30, 0, false, 1 );
      EXPECT_EQ( content(), text ) << "nothing is written behind its end";
   }
   std::filesystem::remove( file() );
   EXPECT_DEATH( ham.get16( 0 ), R"(Ham/SimHam.*mm != \(\(void \*\) -1\))" );
}

TEST_F( SimHam, AssertsItsOrderOfUse ) {
   const Utils::ExpectedValues values = kValues;
   EXPECT_DEATH( ham.setExpected( &values ), R"(!simFileName_\.empty\(\))" );
   Utils::ExpectedVal wrong( "ab" );
   wrong.size = 3;
   const Utils::ExpectedValues mismatch = { { 1, wrong } };
   EXPECT_DEATH( start( mismatch ), R"(size == val\.valStr\(\)\.length\(\))" );
   std::filesystem::create_directories( file() );  // in the way of the file
   start( kValues );
   EXPECT_DEATH( ham.read8( 0x10, &byte, 1 ), R"(mm != \(\(void \*\) -1\))" );
   std::filesystem::remove( file() );
   const Utils::ExpectedValues nothing;
   start( nothing );
   EXPECT_FALSE( std::filesystem::exists( file() ) );
}

TEST_F( SimHam, SharesItsFileWithOtherProcesses ) {
   start( kValues );
   pid_t editor = fork();
   if ( editor == 0 ) {
      for ( int i = 0; i < 2000; ++i ) {
         ham.saveReg( 0x30 );
         ham.write16( 0x30, i % 2 ? 0xAAAA : 0x5555, false, 1 );
      }
      _exit( 0 );
   }
   bool sawEdit = false;
   while ( waitpid( editor, nullptr, WNOHANG ) == 0 ) {
      ASSERT_EQ( ham.read16( 0x30, &word, 1 ), PL_STATUS_OK );
      ASSERT_TRUE( word == 0xABCD || word == 0xAAAA || word == 0x5555 ) << word;
      sawEdit = sawEdit || word != 0xABCD;
   }
   EXPECT_TRUE( sawEdit );
}

long mappedKilobytes() {
   std::ifstream status( "/proc/self/statm" );
   long pages = 0;
   status >> pages;
   return pages * ( sysconf( _SC_PAGESIZE ) / 1024 );
}

TEST_F( SimHam, LeavesTheAddressSpaceAsItWas ) {
   start( kValues );
   ham.read8( 0x10, &byte, 1 );
   long before = mappedKilobytes();
   for ( int i = 0; i < 200'000; ++i ) {
      ham.read8( 0x10, &byte, 1 );
   }
   EXPECT_LT( mappedKilobytes() - before, 1024 );
}

TEST_F( SimHam, ServesDriversInSimulation ) {
   setenv( "SIMULATION_VMID", "", 1 );
   ASSERT_EQ( pl_temp_sensor_init( R"( [ { "type": "I2C", "ham": "LumenSmbus", "id": 0,
                                           "devices": [ { "did": 1 } ] } ] )" ),
              PL_STATUS_OK );
   unsetenv( "SIMULATION_VMID" );
   EXPECT_EQ( Utils::isInSimulation, -1 );
   setenv( "SIMULATION_VMID", "1", 1 );
   pl_temp_sensor* sensor = pl_temp_sensor_add(
      R"( { "name": "inlet", "driver": "TMP75", "did": 1, "address": { "address": 72 } } )", 1, 2 );
   ASSERT_NE( sensor, nullptr );
   float celsius = 0;
   EXPECT_EQ( sensor->ops->get_temperature( sensor, &celsius ), PL_STATUS_OK );
   EXPECT_EQ( celsius, 25.0f );
   std::ifstream written( directory.path() / "sim" / "TMP75-inlet" );
   std::string text;
   std::getline( written, text );
   EXPECT_EQ( text, "001940" );
}

}  // namespace
