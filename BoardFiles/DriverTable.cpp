#include "BoardFiles/DriverTable.h"

#include <algorithm>

#include "BoardFiles/Schemas.h"

namespace BoardFiles::DriverTable {

namespace {

constexpr std::string_view kEveryDriver = "*";
constexpr std::string_view kDevice = "device";

std::string_view view( const Value& text ) {
   return { text.GetString(), text.GetStringLength() };
}

const Value& table() {
   static const Utils::Json::Document document = [] {
      Utils::Json::Document parsed;
      LUMEN_ASSERT( !Utils::Json::parse( Schemas::kDrivers, parsed ) && parsed.IsObject() );
      return parsed;
   }();
   return document;
}

void addRules( const Value& driver, std::string_view kind, std::vector< const Value* >& rules ) {
   if ( const Value* ofKind = find( driver, kind ) ) {
      for ( const Value& rule : ofKind->GetArray() ) {
         rules.push_back( &rule );
      }
   }
}

}  // namespace

const Value* find( const Value& object, std::string_view key ) {
   auto size = static_cast< rapidjson::SizeType >( key.size() );
   auto member = object.FindMember( Value( rapidjson::StringRef( key.data(), size ) ) );
   return member == object.MemberEnd() ? nullptr : &member->value;
}

std::string_view textOf( const Value& object, std::string_view key ) {
   const Value* text = find( object, key );
   return text && text->IsString() ? view( *text ) : std::string_view();
}

const Value* driver( std::string_view name ) {
   return name == kEveryDriver ? nullptr : find( table(), name );
}

std::vector< std::string > driverNames() {
   std::vector< std::string > names;
   for ( const auto& member : table().GetObject() ) {
      if ( view( member.name ) != kEveryDriver ) {
         names.emplace_back( view( member.name ) );
      }
   }
   return names;
}

std::vector< std::string > hamNames() {
   return { "LumenSmbus", "SimHam" };
}

bool makes( const Value& driver, std::string_view kind ) {
   return kind != kDevice &&
          ( find( driver, kind ) != nullptr || find( table()[ kEveryDriver.data() ], kind ) );
}

std::vector< std::string > kindsOf( const Value& driver ) {
   std::vector< std::string > kinds;
   for ( const Value* each : { &driver, &table()[ kEveryDriver.data() ] } ) {
      for ( const auto& member : each->GetObject() ) {
         if ( view( member.name ) != kDevice ) {
            kinds.emplace_back( view( member.name ) );
         }
      }
   }
   return kinds;
}

std::vector< const Value* > rulesFor( const Value& driver, std::string_view kind ) {
   std::vector< const Value* > rules;
   addRules( driver, kDevice, rules );
   addRules( driver, kind, rules );
   addRules( table()[ kEveryDriver.data() ], kind, rules );
   return rules;
}

bool isOfDevice( const Value& driver, const Value& rule ) {
   std::vector< const Value* > rules;
   addRules( driver, kDevice, rules );
   return std::ranges::find( rules, &rule ) != rules.end();
}

const Value* ruleOf( const Value& driver, std::string_view argument ) {
   for ( const Value* each : { &driver, &table()[ kEveryDriver.data() ] } ) {
      for ( const auto& kind : each->GetObject() ) {
         for ( const Value& rule : kind.value.GetArray() ) {
            if ( match( textOf( rule, "name" ), argument ) ) {
               return &rule;
            }
         }
      }
   }
   return nullptr;
}

std::optional< std::string > match( std::string_view pattern, std::string_view argument ) {
   if ( !pattern.ends_with( '*' ) ) {
      return pattern == argument ? std::optional< std::string >( "" ) : std::nullopt;
   }
   pattern.remove_suffix( 1 );
   return argument.starts_with( pattern )
             ? std::optional( std::string( argument.substr( pattern.size() ) ) )
             : std::nullopt;
}

}  // namespace BoardFiles::DriverTable
