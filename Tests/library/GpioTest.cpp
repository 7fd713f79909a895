#include <gmock/gmock.h>

#include <memory>
#include <stdexcept>

#include "Components/Gpio.h"
#include "Tests/support/FakeDevice.h"

using namespace testing;
using Component::LogicalDevice::Gpio;

namespace {

class RegGpio : public testing::Test {
 protected:
   static Drivers::DriverArgs at( const char* reg, const char* position ) {
      return Tests::argumentsOf( { { "register", reg }, { "bitpos", position } } );
   }

   Tests::FakeHam ham;
   Component::HardwareDevice* device = Tests::createDevice( "GpioDriver", ham );
   unsigned int value = 7;
};

TEST_F( RegGpio, ReadsSetsAndClearsItsBitAndKeepsTheOthers ) {
   const std::tuple< const char*, const char*, unsigned, std::string, std::string > rows[] = {
      { "3", "a0", 0, "a8", "a0" }, { "5", "a0", 1, "a0", "80" },  { "7", "ff", 1, "ff", "7f" },
      { "8", "a5", 0, "a5", "a5" }, { "32", "a5", 0, "a5", "a5" }, { "-1", "a5", 0, "a5", "a5" },
   };
   for ( const auto& [ position, before, read, set, cleared ] : rows ) {
      std::unique_ptr< Gpio > gpio( device->newGpio( at( "16", position ) ) );
      ham.load( 0x10, before );
      ham.log.clear();
      EXPECT_EQ( gpio->bitRead( &value ), PL_STATUS_OK );
      EXPECT_EQ( value, read ) << position;
      EXPECT_EQ( gpio->bitSet(), PL_STATUS_OK );
      EXPECT_EQ( gpio->bitClear(), PL_STATUS_OK );
      EXPECT_THAT( ham.log,
                   ElementsAre( "R8 10", "R8 10", "W8 10=" + set, "R8 10", "W8 10=" + cleared ) );
   }
}

TEST_F( RegGpio, WithoutReadingWritesTheOtherBitsAsIdle ) {
   class WriteOnly : public Component::LogicalDevice::RegGpio {
    public:
      WriteOnly( Component::HardwareDevice* device, const Drivers::DriverArgs& args )
          : RegGpio( device, args ) {
         noRead_ = true;
      }
   } gpio( device, at( "1", "2" ) );
   EXPECT_EQ( gpio.bitSet(), PL_STATUS_OK );
   EXPECT_EQ( gpio.bitClear(), PL_STATUS_OK );
   EXPECT_THAT( ham.log, ElementsAre( "W8 01=04", "W8 01=fb" ) );
}

TEST_F( RegGpio, NeedsRegisterAndPosition ) {
   for ( const char* key : { "register", "bitpos" } ) {
      Drivers::DriverArgs args = at( "1", "1" );
      args.driverArgs.erase( key );
      EXPECT_DEATH( device->newGpio( args ),
                    R"(Components/Gpio.cpp.*`it != args\.driverArgs\.end\(\)')" );
      args.driverArgs[ key ] = "x";
      EXPECT_THROW( device->newGpio( args ), std::invalid_argument );
   }
}

}  // namespace
