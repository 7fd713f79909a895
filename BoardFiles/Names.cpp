#include "BoardFiles/Names.h"

#include <algorithm>

#include "BoardFiles/Documents.h"

namespace BoardFiles {

namespace {

using Utils::Json::Value;

std::string textOf( const Value& object, const char* member ) {
   bool isThere = object.IsObject() && object.HasMember( member ) && object[ member ].IsString();
   return isThere ? object[ member ].GetString() : "";
}

void addLabel( const Value& node, std::vector< std::string >& labels ) {
   if ( std::string label = textOf( node, "label" ); !label.empty() ) {
      labels.push_back( std::move( label ) );
   }
}

// The labels of what an array of this name holds, wherever it is in the topology.
void addLabelsIn( const char* array, const Value& value, std::vector< std::string >& labels ) {
   if ( value.IsArray() ) {
      for ( const Value& each : value.GetArray() ) {
         addLabelsIn( array, each, labels );
      }
   }
   if ( !value.IsObject() ) {
      return;
   }
   for ( const auto& member : value.GetObject() ) {
      if ( member.value.IsArray() && member.name == array ) {
         for ( const Value& each : member.value.GetArray() ) {
            addLabel( each, labels );
         }
      }
      addLabelsIn( array, member.value, labels );
   }
}

}  // namespace

std::vector< NamedObject > objectNames( const std::string& directory ) {
   std::vector< Finding > findings;
   BoardFile file = readObjects( directory, findings );
   std::vector< NamedObject > names;
   if ( !file.json.IsObject() || !file.json.HasMember( "objects" ) ||
        !file.json[ "objects" ].IsArray() ) {
      return names;
   }
   for ( const Value& object : file.json[ "objects" ].GetArray() ) {
      auto kind = std::ranges::find( kKindNames, textOf( object, "kind" ) );
      if ( std::string name = textOf( object, "name" );
           !name.empty() && kind != kKindNames.end() ) {
         names.push_back( { std::move( name ), static_cast< Kind >( kind - kKindNames.begin() ) } );
      }
   }
   return names;
}

std::vector< std::string > deviceLabels( const std::string& directory ) {
   std::vector< Finding > findings;
   BoardFile file = readTopology( directory, findings );
   std::vector< std::string > labels;
   addLabelsIn( "devices", file.json, labels );
   return labels;
}

std::vector< std::string > busLabels( const std::string& directory ) {
   std::vector< Finding > findings;
   BoardFile file = readTopology( directory, findings );
   std::vector< std::string > labels;
   if ( file.json.IsArray() ) {
      for ( const Value& medium : file.json.GetArray() ) {
         addLabel( medium, labels );
      }
   }
   addLabelsIn( "busses", file.json, labels );
   return labels;
}

}  // namespace BoardFiles
