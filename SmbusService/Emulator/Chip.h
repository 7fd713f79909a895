#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

// The bus boundary of an emulated chip: what a real chip sees and does, byte by byte.
//
// Adding a model
//  - One .cpp file per chip family. It follows the data sheet, keeps its own register table and
//    includes no driver's header: the two sides check each other.
//  - A chip that is a table of registers derives from RegisterChip (see there for an example);
//    another protocol derives from Chip.
//  - The file ends with a factory, `std::unique_ptr< Chip > newTMP75() { ... }`, which
//    Chips/Factory.cpp names in its list of factories and in one row of its table.
//  - Quantities are named in camelCase and set in engineering units: degrees, volts, rpm.
//
// Calls on one chip never overlap: the caller holds the lock of the chip's adapter.
namespace SmbusService::Emulator {

enum class Direction { kWrite, kRead };

class Chip {
 public:
   virtual ~Chip() = default;

   // Power-on: assigns every register. What is measured (a temperature, say), and what is not
   // volatile, stays. Called once before the first transfer.
   virtual void reset() = 0;

   // START or repeated START and the chip's address. False: no acknowledge.
   virtual bool start( Direction ) = 0;

   // The next byte written to the chip, or read from it. False: no acknowledge.
   virtual bool write( uint8_t byte ) = 0;
   virtual uint8_t read() = 0;

   // STOP, also after a byte that was not acknowledged.
   virtual void stop() {}

   virtual std::vector< std::string > quantities() const { return {}; }

   // std::invalid_argument for a quantity, or a value of it, that the chip does not have.
   virtual void set( std::string_view quantity, double value );
   virtual double get( std::string_view quantity ) const;

   // Fills a memory, as emulation.json's "contents" say. std::invalid_argument when the chip has
   // none or it is too small.
   virtual void load( std::string_view contents );

   // One of emulation.json's "fields", which a memory holds in a form of its own.
   // std::invalid_argument when the chip has no such field or no room for the text.
   virtual void describe( std::string_view field, std::string_view text );

 protected:
   [[noreturn]] void unknownQuantity( std::string_view name ) const;
   [[noreturn]] static void unknownQuantity( std::string_view name,
                                             const std::vector< std::string >& known );
   [[noreturn]] static void refuseToSet( std::string_view name );
   static void checkRange( std::string_view name, double value, double low, double high );
};

// A chip that connects further busses to its own.
class MuxChip : public Chip {
 public:
   // One bit for each channel that is open.
   virtual uint8_t openChannels() const = 0;
};

}  // namespace SmbusService::Emulator
