#pragma once

#include <functional>
#include <vector>

#include "SmbusService/Access.h"
#include "SmbusService/PolicyMap.h"

namespace SmbusService {

// Rules in force on one board. A batch is followed from step to step with the channels that it
// opens, and each transfer must be permitted on every chip that it reaches. What no rule lists is
// refused.
class Policy : public Access {
 public:
   // What one client may do to one device.
   struct Permission {
      const PolicyMap::Target& target;
      uint8_t address;
      PolicyMap::Rules rules;                // those for the client
      std::vector< uint8_t > channels = {};  // of a mux, that the client may select
   };

   Policy( std::vector< BoardFiles::PolicyRule >, const BoardFiles::Wiring& );
   Policy( const Policy& ) = delete;
   Policy& operator=( const Policy& ) = delete;

   std::optional< Refusal > judge( const Peer&, const std::vector< Step >&, Found ) const override;

   // Calls for each device of the board.
   void forEachDevice( const Peer&, const std::function< void( const Permission& ) >& ) const;

 private:
   const std::vector< BoardFiles::PolicyRule > rules_;
   const PolicyMap map_;
};

// The rules of a policy file, or, where its name is empty, those without a policy. Throws
// BoardFiles::BoardError for a file with mistakes.
std::vector< BoardFiles::PolicyRule > rulesOf( const std::string& file, const BoardFiles::Wiring& );

// The rules where no policy is given: everybody may do everything, except writing to memories and
// to what protects them, addresses 0x30 to 0x37 and 0x50 to 0x57.
std::vector< BoardFiles::PolicyRule > rulesWithoutPolicy();

}  // namespace SmbusService
