#include <fmt/ranges.h>
#include <gmock/gmock.h>
#include <linux/i2c-dev.h>
#include <linux/i2c.h>

#include "BoardFiles/Board.h"
#include "SmbusService/LinuxI2c/KernelBackend.h"
#include "Tests/service/Steps.h"

using namespace Tests;
using namespace SmbusService;
using namespace SmbusService::LinuxI2c;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

namespace {

constexpr unsigned long kPlain = I2C_FUNC_I2C | I2C_FUNC_SMBUS_READ_BLOCK_DATA;

// Notes what reaches the kernel, "70>01" and "48<2" for the messages of a combined transfer and
// "48:r00/3" for an SMBus command of kind 3. What is read is 02, 03, 04 and so on.
class FakeSystem : public System {
 public:
   int open( const std::string& path ) override {
      log.push_back( "open " + fs::path( path ).filename().string() );
      return outcome( 7 );
   }
   void close( int ) override {}
   int control( int, unsigned long request, unsigned long number ) override {
      const char* name = request == I2C_TIMEOUT       ? "timeout"
                         : request == I2C_SLAVE       ? "select"
                         : request == I2C_SLAVE_FORCE ? "force"
                                                      : "?";
      log.push_back( fmt::format( "{} {}", name, number ) );
      return outcome( 0 );
   }
   int control( int, unsigned long request, void* record ) override {
      if ( request == I2C_FUNCS ) {
         *static_cast< unsigned long* >( record ) = capabilities;
         log.push_back( "functions" );
         return outcome( 0 );
      }
      return request == I2C_RDWR ? transfer( *static_cast< i2c_rdwr_ioctl_data* >( record ) )
                                 : command( *static_cast< i2c_smbus_ioctl_data* >( record ) );
   }

   std::string take() {
      std::string text = fmt::format( "{}", fmt::join( log, " " ) );
      log.clear();
      return text;
   }

   std::vector< std::string > log;
   unsigned long capabilities = kPlain;
   uint8_t blockCount = 3;
   std::function< int( const std::string& ) > onCall;  // a negative errno value, or 0

 private:
   int outcome( int success ) {
      int error = onCall ? onCall( log.back() ) : 0;
      return error ? error : success;
   }

   int transfer( const i2c_rdwr_ioctl_data& record ) {
      std::vector< std::string > steps;
      for ( const i2c_msg* each = record.msgs; each != record.msgs + record.nmsgs; ++each ) {
         bool reads = each->flags & I2C_M_RD;
         bool isBlock = each->flags & I2C_M_RECV_LEN;
         auto bytes = std::string( reinterpret_cast< char* >( each->buf ), each->len );
         steps.push_back( fmt::format( "{:02x}{}", each->addr,
                                       isBlock
                                          ? fmt::format( "<block {}/{}", each->buf[ 0 ], each->len )
                                       : reads ? fmt::format( "<{}", each->len )
                                               : ">" + hex( bytes ) ) );
         for ( int i = 0; reads && i < each->len; ++i ) {
            each->buf[ i ] = static_cast< uint8_t >( isBlock && i == 0 ? blockCount : i + 2 );
         }
      }
      log.push_back( fmt::format( "{}", fmt::join( steps, "+" ) ) );
      return outcome( static_cast< int >( record.nmsgs ) );
   }

   int command( const i2c_smbus_ioctl_data& record ) {
      bool reads = record.read_write == I2C_SMBUS_READ;
      i2c_smbus_data& data = *record.data;
      std::string block( reinterpret_cast< char* >( data.block ), 5 );
      log.push_back( fmt::format( "{}{:02x}/{}:{}", reads ? 'r' : 'w', record.command, record.size,
                                  hex( block ) ) );
      if ( record.size == I2C_SMBUS_BLOCK_DATA || record.size == I2C_SMBUS_I2C_BLOCK_DATA ) {
         data = reads ? i2c_smbus_data{ .block = { blockCount, 3, 4, 5 } } : data;
      } else if ( reads || record.size == I2C_SMBUS_PROC_CALL ) {
         data.word = 0x0302;
      }
      return outcome( 0 );
   }
};

// An adapter i2c-3 with the muxes 0x70 and, behind its first channel, 0x71.
class LinuxI2cTest : public testing::Test {
 protected:
   LinuxI2cTest() {
      addAdapter( 3, "stub" );
      names( R"("name": "st*")" );
   }

   void addAdapter( unsigned number, const std::string& name ) {
      fs::path device = root.path() / fmt::format( "sys/devices/pci/i2c-{}", number );
      fs::create_directories( device );
      fs::create_directories( root.path() / "sys/bus/i2c/devices" );
      std::ofstream( device / "name" ) << name << '\n';
      fs::create_directory_symlink( device, link( fmt::format( "i2c-{}", number ) ) );
   }
   fs::path link( const std::string& name ) const {
      return root.path() / "sys/bus/i2c/devices" / name;
   }
   void hold( const std::string& chip, const std::string& driver ) {
      fs::create_directories( link( chip ) );
      fs::create_symlink( "../drivers/" + driver, link( chip ) / "driver" );
   }
   void names( const std::string& members ) {
      std::ofstream( folder.path() + "/adapters.json" )
         << R"([ { "medium": "SCD", "accelerator": 2, "bus": 1, )" << members << " } ]";
   }

   // What is wrong with the adapters; without anything, they are served.
   std::string serve() {
      try {
         auto board =
            BoardFiles::loadBoard( folder.path(), { .adapters = BoardFiles::Demand::Needed } );
         backend->check( board );
         backend->assign( board );
      } catch ( const BoardFiles::BoardError& error ) {
         return error.findings.back().pointer + ": " + error.findings.back().problem;
      }
      system.log.clear();
      return {};
   }

   std::string run( Smbus::TransactionRequest batch ) {
      for ( Smbus::Request& each : *batch.mutable_request() ) {
         each.set_mastertype( Smbus::MASTER_SCD );
         each.set_pci( 5 );
         each.set_address( each.address() | 1 << 7 | 2 << 14 );
      }
      return execute( *backend, batch );
   }
   std::string run( const std::string& steps ) { return run( batchOf( steps ) ); }

   // A service that has just started, with the muxes closed, and the log empty.
   void settle() {
      backend.emplace( system, Sysfs( root.path() ) );
      EXPECT_EQ( serve(), "" );
      run( "48<" );
      system.log.clear();
   }

   BoardFolder folder{ textOf( LUMEN_SOURCE_DIR "/Tests/service/twins/topology.json" ) };
   TemporaryDirectory root;
   FakeSystem system;
   std::optional< KernelBackend > backend{ std::in_place, system, Sysfs( root.path() ) };
};

Smbus::Request wide( Smbus::Request request ) {
   request.set_address( ( request.address() & ~( 3u << 25 ) ) | 2u << 25 );
   return request;
}

}  // namespace

TEST_F( LinuxI2cTest, PlainTransfersHaveTheirWireForms ) {
   settle();
   const std::tuple< Smbus::Request, const char*, const char* > rows[] = {
      { readBytes( 0x48, 5, 2 ), "48>05+48<2", "0203" },
      { wide( readBytes( 0x48, 0x102, 3 ) ), "48>0102+48<3", "020304" },
      { readBytes( 0x48, 0, 0 ), "48<1", "02" },
      { writeBytes( 0x48, 6, "\x11\x22" ), "48>061122", "-" },
      { writeBytes( 0x48, 6, "" ), "48>06", "-" },
      { request( Smbus::REQUEST_PROCESS_CALL, 0x48, 7, 2, "ab" ), "48>076162+48<2", "0203" },
      { request( Smbus::REQUEST_BLOCK_READ, 0x48, 8, 0 ), "48>08+48<block 1/33", "030405" },
      { request( Smbus::REQUEST_BLOCK_WRITE, 0x48, 9, 2, "ab" ), "48>09026162", "-" },
   };
   for ( const auto& [ request, messages, answer ] : rows ) {
      EXPECT_EQ( run( batchOf( { request } ) ), answer );
      EXPECT_EQ( system.take(), messages );
   }
   auto block = batchOf( { std::get< 0 >( rows[ 6 ] ) } );
   for ( uint8_t count : { 0, 33 } ) {
      system.blockCount = count;
      EXPECT_THAT( run( block ), HasSubstr( "corrupt answer" ) ) << int{ count };
   }
   EXPECT_THAT( run( batchOf( { writeBytes( 0x48, 0, std::string( 8192, 'a' ) ) } ) ),
                HasSubstr( "more than 8192 bytes" ) );
   system.capabilities = I2C_FUNC_I2C;
   settle();
   EXPECT_THAT( run( block ), HasSubstr( "the adapter has no block read" ) );
}

TEST_F( LinuxI2cTest, WithoutPlainTransfersTheSmbusCommandsOfTheAdapterServe ) {
   const std::tuple< Smbus::Request, unsigned long, const char*, const char* > rows[] = {
      { readBytes( 0x48, 0, 0 ), I2C_FUNC_SMBUS_READ_BYTE, "r00/1:0000000000", "02" },
      { readBytes( 0x48, 5, 1 ), I2C_FUNC_SMBUS_READ_BYTE_DATA, "r05/2:0000000000", "02" },
      { readBytes( 0x48, 5, 2 ), I2C_FUNC_SMBUS_READ_WORD_DATA, "r05/3:0000000000", "0203" },
      { readBytes( 0x48, 5, 3 ), I2C_FUNC_SMBUS_READ_I2C_BLOCK, "r05/8:0300000000", "030405" },
      { writeBytes( 0x48, 5, "" ), I2C_FUNC_SMBUS_WRITE_BYTE, "w05/1:0000000000", "-" },
      { writeBytes( 0x48, 5, "\x11" ), I2C_FUNC_SMBUS_WRITE_BYTE_DATA, "w05/2:1100000000", "-" },
      { writeBytes( 0x48, 5, "ab" ), I2C_FUNC_SMBUS_WRITE_WORD_DATA, "w05/3:6162000000", "-" },
      { writeBytes( 0x48, 5, "abc" ), I2C_FUNC_SMBUS_WRITE_I2C_BLOCK, "w05/8:0361626300", "-" },
      { request( Smbus::REQUEST_PROCESS_CALL, 0x48, 7, 2, "ab" ), I2C_FUNC_SMBUS_PROC_CALL,
        "w07/4:6162000000", "0203" },
      { request( Smbus::REQUEST_BLOCK_READ, 0x48, 8, 0 ), I2C_FUNC_SMBUS_READ_BLOCK_DATA,
        "r08/5:0000000000", "030405" },
      { request( Smbus::REQUEST_BLOCK_WRITE, 0x48, 9, 1, "a" ), I2C_FUNC_SMBUS_WRITE_BLOCK_DATA,
        "w09/5:0161000000", "-" },
   };
   for ( const auto& [ request, capability, command, answer ] : rows ) {
      system.capabilities = capability | I2C_FUNC_SMBUS_WRITE_BYTE;
      settle();
      EXPECT_EQ( run( batchOf( { request } ) ), answer );
      EXPECT_EQ( system.take(), "select 72 " + std::string( command ) );
      system.capabilities = 0;
      settle();
      std::string refusal = run( batchOf( { request } ) );
      EXPECT_THAT( refusal, HasSubstr( "the adapter has no " ) ) << command;
   }
   system.capabilities = ~( 0ul | I2C_FUNC_I2C );
   settle();
   EXPECT_THAT( run( batchOf( { wide( readBytes( 0x48, 1, 1 ) ) } ) ),
                HasSubstr( "2-byte register numbers need plain I2C" ) );
   EXPECT_THAT( run( "48<00:33" ), HasSubstr( "more than 32 bytes need plain I2C" ) );
   EXPECT_THAT( run( "48<00:4" ), HasSubstr( "short answer" ) );
}

TEST_F( LinuxI2cTest, EveryErrorOfACallIsToldInWords ) {
   const std::tuple< const char*, int, const char* > rows[] = {
      { "48", ENXIO, "no acknowledge" },
      { "48", EREMOTEIO, "no acknowledge" },
      { "48", EIO, "no acknowledge" },
      { "48", ENODEV, "no acknowledge" },
      { "48", ETIMEDOUT, "timed out" },
      { "48", EOPNOTSUPP, "not supported by the adapter" },
      { "timeout 25", EINVAL, "the adapter's time-out cannot be set" },
   };
   settle();
   auto batch = batchOf( "48<00:2 70>00" );
   batch.mutable_request( 0 )->set_address( batch.request( 0 ).address() | 5 << 22 );  // 250 ms
   for ( const auto& [ call, error, words ] : rows ) {
      system.onCall = [ call = std::string( call ), error = error ]( auto& each ) {
         return each.starts_with( call ) ? -error : 0;
      };
      EXPECT_THAT( run( batch ), HasSubstr( std::string( ", bus 1: " ) + words ) );
      EXPECT_THAT( system.take(), testing::EndsWith( " 70>00" ) );
   }
   system.onCall = [ calls = 0 ]( auto& each ) mutable {
      return each.starts_with( "48" ) && ++calls < 4 ? -EAGAIN : 0;
   };
   EXPECT_EQ( run( "48<00:2" ), "0203" ) << "arbitration is lost three times";
   system.onCall = []( auto& ) { return -EAGAIN; };
   EXPECT_THAT( run( "48<00:2" ), HasSubstr( "lost arbitration" ) );
   system.onCall = []( auto& each ) { return each.starts_with( "48" ) ? 1 : 0; };
   EXPECT_THAT( run( "48<00:2" ), HasSubstr( "short answer" ) ) << "one message of two is done";
}

TEST_F( LinuxI2cTest, TimeLimitOfAnAddressWordHoldsForItsTransferAlone ) {
   names( R"("name": "stub", "timeoutMs": 200)" );
   serve();
   auto batch = batchOf( "48<" );
   for ( uint32_t code : { 0, 2, 5 } ) {  // none, 25 and 250 ms
      batch.mutable_request( 0 )->set_address( 0x48 | kOneByteRegisters | code << 22 );
      run( batch );
   }
   EXPECT_THAT( system.take(),
                testing::EndsWith( "48<1 timeout 3 48<1 timeout 20 timeout 25 48<1 timeout 20" ) );
}

TEST_F( LinuxI2cTest, StuckBusCostsOneTimeoutASecond ) {
   settle();
   system.onCall = []( auto& ) { return -ETIMEDOUT; };
   for ( const char* words :
         { "timed out", "timed out", "the bus is stuck", "the bus is stuck" } ) {
      EXPECT_THAT( run( "48<" ), HasSubstr( words ) );
   }
   EXPECT_EQ( system.take(), "48<1 48<1 48<1" );
   usleep( 1'050'000 );
   run( "48<" );
   EXPECT_THAT( run( "48<" ), HasSubstr( "the bus is stuck" ) );
   EXPECT_EQ( system.take(), "48<1" );
   usleep( 1'050'000 );
   system.onCall = nullptr;
   EXPECT_EQ( run( "48<" ), "02" );
   EXPECT_EQ( run( "48<" ), "02" );
}

TEST_F( LinuxI2cTest, AddressThatAKernelDriverHoldsIsRefusedByName ) {
   hold( "3-0048", "lm75" );
   settle();
   EXPECT_THAT( run( "48<" ), HasSubstr( "the kernel's driver lm75 holds the address" ) );
   EXPECT_EQ( run( "49<" ), "02" );
   EXPECT_EQ( system.take(), "49<1" );
   names( R"("name": "stub", "shared": true)" );
   settle();
   EXPECT_EQ( run( "48<" ), "02" );
}

TEST_F( LinuxI2cTest, MuxesAreClosedAtTheStartAndAfterAFailedReset ) {
   serve();
   EXPECT_EQ( run( "70>01 71>02 49<00:2 71>00 70>00" ), "- - 0203 - -" );
   EXPECT_EQ( system.take(),
              "open i2c-3 functions 70>00 70>01 71>00 70>00 "
              "70>01 71>02 49>00+49<2 71>00 70>00" );
   EXPECT_EQ( run( "70>01 71>02 49<00:2 71>00 70>00" ), "- - 0203 - -" );
   EXPECT_EQ( system.take(), "70>01 71>02 49>00+49<2 71>00 70>00" );
   system.onCall = []( auto& each ) { return each == "71>00" ? -EREMOTEIO : 0; };
   EXPECT_THAT( run( "70>01 71>02 49<00:2 71>00 70>00" ), HasSubstr( "request 4 of 5" ) );
   system.onCall = nullptr;
   system.take();
   EXPECT_EQ( run( "48<" ), "02" );
   EXPECT_EQ( system.take(), "70>01 71>00 70>00 48<1" );
   system.onCall = []( auto& each ) { return each == "70>00" ? -ETIMEDOUT : 0; };
   run( "70>01 70>00" );
   EXPECT_THAT( run( "48<" ), HasSubstr( "the channels of mux 0x70 cannot be closed: timed out" ) );
}

TEST_F( LinuxI2cTest, AdapterThatVanishesIsLookedForAgainWithItsMuxesInDoubt ) {
   settle();
   fs::remove( link( "i2c-3" ) );
   system.onCall = []( auto& ) { return -ENODEV; };
   EXPECT_THAT( run( "48<" ), HasSubstr( "the adapter has vanished" ) );
   system.onCall = nullptr;
   EXPECT_THAT( run( "48<" ), HasSubstr( "the adapter is not there" ) );
   addAdapter( 9, "stub" );
   system.take();
   EXPECT_EQ( run( "48<" ), "02" );
   EXPECT_EQ( system.take(), "open i2c-9 functions 70>00 70>01 71>00 70>00 48<1" );
}

TEST_F( LinuxI2cTest, AdaptersThatCannotBeServedAreToldAndChangeNothing ) {
   settle();
   addAdapter( 4, "stuff" );
   EXPECT_EQ( serve(), "" ) << "an entry that stays as it was";
   names( R"("name": "st??*")" );
   EXPECT_EQ( serve(),
              "/0: several adapters of the system match: i2c-3 \"stub\" at /sys/devices/pci, "
              "i2c-4 \"stuff\" at /sys/devices/pci" );
   names( R"("path": "*/usb*")" );
   EXPECT_THAT( serve(), HasSubstr( "no adapter of the system matches; there are i2c-3" ) );
   names( R"("number": 4)" );
   system.onCall = []( auto& call ) { return call == "open i2c-4" ? -EACCES : 0; };
   EXPECT_THAT( serve(), HasSubstr( "dev/i2c-4: Permission denied" ) );
   system.onCall = nullptr;
   system.take();
   EXPECT_EQ( run( "48<" ), "02" );
   EXPECT_EQ( system.take(), "48<1" ) << "on the adapter that it was";
   EXPECT_EQ( serve(), "" );
   run( "48<" );
   EXPECT_THAT( system.take(), testing::StartsWith( "open i2c-4" ) );
}
