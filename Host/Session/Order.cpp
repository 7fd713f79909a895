#include "Host/Session/Order.h"

#include <cstring>
#include <limits>

namespace Host {

bool precedes( const Observation& a, const Observation& b, Order order ) {
   constexpr double kNone = -std::numeric_limits< double >::infinity();
   switch ( order ) {
      case Order::State:
         return urgency( a.state ) < urgency( b.state );
      case Order::Name:
         return strverscmp( a.object->name.c_str(), b.object->name.c_str() ) < 0;
      case Order::Kind:
         return a.object->kind < b.object->kind;
      default:
         return a.reading.value_or( kNone ) > b.reading.value_or( kNone );
   }
}

}  // namespace Host
