#include "Drivers/Drivers.h"

#include <charconv>

#include "Topology/HamAddress.h"
#include "Utils/Assert.h"
#include "Utils/Lasting.h"
#include "pl.h"

namespace Drivers {

namespace {

constexpr int kStreamPrecision = 6;  // significant digits, as an output stream prints a double

std::string text( const Utils::Json::Value& value ) {
   return std::string( value.GetString(), value.GetStringLength() );
}

std::string argumentText( const Utils::Json::Value& value ) {
   if ( value.IsInt() ) {
      return std::to_string( value.GetInt() );
   }
   if ( value.IsUint() ) {
      return std::to_string( value.GetUint() );
   }
   if ( value.IsString() ) {
      return text( value );
   }
   if ( value.IsDouble() ) {
      char digits[ 32 ];
      auto end = std::to_chars( std::begin( digits ), std::end( digits ), value.GetDouble(),
                                std::chars_format::general, kStreamPrecision );
      return std::string( digits, end.ptr );
   }
   if ( value.IsBool() ) {
      return value.GetBool() ? "true" : "false";
   }
   return "";
}

}  // namespace

bool DriverArgs::parseJSON( const char* jsonDocument ) {
   Utils::Json::Document document;
   if ( auto error = Utils::Json::parse( jsonDocument, document ) ) {
      pl_trace( 0, "failed to load device from json: %s offset %zd", error->message,
                static_cast< ssize_t >( error->offset ) );
      return false;
   }
   jsonText = jsonDocument;
   parseJSON( document );
   return true;
}

// The assertions print the lookups by name that one pass over the members stands for.
void DriverArgs::parseJSON( const Value& json ) {
   LUMEN_ASSERT( json.IsObject() );
   auto [ didMember, driverMember, multi, multiArgs, place, ham, component, arguments ] =
      Utils::Json::members< "did", "driver", "isMultiDevice", "multiDeviceArgs", "address",
                            "provideHam", "uid", "driverArgs" >( json );
   LUMEN_ASSERT_TEXT( didMember, "json.HasMember( \"did\" )" );
   LUMEN_ASSERT_TEXT( driverMember, "json.HasMember( \"driver\" )" );
   isMultiDevice = multi && multi->GetBool();
   if ( isMultiDevice ) {
      LUMEN_ASSERT_TEXT( multiArgs, "json.HasMember( \"multiDeviceArgs\" )" );
   } else {
      LUMEN_ASSERT_TEXT( place, "json.HasMember( \"address\" )" );
      Topology::fillAddressFromJSON( *place, address );
   }
   provideHam = !ham || ham->GetUint() != 0;
   uid = component ? component->GetUint() : kNoUid;
   did = didMember->GetUint();
   if ( !driverMember->IsNull() ) {
      driver = text( *driverMember );
   }
   if ( arguments && !arguments->IsNull() ) {
      for ( const auto& member : arguments->GetObject() ) {
         if ( !member.value.IsNull() ) {
            driverArgs[ text( member.name ) ] = argumentText( member.value );
         }
      }
   }
   if ( isMultiDevice ) {
      for ( const auto& member : multiArgs->GetObject() ) {
         multiDeviceArgs[ text( member.name ) ] = text( member.value );
      }
   }
}

std::shared_ptr< DriverArgs > DriverArgs::fromJSON( const Value& json ) {
   auto args = Utils::makeLasting< DriverArgs >();
   args->parseJSON( json );
   return args;
}

}  // namespace Drivers
