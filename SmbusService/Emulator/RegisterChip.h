#pragma once

#include <array>
#include <map>
#include <optional>
#include <span>

#include "SmbusService/Emulator/Chip.h"

namespace SmbusService::Emulator {

enum class ByteOrder { kHighFirst, kLowFirst };

struct Register {
   uint8_t number;
   uint8_t bytes;          // 1 to 4
   uint32_t reset;         // value after power-on
   uint32_t writable = 0;  // the bits that a write over the bus changes
};

// A quantity that is one field of one register: value = field x step. A quantity in a register that
// the bus cannot write is a measurement and survives a reset.
struct Quantity {
   std::string_view name;
   uint8_t number;
   double step;
   uint8_t bits = 16;
   uint8_t shift = 0;
   bool isSigned = true;
};

// A chip with numbered registers: the first byte of a write is the register pointer, the bytes
// after it are data for that register; a read takes the register that the pointer names. The
// pointer keeps its value from transfer to transfer. A register takes its new value with the last
// of its bytes; a write that stops before leaves it as it was. Registers that the table does not
// have take any byte and read as 0xff.
//
// A simple chip is its tables:
//
//   constexpr Register kRegisters[] = {
//      { .number = 0x00, .bytes = 2, .reset = 0 },                       // temperature
//      { .number = 0x01, .bytes = 1, .reset = 0x10, .writable = 0xff },  // configuration
//   };
//   constexpr Quantity kQuantities[] = {
//      { .name = "temperature", .number = 0x00, .step = 1.0 / 256 },
//   };
//
//   std::unique_ptr< Chip > newTMP75() {
//      return std::make_unique< RegisterChip >( ByteOrder::kHighFirst, kRegisters, kQuantities );
//   }
//
// A chip with behaviour overrides fetch() (live values, clear on read), store() (commands, pages),
// following() (pointers that advance), or set() and get(). SMBus blocks are entries of blocks().
// Quantities that are no field of a register make it a LiveChip (Chips/LiveChip.h).
class RegisterChip : public Chip {
 public:
   // The tables must outlive the chip.
   RegisterChip( ByteOrder, std::span< const Register >, std::span< const Quantity > = {} );

   void reset() override;
   bool start( Direction ) override;
   bool write( uint8_t byte ) override;
   uint8_t read() override;

   std::vector< std::string > quantities() const override;
   void set( std::string_view quantity, double value ) override;
   double get( std::string_view quantity ) const override;

 protected:
   // A register as a bus read sees it. Called once for each time it is read.
   virtual uint32_t fetch( uint8_t number ) { return values_[ number ]; }

   // A bus write of a register. Keeps the bits that are not writable.
   virtual void store( uint8_t number, uint32_t value );

   // The pointer after the last byte of a register, when the transfer goes on.
   virtual uint8_t following( uint8_t number ) const { return number; }

   // The chip's own access to its registers, unhindered by what is writable.
   uint32_t value( uint8_t number ) const { return values_[ number ]; }
   void assign( uint8_t number, uint32_t value ) { values_[ number ] = value; }

   // Blocks by register number: read as a count and the bytes, replaced by a block write.
   std::map< uint8_t, std::string >& blocks() { return blocks_; }

 private:
   static constexpr size_t kNumbers = 256;

   const Quantity& quantity( std::string_view name ) const;
   void assignField( const Quantity&, double value );
   std::string* block();
   void writeBlockByte( std::string& block, uint8_t byte );
   uint8_t readBlockByte( const std::string& block );

   const ByteOrder order_;
   const std::span< const Register > registers_;
   const std::span< const Quantity > quantities_;
   std::array< uint32_t, kNumbers > values_{};
   std::array< uint32_t, kNumbers > writable_{};
   std::array< uint8_t, kNumbers > bytes_{};  // 0: no such register
   std::vector< std::optional< double > > measured_;
   std::map< uint8_t, std::string > blocks_;

   uint8_t pointer_ = 0;
   bool pointerNext_ = false;  // the next byte written is the pointer
   size_t position_ = 0;       // bytes of the register, or of the block, already moved
   uint32_t moving_ = 0;       // the register's value on its way
   std::string blockWritten_;
};

}  // namespace SmbusService::Emulator
