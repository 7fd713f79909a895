#include "Host/Commands/Names.h"

#include <algorithm>
#include <functional>

#include "BoardFiles/Names.h"
#include "Host/Session/SettingOperations.h"

namespace Host {

namespace {

using CommandLine::Candidate;
using CommandLine::Given;
using Candidates = std::vector< Candidate >;

std::string boardOf( const Given& given ) {
   auto board = given.options.find( "--board" );
   return board == given.options.end() ? "" : board->second;
}

Candidates objectsOf( const Given& given, const std::function< bool( Kind ) >& isWanted ) {
   Candidates candidates;
   for ( const NamedObject& object : objectNames( boardOf( given ) ) ) {
      if ( isWanted( object.kind ) ) {
         candidates.push_back( { object.name, std::string( kindName( object.kind ) ) } );
      }
   }
   return candidates;
}

Candidates objects( const Given& given ) {
   return objectsOf( given, []( Kind ) { return true; } );
}

Candidates settables( const Given& given ) {
   return objectsOf( given, settingOperations );
}

Candidates poePorts( const Given& given ) {
   return objectsOf( given, []( Kind kind ) { return kind == Kind::PoePort; } );
}

Candidates chips( const Given& given ) {
   Candidates candidates = objects( given );
   for ( const std::string& label : deviceLabels( boardOf( given ) ) ) {
      candidates.push_back( { label, "device" } );
   }
   return candidates;
}

Candidates busses( const Given& given ) {
   Candidates candidates;
   for ( const std::string& label : busLabels( boardOf( given ) ) ) {
      candidates.push_back( { label } );
   }
   return candidates;
}

// What the object with the name can be set to; every other value is a number.
Candidates settingsOf( const Given& given, const std::string& name ) {
   auto objects = objectNames( boardOf( given ) );
   auto object = std::ranges::find( objects, name, &NamedObject::name );
   const SettingOperations* operations =
      object == objects.end() ? nullptr : settingOperations( object->kind );
   Candidates candidates;
   for ( const std::string& word : operations ? operations->words : std::vector< std::string >() ) {
      candidates.push_back( { word } );
   }
   return candidates;
}

Candidates settings( const Given& given ) {
   bool isFirst = given.arguments.size() == 1;
   return isFirst ? settingsOf( given, given.arguments[ 0 ] ) : Candidates();
}

Candidates namesAndSettings( const Given& given ) {
   size_t equals = given.last.find( '=' );
   bool hasName = equals != std::string::npos;
   std::string name = given.last.substr( 0, equals );
   Candidates candidates = hasName ? settingsOf( given, name ) : settables( given );
   for ( Candidate& candidate : candidates ) {
      candidate.word = hasName ? name + "=" + candidate.word : candidate.word + "=";
   }
   return candidates;
}

}  // namespace

CommandLine::Sources namesOnBoard() {
   return { { kObjectType, objects },   { kSettableType, settables },
            { kSettingType, settings }, { kNameAndSettingType, namesAndSettings },
            { kPoePortType, poePorts }, { kChipType, chips },
            { kBusType, busses } };
}

}  // namespace Host
