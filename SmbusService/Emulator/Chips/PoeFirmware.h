#pragma once

#include <bitset>
#include <optional>

#include "SmbusService/Emulator/Chips/PoeBootLoader.h"
#include "SmbusService/Emulator/Chips/PoePorts.h"

namespace SmbusService::Emulator {

// What a running PoE controller makes of its messages.
//
// The answer to a configuration command has byte 2 of the request, and zero in byte 3. What is
// configured is lost with the power; what was saved comes back.
class PoeFirmware {
 public:
   explicit PoeFirmware( PoePorts& ports ) : ports_( ports ) {}

   // Begins with the configuration that was saved; all ports drop.
   void start( PoeVersion );
   void forgetSaved() { saved_ = {}; }

   // As if a host had saved a configuration with the port so.
   void leaveEnabled( size_t port, bool isEnabled );

   enum class Outcome {
      kAnswered,
      kConfigured,
      kRestarts,  // configured, and to be started again
      kRefused,   // no such command, port, group or value; nothing happened
   };

   // A request of 12 bytes. Fills the answer's data.
   Outcome handle( PoeRequest, PoeAnswer& );

   // For each port, in what the controller keeps of it. While correction is on, each time that the
   // status is asked for repairs one of each port.
   std::array< uint32_t, kMaxPoePorts > crcErrors{};

 private:
   struct Query;
   struct PortSetting;
   struct Setting;
   struct PortCommand;
   struct Command;
   static const Query kQueries[];
   static const PortSetting kPortSettings[];
   static const Setting kSettings[];
   static const PortCommand kPortCommands[];
   static const Command kCommands[];

   bool configure( PoeRequest );
   bool configurePort( size_t port, PoeRequest );

   bool answerSystem( PoeRequest, PoeAnswer& );
   bool answerCrcOfGroup( PoeRequest, PoeAnswer& );
   bool answerCrcOfChannels( PoeRequest, PoeAnswer& );
   std::optional< std::array< uint8_t, kPoeChannelsOfChip > > crcStatus( PoeRequest );
   bool enable( size_t port, PoeRequest );
   bool powerOn( size_t port, PoeRequest );
   bool powerOff( size_t port, PoeRequest );
   bool clearCounters( size_t port, PoeRequest );
   bool mapPort( size_t port, PoeRequest );
   bool beginOrEndPortMap( PoeRequest );
   bool ignore( PoeRequest ) { return true; }
   bool setBudget( PoeRequest );
   bool setCrcCorrection( PoeRequest );
   bool save( PoeRequest );

   bool force( size_t port, PoeRequest, PoeSwitch );
   size_t groupOf( size_t port ) const;

   PoePorts& ports_;
   PoeSettings saved_;
   PoeVersion version_;
   bool wasReset_ = false;
   std::optional< std::bitset< kMaxPoePorts > > mapping_;  // ports in a map that is being sent
};

}  // namespace SmbusService::Emulator
