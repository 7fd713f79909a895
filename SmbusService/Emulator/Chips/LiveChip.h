#pragma once

#include <functional>

#include "SmbusService/Emulator/RegisterChip.h"

namespace SmbusService::Emulator {

// A quantity that a model's own code keeps, as whole numbers; on or off where no range is given.
// Without `set` it can only be read.
struct LiveQuantity {
   std::string name;
   std::function< double() > get;
   std::function< void( uint32_t ) > set = {};
   uint32_t low = 0;
   uint32_t high = 1;
};

// A register chip with such quantities. What they set is no register: it survives a reset.
class LiveChip : public RegisterChip {
 public:
   using RegisterChip::RegisterChip;

   std::vector< std::string > quantities() const override;
   void set( std::string_view quantity, double value ) override;
   double get( std::string_view quantity ) const override;

 protected:
   void add( LiveQuantity quantity ) { live_.push_back( std::move( quantity ) ); }

   static LiveQuantity onOff( std::string name, bool& isOn );

   // To be read only: 1 while the bit of the register is 0, which lights the LED.
   LiveQuantity led( std::string name, uint8_t number, uint8_t bit ) const;

 private:
   const LiveQuantity& named( std::string_view quantity ) const;

   std::vector< LiveQuantity > live_;
};

}  // namespace SmbusService::Emulator
