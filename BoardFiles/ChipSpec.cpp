#include "BoardFiles/ChipSpec.h"

#include <algorithm>
#include <array>

namespace BoardFiles {

namespace {

using Utils::Json::Value;

// In the order of the enumeration.
constexpr std::array< std::string_view, 5 > kFaultKinds = { "nak", "timeout", "corrupt", "short",
                                                            "stuck-mux" };

}  // namespace

std::vector< std::string > faultKindNames() {
   return { kFaultKinds.begin(), kFaultKinds.end() };
}

Fault readFault( const Value& json ) {
   auto name = std::ranges::find( kFaultKinds, json[ "kind" ].GetString() );
   Fault fault{ .kind = static_cast< FaultKind >( name - kFaultKinds.begin() ) };
   auto [ count, skip ] = Utils::Json::members< "count", "skip" >( json );
   fault.count = count ? count->GetUint() : fault.count;
   fault.skip = skip ? skip->GetUint() : fault.skip;
   return fault;
}

ChipSpec readChip( const Value& json, const Place& place ) {
   ChipSpec chip{ .did = json[ "did" ].GetUint(), .place = place };
   auto [ model, set, contents, fields, unplugged, faults ] =
      Utils::Json::members< "model", "set", "contents", "fields", "unplugged", "faults" >( json );
   if ( model ) {
      chip.model = model->GetString();
   }
   if ( set ) {
      for ( const auto& quantity : set->GetObject() ) {
         chip.quantities.emplace_back( quantity.name.GetString(), quantity.value.GetDouble() );
      }
   }
   if ( contents ) {
      chip.contents = contents->GetString();
   }
   if ( fields ) {
      for ( const auto& field : fields->GetObject() ) {
         chip.fields.emplace_back( field.name.GetString(), field.value.GetString() );
      }
   }
   chip.isUnplugged = unplugged && unplugged->GetBool();
   if ( faults ) {
      for ( const Value& fault : faults->GetArray() ) {
         chip.faults.push_back( readFault( fault ) );
      }
   }
   return chip;
}

}  // namespace BoardFiles
