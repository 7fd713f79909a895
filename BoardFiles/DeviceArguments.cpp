#include "BoardFiles/DeviceArguments.h"

#include "BoardFiles/MemberCheck.h"

namespace BoardFiles {

std::optional< uint32_t > addressOf( const Utils::Json::Value& device ) {
   bool isMultiDevice = device.HasMember( "isMultiDevice" ) && device[ "isMultiDevice" ].GetBool();
   bool hasHam = !device.HasMember( "provideHam" ) || device[ "provideHam" ].GetUint() != 0;
   if ( isMultiDevice || !hasHam ) {
      return std::nullopt;
   }
   return device[ "address" ][ "address" ].GetUint();
}

std::string driverOf( const Utils::Json::Value& device ) {
   auto driver = device.FindMember( "driver" );
   return driver != device.MemberEnd() && driver->value.IsString() ? driver->value.GetString() : "";
}

void checkDeviceArguments( const Utils::Json::Value& device,
                           const Place& place,
                           std::vector< Finding >& findings ) {
   warnOfMisspeltMembers( device, "device", place, findings );
   if ( auto address = device.FindMember( "address" );
        address != device.MemberEnd() && address->value.IsObject() ) {
      warnOfMisspeltMembers( address->value, "address", place.member( "address" ), findings );
   }
   auto arguments = device.FindMember( "driverArgs" );
   if ( arguments == device.MemberEnd() || !arguments->value.IsObject() ) {
      return;
   }
   for ( const auto& member : arguments->value.GetObject() ) {
      const Utils::Json::Value& value = member.value;
      if ( value.IsNumber() && !value.IsDouble() && !value.IsInt() && !value.IsUint() ) {
         Place argument = place.member( "driverArgs" ).member( member.name.GetString() );
         findings.push_back( { argument.file, argument.pointer,
                               "must fit 32 bits: drivers get an empty text instead" } );
      }
   }
}

}  // namespace BoardFiles
