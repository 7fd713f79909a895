#include "SmbusService/Emulator/Places.h"

#include <fmt/format.h>

namespace SmbusService::Emulator {

namespace {

constexpr uint32_t kGreatestAddress = 0x7f;
constexpr uint32_t kNumberMask = 0x7f;   // of a bus or an accelerator, as far as it travels
constexpr uint32_t kControlMask = 0xff;  // of a mux channel

enum class Shape { kBus, kBusses, kAccelerators, kNoBus };

struct Medium {
   std::string_view type;
   Smbus::MasterType master;
   Shape shape;
   bool hasPci = false;
};

constexpr Medium kMedia[] = {
   { "SCD", Smbus::MASTER_SCD, Shape::kAccelerators, true },
   { "I2C", Smbus::MASTER_I2C, Shape::kBus },
   { "IOPort", Smbus::MASTER_IO_PORT, Shape::kBus },
   { "Celestica", Smbus::MASTER_CELESTICA, Shape::kAccelerators },
   { "PLM", Smbus::MASTER_PLM, Shape::kBus },
   { "SccSpi", Smbus::MASTER_SCC_SPI, Shape::kBus },
   { "LinuxFs", Smbus::MASTER_SIMULATED, Shape::kNoBus },
   { "FbDomFpga", Smbus::MASTER_FB_DOM_FPGA, Shape::kBusses, true },
};

const Medium& mediumOf( const JsonCursor& json ) {
   std::string type = json.asString();
   for ( const Medium& medium : kMedia ) {
      if ( medium.type == type ) {
         return medium;
      }
   }
   json.fail( fmt::format( "unknown medium '{}'", type ) );
}

uint8_t busNumber( const JsonCursor& bus ) {
   auto number = static_cast< uint32_t >( bus.member( "id" ).asInt() );
   return static_cast< uint8_t >( number & kNumberMask );
}

// Fills only what is still open.
void fill( Place& place, const JsonCursor& device ) {
   auto address = device.find( "address" );
   if ( address && !place.address ) {
      place.address =
         static_cast< uint8_t >( address->member( "address" ).asUint( kGreatestAddress ) );
   }
   auto driver = device.find( "driver" );
   if ( driver && place.driver.empty() ) {
      place.driver = driver->asString();
   }
}

}  // namespace

Places::Places( Board& board, const JsonFile& topology ) : board_( board ) {
   for ( const JsonCursor& medium : JsonCursor( topology ).elements() ) {
      addMedium( medium );
   }
}

void Places::addMedium( const JsonCursor& json ) {
   Medium medium = mediumOf( json.member( "type" ) );
   uint32_t pci = medium.hasPci ? json.member( "pci" ).asUint() : 0;
   auto simulated = json.find( "simulated" );
   if ( medium.master == Smbus::MASTER_I2C && simulated && simulated->asBool() ) {
      medium.master = Smbus::MASTER_SIMULATED;
   }
   auto addBus = [ & ]( uint8_t accelerator, uint8_t number, const JsonCursor& members ) {
      Bus& bus = board_.bus( AdapterId::of( medium.master, pci, accelerator, number ) );
      addBusMembers( bus, bus.root(), members );
   };
   switch ( medium.shape ) {
      case Shape::kBus:
         addBus( 0, 0, json );
         break;
      case Shape::kBusses:
         for ( const JsonCursor& bus : json.elementsOf( "busses" ) ) {
            addBus( 0, busNumber( bus ), bus );
         }
         break;
      case Shape::kAccelerators:
         for ( const JsonCursor& accelerator : json.elementsOf( "accelerators" ) ) {
            uint32_t number = accelerator.member( "id" ).asUint() & kNumberMask;
            for ( const JsonCursor& bus : accelerator.elementsOf( "busses" ) ) {
               addBus( static_cast< uint8_t >( number ), busNumber( bus ), bus );
            }
         }
         break;
      case Shape::kNoBus:
         break;
   }
}

void Places::addBusMembers( Bus& bus, Segment& segment, const JsonCursor& json ) {
   for ( const JsonCursor& device : json.elementsOf( "devices" ) ) {
      addDevice( bus, segment, device );
   }
   for ( const JsonCursor& mux : json.elementsOf( "muxes" ) ) {
      addMux( bus, mux );
   }
}

// The first of several devices with one id counts.
void Places::addDevice( Bus& bus, Segment& segment, const JsonCursor& json ) {
   Place place{ &bus, &segment, {}, {} };
   fill( place, json );
   places_.emplace( json.member( "did" ).asUint(), std::move( place ) );
}

void Places::addMux( Bus& bus, const JsonCursor& json ) {
   JsonCursor did = json.member( "did" );
   Branches& branches = branches_.emplace( did.asUint(), Branches{ &bus, {} } ).first->second;
   if ( branches.bus != &bus ) {
      did.fail( "the mux is already on another adapter" );
   }
   for ( const JsonCursor& channel : json.elementsOf( "busses" ) ) {
      auto value = static_cast< uint32_t >( channel.member( "id" ).asInt() ) & kControlMask;
      Segment& segment = bus.newSegment();
      branches.channels.push_back( { static_cast< uint8_t >( value ), &segment } );
      addBusMembers( bus, segment, channel );
   }
}

void Places::complete( const JsonFile& objects ) {
   for ( const JsonCursor& object : JsonCursor( objects ).elementsOf( "objects" ) ) {
      auto kind = object.find( "kind" );
      auto device = object.find( "device" );
      if ( !device || ( kind && kind->asString() == "system" ) ) {
         continue;
      }
      auto place = places_.find( device->member( "did" ).asUint() );
      if ( place != places_.end() ) {
         fill( place->second, *device );
      }
   }
}

const Place* Places::find( uint32_t did ) const {
   auto place = places_.find( did );
   return place == places_.end() ? nullptr : &place->second;
}

const Branches* Places::branches( uint32_t did ) const {
   auto branches = branches_.find( did );
   return branches == branches_.end() ? nullptr : &branches->second;
}

}  // namespace SmbusService::Emulator
