#include "BoardFiles/DeviceArguments.h"

#include "BoardFiles/Schema.h"

namespace BoardFiles {

std::optional< uint32_t > addressOf( const Utils::Json::Value& device ) {
   bool isMultiDevice = device.HasMember( "isMultiDevice" ) && device[ "isMultiDevice" ].GetBool();
   bool hasHam = !device.HasMember( "provideHam" ) || device[ "provideHam" ].GetUint() != 0;
   if ( isMultiDevice || !hasHam ) {
      return std::nullopt;
   }
   return device[ "address" ][ "address" ].GetUint();
}

void checkDriverArguments( const Utils::Json::Value& device,
                           const std::string& pointer,
                           const std::string& file,
                           std::vector< Finding >& findings ) {
   auto arguments = device.FindMember( "driverArgs" );
   if ( arguments == device.MemberEnd() || !arguments->value.IsObject() ) {
      return;
   }
   for ( const auto& member : arguments->value.GetObject() ) {
      const Utils::Json::Value& value = member.value;
      if ( value.IsNumber() && !value.IsDouble() && !value.IsInt() && !value.IsUint() ) {
         findings.push_back( { file,
                               pointer + "/driverArgs" + pointerToken( member.name.GetString() ),
                               "must fit 32 bits: drivers get an empty text instead" } );
      }
   }
}

}  // namespace BoardFiles
