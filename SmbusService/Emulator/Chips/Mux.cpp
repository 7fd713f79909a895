#include <optional>

#include "SmbusService/Emulator/Chip.h"

// Eight-channel muxes of the PCA9548 and MAX7356 class: one control byte, a bit for each channel.

namespace SmbusService::Emulator {

namespace {

constexpr const char* kChannels = "channels";

class Mux : public MuxChip {
 public:
   void reset() override { control_ = 0; }

   bool start( Direction ) override {
      written_.reset();
      return true;
   }

   bool write( uint8_t byte ) override {
      written_ = byte;
      return true;
   }

   uint8_t read() override { return control_; }

   // Channels switch at the STOP, so that the rest of a transfer never reaches a new channel.
   void stop() override { control_ = written_.value_or( control_ ); }

   uint8_t openChannels() const override { return control_; }

   std::vector< std::string > quantities() const override { return { kChannels }; }

   double get( std::string_view quantity ) const override {
      return quantity == kChannels ? control_ : Chip::get( quantity );
   }

   void set( std::string_view quantity, double value ) override {
      if ( quantity != kChannels ) {
         Chip::set( quantity, value );
      }
      checkRange( quantity, value, 0, 255 );
      control_ = static_cast< uint8_t >( value );
   }

 private:
   uint8_t control_ = 0;
   std::optional< uint8_t > written_;
};

}  // namespace

std::unique_ptr< Chip > newMux() {
   return std::make_unique< Mux >();
}

}  // namespace SmbusService::Emulator
