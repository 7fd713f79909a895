#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <sys/wait.h>

#include "Drivers/Drivers.h"
#include "Ham/SimHam.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Tests/support/TraceLog.h"
#include "Utils/Simulation.h"

using ::testing::ElementsAre;
using ::testing::EndsWith;

namespace {

const Utils::ExpectedValues kValues = {
   { 0x20, Utils::ExpectedVal( "ab" ) }, { 0x10, { 5, 1 } }, { 0x30, { 0xABCD, 2 } } };

class SimHam : public testing::Test {
 protected:
   SimHam() {
      setenv( "LUMENLIB_SIMDIR", ( directory.path() / "sim" ).c_str(), 1 );
      ham.setDriverName( "Chip", "3" );
   }

   std::string path( const std::string& name = "Chip-3" ) const {
      return directory.path() / "sim" / name;
   }

   // What the file holds after a write of the register that is named first.
   std::string afterWrite( uint32_t reg, const std::string& bytes ) {
      ham.saveReg( reg );
      EXPECT_EQ( ham.write( reg, bytes.data(), static_cast< uint32_t >( bytes.size() ), false, 1 ),
                 PL_STATUS_OK );
      return Tests::textOf( path() );
   }

   Tests::TemporaryDirectory directory;
   Ham::SimHam ham;
};

TEST_F( SimHam, KeepsEveryRegisterInAscendingOrderInOneFile ) {
   umask( 077 );
   Tests::TraceLog traces;
   ham.setExpected( &kValues );
   EXPECT_EQ( Tests::textOf( path() ), "05ababcd\n" );
   EXPECT_EQ( std::filesystem::status( path() ).permissions(), std::filesystem::perms{ 0644 } );
   EXPECT_EQ( std::filesystem::status( path( "" ) ).permissions(), std::filesystem::perms{ 0755 } );
   EXPECT_EQ( ham.get8( ham.addRead8( 0x10, 1 ) ), 5 );
   EXPECT_EQ( traces.lines.back(), "5 " + path() + " - Read 05 from register 0x10" );
   EXPECT_EQ( ham.get16( ham.addRead16( 0x30, 1 ) ), 0xABCD );
   EXPECT_EQ( ham.get16( ham.addRead16( 0x10, 1 ) ), 0xFF05 );
   EXPECT_EQ( ham.getBlock( ham.addReadBlock( 0x20, 1 ), 4 ), std::string( 2, '\xFF' ) + "ab" );
}

TEST_F( SimHam, WritesTheCurrentRegisterWhateverTheWriteSays ) {
   ham.setExpected( &kValues );
   // A time that does not fit into 32 bits.
   ASSERT_EQ( std::system( ( "touch -d 2100-01-01 " + path() ).c_str() ), 0 );
   ham.addRead8( 0x10, 1 );
   EXPECT_EQ( ham.write8( 0x30, 0xEF, false, 1 ), PL_STATUS_OK );
   EXPECT_EQ( afterWrite( 0x20, "xyz" ), "efababcd\n" );  // not the register's size
   ham.saveReg( 0x30 );
   Tests::TraceLog traces;
   EXPECT_EQ( ham.write8( 0x30, 0x12, false, 1 ), PL_STATUS_OK );  // nor here
   EXPECT_THAT( traces.take(), testing::IsEmpty() );
   EXPECT_EQ( ham.write16( 0x30, 0x34, false, 1 ), PL_STATUS_OK );
   EXPECT_THAT( traces.lines, ElementsAre( EndsWith( " - Wrote 0034 to register 0x30" ) ) );
   ham.saveReg( 0x20 );
   EXPECT_EQ( ham.writeBlock( 0x20, "xy", 2, false, 1 ), PL_STATUS_OK );
   EXPECT_EQ( Tests::textOf( path() ), "efxy0034\n" );
}

TEST_F( SimHam, WarnsOfRegistersWithoutAnExpectedValue ) {
   const std::string warning =
      "0 WARNING: Simulated Driver Chip doesn't yet have expectedVal set "
      "for register 0x40 using SIMULATION_HAM()\n";
   Tests::TraceLog traces;
   EXPECT_EQ( ham.get8( ham.addRead8( 0x40, 1 ) ), 0 );
   EXPECT_EQ( ham.execute(), PL_STATUS_OK ) << "no file yet";
   ham.setExpected( &kValues );
   EXPECT_EQ( ham.execute(), PL_STATUS_IO_ERROR );
   EXPECT_EQ( ham.get16( 0 ), 0 );
   EXPECT_EQ( ham.write8( 0x10, 1, false, 1 ), PL_STATUS_IO_ERROR );
   EXPECT_THROW( ham.getBlock( 0, 1 ), std::logic_error );
   EXPECT_THAT( traces.lines,
                ElementsAre( warning, "5 Created " + path(), warning, warning, warning ) );
}

TEST_F( SimHam, FillsUpAndDropsWhatACutShortFileDoesNotHave ) {
   ham.setExpected( &kValues );
   // What the file holds, what the last register reads, and what two writes leave.
   const std::tuple< const char*, uint16_t, const char* > rows[] = {
      { "", 0xFFFF, "" },
      { "05a", 0xFFFF, "05a" },
      { "05ab", 0xFFFF, "05xy" },
      { "05abab", 0xABFF, "05xyab" },
   };
   for ( const auto& [ text, last, afterWrites ] : rows ) {
      std::ofstream( path() ) << text;
      EXPECT_EQ( ham.get16( ham.addRead16( 0x30, 1 ) ), last );
      Tests::TraceLog traces;
      afterWrite( 0x20, "xy" );
      ham.saveReg( 0x30 );
      EXPECT_EQ( ham.write16( 0x30, 0, false, 1 ), PL_STATUS_OK );
      EXPECT_EQ( Tests::textOf( path() ), afterWrites );
      EXPECT_EQ( traces.lines.back(), "0 " + path() + " is damaged: register 0x30 not written" );
   }
   std::filesystem::remove( path() );
   EXPECT_DEATH( ham.get16( 0 ), R"(Ham/SimHam.*mm != \(\(void \*\) -1\))" );
}

TEST_F( SimHam, RefusesWhatOthersPutInItsPlace ) {
   std::filesystem::create_directory( path( "" ) );
   std::string victim = directory.path() / "victim";
   std::ofstream( victim ) << "precious";
   const std::pair< std::function< void() >, const char* > rows[] = {
      { [ & ] { std::filesystem::create_symlink( victim, path() ); }, "it is a link" },
      { [ & ] { std::filesystem::create_symlink( victim + "2", path() ); }, "it is a link" },
      { [ & ] { ASSERT_EQ( mkfifo( path().c_str(), 0666 ), 0 ); }, "it is no file" },
   };
   for ( const auto& [ plant, why ] : rows ) {
      plant();
      Tests::TraceLog traces;
      ham.setExpected( &kValues );
      EXPECT_EQ( traces.lines.back(), "0 Failed to create " + path() + ": " + why );
      EXPECT_DEATH( ham.get16( ham.addRead16( 0x30, 1 ) ), R"(mm != \(\(void \*\) -1\))" );
      std::filesystem::remove( path() );
   }
   EXPECT_EQ( Tests::textOf( victim ), "precious" );
   EXPECT_FALSE( std::filesystem::exists( victim + "2" ) );
}

TEST_F( SimHam, AssertsItsOrderOfUse ) {
   EXPECT_DEATH( Ham::SimHam().setExpected( &kValues ), R"(!simFileName_\.empty\(\))" );
   Utils::ExpectedValues values;
   ham.setExpected( &values );
   EXPECT_FALSE( std::filesystem::exists( path() ) );
   values[ 1 ] = Utils::ExpectedVal( "ab" );
   values[ 1 ].size = 3;
   EXPECT_DEATH( ham.setExpected( &values ), R"(size == val\.valStr\(\)\.length\(\))" );
}

TEST_F( SimHam, WaitsForTheLockOfAnotherProcess ) {
   ham.setExpected( &kValues );
   const std::pair< std::function< void() >, const char* > rows[] = {
      { [ & ] { EXPECT_EQ( ham.get8( ham.addRead8( 0x10, 1 ) ), 0x99 ); }, "99ababcd\n" },
      { [ & ] { afterWrite( 0x20, "xy" ); }, "99xyabcd\n" },
      { [ & ] { ham.setExpected( &kValues ); }, "05ababcd\n" },
   };
   for ( const auto& [ access, afterwards ] : rows ) {
      int fd = open( path().c_str(), O_RDWR );
      ASSERT_EQ( lockf( fd, F_LOCK, 0 ), 0 );
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
      EXPECT_EQ( Tests::textOf( path() ), afterwards );
   }
}

TEST_F( SimHam, ServesDriversInSimulation ) {
   setenv( "SIMULATION_VMID", "", 1 );
   ASSERT_EQ( pl_temp_sensor_init( R"( [ { "type": "I2C", "ham": "LumenSmbus", "id": 0,
                                           "devices": [ { "did": 1 } ] } ] )" ),
              PL_STATUS_OK );
   EXPECT_EQ( Utils::isInSimulation, -1 );
   pl_temp_sensor* sensor = pl_temp_sensor_add(
      R"( { "name": "inlet", "driver": "TMP75", "did": 1, "address": { "address": 72 } } )", 1, 2 );
   ASSERT_NE( sensor, nullptr );
   float celsius = 0;
   EXPECT_EQ( sensor->ops->get_temperature( sensor, &celsius ), PL_STATUS_OK );
   EXPECT_EQ( celsius, 25.0f );
   EXPECT_EQ( Tests::textOf( path( "TMP75-inlet" ) ), "001940\n" );
}

}  // namespace
