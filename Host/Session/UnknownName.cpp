#include "Host/Session/UnknownName.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include "Utils/Nearest.h"

namespace Host {

namespace {

constexpr size_t kFew = 20;

}  // namespace

std::string whatThereIs( std::string_view wanted,
                         const std::vector< std::string >& names,
                         std::string_view command ) {
   if ( std::string meant = Utils::didYouMean( wanted, names ); !meant.empty() ) {
      return meant;
   }
   return names.empty() ? "; it has none"
          : names.size() <= kFew
             ? fmt::format( "; it has {}", fmt::join( names, ", " ) )
             : fmt::format( "; it has {}: {} shows them", names.size(), command );
}

}  // namespace Host
