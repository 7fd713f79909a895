#include "BoardFiles/MemberCheck.h"

#include <algorithm>
#include <map>
#include <string_view>

#include "BoardFiles/Schema.h"
#include "BoardFiles/Schemas.h"
#include "Utils/Nearest.h"

namespace BoardFiles {

namespace {

using Names = std::vector< std::string >;

const Names& membersOf( std::string_view definition ) {
   static const std::map< std::string, Names, std::less<> > all =
      Schema( Schemas::kTopology ).members();
   return all.find( definition )->second;
}

}  // namespace

void warnOfMisspeltMembers( const Value& object,
                            const char* definition,
                            const Place& place,
                            std::vector< Finding >& findings ) {
   const Names& known = membersOf( definition );
   for ( const auto& member : object.GetObject() ) {
      std::string name( member.name.GetString(), member.name.GetStringLength() );
      if ( std::ranges::find( known, name ) != known.end() ) {
         continue;
      }
      Names lacking;
      std::ranges::copy_if( known, std::back_inserter( lacking ), [ & ]( const std::string& each ) {
         return !object.HasMember( each.c_str() );
      } );
      if ( auto meant = Utils::didYouMean( name, lacking ); !meant.empty() ) {
         Place at = place.member( name );
         findings.push_back( { at.file, at.pointer, "unknown member" + meant, true } );
      }
   }
}

}  // namespace BoardFiles
