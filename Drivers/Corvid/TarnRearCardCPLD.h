#pragma once

#include <map>
#include <optional>
#include <string>

#include "Components/Fan.h"
#include "Components/HardwareDevice.h"
#include "Components/Slot.h"
#include "Drivers/Arguments.h"
#include "Drivers/Corvid/BlinkingLed.h"
#include "Drivers/Corvid/LedShadow.h"

namespace Drivers {

// CPLD of a rear card with up to eight fan modules, each with an outer and an inner fan and a
// bicolour LED. The driver arguments "fanId" (below 16, the number people use) and "position"
// (below 8, the bit and the offset in the registers) name a module.
class TarnRearCardCPLD : public Component::HardwareDevice {
 public:
   class Fan;
   class FanSlot;
   class Led;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );

   void init() override;
   const Utils::ExpectedValues& expectedValues() override;

   // Null when the module is absent (errno is then ENODEV) or cannot be read.
   Component::LogicalDevice::Fan* newFan( const DriverArgs& args ) override;
   Component::LogicalDevice::Led* newLed( const DriverArgs& args ) override;
   Component::LogicalDevice::Slot* newSlot( const DriverArgs& args ) override;

   // False when "maxRpm" or "isOuter" is missing; without "minRpm" it is 0.3 x maxRpm. A missing
   // "fanId" or "position", or one out of range, is an assertion.
   static bool parseFanInformation( const Arguments& args,
                                    uint8_t& fanId,
                                    uint8_t& position,
                                    unsigned& maxRpm,
                                    unsigned& minRpm,
                                    bool& isOuter );

   // PL_STATUS_DEVICE_ERROR when the fan reports a fault or its tachometer stands still.
   [[nodiscard]] pl_status getFanRpm( const Fan* fan, int* rpm );
   // Speeds below the fan's lowest become that one; those above its highest wrap.
   [[nodiscard]] pl_status setFanRpm( const Fan* fan, int rpm );

   // The presence line is read until two readings agree; a line that never settles is no module.
   // `slotId` is for the traces.
   [[nodiscard]] pl_status getFanPresence( uint8_t slotId, uint8_t bit, bool& present );

   // The shadow of the LED registers keeps the colours when the write fails.
   [[nodiscard]] pl_status writeLightSetting( uint8_t index, bool red, bool green );

   int versionMajor() const { return major_; }
   int versionMinor() const { return minor_; }

 private:
   uint8_t major_ = 0;
   uint8_t minor_ = 0;
   static constexpr Ham::Ham::Register kGreenLeds = 0x4B;
   static constexpr Ham::Ham::Register kRedLeds = 0x4C;
   LedShadow leds_{ .green = kGreenLeds, .red = kRedLeds };
};

class TarnRearCardCPLD::Fan : public Component::LogicalDevice::Fan {
 public:
   explicit Fan( TarnRearCardCPLD* device ) : device_( device ) {}

   [[nodiscard]] pl_status debugInfo( char** buf ) const override;
   [[nodiscard]] pl_status getRpm( int* rpm ) override { return device_->getFanRpm( this, rpm ); }
   [[nodiscard]] pl_status setRpm( int rpm ) override { return device_->setFanRpm( this, rpm ); }

   uint8_t fanId = 0;
   uint8_t position = 0;
   unsigned maxRpm = 0;
   unsigned minRpm = 0;
   bool isOuter = false;

 private:
   TarnRearCardCPLD* device_;
};

class TarnRearCardCPLD::Led : public BlinkingLed {
 public:
   // `index` is the bit in the LED registers.
   Led( TarnRearCardCPLD* device, uint8_t id, uint8_t index )
       : device_( device ), id_( id ), index_( index ) {}

   bool handleBlinkTimer( bool on ) override;
   [[nodiscard]] pl_status setLightSetting( pl_led_status status ) override;

 private:
   TarnRearCardCPLD* device_;
   uint8_t id_;
   uint8_t index_;
};

class TarnRearCardCPLD::FanSlot : public Component::LogicalDevice::Slot {
 public:
   FanSlot( TarnRearCardCPLD* device, uint8_t slotId, uint8_t position, const Arguments& args );

   // PL_STATUS_ABSENT also for a module of a type that has no template.
   [[nodiscard]] pl_status getPresence( char** fdl ) override;

 private:
   // The function is that of the traces.
   [[nodiscard]] pl_status readTypeId( const char* function, std::optional< uint8_t >& typeId );
   std::string describe( uint8_t typeId, const std::string& fdl ) const;

   TarnRearCardCPLD* device_;
   uint8_t slotId_;
   uint8_t position_;
   const std::map< int, std::string > templates_;  // by type id
   uint8_t cachedTypeId_ = 0;
   std::optional< std::string > cachedFdl_;
};

}  // namespace Drivers
