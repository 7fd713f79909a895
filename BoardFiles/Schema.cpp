#include "BoardFiles/Schema.h"

#include <rapidjson/pointer.h>
#include <rapidjson/schema.h>

#include <cstring>
#include <map>
#include <span>
#include <string_view>

#include "BoardFiles/Place.h"
#include "BoardFiles/SchemaProblem.h"
#include "Utils/Nearest.h"

namespace BoardFiles {

using Utils::Json::Document;
using Utils::Json::parse;
using Utils::Json::write;

namespace {

std::string_view view( const Value& text ) {
   return { text.GetString(), text.GetStringLength() };
}

const Value* find( const Value& object, const char* key ) {
   auto member = object.FindMember( key );
   return member == object.MemberEnd() ? nullptr : &member->value;
}

const Value* find( const Value& object, const Value& key ) {
   auto member = object.FindMember( key );
   return member == object.MemberEnd() ? nullptr : &member->value;
}

template < typename Visit >
void forEachElement( const Value* array, Visit visit ) {
   if ( array && array->IsArray() ) {
      for ( const Value& element : array->GetArray() ) {
         visit( element );
      }
   }
}

template < typename Visit >
void forEachMember( const Value* object, Visit visit ) {
   if ( object && object->IsObject() ) {
      for ( const auto& member : object->GetObject() ) {
         visit( member.name, member.value );
      }
   }
}

// References into a file named `name` become references into the document itself.
void adoptReferences( Value& schema, const char* name, Document& root ) {
   if ( schema.IsArray() ) {
      for ( Value& element : schema.GetArray() ) {
         adoptReferences( element, name, root );
      }
   }
   if ( !schema.IsObject() ) {
      return;
   }
   for ( auto& member : schema.GetObject() ) {
      std::string_view target = member.value.IsString() ? view( member.value ) : "";
      if ( view( member.name ) == "$ref" && target.starts_with( name ) ) {
         std::string local( target.substr( strlen( name ) ) );
         member.value.SetString( local.c_str(), root.GetAllocator() );
      } else {
         adoptReferences( member.value, name, root );
      }
   }
}

// What the schema refers to, or itself.
const Value& target( const Value& schema, const Document& root ) {
   const Value* reference = schema.IsObject() ? find( schema, "$ref" ) : nullptr;
   if ( !reference ) {
      return schema;
   }
   const Value* found = rapidjson::Pointer( reference->GetString() ).Get( root );
   LUMEN_ASSERT( found != nullptr );
   return *found;
}

// The member that the object lacks and that was likely meant.
std::string misspeltFrom( const Value& name, const Value& object, const Value& schema ) {
   std::vector< std::string > lacking;
   forEachMember( find( schema, "properties" ), [ & ]( const Value& known, const Value& ) {
      if ( !find( object, known ) ) {
         lacking.emplace_back( view( known ) );
      }
   } );
   return Utils::didYouMean( view( name ), lacking );
}

Value& definitionsOf( Document& schema ) {
   if ( !schema.HasMember( "definitions" ) ) {
      schema.AddMember( "definitions", Value( rapidjson::kObjectType ), schema.GetAllocator() );
   }
   return schema[ "definitions" ];
}

}  // namespace

// The verdict on a value and each of its parts is RapidJSON's, which stops at the first fault; this
// walks value and schema together and asks again for each part, but for those that lead to the
// first fault: a fault at the bottom would cost a look at the whole for each level above it.
class Schema::Explainer {
 public:
   explicit Explainer( const Document& root ) : root_( root ) {}

   void explain( const Value& value, const Value& unresolved, const std::string& pointer ) {
      explain( value, unresolved, pointer, {} );
   }

   std::vector< Violation > found;

 private:
   using Compiled = rapidjson::SchemaDocument;
   using Tokens = std::span< const rapidjson::Pointer::Token >;

   struct Fault {
      std::string keyword;       // empty where there is none
      rapidjson::Pointer place;  // in the value

      Tokens way() const { return { place.GetTokens(), place.GetTokenCount() }; }
   };

   const Value& resolve( const Value& schema ) const { return target( schema, root_ ); }
   const Compiled& compile( const Value& schema );
   Fault firstFault( const Value& value, const Value& schema );
   void explain( const Value&, const Value& unresolved, const std::string& pointer, Tokens way );
   void explainParts( const Value&, const Value& schema, const std::string& pointer, Tokens way );
   void explainObject( const Value&, const Value& schema, const std::string& pointer, Tokens way );
   void explainMembers( const Value&, const Value& schema, const std::string& pointer, Tokens way );
   void explainChoice( const Value& value, const Value& choices, const std::string& pointer );
   bool suits( const Value& value, const Value& choice );

   const Document& root_;
   std::map< const Value*, Compiled > compiled_;
};

const Schema::Explainer::Compiled& Schema::Explainer::compile( const Value& schema ) {
   if ( auto it = compiled_.find( &schema ); it != compiled_.end() ) {
      return it->second;
   }
   Document whole;
   whole.CopyFrom( schema, whole.GetAllocator() );
   if ( &schema != &root_ ) {
      Value definitions( root_[ "definitions" ], whole.GetAllocator() );
      whole.AddMember( "definitions", definitions, whole.GetAllocator() );
   }
   return compiled_.emplace( &schema, Compiled( whole ) ).first->second;
}

Schema::Explainer::Fault Schema::Explainer::firstFault( const Value& value, const Value& schema ) {
   rapidjson::SchemaValidator validator( compile( schema ) );
   if ( value.Accept( validator ) ) {
      return {};
   }
   return { validator.GetInvalidSchemaKeyword(), validator.GetInvalidDocumentPointer() };
}

// `way` leads to a fault that is known to be further inside; empty where nothing is known.
void Schema::Explainer::explain( const Value& value,
                                 const Value& unresolved,
                                 const std::string& pointer,
                                 Tokens way ) {
   const Value& schema = resolve( unresolved );
   size_t before = found.size();
   if ( !way.empty() ) {
      explainParts( value, schema, pointer, way );
   }
   if ( found.size() > before ) {
      return;
   }
   Fault fault = firstFault( value, schema );
   if ( fault.keyword.empty() ) {
      return;
   }
   explainParts( value, schema, pointer, fault.way() );
   if ( found.size() == before ) {
      found.push_back( { pointer, schemaProblem( fault.keyword, value, schema ) } );
   }
}

void Schema::Explainer::explainParts( const Value& value,
                                      const Value& schema,
                                      const std::string& pointer,
                                      Tokens way ) {
   if ( value.IsObject() ) {
      explainObject( value, schema, pointer, way );
   }
   if ( const Value* items = find( schema, "items" ); items && value.IsArray() ) {
      for ( rapidjson::SizeType i = 0; i < value.Size(); ++i ) {
         bool isOnWay = !way.empty() && way[ 0 ].index == i;
         explain( value[ i ], *items, pointer + "/" + std::to_string( i ),
                  isOnWay ? way.subspan( 1 ) : Tokens() );
      }
   }
}

void Schema::Explainer::explainObject( const Value& value,
                                       const Value& schema,
                                       const std::string& pointer,
                                       Tokens way ) {
   forEachElement( find( schema, "required" ), [ & ]( const Value& name ) {
      if ( !find( value, name ) ) {
         found.push_back( { pointer, "member " + write( name ) + " is missing" } );
      }
   } );
   explainMembers( value, schema, pointer, way );
   forEachElement( find( schema, "allOf" ),
                   [ & ]( const Value& part ) { explain( value, part, pointer ); } );
   forEachMember( find( schema, "dependencies" ), [ & ]( const Value& name, const Value& part ) {
      if ( find( value, name ) ) {
         explain( value, part, pointer );
      }
   } );
   for ( const char* choice : { "oneOf", "anyOf" } ) {
      if ( const Value* choices = find( schema, choice ) ) {
         explainChoice( value, *choices, pointer );
      }
   }
}

void Schema::Explainer::explainMembers( const Value& value,
                                        const Value& schema,
                                        const std::string& pointer,
                                        Tokens way ) {
   const Value* properties = find( schema, "properties" );
   const Value* others = find( schema, "additionalProperties" );
   for ( const auto& member : value.GetObject() ) {
      std::string place = pointer + pointerToken( std::string( view( member.name ) ) );
      if ( const Value* own = properties ? find( *properties, member.name ) : nullptr ) {
         bool isOnWay = !way.empty() &&
                        view( member.name ) == std::string_view( way[ 0 ].name, way[ 0 ].length );
         explain( member.value, *own, place, isOnWay ? way.subspan( 1 ) : Tokens() );
      } else if ( others && others->IsObject() ) {
         explain( member.value, *others, place );
      } else if ( others && others->IsFalse() ) {
         found.push_back(
            { place, "unknown member" + misspeltFrom( member.name, value, schema ) } );
      }
   }
}

// Of several forms the one counts whose fixed values the object carries.
void Schema::Explainer::explainChoice( const Value& value,
                                       const Value& choices,
                                       const std::string& pointer ) {
   for ( const Value& choice : choices.GetArray() ) {
      if ( suits( value, resolve( choice ) ) ) {
         explain( value, choice, pointer );
         return;
      }
   }
}

bool Schema::Explainer::suits( const Value& value, const Value& choice ) {
   bool result = true;
   forEachMember( find( choice, "properties" ), [ & ]( const Value& name, const Value& rule ) {
      if ( !rule.HasMember( "enum" ) ) {
         return;
      }
      if ( const Value* member = find( value, name ) ) {
         result = result && firstFault( *member, rule ).keyword.empty();
         return;
      }
      forEachElement( find( choice, "required" ),
                      [ & ]( const Value& needed ) { result = result && needed != name; } );
   } );
   return result;
}

Schema::Schema( const char* text, const std::vector< File >& others ) {
   LUMEN_ASSERT( !parse( text, root_ ) && root_.IsObject() );
   Value& definitions = definitionsOf( root_ );
   for ( const File& file : others ) {
      Document other;
      LUMEN_ASSERT( !parse( file.text, other ) && other.IsObject() );
      for ( auto& member : definitionsOf( other ).GetObject() ) {
         LUMEN_ASSERT( !definitions.HasMember( member.name ) );
         definitions.AddMember( Value( member.name, root_.GetAllocator() ),
                                Value( member.value, root_.GetAllocator() ), root_.GetAllocator() );
      }
      adoptReferences( root_, file.name, root_ );
   }
}

std::vector< Violation > Schema::validate( const Value& value ) const {
   Explainer explainer( root_ );
   explainer.explain( value, root_, "" );
   return explainer.found;
}

std::map< std::string, std::vector< std::string >, std::less<> > Schema::members() const {
   std::map< std::string, std::vector< std::string >, std::less<> > all;
   forEachMember( find( root_, "definitions" ), [ & ]( const Value& name, const Value& schema ) {
      addMembers( schema, all[ std::string( view( name ) ) ] );
   } );
   return all;
}

void Schema::addMembers( const Value& unresolved, std::vector< std::string >& names ) const {
   const Value& schema = target( unresolved, root_ );
   forEachMember( find( schema, "properties" ), [ & ]( const Value& name, const Value& ) {
      names.emplace_back( view( name ) );
   } );
   forEachMember( find( schema, "dependencies" ), [ & ]( const Value& name, const Value& part ) {
      names.emplace_back( view( name ) );
      addMembers( part, names );
   } );
   for ( const char* parts : { "allOf", "oneOf", "anyOf" } ) {
      forEachElement( find( schema, parts ),
                      [ & ]( const Value& part ) { addMembers( part, names ); } );
   }
}

}  // namespace BoardFiles
