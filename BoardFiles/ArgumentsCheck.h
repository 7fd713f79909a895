#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "BoardFiles/Finding.h"
#include "BoardFiles/Place.h"
#include "Utils/Json.h"

namespace BoardFiles {

// Holds the driver arguments of one device against rules of the table of drivers.
class ArgumentsCheck {
 public:
   using Value = Utils::Json::Value;
   using Rules = std::vector< const Value* >;

   ArgumentsCheck( const Value& device, const Place& place, std::vector< Finding >& findings );

   // Names that neither the rules have nor the driver reads for another object.
   void checkNames( const Value& driver, const Rules& rules );

   void checkValues( const Rules& rules );

   // What the device reads counts when the first of its objects is made; it need not be there
   // again.
   void checkMissing( const Value& driver, const Rules& rules, bool isFirst );

 private:
   template < typename Visit >
   void forEach( Visit visit ) const;
   const Value* given( const Value& rule ) const;
   void checkConditions( const Rules& rules, const std::vector< std::string_view >& conditions );
   bool checkCondition( const Rules& rules, std::string_view condition );
   void checkPartner( std::string_view pattern, std::string_view partner );
   void checkBelow( const Value& value, const Value& rule, const Rules& rules, const Place& );
   void report( const Place& place, const std::string& problem, bool isWarning = false ) {
      findings_.push_back( { place.file, place.pointer, problem, isWarning } );
   }

   const Value* arguments_;  // null where there are none
   Place place_;
   std::vector< Finding >& findings_;
};

}  // namespace BoardFiles
