#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include <fstream>
#include <sstream>

#include "Drivers/Drivers.h"
#include "Ham/SimHam.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"
#include "Utils/NotImplementedException.h"
#include "Utils/Simulation.h"

using ::testing::ElementsAre;
using ::testing::EndsWith;
using ::testing::IsEmpty;

namespace {

const Utils::ExpectedValues kValues = {
   { 0x20, Utils::ExpectedVal( "ab" ) }, { 0x10, { 5, 1 } }, { 0x30, { 0xABCD, 2 } } };

class SimHam : public testing::Test {
 protected:
   SimHam() { setenv( "LUMENLIB_SIMDIR", ( directory.path() / "sim" ).c_str(), 1 ); }

   void start( const Utils::ExpectedValues& values = kValues ) {
      ham.setDriverName( "Chip", "3" );
      ham.setExpected( &values );
   }

   std::string path( const std::string& name = "Chip-3" ) const {
      return directory.path() / "sim" / name;
   }

   std::string content( const std::string& name = "Chip-3" ) const {
      std::ostringstream text;
      text << std::ifstream( path( name ) ).rdbuf();
      return text.str();
   }

   // What the file holds after a write of the register that is named first.
   std::string afterWrite( uint32_t reg, const std::string& bytes ) {
      ham.saveReg( reg );
      EXPECT_EQ( ham.write( reg, bytes.data(), static_cast< uint32_t >( bytes.size() ), false, 1 ),
                 PL_STATUS_OK );
      return content();
   }

   Tests::TemporaryDirectory directory;
   Ham::SimHam ham;
   uint8_t byte = 0x77;
   uint16_t word = 0x7777;
   std::string block = "untouched";
};

TEST_F( SimHam, KeepsEveryRegisterInAscendingOrderInOneFile ) {
   umask( 077 );
   Tests::TraceLog traces;
   start();
   EXPECT_EQ( content(), "05ababcd\n" );
   EXPECT_THAT( traces.take(), ElementsAre( "5 Created " + path() ) );
   EXPECT_EQ( std::filesystem::status( path() ).permissions(), std::filesystem::perms{ 0644 } );
   EXPECT_EQ( std::filesystem::status( path( "" ) ).permissions(), std::filesystem::perms{ 0755 } );

   EXPECT_EQ( ham.read8( 0x10, &byte, 1 ), PL_STATUS_OK );
   EXPECT_EQ( byte, 5 );
   EXPECT_THAT( traces.take(), ElementsAre( "5 " + path() + " - Read 05 from register 0x10" ) );
   EXPECT_EQ( ham.read16( 0x30, &word, 1 ), PL_STATUS_OK );
   EXPECT_EQ( word, 0xABCD );
   EXPECT_EQ( ham.read16( 0x10, &word, 1 ), PL_STATUS_OK );
   EXPECT_EQ( word, 0xFF05 );
   EXPECT_EQ( ham.read( 0x20, 4, &block, false, 1 ), PL_STATUS_OK );
   EXPECT_EQ( block, std::string( "\xFF\xFF" ) + "ab" );
}

TEST_F( SimHam, WritesTheCurrentRegisterWhateverTheWriteSays ) {
   start();
   // A time that does not fit into 32 bits.
   ASSERT_EQ( std::system( ( "touch -d 2100-01-01 " + path() ).c_str() ), 0 );
   ham.addRead8( 0x10, 1 );
   EXPECT_EQ( ham.write8( 0x30, 0xEF, false, 1 ), PL_STATUS_OK );
   EXPECT_EQ( content(), "efababcd\n" );
   ham.saveReg( 0x30 );
   Tests::TraceLog traces;
   EXPECT_EQ( ham.write8( 0x30, 0x12, false, 1 ), PL_STATUS_OK );  // not the register's size
   EXPECT_EQ( content(), "efababcd\n" );
   EXPECT_THAT( traces.take(), IsEmpty() );
   EXPECT_EQ( ham.write16( 0x30, 0x34, false, 1 ), PL_STATUS_OK );
   EXPECT_EQ( content(), "efab0034\n" );
   EXPECT_THAT( traces.lines.back(), EndsWith( " - Wrote 0034 to register 0x30" ) );
   EXPECT_EQ( afterWrite( 0x20, "xyz" ), "efab0034\n" );
   EXPECT_EQ( ham.writeBlock( 0x20, "xy", 2, false, 1 ), PL_STATUS_OK );
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
   start();
   traces.take();
   EXPECT_EQ( ham.read16( 0x40, &word, 1 ), PL_STATUS_IO_ERROR );
   EXPECT_EQ( word, 0x7777 );
   EXPECT_EQ( ham.get16( 0 ), 0 );
   EXPECT_EQ( ham.write8( 0x10, 1, false, 1 ), PL_STATUS_IO_ERROR );
   EXPECT_THROW( ham.getBlock( 0, 1 ), std::logic_error );
   EXPECT_THAT( traces.take(), ElementsAre( warning, warning, warning ) );
   EXPECT_THROW( ham.get32( 0 ), NotImplementedException );
}

TEST_F( SimHam, FillsUpAndDropsWhatACutShortFileDoesNotHave ) {
   start();
   // What the file holds, what the last register reads, and what two writes leave.
   const std::tuple< const char*, uint16_t, const char* > rows[] = {
      { "", 0xFFFF, "" },
      { "05a", 0xFFFF, "05a" },
      { "05ab", 0xFFFF, "05xy" },
      { "05abab", 0xABFF, "05xyab" },
   };
   for ( const auto& [ text, last, afterWrites ] : rows ) {
      std::ofstream( path() ) << text;
      EXPECT_EQ( ham.read16( 0x30, &word, 1 ), PL_STATUS_OK );
      EXPECT_EQ( word, last );
      Tests::TraceLog traces;
      afterWrite( 0x20, "xy" );
      ham.saveReg( 0x30 );
      EXPECT_EQ( ham.write16( 0x30, 0, false, 1 ), PL_STATUS_OK );
      EXPECT_EQ( content(), afterWrites );
      EXPECT_EQ( traces.lines.back(), "0 " + path() + " is damaged: register 0x30 not written" );
   }
   std::filesystem::remove( path() );
   EXPECT_DEATH( ham.get16( 0 ), R"(Ham/SimHam.*mm != \(\(void \*\) -1\))" );
}

TEST_F( SimHam, AssertsItsOrderOfUse ) {
   EXPECT_DEATH( ham.setExpected( &kValues ), R"(!simFileName_\.empty\(\))" );
   Utils::ExpectedVal wrong( "ab" );
   wrong.size = 3;
   const Utils::ExpectedValues mismatch = { { 1, wrong } };
   EXPECT_DEATH( start( mismatch ), R"(size == val\.valStr\(\)\.length\(\))" );
   start( {} );
   EXPECT_FALSE( std::filesystem::exists( path() ) );
}

TEST_F( SimHam, WaitsForTheLockOfAnotherProcess ) {
   start();
   const std::pair< std::function< void() >, const char* > rows[] = {
      { [ this ] {
          EXPECT_EQ( ham.read8( 0x10, &byte, 1 ), PL_STATUS_OK );
          EXPECT_EQ( byte, 0x99 );
       },
        "99ababcd\n" },
      { [ this ] { afterWrite( 0x20, "xy" ); }, "99xyabcd\n" },
      { [ this ] { start(); }, "05ababcd\n" },
   };
   for ( const auto& [ access, afterwards ] : rows ) {
      int fd = open( path().c_str(), O_RDWR );
      struct flock whole {};
      whole.l_type = F_WRLCK;
      ASSERT_EQ( fcntl( fd, F_SETLK, &whole ), 0 );
      pid_t other = fork();
      if ( other == 0 ) {
         access();
         _exit( HasFailure() );
      }
      usleep( 50'000 );
      EXPECT_EQ( pwrite( fd, "99ab", 4, 0 ), 4 );
      close( fd );
      int status;
      waitpid( other, &status, 0 );
      EXPECT_EQ( status, 0 );
      EXPECT_EQ( content(), afterwards );
   }
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
   EXPECT_EQ( content( "TMP75-inlet" ), "001940\n" );
}

}  // namespace
