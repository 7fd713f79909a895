#include "SmbusService/TransferError.h"

#include <cerrno>
#include <system_error>

namespace SmbusService {

bool isNoAcknowledge( int error ) {
   return error == ENXIO || error == EREMOTEIO;
}

bool isPassing( int error ) {
   return error != EOPNOTSUPP && error != EMSGSIZE && error != EBUSY && error != ENODEV;
}

std::string wordsFor( int error ) {
   switch ( error ) {
      case ENXIO:
      case EREMOTEIO:
         return "no acknowledge";
      case ETIMEDOUT:
         return "timed out";
      case EIO:
         return "short answer";
      case EPROTO:
      case EBADMSG:
         return "corrupt answer";
      case EAGAIN:
         return "lost arbitration";
      case EOPNOTSUPP:
         return "not supported by the adapter";
      default:
         return std::generic_category().message( error );
   }
}

}  // namespace SmbusService
