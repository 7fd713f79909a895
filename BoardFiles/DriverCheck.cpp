#include "BoardFiles/DriverCheck.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "BoardFiles/ArgumentsCheck.h"
#include "BoardFiles/DeviceArguments.h"
#include "BoardFiles/DriverTable.h"
#include "Utils/Nearest.h"

namespace BoardFiles {

namespace {

using DriverTable::find;
using Utils::Json::Value;

// What the driver of raw endpoints reads: it serves all devices that have a label.
std::vector< const Value* > rulesForEndpoints() {
   return DriverTable::rulesFor( *DriverTable::driver( "SmbusProxyDriver" ), "smbus" );
}

std::string unknownDriver( const std::string& name ) {
   return fmt::format( "unknown driver \"{}\"{}", name,
                       Utils::didYouMean( name, DriverTable::driverNames() ) );
}

}  // namespace

void DriverCheck::object( std::string_view kind, const Value& device, const Place& place ) {
   if ( !isAsked_ ) {
      return;
   }
   std::string name = driverOf( device );
   const Value* driver = DriverTable::driver( name );
   bool isFirst = made_.insert( device[ "did" ].GetUint() ).second;
   auto report = [ & ]( const char* member, const std::string& problem ) {
      Place at = place.member( member );
      findings_.push_back( { at.file, at.pointer, problem } );
   };
   if ( !driver ) {
      return report( "driver", name.empty() ? "an object needs a driver" : unknownDriver( name ) );
   }
   if ( !DriverTable::makes( *driver, kind ) ) {
      return report( "driver", fmt::format( "driver \"{}\" makes no {}, but {}", name, kind,
                                            fmt::join( DriverTable::kindsOf( *driver ), ", " ) ) );
   }
   if ( const Value* isMulti = find( device, "isMultiDevice" ); isMulti && isMulti->GetBool() ) {
      report( "isMultiDevice", fmt::format( "driver \"{}\" makes no multi-device", name ) );
   }
   ArgumentsCheck arguments( device, place, findings_ );
   auto rules = DriverTable::rulesFor( *driver, kind );
   arguments.checkMissing( *driver, rules, isFirst );
   arguments.checkNames( *driver, rules );
   arguments.checkValues( rules );
   warnOfTwin( kind, device, *driver, place );
}

// What makes an object another one than the device's other objects of the kind are the arguments
// that only objects have. Raw endpoints are not told apart by anything.
void DriverCheck::warnOfTwin( std::string_view kind,
                              const Value& device,
                              const Value& driver,
                              const Place& place ) {
   if ( kind == "smbus" ) {
      return;
   }
   std::string what = fmt::format( "{} {}", kind, device[ "did" ].GetUint() );
   const Value* arguments = find( device, "driverArgs" );
   for ( const Value* rule : DriverTable::rulesFor( driver, kind ) ) {
      const Value* value =
         arguments && arguments->IsObject() && !DriverTable::isOfDevice( driver, *rule )
            ? find( *arguments, DriverTable::textOf( *rule, "name" ) )
            : nullptr;
      what += value && value->IsString() ? fmt::format( " {}", value->GetString() )
              : value                    ? " " + Utils::Json::write( *value )
                                         : " -";
   }
   auto [ first, isNew ] = of_.insert( { what, place.pointer } );
   if ( !isNew ) {
      findings_.push_back( { place.file, place.pointer,
                             fmt::format( "the same {} as {}", kind, first->second ), true } );
   }
}

void DriverCheck::declared( const Value& device, const Place& place ) {
   std::string name = driverOf( device );
   if ( !isAsked_ || name.empty() ) {
      return;
   }
   const Value* driver = DriverTable::driver( name );
   if ( !driver ) {
      Place at = place.member( "driver" );
      findings_.push_back( { at.file, at.pointer, unknownDriver( name ), true } );
      return;
   }
   auto rules = rulesForEndpoints();
   for ( const std::string& kind : DriverTable::kindsOf( *driver ) ) {
      auto ofKind = DriverTable::rulesFor( *driver, kind );
      rules.insert( rules.end(), ofKind.begin(), ofKind.end() );
   }
   ArgumentsCheck arguments( device, place, findings_ );
   arguments.checkNames( *driver, rules );
   arguments.checkValues( rules );
}

void DriverCheck::ham( const std::string& name, const Place& place ) {
   auto names = DriverTable::hamNames();
   if ( isAsked_ && std::ranges::find( names, name ) == names.end() ) {
      Place at = place.member( "ham" );
      findings_.push_back(
         { at.file, at.pointer,
           fmt::format( "unknown ham \"{}\"; there are {}{}", name, fmt::join( names, ", " ),
                        Utils::didYouMean( name, names ) ) } );
   }
}

void DriverCheck::mux( uint32_t did, const std::string& name, const Place& place ) {
   const Value* driver = DriverTable::driver( name );
   if ( isAsked_ && !( driver && DriverTable::makes( *driver, "mux" ) ) ) {
      Place at = place.member( "did" );
      std::string why = name.empty() ? "has no driver"
                        : driver     ? fmt::format( "has driver \"{}\", which makes no mux", name )
                                     : "has an " + unknownDriver( name );
      findings_.push_back( { at.file, at.pointer, fmt::format( "mux chip {} {}", did, why ) } );
   }
}

}  // namespace BoardFiles
