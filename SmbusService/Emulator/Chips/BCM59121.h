#pragma once

#include <chrono>
#include <optional>

#include "SmbusService/Emulator/Chip.h"
#include "SmbusService/Emulator/Chips/PoeFirmware.h"

namespace SmbusService::Emulator {

// PoE controller that is spoken to in messages.
//
// A write transfer is a request. The answer is fetched by a read, before which the byte 0xff is
// written; once it was read whole, there are only bytes 0xff. An answer repeats the command in byte
// 0, or has an error there:
//
//   0xaf  no firmware, and no command of the boot loader
//   0xfd  no request that there is: length, command, port or value. Nothing happened.
//   0xfe  its sum is wrong
//   0xff  not ready: starting, or erasing the firmware
//
// Quantities are described in docs/boards.md.
class BCM59121 : public Chip {
 public:
   void reset() override;
   bool start( Direction ) override;
   bool write( uint8_t byte ) override;
   uint8_t read() override;
   void stop() override { takeRequest(); }

   std::vector< std::string > quantities() const override;
   void set( std::string_view quantity, double value ) override;
   double get( std::string_view quantity ) const override;

 private:
   using Clock = std::chrono::steady_clock;
   using Seconds = std::chrono::duration< double >;

   // Of the controller, or with a port's number behind its name.
   struct Quantity {
      std::string_view name;
      double ( *get )( const BCM59121&, size_t port );
      void ( *set )( BCM59121&, size_t port, double ) = nullptr;
      double low = 0;
      double high = 1;
   };
   static const Quantity kOfController[];
   static const Quantity kOfPort[];

   struct Found {
      const Quantity& quantity;
      size_t port;
   };
   Found find( std::string_view name ) const;
   std::vector< std::string > knownNames() const;
   template < auto member >
   static constexpr Quantity ofSurroundings( std::string_view name, double low, double high );
   template < auto member >
   static constexpr Quantity ofDevice( std::string_view name, double high = 1 );

   void takeRequest();
   uint8_t perform( PoeRequest, PoeAnswer& );
   uint8_t performFirmware( PoeRequest, PoeAnswer& );
   void startFirmware();
   void setFirmwareMissing( bool isMissing );
   void count( uint8_t command );
   void settle() { ports_.settle( loader_.isRunning() ); }
   void setBusy( double seconds );
   double busy() const;

   PoeSurroundings around_;
   PoePorts ports_{ around_ };
   PoeFirmware firmware_{ ports_ };
   PoeBootLoader loader_;

   bool hadPower_ = false;
   Clock::time_point readyAt_{};
   std::vector< uint8_t > request_;
   std::optional< PoeAnswer > answer_;
   size_t position_ = 0;  // in the answer

   uint32_t commands_ = 0;  // that were accepted, queries aside
   int lastCommand_ = -1;   // of them; -1: none yet
};

}  // namespace SmbusService::Emulator
