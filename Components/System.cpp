#include "Components/Library.h"
#include "pl.h"

namespace {

constexpr pl_system_ops kSystemOps = { .size = sizeof( pl_system_ops ), .unused = {} };

}  // namespace

pl_status pl_system_init( const char* json ) {
   return lumenLibraryInit( __FUNCTION__, json, kInitTries );
}

pl_system* pl_system_add( const char* json ) {
   pl_trace( 0, "DefaultSystemImpl::%s('%s')", __FUNCTION__, json );
   return new pl_system{ .host = nullptr, .ops = &kSystemOps };
}
