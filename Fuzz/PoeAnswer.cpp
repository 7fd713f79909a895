#include <algorithm>
#include <cstdlib>
#include <cstring>

#include "Drivers/BCM59121/Exchange.h"
#include "Drivers/BCM59121/Firmware.h"
#include "Drivers/BCM59121/PoePort.h"
#include "Fuzz/HostObject.h"
#include "Fuzz/Support.h"

using Drivers::BCM59121;

namespace {

constexpr size_t kPlan = 1;  // bytes before the answers

// Answers with the input, 12 bytes at a time, over and over; where the plan's bit is set they
// become good answers to what was asked.
class AnswerHam : public Ham::Ham {
 public:
   AnswerHam( const uint8_t* data, size_t size )
       : plan_( size ? data[ 0 ] : 0 ),
         bytes_( reinterpret_cast< const char* >( data ) + ( size ? kPlan : 0 ),
                 size ? size - kPlan : 0 ) {}

   void prepare() override {}
   pl_status execute() override { return PL_STATUS_OK; }
   ResponseId addRead( Register, uint32_t, bool, uint8_t ) override { return 0; }
   void addWrite( Register reg, const void*, uint32_t, bool, uint8_t ) override {
      command_ = static_cast< char >( reg );
   }
   std::string getBlock( ResponseId, uint32_t length ) override {
      std::string answer = bytes_.substr( place_, length );
      place_ = place_ + length < bytes_.size() ? place_ + length : 0;
      if ( plan_ >> count_++ % 8 & 1 ) {
         answer.resize( length );
         answer[ 0 ] = command_;
         Drivers::Poe::setCheckSum( answer );
      }
      return answer;
   }

 private:
   uint8_t plan_;
   std::string bytes_;
   size_t place_ = 0;
   unsigned count_ = 0;
   char command_ = 0;
};

// A controller for one input.
class Controller : public BCM59121 {
 public:
   Controller( const Drivers::DriverArgs& args, Ham::Ham* ham ) : BCM59121( args ) { hamIs( ham ); }
};

}  // namespace

// Whatever a controller answers, readings are in their ranges, reports are made and a firmware
// update ends.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   Drivers::Poe::pause = []( auto ) {};
   Drivers::DriverArgs args;
   args.driverArgs = { { "numPorts", "8" }, { "numAtPorts", "4" } };
   AnswerHam ham( data, size );
   Controller controller( args, &ham );
   BCM59121::PoePort port( &controller, size && data[ 0 ] & 1 ? 3 : 7 );
   Fuzz::useOf( port.record() )( { data, data + std::min( size, kPlan ) } );
   pl_poe_port_state states[ 3 ];
   pl_poe_port_pair_state pairs;
   if ( port.getPoePortPowerState( &states[ 0 ], &states[ 1 ], &states[ 2 ], &pairs ) == 0 ) {
      Fuzz::require( states[ 0 ] <= PL_POE_PORT_OVERLOAD && states[ 1 ] <= PL_POE_PORT_POWERED &&
                     states[ 2 ] <= PL_POE_PORT_POWERED && pairs <= PL_POE_PAIR_BOTH );
   }
   pl_poe_device_class classes[ 3 ];
   if ( port.getPoeDeviceClass( &classes[ 0 ], &classes[ 1 ], &classes[ 2 ] ) == 0 ) {
      Fuzz::require( classes[ 0 ] <= PL_POE_CLASS_UNKNOWN && classes[ 1 ] <= PL_POE_CLASS_UNKNOWN &&
                     classes[ 2 ] <= PL_POE_CLASS_UNKNOWN );
   }
   float volts;
   Fuzz::require( port.getPoePortVoltage( &volts ) != PL_STATUS_OK ||
                  ( volts > -3000 && volts < 3000 ) );
   char* text = nullptr;
   Fuzz::require( port.debugInfo( &text, true ) == PL_STATUS_OK && strlen( text ) > 0 );
   free( text );
   const Drivers::Poe::FirmwareImage image{ .version = 1, .payload = "two blocks" };
   ( void )Drivers::Poe::FirmwareUpdate( &ham, image ).run();
   return 0;
}
