#pragma once

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>
#include <vector>

#include "BoardFiles/Finding.h"
#include "BoardFiles/Place.h"
#include "Utils/Json.h"

namespace BoardFiles {

// What the drivers will say of a board: those that there are, what they make, and of which
// arguments. Where a driver would stop it is a mistake, where it carries on a warning.
class DriverCheck {
 public:
   // Without `isAsked` nothing is looked at.
   DriverCheck( bool isAsked, std::vector< Finding >& findings )
       : isAsked_( isAsked ), findings_( findings ) {}

   // Device arguments of an object, in the order of the objects.
   void object( std::string_view kind, const Utils::Json::Value& device, const Place& );

   // Device arguments of the topology: few of them are used, so none need be there.
   void declared( const Utils::Json::Value& device, const Place& );

   // How the drivers reach the registers of a medium.
   void ham( const std::string& name, const Place& );

   // The chip of a mux.
   void mux( uint32_t did, const std::string& driver, const Place& );

 private:
   void warnOfTwin( std::string_view kind,
                    const Utils::Json::Value& device,
                    const Utils::Json::Value& driver,
                    const Place& );

   bool isAsked_;
   std::vector< Finding >& findings_;
   std::set< uint32_t > made_;                // devices that an object was seen of
   std::map< std::string, std::string > of_;  // what an object is of, to its pointer
};

}  // namespace BoardFiles
