#include "SmbusService/LinuxI2c/System.h"

#include <fcntl.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>

namespace SmbusService::LinuxI2c {

namespace {

int resultOf( int result ) {
   return result < 0 ? -errno : result;
}

}  // namespace

int System::open( const std::string& path ) {
   return resultOf( ::open( path.c_str(), O_RDWR | O_CLOEXEC ) );
}

void System::close( int descriptor ) {
   ::close( descriptor );
}

int System::control( int descriptor, unsigned long request, unsigned long number ) {
   return resultOf( ioctl( descriptor, request, number ) );
}

int System::control( int descriptor, unsigned long request, void* record ) {
   return resultOf( ioctl( descriptor, request, record ) );
}

}  // namespace SmbusService::LinuxI2c
