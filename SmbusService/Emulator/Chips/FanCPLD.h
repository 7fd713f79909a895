#pragma once

#include "SmbusService/Emulator/Chips/LiveChip.h"
#include "SmbusService/Emulator/Chips/Rotor.h"

// What CPLDs share that control up to eight fan modules, each with a status LED.
//
// Quantities, with the module's number behind them: "present", "type" (what the module says it is),
// "fault" (the CPLD finds fault with fans that turn); to be read only, "green" and "red" (1 while
// lit); and those of each rotor, as the layout names them. A module's fans run at their speed as
// soon as it is present. What is mounted survives a reset.
namespace SmbusService::Emulator {

constexpr uint8_t kFanModules = 8;

struct RotorLayout {
   // The names of its quantities.
   std::string_view stopped;  // blocked
   std::string_view maxRpm;
   std::string_view rpm;   // to be read only
   std::string_view duty;  // to be read only

   uint8_t tachometers;  // two registers for each module: low byte, high byte
   uint8_t duties;       // a register for each module
   uint32_t highestRpm;  // where nobody sets another
};

// The numbers of the registers, of 8 bits each. One for all modules has bit m for module m.
struct FanLayout {
   std::span< const Register > constants;
   std::span< const RotorLayout > rotors;
   uint8_t firstModule;   // its number in quantities
   double countTimesRpm;  // of the tachometers
   uint8_t types;         // a register for each module
   uint8_t type;          // where nobody sets another
   uint8_t presence;      // for all modules
   bool presentLevel;     // of a module's bit
   uint8_t health;        // for all modules: 1 = its fans run as they should
   uint8_t green;         // for all modules: 0 = lit
   uint8_t red;           // for all modules: 0 = lit
};

struct FanPart {
   explicit FanPart( const FanLayout& );

   FanLayout layout;
   std::vector< Register > registers;
};

class FanCPLD : public LiveChip {
 public:
   // The part must outlive the chip.
   explicit FanCPLD( const FanPart& );

   void reset() override;

 protected:
   uint32_t fetch( uint8_t number ) override;
   void store( uint8_t number, uint32_t written ) override;

 private:
   struct Module {
      void setPresent( bool );
      bool runsWell() const;

      bool isPresent = false;
      bool hasFault = false;
      uint32_t type = 0;
      std::vector< Rotor > rotors;  // as in the layout
   };

   void addQuantities( Module&, int number );
   void addQuantities( Rotor&, const RotorLayout&, int number );
   uint32_t count( const Rotor& ) const;
   template < typename Condition >
   uint32_t bits( Condition ) const;

   const FanLayout& layout_;
   std::array< Module, kFanModules > modules_;
};

}  // namespace SmbusService::Emulator
