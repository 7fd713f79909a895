#include <fmt/format.h>

#include <stdexcept>

#include "SmbusService/Emulator/Chips/EEPROM.h"
#include "SmbusService/Emulator/Chips/FruImage.h"

// Identification memory of a fan module: an EEPROM that can also be given its fields by name.

namespace SmbusService::Emulator {

namespace {

class MorrowFanspinnerIdprom : public EEPROM {
 public:
   void describe( std::string_view field, std::string_view text ) override {
      FruFields fields = fields_;
      fields.insert_or_assign( std::string( field ), text );
      std::string image = fruImage( fields );
      if ( image.size() > kSize ) {
         throw std::invalid_argument(
            fmt::format( "'{}' makes the image {} bytes long, and the chip has {}", field,
                         image.size(), kSize ) );
      }
      fill( image );
      fields_ = std::move( fields );
   }

 private:
   FruFields fields_;
};

}  // namespace

std::unique_ptr< Chip > newMorrowFanspinnerIdprom() {
   return std::make_unique< MorrowFanspinnerIdprom >();
}

}  // namespace SmbusService::Emulator
