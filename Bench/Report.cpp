#include "Bench/Report.h"

#include <fmt/format.h>

#include <cstdio>
#include <fstream>

#include "Utils/Json.h"

namespace Bench {

namespace {

double ratioOf( const Row& row ) {
   return row.limit > 0 ? row.value / row.limit : 0;
}

}  // namespace

void Report::add( Row row ) {
   rows_.push_back( std::move( row ) );
}

void Report::printTable() const {
   fmt::print( "{:<46} {:>12} {:>12} {:<6} {:>7} {:>7}\n", "what, compared with", "measured",
               "limit", "unit", "ratio", "goal" );
   for ( const Row& row : rows_ ) {
      fmt::print( "{:<46} {:>12.3f} {:>12} {:<6} {:>7} {:>7}\n", row.what, row.value, "", row.unit,
                  "", "" );
      fmt::print( "  {:<44} {:>12} {:>12.3f} {:<6} {:>6.2f}x {:>6.2f}x{}\n", row.limitedBy, "",
                  row.limit, row.unit, ratioOf( row ), row.goal,
                  ratioOf( row ) <= row.goal ? "" : "  missed" );
   }
}

bool Report::writeJson( const std::string& file ) const {
   Utils::Json::Document document( rapidjson::kArrayType );
   auto& memory = document.GetAllocator();
   auto text = [ & ]( const std::string& value ) {
      return Utils::Json::Value( value.c_str(), memory );
   };
   for ( const Row& row : rows_ ) {
      Utils::Json::Value object( rapidjson::kObjectType );
      object.AddMember( "what", text( row.what ), memory );
      object.AddMember( "value", row.value, memory );
      object.AddMember( "limitedBy", text( row.limitedBy ), memory );
      object.AddMember( "limit", row.limit, memory );
      object.AddMember( "unit", text( row.unit ), memory );
      object.AddMember( "ratio", ratioOf( row ), memory );
      object.AddMember( "goal", row.goal, memory );
      document.PushBack( object, memory );
   }
   std::ofstream stream( file );
   stream << Utils::Json::writePretty( document ) << '\n';
   return stream.good();
}

}  // namespace Bench
