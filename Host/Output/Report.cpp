#include "Host/Output/Report.h"

#include <fmt/format.h>

#include <algorithm>

#include "Utils/Json.h"
#include "Utils/Numbers.h"
#include "Utils/Text.h"

namespace Host {

namespace {

using Utils::Json::Value;

// The shortest text that names the value that was read, which is a float.
std::string numberText( double value ) {
   return fmt::format( "{}", static_cast< float >( value ) );
}

std::string limitsText( const ObjectSpec& object ) {
   return object.alert && object.critical
             ? numberText( *object.alert ) + " / " + numberText( *object.critical )
             : "-";
}

Cell stateCell( const Row& row ) {
   std::string text = stateName( row.state );
   if ( !row.reason.empty() ) {
      text += ": " + row.reason;
   }
   switch ( row.state ) {
      case State::Ok:
         return { text, Colour::Green };
      case State::Alert:
         return { text, Colour::Yellow };
      case State::Absent:
         return { text, Colour::Dim };
      default:
         return { text, Colour::Red };
   }
}

// A JSON object under construction.
class JsonObject {
 public:
   using Allocator = Utils::Json::Document::AllocatorType;

   explicit JsonObject( Allocator& allocator )
       : value_( rapidjson::kObjectType ), allocator_( allocator ) {}

   // The name must be a literal.
   void add( const char* name, Value&& value ) {
      value_.AddMember( rapidjson::StringRef( name ), value, allocator_ );
   }
   void add( const char* name, std::string_view text ) {
      add( name, Value( Utils::printable( text ).c_str(), allocator_ ) );
   }
   void add( const char* name, const std::optional< double >& number ) {
      add( name, number ? Value( Utils::stod( numberText( *number ) ) ) : Value() );
   }

   Value& value() { return value_; }

 private:
   Value value_;
   Allocator& allocator_;
};

Value rowJson( const Row& row, JsonObject::Allocator& allocator ) {
   JsonObject json( allocator );
   json.add( "name", row.object->name );
   json.add( "kind", info( row.object->kind ).name );
   json.add( "reading", row.reading );
   json.add( "unit", info( row.object->kind ).unit );
   json.add( "alert", row.object->alert );
   json.add( "critical", row.object->critical );
   json.add( "state", std::string_view( stateName( row.state ) ) );
   if ( row.reason.empty() ) {
      json.add( "reason", Value() );
   } else {
      json.add( "reason", row.reason );
   }
   return std::move( json.value() );
}

Value findingJson( const Finding& finding, JsonObject::Allocator& allocator ) {
   JsonObject json( allocator );
   json.add( "file", finding.file );
   json.add( "pointer", finding.pointer );
   json.add( "problem", finding.problem );
   json.add( "severity", finding.isWarning ? "warning" : "mistake" );
   return std::move( json.value() );
}

template < typename Element, typename Convert >
Value arrayJson( const std::vector< Element >& elements,
                 JsonObject::Allocator& allocator,
                 Convert convert ) {
   Value array( rapidjson::kArrayType );
   for ( const Element& element : elements ) {
      array.PushBack( convert( element, allocator ), allocator );
   }
   return array;
}

JsonObject document( JsonObject::Allocator& allocator,
                     const std::string& board,
                     const std::vector< Row >& rows ) {
   JsonObject json( allocator );
   json.add( "board", board );
   json.add( "objects", arrayJson( rows, allocator, rowJson ) );
   return json;
}

// What follows the decimal point, with the point.
size_t fractionLength( const std::string& number ) {
   return number.size() - std::min( number.find( '.' ), number.size() );
}

// Right-aligned, they have their decimal points in one column.
std::vector< std::string > readingTexts( const std::vector< Row >& rows ) {
   std::vector< std::string > texts;
   size_t longest = 0;
   for ( const Row& row : rows ) {
      texts.push_back( row.reading ? numberText( *row.reading ) : "-" );
      longest = std::max( longest, fractionLength( texts.back() ) );
   }
   for ( std::string& text : texts ) {
      text.append( longest - fractionLength( text ), ' ' );
   }
   return texts;
}

}  // namespace

std::string rowsTable( const std::vector< Row >& rows, const TableStyle& style ) {
   std::vector< Row > byKind = rows;
   std::ranges::stable_sort( byKind, {}, []( const Row& row ) { return row.object->kind; } );
   std::vector< std::vector< Cell > > cells;
   std::vector< std::string > readings = readingTexts( byKind );
   for ( size_t i = 0; i < byKind.size(); ++i ) {
      const Row& row = byKind[ i ];
      const KindInfo& kind = info( row.object->kind );
      cells.push_back( { { row.object->name },
                         { std::string( kind.name ) },
                         { readings[ i ] },
                         { std::string( kind.unit ) },
                         { limitsText( *row.object ) },
                         stateCell( row ) } );
   }
   return formatTable( { { "object" },
                         { "kind" },
                         { .title = "reading", .rightAligned = true },
                         { "unit" },
                         { .title = "limits", .rightAligned = true },
                         { "state" } },
                       cells, style );
}

std::string readingText( const Row& row ) {
   std::string_view unit = info( row.object->kind ).unit;
   return numberText( *row.reading ) + ( unit.empty() ? "" : " " ) + std::string( unit );
}

std::string rowsJson( const std::string& board, const std::vector< Row >& rows ) {
   JsonObject::Allocator allocator;
   JsonObject json = document( allocator, board, rows );
   json.add( "ok", Value( allOk( rows ) ) );
   return Utils::Json::writePretty( json.value() );
}

std::string smbusJson( const std::string& board,
                       const std::string& object,
                       const std::string& operation,
                       const std::string& answer,
                       const std::string& failure ) {
   JsonObject::Allocator allocator;
   JsonObject json( allocator );
   json.add( "board", board );
   json.add( "object", object );
   json.add( "operation", operation );
   json.add( "answer", answer );
   if ( !failure.empty() ) {
      json.add( "error", failure );
   }
   json.add( "ok", Value( failure.empty() ) );
   return Utils::Json::writePretty( json.value() );
}

std::string findingsJson( const std::string& board, const std::vector< Finding >& findings ) {
   JsonObject::Allocator allocator;
   JsonObject json = document( allocator, board, {} );
   json.add( "findings", arrayJson( findings, allocator, findingJson ) );
   json.add( "ok", Value( findings.empty() ) );
   return Utils::Json::writePretty( json.value() );
}

std::string errorJson( const std::string& board, const std::string& error ) {
   JsonObject::Allocator allocator;
   JsonObject json = document( allocator, board, {} );
   json.add( "error", error );
   json.add( "ok", Value( false ) );
   return Utils::Json::writePretty( json.value() );
}

}  // namespace Host
