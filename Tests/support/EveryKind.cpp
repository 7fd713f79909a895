#include "Tests/support/EveryKind.h"

#include <sstream>

#include "Components/Fan.h"
#include "Components/Gpio.h"
#include "Components/HardwareDevice.h"
#include "Components/Led.h"
#include "Components/PoePort.h"
#include "Components/Psu.h"
#include "Components/Slot.h"
#include "Components/SmbusProxy.h"
#include "Components/TempSensor.h"
#include "Components/Xcvr.h"

using namespace Component;

namespace {

template < typename Number >
auto printable( Number value ) {
   return +value;
}

template < typename Pointee >
const void* printable( Pointee* pointer ) {
   return pointer;
}

template < typename... Arguments >
pl_status note( const void* object, const char* operation, Arguments... arguments ) {
   std::ostringstream text;
   text << object << ' ' << operation;
   ( ( text << ' ' << printable( arguments ) ), ... );
   pl_trace( EVERY_KIND_LEVEL, "%s", text.str().c_str() );
   return EVERY_KIND_STATUS;
}

class TempSensor final : public LogicalDevice::TempSensor {
 public:
   void alertThresholdIs( float celsius ) override { note( this, __func__, celsius ); }
   void criticalThresholdIs( float celsius ) override { note( this, __func__, celsius ); }
   pl_status getTemperature( float* celsius ) override { return note( this, __func__, celsius ); }
};

class Led final : public LogicalDevice::Led {
 public:
   using LogicalDevice::Led::Led;

   bool handleBlinkTimer( bool phase ) override { return note( this, __func__, phase ); }
   pl_status setLightSetting( pl_led_status status ) override {
      return note( this, __func__, status );
   }
};

class Fan final : public LogicalDevice::Fan {
 public:
   pl_status debugInfo( char** out ) const override { return note( this, __func__, out ); }
   pl_status getRpm( int* rpm ) override { return note( this, __func__, rpm ); }
   pl_status setRpm( int rpm ) override { return note( this, __func__, rpm ); }
};

class Slot final : public LogicalDevice::Slot {
 public:
   pl_status getPresence( char** info ) override { return note( this, __func__, info ); }
};

class Psu final : public LogicalDevice::Psu {
 public:
   pl_status get_power_ok( int* value ) override { return note( this, __func__, value ); }
   pl_status get_input_current( float* value ) override { return note( this, __func__, value ); }
   pl_status get_output_current( float* value ) override { return note( this, __func__, value ); }
   pl_status get_input_voltage( float* value ) override { return note( this, __func__, value ); }
   pl_status get_output_voltage( float* value ) override { return note( this, __func__, value ); }
   pl_status get_input_power( float* value ) override { return note( this, __func__, value ); }
   pl_status get_output_power( float* value ) override { return note( this, __func__, value ); }
};

class Sfp final : public LogicalDevice::SfpXcvr {
 public:
   using SfpXcvr::SfpXcvr;

   int getPresence() override { return note( this, __func__ ); }
   pl_status getTxFault( int* value ) override { return note( this, __func__, value ); }
   pl_status getRxLos( int* value ) override { return note( this, __func__, value ); }
   pl_status getTxDisable( int* value ) override { return note( this, __func__, value ); }
   pl_status setTxDisable( int value ) override { return note( this, __func__, value ); }
};

template < typename Family >
class Quad final : public Family {
 public:
   using Family::Family;

   int getPresence() override { return note( this, __func__ ); }
   pl_status getModSel( int* value ) override { return note( this, __func__, value ); }
   pl_status setModSel( int value ) override { return note( this, __func__, value ); }
   pl_status getLpMode( int* value ) override { return note( this, __func__, value ); }
   pl_status setLpMode( int value ) override { return note( this, __func__, value ); }
   pl_status getReset( int* value ) override { return note( this, __func__, value ); }
   pl_status setReset( int value ) override { return note( this, __func__, value ); }
   pl_status getInterrupt( int* value ) override { return note( this, __func__, value ); }
};

class Gpio final : public LogicalDevice::Gpio {
 public:
   pl_status bitClear() override { return note( this, __func__ ); }
   pl_status bitSet() override { return note( this, __func__ ); }
   pl_status bitRead( unsigned int* value ) override { return note( this, __func__, value ); }
};

class SmbusProxy final : public LogicalDevice::SmbusProxy {
 public:
   pl_status quickCommand( int value ) override { return note( this, __func__, value ); }
   pl_status receiveByte( uint8_t* out ) override { return note( this, __func__, out ); }
   pl_status sendByte( uint8_t value ) override { return note( this, __func__, value ); }
   pl_status readByte( uint32_t reg, uint8_t regSize, uint8_t* out ) override {
      return note( this, __func__, reg, regSize, out );
   }
   pl_status writeByte( uint32_t reg, uint8_t regSize, uint8_t value ) override {
      return note( this, __func__, reg, regSize, value );
   }
   pl_status readWord( uint32_t reg, uint8_t regSize, uint16_t* out ) override {
      return note( this, __func__, reg, regSize, out );
   }
   pl_status writeWord( uint32_t reg, uint8_t regSize, uint16_t value ) override {
      return note( this, __func__, reg, regSize, value );
   }
   pl_status blockRead( uint32_t reg,
                        uint8_t regSize,
                        uint8_t* buffer,
                        uint32_t* length ) override {
      return note( this, __func__, reg, regSize, buffer, length );
   }
   pl_status blockWrite( uint32_t reg,
                         uint8_t regSize,
                         const uint8_t* data,
                         uint32_t length ) override {
      return note( this, __func__, reg, regSize, data, length );
   }
   pl_status i2cBlockRead( uint32_t reg,
                           uint8_t regSize,
                           uint8_t* buffer,
                           uint32_t length ) override {
      return note( this, __func__, reg, regSize, buffer, length );
   }
   pl_status i2cBlockWrite( uint32_t reg,
                            uint8_t regSize,
                            const uint8_t* data,
                            uint32_t length ) override {
      return note( this, __func__, reg, regSize, data, length );
   }
   pl_status processCall( uint32_t reg, uint8_t regSize, uint16_t value, uint16_t* out ) override {
      return note( this, __func__, reg, regSize, value, out );
   }
   pl_status blockProcessCall( uint32_t reg,
                               uint8_t regSize,
                               const uint8_t* data,
                               uint8_t length,
                               uint8_t* buffer,
                               uint8_t* answerLength ) override {
      return note( this, __func__, reg, regSize, data, length, buffer, answerLength );
   }
};

class PoePort final : public LogicalDevice::PoePort {
 public:
   pl_status debugInfo( char** out, bool verbose ) override {
      return note( this, __func__, out, verbose );
   }
   pl_status poePortInit() override { return note( this, __func__ ); }
   pl_status reprogramPoeFirmware( bool force, char** out ) override {
      return note( this, __func__, force, out );
   }
   pl_status setPoePortPse( bool enable ) override { return note( this, __func__, enable ); }
   pl_status setPoePortLimit( pl_poe_power_limit_mode mode, float limit ) override {
      return note( this, __func__, mode, limit );
   }
   pl_status setPoePortShutOffWithPsu( uint8_t psu, bool enable ) override {
      return note( this, __func__, psu, enable );
   }
   pl_status poePortPowerOn( bool on ) override { return note( this, __func__, on ); }
   pl_status setPoePortLegacyDetect( bool enable ) override {
      return note( this, __func__, enable );
   }
   pl_status getPoePortPowerState( pl_poe_port_state* state,
                                   pl_poe_port_state* primary,
                                   pl_poe_port_state* alternative,
                                   pl_poe_port_pair_state* pairs ) override {
      return note( this, __func__, state, primary, alternative, pairs );
   }
   pl_status getPoeDeviceClass( pl_poe_device_class* cls,
                                pl_poe_device_class* primary,
                                pl_poe_device_class* alternative ) override {
      return note( this, __func__, cls, primary, alternative );
   }
   pl_status getPoePortPower( float* total, float* primary, float* alternative ) override {
      return note( this, __func__, total, primary, alternative );
   }
   pl_status getPoePortVoltage( float* volts ) override { return note( this, __func__, volts ); }
   pl_status getPoePortCurrent( float* amps ) override { return note( this, __func__, amps ); }
   pl_status getPoePortTemperature( float* celsius ) override {
      return note( this, __func__, celsius );
   }
   pl_status getPoePortCrcStatus( bool* ok ) override { return note( this, __func__, ok ); }
   pl_status getPoePortInformation( char** out ) override { return note( this, __func__, out ); }
};

class EveryKind final : public HardwareDevice {
 public:
   LogicalDevice::PoePort* newPoePort( const DriverArgs& ) override { return new PoePort; }
   LogicalDevice::TempSensor* newTempSensor( const DriverArgs& ) override { return new TempSensor; }
   LogicalDevice::Slot* newSlot( const DriverArgs& ) override { return new Slot; }
   LogicalDevice::SfpXcvr* newSfpXcvr( unsigned int id, const DriverArgs& ) override {
      return new Sfp( id );
   }
   LogicalDevice::QsfpXcvr* newQsfpXcvr( unsigned int id, const DriverArgs& ) override {
      return new Quad< LogicalDevice::QsfpXcvr >( id );
   }
   LogicalDevice::CmisXcvr* newCmisXcvr( unsigned int id, const DriverArgs& ) override {
      return new Quad< LogicalDevice::CmisXcvr >( id );
   }
   LogicalDevice::Led* newLed( const DriverArgs& args ) override {
      return new Led( args.driverArgs.contains( "blinks" ) );
   }
   LogicalDevice::Fan* newFan( const DriverArgs& ) override { return new Fan; }
   LogicalDevice::Psu* newPsu( const DriverArgs& ) override { return new Psu; }
   LogicalDevice::SmbusProxy* newSmbusProxy( const DriverArgs& ) override { return new SmbusProxy; }
   LogicalDevice::Gpio* newGpio( const DriverArgs& ) override { return new Gpio; }
};

}  // namespace

void every_kind_register( void ) {
   Drivers::drivers[ "EveryKind" ] = []( const Drivers::DriverArgs&, Ham::Ham* ) {
      return new EveryKind;
   };
}
