#include <gmock/gmock.h>

#include <cstring>
#include <functional>

#include "Components/Gpio.h"
#include "Drivers/Corvid/CpuCPLD.h"
#include "Drivers/Corvid/TarnRearCardCPLD.h"
#include "Drivers/GenericPCA9555.h"
#include "Drivers/LM73.h"
#include "Drivers/Max6658.h"
#include "Drivers/Max6697.h"
#include "Drivers/TMP46x.h"
#include "Tests/support/FakeDevice.h"

using namespace Drivers;
using Component::LogicalDevice::Gpio;

namespace {

// The output of whatever type an operation has.
struct Output {
   template < typename Value >
   operator Value*() {
      return reinterpret_cast< Value* >( bytes );
   }

   alignas( void* ) char bytes[ sizeof( void* ) ] = { 1, 2, 3, 4 };
};

using Run = std::function< pl_status( Component::HardwareDevice& device, Output output[] ) >;

// A driver's operation, or that of its GPIO, with these arguments, and an output when it has one
// more parameter.
template < typename Driver, typename... Parameters, typename... Arguments >
Run on( pl_status ( Driver::*operation )( Parameters... ), Arguments... arguments ) {
   return [ = ]( Component::HardwareDevice& device, Output output[] ) {
      Driver* driver;
      if constexpr ( std::is_same_v< Driver, Gpio > ) {
         driver =
            device.newGpio( Tests::argumentsOf( { { "register", "1" }, { "bitpos", "0" } } ) );
      } else {
         driver = &dynamic_cast< Driver& >( device );
      }
      if constexpr ( sizeof...( Parameters ) == sizeof...( Arguments ) ) {
         return ( driver->*operation )( arguments... );
      } else {
         return ( driver->*operation )( arguments..., *output );
      }
   };
}

// A change in each of two banks, and what saves it.
pl_status changeBanks( Component::HardwareDevice& device, Output[] ) {
   auto& expander = dynamic_cast< GPIOExpander& >( device );
   for ( uint8_t pin : { 0, 8 } ) {
      if ( pl_status status = expander.writeBit( pin, true ) ) {
         return status;
      }
   }
   return expander.save();
}

const Tests::DriverArguments kArguments = {
   { "bank-io-0", "0" },        { "bank-io-1", "0" },       { "fanId", "1" },
   { "position", "0" },         { "type", "status" },       { "pinRed", "0" },
   { "pinGreen", "1" },         { "maxRpm", "100" },        { "minRpm", "0" },
   { "fanFdlMapKey_a", "255" }, { "fanFdlMapValue_a", "" },
};

pl_status light( Component::HardwareDevice& device, Output[] ) {
   return device.newLed( Tests::argumentsOf( kArguments ) )->setLightSetting( PL_LED_OFF );
}

pl_status turn( Component::HardwareDevice& device, Output[] ) {
   return device.newFan( Tests::argumentsOf( kArguments ) )->setRpm( 100 );
}

template < typename Fan >
pl_status rpmOf( Fan fan, Output output[] ) {
   return fan.getRpm( *output );
}

pl_status describe( Component::HardwareDevice& device, Output output[] ) {
   char** text = *output;
   pl_status status = device.newSlot( Tests::argumentsOf( kArguments ) )->getPresence( text );
   if ( status == PL_STATUS_OK ) {
      free( *text );
   }
   return status;
}

constexpr uint8_t kConfiguration[] = { 1, 2 };
constexpr auto kLocal = Max6658::DiodeType::local;

const struct {
   const char* driver;
   size_t steps;
   Run run;
} kOperations[] = {
   { "LM73", 1, on( &LM73::getTemperature ) },
   { "LM73", 1, on( &LM73::getThreshold ) },
   { "LM73", 2, on( &LM73::setThreshold, 50 ) },
   { "LM73", 1, on( &LM73::setResolution, LM73::Resolution::EighthDegree ) },
   { "TMP46x", 1, on( &TMP46x::getTemperature, 1 ) },
   { "TMP46x", 1, on( &TMP46x::getThreshold, 1, TMP46x::Threshold::Alert ) },
   { "TMP46x", 1, on( &TMP46x::setThreshold, 1, TMP46x::Threshold::Alert, 5 ) },
   { "Max6697", 2, on( &Max6697::getTemperature, 1 ) },
   { "Max6697", 1, on( &Max6697::getTemperature, 2 ) },
   { "Max6697", 1, on( &Max6697::getThreshold, 1, Max6697::Threshold::Alert ) },
   { "Max6697", 1, on( &Max6697::setThreshold, 1, Max6697::Threshold::Alert, 5 ) },
   { "Max6658", 2, on( &Max6658::getTemperature, kLocal ) },
   { "Max6658", 1, on( &Max6658::getThreshold, kLocal, Max6658::Threshold::Alert ) },
   { "Max6658", 1, on( &Max6658::setThreshold, kLocal, Max6658::Threshold::Alert, 5 ) },
   { "GpioDriver", 2, on( &Gpio::bitSet ) },
   { "GpioDriver", 2, on( &Gpio::bitClear ) },
   { "GpioDriver", 1, on( &Gpio::bitRead ) },
   { "PCA9555", 1, on( &GPIOExpander::getInBank, 1 ) },
   { "PCA9555", 1, on( &GPIOExpander::getOutBank, 1 ) },
   { "PCA9555", 2, on( &GPIOExpander::writeConfig, kConfiguration ) },
   { "PCA9555", 4, changeBanks },
   { "CpuCPLD", 2, light },
   { "TarnRearCardCPLD", 2, light },
   { "QuillonRearCardStatusLed", 1, light },
   { "CpuCPLD", 4,
     []( auto& device, Output output[] ) {
        return rpmOf( CpuCPLD::Fan( &dynamic_cast< CpuCPLD& >( device ), 0 ), output );
     } },
   { "TarnRearCardCPLD", 3,
     []( auto& device, Output output[] ) {
        return rpmOf( TarnRearCardCPLD::Fan( &dynamic_cast< TarnRearCardCPLD& >( device ) ),
                      output );
     } },
   { "MorrowFanspinnerController", 7, turn },
   { "TarnRearCardCPLD", 4, describe },
};

// Each step in turn fails until a run passes: its status comes back, the output stays as it was and
// nothing more is sent.
TEST( FailingSteps, EndTheOperation ) {
   drivers[ "PCA9555" ] = GenericPCA9555::create;
   for ( const auto& operation : kOperations ) {
      for ( size_t step = 1;; ++step ) {
         SCOPED_TRACE( testing::Message() << operation.driver << ", row "
                                          << &operation - kOperations << ", step " << step );
         Tests::FakeHam ham;
         for ( uint32_t reg : { 0x20, 0x41, 0x49, 0x4A } ) {
            ham.load( reg, "ff" );
         }
         ham.load( 0xFF, "0468" );
         ham.fixed = { 0xC4 };
         Component::HardwareDevice* device =
            Tests::createDevice( operation.driver, ham, kArguments );
         ham.log.clear();
         ham.failNth( step, PL_STATUS_FAILURE );
         Output output;
         pl_status status = operation.run( *device, &output );
         if ( !ham.hasFailed() ) {
            EXPECT_EQ( status, PL_STATUS_OK );
            EXPECT_EQ( step - 1, operation.steps );
            break;
         }
         EXPECT_EQ( status, PL_STATUS_FAILURE );
         EXPECT_EQ( memcmp( output.bytes, Output().bytes, sizeof output.bytes ), 0 );
         EXPECT_EQ( ham.log.size(), step );
      }
   }
}

}  // namespace
