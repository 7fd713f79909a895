#pragma once

#include <string>

#include "Components/Fan.h"
#include "Components/HardwareDevice.h"
#include "Components/Slot.h"
#include "Drivers/Arguments.h"
#include "Drivers/Corvid/BlinkingLed.h"
#include "Drivers/Corvid/LedShadow.h"

namespace Drivers {

// CPLD of a CPU board with up to eight fan modules. Each has a fan, a bicolour LED and a presence
// line, all named by the driver argument "fanId", 1 to 8; an `index` is the fan id less 1.
class CpuCPLD : public Component::HardwareDevice {
 public:
   class Fan;
   class Led;
   class Slot;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   void init() override;
   const Utils::ExpectedValues& expectedValues() override;

   Component::LogicalDevice::Led* newLed( const DriverArgs& args ) override;
   // Null when the module is absent (errno is then ENODEV) or cannot be read.
   Component::LogicalDevice::Fan* newFan( const DriverArgs& args ) override;
   Component::LogicalDevice::Slot* newSlot( const DriverArgs& args ) override;

   // Writes what the LEDs are to show.
   [[nodiscard]] pl_status commitLedStatus();
   [[nodiscard]] pl_status setLedAmber( uint8_t index );
   [[nodiscard]] pl_status setLedRed( uint8_t index );
   [[nodiscard]] pl_status setLedGreen( uint8_t index );
   [[nodiscard]] pl_status setLedOff( uint8_t index );

   // PL_STATUS_ABSENT without the module, PL_STATUS_DEVICE_ERROR when its fan does not run
   // correctly.
   [[nodiscard]] pl_status getFanRpm( Fan* fan, int* rpm );
   // Speeds below the fan's lowest become that one, those above its highest the greatest duty.
   [[nodiscard]] pl_status setFanRpm( Fan* fan, int rpm );
   // `type` tells the module's airflow and generation.
   [[nodiscard]] pl_status getFanPresence( uint8_t index, bool& present, uint8_t& type );

   // Of a module's type.
   static bool isFrontToBack( uint8_t type ) { return type & 1; }

   // For a fan that is linear in its duty, from 30 % of its highest speed at duty 0.
   static uint8_t dutyFor( int rpm, int maxRpm );

 private:
   [[nodiscard]] pl_status setLed( uint8_t index, bool isGreen, bool isRed );

   static constexpr Ham::Ham::Register kGreenLeds = 0x24;
   static constexpr Ham::Ham::Register kRedLeds = 0x25;
   LedShadow leds_{ .green = kGreenLeds, .red = kRedLeds };
};

// A fan module's settings, from the driver arguments of its generation: "G1" or "G2" as its type
// byte says, with "name", "maxRpm", "minRpm", "p", "i", "pulsesPerRevolution" and "fanSample"
// appended. An output that is null is not read; a missing argument is an assertion. A "?" in the
// name becomes F or R, as the air flows. Returns true.
bool parseFanInformation( uint8_t type,
                          const Arguments& args,
                          std::string* name,
                          int* maxRpm,
                          int* minRpm,
                          double* p,
                          double* i,
                          double* pulsesPerRevolution,
                          double* fanSample );

class CpuCPLD::Led : public BlinkingLed {
 public:
   Led( CpuCPLD* device, uint8_t index ) : device_( device ), index_( index ) {}

   bool handleBlinkTimer( bool phase ) override;
   [[nodiscard]] pl_status setLightSetting( pl_led_status status ) override;

 private:
   CpuCPLD* device_;
   uint8_t index_;
};

class CpuCPLD::Fan : public Component::LogicalDevice::Fan {
 public:
   Fan( CpuCPLD* device, uint8_t fanIndex ) : index( fanIndex ), device_( device ) {}

   [[nodiscard]] pl_status getRpm( int* rpm ) override { return device_->getFanRpm( this, rpm ); }
   [[nodiscard]] pl_status setRpm( int rpm ) override { return device_->setFanRpm( this, rpm ); }

   const uint8_t index;
   int maxRpm = 0;
   int minRpm = 0;
   double pulsesPerRevolution = 0;
   double fanSample = 0;  // the tachometer's clock, hertz

 private:
   CpuCPLD* device_;
};

class CpuCPLD::Slot : public Component::LogicalDevice::Slot {
 public:
   // The device arguments' text is not copied: it must live as long as the slot.
   Slot( CpuCPLD* device, uint8_t index, const DriverArgs& args );

   [[nodiscard]] pl_status getPresence( char** info ) override;

 private:
   std::string describe( uint8_t type ) const;

   uint8_t index_;
   const Arguments driverArgs_;
   const char* jsonText_;
   std::string cachedInfo_;
   CpuCPLD* device_;
   uint8_t cachedType_ = 0xFF;  // no module's: they have three bits
};

}  // namespace Drivers
