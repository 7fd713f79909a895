#include "BoardFiles/ObjectCheck.h"

#include <fmt/format.h>

#include "BoardFiles/DeviceArguments.h"
#include "BoardFiles/FanRange.h"
#include "BoardFiles/LimitCheck.h"
#include "Utils/Text.h"

namespace BoardFiles {

namespace {

using Utils::Json::Value;

constexpr uint32_t kNoUid = 0xFFFFFFFF;  // stands for no component

class ObjectCheck {
 public:
   ObjectCheck( const std::string& file, const Checks& checks )
       : file_( file ),
         wiring_( checks.wiring ),
         addresses_( checks.addresses ),
         drivers_( checks.drivers ),
         findings_( checks.findings ) {}

   void check( const Value& object, const std::string& pointer );

 private:
   void checkFan( const Value& fan, const std::string& pointer );
   void checkEndpoint( const Value& object, const std::string& pointer );
   void checkLabel( const Value& object, const std::string& pointer );
   void checkDevice( std::string_view kind, const Value& device, const std::string& pointer );
   void compareDriver( std::string_view kind, const Value& device, const std::string& pointer );
   void report( const std::string& pointer, const std::string& problem ) {
      findings_.push_back( { file_, pointer, problem } );
   }

   const std::string& file_;
   Wiring& wiring_;
   AddressCheck& addresses_;
   DriverCheck& drivers_;
   std::vector< Finding >& findings_;
   std::map< std::string, std::string > names_;
   std::map< uint32_t, std::pair< std::string, std::string > > made_;  // did to driver, pointer
};

void ObjectCheck::check( const Value& object, const std::string& pointer ) {
   std::string name = object[ "name" ].GetString();
   auto [ it, isNew ] = names_.insert( { name, pointer } );
   if ( !isNew ) {
      report( pointer + "/name",
              fmt::format( "\"{}\" is already the name of {}", name, it->second ) );
   }
   checkLimits( object, { file_, pointer }, findings_ );
   std::string_view kind = object[ "kind" ].GetString();
   if ( kind == "fan" ) {
      checkFan( object, pointer );
   }
   if ( kind == "smbus" ) {
      checkEndpoint( object, pointer );
   }
   if ( kind != "system" && object.HasMember( "device" ) ) {
      checkDevice( kind, object[ "device" ], pointer + "/device" );
   }
}

void ObjectCheck::checkFan( const Value& fan, const std::string& pointer ) {
   FanRange range = FanRange::of( fan );
   int min = range.min.value_or( 0 );
   std::string place = pointer + ( fan.HasMember( "min" ) ? "/min" : "" );
   if ( min < 0 ) {
      report( place, fmt::format( "the lowest speed, {} rpm, is below 0", min ) );
   }
   if ( range.max && min >= *range.max ) {
      report( place, fmt::format( "the lowest speed, {} rpm, is not below the highest, {} rpm", min,
                                  *range.max ) );
   }
   FanRange driver = FanRange::ofDriver( fan );
   if ( driver.max && *range.max > *driver.max ) {
      report( pointer + "/max", fmt::format( "must not be above the driver's \"maxRpm\", {}: it "
                                             "would turn the fan at another speed",
                                             *driver.max ) );
   }
}

void ObjectCheck::checkEndpoint( const Value& object, const std::string& pointer ) {
   bool device = object.HasMember( "device" );
   bool label = object.HasMember( "label" );
   bool address = object.HasMember( "address" );
   if ( device ? label || address : !label || !address ) {
      report( pointer, "needs either \"device\", or \"label\" and \"address\"" );
   } else if ( label ) {
      checkLabel( object, pointer );
   }
}

void ObjectCheck::checkLabel( const Value& object, const std::string& pointer ) {
   std::string label = Utils::deviceLabel(
      object[ "label" ].GetString(), static_cast< uint8_t >( object[ "address" ].GetUint() ) );
   auto it = wiring_.labels.find( label );
   if ( it == wiring_.labels.end() ) {
      report( pointer + "/label",
              fmt::format( "no device of the topology has the label \"{}\"", label ) );
      return;
   }
   const Wiring::Device& device = wiring_.devices.at( it->second );
   if ( !device.isDeclared ) {
      report( pointer + "/label", fmt::format( "device \"{}\" is not declared inline: {} has no "
                                               "\"driver\"",
                                               label, device.pointer ) );
   }
}

void ObjectCheck::checkDevice( std::string_view kind,
                               const Value& device,
                               const std::string& pointer ) {
   checkDeviceArguments( device, { file_, pointer }, findings_ );
   drivers_.object( kind, device, { file_, pointer } );
   compareDriver( kind, device, pointer );
   uint32_t did = device[ "did" ].GetUint();
   auto place = wiring_.devices.find( did );
   if ( place != wiring_.devices.end() && place->second.driver.empty() ) {
      place->second.driver = driverOf( device );
   }
   auto address = addressOf( device );
   if ( !address ) {
      return;
   }
   uint32_t uid = device.HasMember( "uid" ) ? device[ "uid" ].GetUint() : kNoUid;
   if ( uid != kNoUid && !wiring_.components.contains( uid ) ) {
      report( pointer + "/uid", fmt::format( "component {} is not in the topology", uid ) );
   }
   if ( place != wiring_.devices.end() ) {
      addresses_.give( did, *address, { file_, pointer } );
   } else if ( uid == kNoUid ) {
      report( pointer + "/did", fmt::format( "device {} is not in the topology", did ) );
   }
}

// The first object of a device makes it with its driver, whatever others and the topology say.
// Every driver makes GPIOs, and a raw endpoint suits any chip.
void ObjectCheck::compareDriver( std::string_view kind,
                                 const Value& device,
                                 const std::string& pointer ) {
   uint32_t did = device[ "did" ].GetUint();
   std::string driver = driverOf( device );
   auto [ first, isNew ] = made_.insert( { did, { driver, pointer } } );
   auto [ expected, where ] = first->second;
   auto place = wiring_.devices.find( did );
   if ( isNew && kind != "smbus" && place != wiring_.devices.end() && place->second.isDeclared &&
        !place->second.driver.empty() ) {
      expected = place->second.driver;
      where = place->second.pointer;
   }
   if ( expected != driver && kind != "gpio" ) {
      findings_.push_back( { file_, pointer + "/driver",
                             fmt::format( "device {} has driver \"{}\" here, but \"{}\" in {}", did,
                                          driver, expected, where ),
                             true } );
   }
}

}  // namespace

void checkObjects( const BoardFile& objects, const Checks& checks ) {
   ObjectCheck check( objects.path, checks );
   size_t position = 0;
   for ( const Value& object : objects.json[ "objects" ].GetArray() ) {
      check.check( object, fmt::format( "/objects/{}", position++ ) );
   }
}

}  // namespace BoardFiles
