#pragma once

#include <atomic>
#include <memory>
#include <string>

#include "SmbusService/Log.h"
#include "SmbusService/Policy.h"

namespace SmbusService {

// The policy in force, which can be read anew at any time. Tells the log of each refusal.
class PolicyStore : public Access {
 public:
   // Without a file the rules are those without a policy. Throws BoardFiles::BoardError for a file
   // with mistakes. Wiring and log must outlive the store.
   PolicyStore( std::string file, const BoardFiles::Wiring&, Log& );

   // The file as it is now. Throws BoardFiles::BoardError for one with mistakes.
   std::shared_ptr< const Policy > read() const;

   // Puts it in force, from the next batch on.
   void use( std::shared_ptr< const Policy > policy ) { policy_ = std::move( policy ); }

   std::optional< Refusal > judge( const Peer&, const std::vector< Step >&, Found ) const override;

 private:
   const std::string file_;
   const BoardFiles::Wiring& wiring_;
   Log& log_;
   std::atomic< std::shared_ptr< const Policy > > policy_;
};

}  // namespace SmbusService
