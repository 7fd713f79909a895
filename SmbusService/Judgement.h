#pragma once

#include <optional>
#include <string>
#include <vector>

#include "SmbusService/Access.h"
#include "SmbusService/PolicyMap.h"

namespace SmbusService {

// Whether one of the rules is for the client.
bool hasRuleFor( const Peer&, const PolicyMap::Rules& );

// Follows one batch of one client. The locks of the batch's adapters are held.
class Judgement {
 public:
   Judgement( const PolicyMap&, const Peer&, const std::vector< Step >&, Found );

   // Why the next step is refused, if it is. To be called once for each step.
   std::optional< std::string > next();

 private:
   using Problem = std::optional< std::string >;
   using Target = PolicyMap::Target;
   using Rules = PolicyMap::Rules;

   // What is connected to one adapter before the next step.
   struct Channels {
      Adapter* adapter;
      const PolicyMap::Adapter* map;
      BusTree::ControlBytes bytes;
      BusTree::ControlBytes ever;                // all bits that the batch found or set
      bool isSure = true;                        // each mux has taken each byte
      std::vector< size_t > segments = {};       // connected
      std::vector< size_t > unknownBehind = {};  // segments of muxes with open unknown channels
   };

   // A segment that an address may be taken to belong to.
   struct Owner {
      size_t segment;
      bool isDeclared;  // the board has a device there
   };

   Channels* channelsOf( const Step& );
   static void connect( Channels& );
   static void follow( const Transfer&, Channels& );

   Problem judge( const Transfer&, const Channels& ) const;
   Problem judgeTarget( const Target&, const Transfer&, const Channels& ) const;
   Problem judgeSelection( const Target&, uint8_t byte, const Channels& ) const;
   Problem judgeOthers( const std::vector< Owner >&, const Transfer&, const Channels& ) const;
   bool permits( const Rules&, const Transfer& ) const;
   bool permitsSide( const Rules&,
                     const Transfer&,
                     bool ( *side )( const BoardFiles::PolicyRule&, const Transfer& ) ) const;
   std::string refusal( const Rules&, const Transfer&, const std::string& name ) const;

   const PolicyMap& map_;
   const Peer& peer_;
   const std::vector< Step >& steps_;
   const size_t firstReset_;
   const Found found_;
   size_t next_ = 0;
   std::vector< Channels > channels_;
};

}  // namespace SmbusService
