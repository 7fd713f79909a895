#include "Host/Watch/Frame.h"

#include "Utils/Text.h"

namespace Host {

std::string fitted( std::string_view text, size_t columns, Align align ) {
   std::string shown = Utils::fitted( Utils::printable( text ), columns );
   std::string blanks( columns - Utils::columns( shown ), ' ' );
   return align == Align::Left ? shown + blanks : blanks + shown;
}

}  // namespace Host
