#include "BoardFiles/ArgumentsCheck.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>

#include "BoardFiles/ArgumentValue.h"
#include "BoardFiles/DriverTable.h"
#include "Utils/Nearest.h"

namespace BoardFiles {

using DriverTable::find;
using DriverTable::textOf;

namespace {

using Utils::Json::Value;

constexpr std::string_view kByPattern = "by ";

// What does not is found as such.
bool fits32Bits( const Value& value ) {
   return !value.IsNumber() || value.IsDouble() || value.IsInt() || value.IsUint();
}

bool isNamedBy( const ArgumentsCheck::Rules& rules, std::string_view argument ) {
   return std::ranges::any_of( rules, [ & ]( const Value* rule ) {
      return DriverTable::match( textOf( *rule, "name" ), argument ).has_value();
   } );
}

}  // namespace

ArgumentsCheck::ArgumentsCheck( const Value& device,
                                const Place& place,
                                std::vector< Finding >& findings )
    : arguments_( find( device, "driverArgs" ) ),
      place_( arguments_ ? place.member( "driverArgs" ) : place ),
      findings_( findings ) {
   if ( arguments_ && !arguments_->IsObject() ) {
      arguments_ = nullptr;
   }
}

template < typename Visit >
void ArgumentsCheck::forEach( Visit visit ) const {
   if ( arguments_ ) {
      for ( const auto& member : arguments_->GetObject() ) {
         std::string name( member.name.GetString(), member.name.GetStringLength() );
         visit( name, member.value );
      }
   }
}

const Value* ArgumentsCheck::given( const Value& rule ) const {
   const Value* value = arguments_ ? find( *arguments_, textOf( rule, "name" ) ) : nullptr;
   return isGiven( value, rule ) ? value : nullptr;
}

void ArgumentsCheck::checkNames( const Value& driver, const Rules& rules ) {
   forEach( [ & ]( const std::string& name, const Value& ) {
      if ( DriverTable::ruleOf( driver, name ) || isNamedBy( rules, name ) ) {
         return;
      }
      std::vector< std::string > lacking;
      for ( const Value* rule : rules ) {
         if ( !given( *rule ) ) {
            lacking.emplace_back( textOf( *rule, "name" ) );
         }
      }
      report( place_.member( name ), "unknown argument" + Utils::didYouMean( name, lacking ) );
   } );
}

void ArgumentsCheck::checkValues( const Rules& rules ) {
   forEach( [ & ]( const std::string& name, const Value& value ) {
      for ( const Value* rule : rules ) {
         if ( !DriverTable::match( textOf( *rule, "name" ), name ) || !isGiven( &value, *rule ) ||
              !fits32Bits( value ) ) {
            continue;
         }
         Place place = place_.member( name );
         if ( auto problem = problemOf( value, *rule ) ) {
            report( place, problem->text, problem->isWarning );
         }
         checkBelow( value, *rule, rules, place );
         return;
      }
   } );
}

void ArgumentsCheck::checkBelow( const Value& value,
                                 const Value& rule,
                                 const Rules& rules,
                                 const Place& place ) {
   std::string_view other = textOf( rule, "below" );
   for ( const Value* each : rules ) {
      const Value* bound = textOf( *each, "name" ) == other ? given( *each ) : nullptr;
      auto number = integerOf( value, rule );
      auto limit = bound ? integerOf( *bound, *each ) : std::nullopt;
      if ( number && limit && *number >= *limit ) {
         report( place, fmt::format( "should be below \"{}\", {}", other, *limit ), true );
      }
   }
}

void ArgumentsCheck::checkMissing( const Value& driver, const Rules& rules, bool isFirst ) {
   std::vector< std::string_view > conditions;
   for ( const Value* rule : rules ) {
      std::string_view condition = textOf( *rule, "required" );
      if ( condition.starts_with( kByPattern ) ) {
         checkPartner( condition.substr( kByPattern.size() ), textOf( *rule, "name" ) );
      } else if ( condition.empty() && find( *rule, "required" ) && !given( *rule ) ) {
         bool isThereAlready = !isFirst && DriverTable::isOfDevice( driver, *rule );
         report( place_,
                 fmt::format( "argument \"{}\" is missing{}", textOf( *rule, "name" ),
                              isThereAlready ? ", when this object is made first" : "" ),
                 isThereAlready );
      } else if ( !condition.empty() && ( conditions.empty() || conditions.back() != condition ) ) {
         conditions.push_back( condition );
      }
   }
   checkConditions( rules, conditions );
}

void ArgumentsCheck::checkConditions( const Rules& rules,
                                      const std::vector< std::string_view >& conditions ) {
   bool isAnyMet = conditions.empty();
   for ( std::string_view condition : conditions ) {
      isAnyMet = checkCondition( rules, condition ) || isAnyMet;
   }
   if ( !isAnyMet ) {
      report(
         place_,
         fmt::format( "nothing is given that is required {}", fmt::join( conditions, " or " ) ),
         true );
   }
}

// All or none: what the board does not have needs no arguments. False when there is none.
bool ArgumentsCheck::checkCondition( const Rules& rules, std::string_view condition ) {
   std::vector< std::string > missing;
   size_t all = 0;
   for ( const Value* rule : rules ) {
      if ( textOf( *rule, "required" ) == condition ) {
         ++all;
         if ( !given( *rule ) ) {
            missing.push_back( fmt::format( "\"{}\"", textOf( *rule, "name" ) ) );
         }
      }
   }
   if ( !missing.empty() && missing.size() < all ) {
      report( place_,
              fmt::format( "{} missing, required {}", fmt::join( missing, ", " ), condition ),
              true );
   }
   return missing.size() < all;
}

void ArgumentsCheck::checkPartner( std::string_view pattern, std::string_view partner ) {
   forEach( [ & ]( const std::string& name, const Value& value ) {
      auto middle = DriverTable::match( pattern, name );
      if ( !middle || value.IsNull() ) {
         return;
      }
      std::string wanted( partner.substr( 0, partner.size() - 1 ) );
      wanted += *middle;
      const Value* there = find( *arguments_, wanted );
      if ( !there || there->IsNull() ) {
         report( place_,
                 fmt::format( "argument \"{}\" is missing, required by \"{}\"", wanted, name ) );
      }
   } );
}

}  // namespace BoardFiles
