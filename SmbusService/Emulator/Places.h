#pragma once

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "SmbusService/Emulator/Board.h"
#include "SmbusService/Emulator/JsonCursor.h"

namespace SmbusService::Emulator {

// Where a device sits, and what the board's documents say about it.
struct Place {
   Bus* bus;
   Segment* segment;
   std::optional< uint8_t > address;
   std::string driver;  // empty when nobody names one
};

// The busses behind a mux.
struct Branches {
   Bus* bus;
   std::vector< Channel > channels;
};

// The places that topology.json and objects.json describe, by device id.
class Places {
 public:
   // Makes the topology's adapters on the board.
   Places( Board&, const JsonFile& topology );

   // Adds what the topology leaves open.
   void complete( const JsonFile& objects );

   // Null when no bus of the topology has the device, or the mux.
   const Place* find( uint32_t did ) const;
   const Branches* branches( uint32_t did ) const;

 private:
   void addMedium( const JsonCursor& );
   void addBusMembers( Bus&, Segment&, const JsonCursor& );
   void addDevice( Bus&, Segment&, const JsonCursor& );
   void addMux( Bus&, const JsonCursor& );

   Board& board_;
   std::map< uint32_t, Place > places_;
   std::map< uint32_t, Branches > branches_;
};

}  // namespace SmbusService::Emulator
