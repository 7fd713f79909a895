#include "Drivers/Corvid/FruInformation.h"

#include "Drivers/Corvid/FanFdl.h"
#include "Fuzz/Support.h"

using Drivers::FruInformation;

namespace {

bool isQuotable( const std::string& text ) {
   return !text.empty() && text.find_first_of( "'\"\\{}\n" ) == text.npos;
}

}  // namespace

// Whatever a memory holds is decoded or refused, and nothing of it breaks out of a template.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size ) {
   auto unit = FruInformation::decode( { reinterpret_cast< const char* >( data ), size } );
   if ( unit ) {
      for ( const std::string* field :
            { &unit->manufacturer, &unit->productName, &unit->partNumber, &unit->version,
              &unit->serialNumber, &unit->assetTag, &unit->fileId } ) {
         Fuzz::require( field->empty() || ( field->back() != ' ' && field->back() != '\0' ) );
         std::string value = Drivers::fdlValue( *field );
         Fuzz::require( isQuotable( value ) );
         Fuzz::require( Drivers::fillFdl( "{serialNum}", { { "serialNum", value } } ) == value );
      }
   }
   return 0;
}
