#include <gmock/gmock.h>

#include <functional>

#include "Components/Gpio.h"
#include "Drivers/GenericPCA9555.h"
#include "Drivers/LM73.h"
#include "Drivers/Max6658.h"
#include "Drivers/Max6697.h"
#include "Drivers/TMP46x.h"
#include "Tests/support/SensorChip.h"

using namespace Drivers;
using Tests::channel;
using Tests::kUntouched;

namespace {

// An operation of a driver that takes some steps on the bus and may have an output.
struct Operation {
   const char* name;
   const char* driver;
   Tests::DriverArguments args;
   size_t steps;
   std::function< pl_status( Component::HardwareDevice& device, float* output ) > run;
};

template < typename Driver, typename Run >
auto on( Run run ) {
   return [ run ]( Component::HardwareDevice& device, float* output ) {
      return run( dynamic_cast< Driver& >( device ), output );
   };
}

auto temperature( const Tests::DriverArguments& args ) {
   return [ args ]( Component::HardwareDevice& device, float* output ) {
      std::unique_ptr< Component::LogicalDevice::TempSensor > sensor(
         device.newTempSensor( Tests::argumentsOf( args ) ) );
      return sensor->getTemperature( output );
   };
}

template < typename Run >
auto bit( Run run ) {
   return [ run ]( Component::HardwareDevice& device, float* output ) {
      std::unique_ptr< Component::LogicalDevice::Gpio > gpio(
         device.newGpio( Tests::argumentsOf( { { "register", "1" }, { "bitpos", "0" } } ) ) );
      unsigned int value = 7;
      pl_status status = run( *gpio, &value );
      *output = value == 7 ? *output : static_cast< float >( value );
      return status;
   };
}

auto bank( pl_status ( GPIOExpander::*get )( uint8_t, uint8_t* ) ) {
   return on< GPIOExpander >( [ get ]( auto& expander, float* output ) {
      uint8_t value = 7;
      pl_status status = ( expander.*get )( 1, &value );
      *output = value == 7 ? *output : static_cast< float >( value );
      return status;
   } );
}

const Tests::DriverArguments kBanks = { { "bank-io-0", "0" }, { "bank-io-1", "0" } };

using Gpio = Component::LogicalDevice::Gpio;
using Diode = Max6658::DiodeType;
const Operation kOperations[] = {
   { "read", "TMP75", {}, 1, temperature( {} ) },
   { "read", "LM73", {}, 1, temperature( {} ) },
   { "limit", "LM73", {}, 1, on< LM73 >( []( auto& d, float* o ) {
        return d.getThreshold( o );
     } ) },
   { "set limits", "LM73", {}, 2, on< LM73 >( []( auto& d, float* ) {
        return d.setThreshold( 50 );
     } ) },
   { "set resolution", "LM73", {}, 1, on< LM73 >( []( auto& d, float* ) {
        return d.setResolution( LM73::Resolution::EighthDegree );
     } ) },
   { "read", "TMP46x", {}, 1, temperature( channel( "2" ) ) },
   { "limit", "TMP46x", {}, 1, on< TMP46x >( []( auto& d, float* o ) {
        return d.getThreshold( 1, TMP46x::Threshold::Alert, o );
     } ) },
   { "set limit", "TMP46x", {}, 1, on< TMP46x >( []( auto& d, float* ) {
        return d.setThreshold( 1, TMP46x::Threshold::Alert, 5 );
     } ) },
   { "read", "Max6697", {}, 2, temperature( channel( "1" ) ) },
   { "limit", "Max6697", {}, 1, on< Max6697 >( []( auto& d, float* o ) {
        return d.getThreshold( 1, Max6697::Threshold::Alert, o );
     } ) },
   { "set limit", "Max6697", {}, 1, on< Max6697 >( []( auto& d, float* ) {
        return d.setThreshold( 1, Max6697::Threshold::Alert, 5 );
     } ) },
   { "read", "Max6658", {}, 2, temperature( channel( "1" ) ) },
   { "limit", "Max6658", {}, 1, on< Max6658 >( []( auto& d, float* o ) {
        return d.getThreshold( Diode::local, Max6658::Threshold::Alert, o );
     } ) },
   { "set limit", "Max6658", {}, 1, on< Max6658 >( []( auto& d, float* ) {
        return d.setThreshold( Diode::local, Max6658::Threshold::Alert, 5 );
     } ) },
   { "bit set", "GpioDriver", {}, 2, bit( []( Gpio& g, unsigned int* ) { return g.bitSet(); } ) },
   { "bit clear", "GpioDriver", {}, 2, bit( []( Gpio& g, unsigned int* ) {
        return g.bitClear();
     } ) },
   { "bit read", "GpioDriver", {}, 1, bit( []( Gpio& g, unsigned int* value ) {
        return g.bitRead( value );
     } ) },
   { "input", "PCA9555", kBanks, 1, bank( &GenericPCA9555::getInBank ) },
   { "output", "PCA9555", kBanks, 1, bank( &GenericPCA9555::getOutBank ) },
   { "configuration", "PCA9555", kBanks, 2, on< GenericPCA9555 >( []( auto& d, float* ) {
        constexpr uint8_t kConfiguration[] = { 1, 2 };
        return d.writeConfig( kConfiguration );
     } ) },
   { "change", "PCA9555", kBanks, 4, on< GenericPCA9555 >( []( auto& d, float* ) {
        for ( uint8_t pin : { 0, 8 } ) {
           if ( pl_status status = d.writeBit( pin, true ) ) {
              return status;
           }
        }
        return d.save();
     } ) },
};

// Each step in turn fails until a run passes: its status comes back, the output stays as it was and
// nothing more is sent.
TEST( FailingSteps, EndTheOperation ) {
   drivers[ "PCA9555" ] = GenericPCA9555::create;
   for ( const Operation& operation : kOperations ) {
      for ( size_t step = 1;; ++step ) {
         SCOPED_TRACE( testing::Message() << operation.driver << " " << operation.name << step );
         Tests::FakeHam ham;
         ham.load( 0xFF, "0468" );
         ham.afterWrite = [ & ]( uint32_t reg ) { ham.load( reg, "0000" ); };
         Component::HardwareDevice* device =
            Tests::createDevice( operation.driver, ham, operation.args );
         ham.log.clear();
         ham.failNth( step, PL_STATUS_FAILURE );
         float output = kUntouched;
         pl_status status = operation.run( *device, &output );
         if ( !ham.hasFailed() ) {
            EXPECT_EQ( status, PL_STATUS_OK );
            EXPECT_EQ( step - 1, operation.steps );
            break;
         }
         EXPECT_EQ( status, PL_STATUS_FAILURE );
         EXPECT_EQ( output, kUntouched );
         EXPECT_EQ( ham.log.size(), step );
      }
   }
}

}  // namespace
