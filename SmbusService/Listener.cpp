#include "SmbusService/Listener.h"

#include <fcntl.h>
#include <fmt/format.h>
#include <sys/file.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace SmbusService {

namespace {

using asio::local::stream_protocol;

constexpr mode_t kOwnersMode = 0600;
constexpr mode_t kGroupsMode = 0660;
constexpr uid_t kSameOwner = static_cast< uid_t >( -1 );
constexpr std::chrono::milliseconds kRetryDelay( 100 );

bool isShortage( int error ) {
   return error == EMFILE || error == ENFILE || error == ENOBUFS || error == ENOMEM;
}

[[noreturn]] void refuse( const std::string& path, const std::string& why ) {
   throw std::runtime_error( fmt::format( "cannot listen at {}: {}", path, why ) );
}

// Does not wait: a server whose queue is full is in use, too.
bool isAnswered( const stream_protocol::endpoint& endpoint ) {
   asio::io_context context;
   stream_protocol::socket socket( context, stream_protocol() );
   socket.native_non_blocking( true );
   int result = ::connect( socket.native_handle(), endpoint.data(),
                           static_cast< socklen_t >( endpoint.size() ) );
   return result == 0 || ( errno != ECONNREFUSED && errno != ENOENT );
}

std::string idIn( int file ) {
   char text[ 16 ] = {};
   ssize_t size = pread( file, text, sizeof text - 1, 0 );
   return size > 0 ? fmt::format( " (process {})", atoi( text ) ) : "";
}

// 0 when there is no file.
ino_t fileNumber( const std::string& path ) {
   struct stat status {};
   return lstat( path.c_str(), &status ) == 0 ? status.st_ino : 0;
}

// -1 when the file was removed, by a server that ended, before it was locked.
int openLocked( const std::string& path, const std::string& file ) {
   int descriptor = open( file.c_str(), O_RDWR | O_CREAT | O_CLOEXEC | O_NOFOLLOW, kOwnersMode );
   if ( descriptor < 0 ) {
      refuse( path, fmt::format( "{}: {}", file, std::generic_category().message( errno ) ) );
   }
   if ( flock( descriptor, LOCK_EX | LOCK_NB ) < 0 ) {
      std::string id = idIn( descriptor );
      close( descriptor );
      refuse( path, "another server is there" + id );
   }
   struct stat status {};
   if ( fstat( descriptor, &status ) == 0 && status.st_ino == fileNumber( file ) ) {
      return descriptor;
   }
   close( descriptor );
   return -1;
}

void makeWay( const std::string& path, const stream_protocol::endpoint& endpoint ) {
   struct stat status;
   if ( lstat( path.c_str(), &status ) < 0 ) {
      return;
   }
   if ( !S_ISSOCK( status.st_mode ) ) {
      refuse( path, "the file exists and is no socket" );
   }
   if ( isAnswered( endpoint ) ) {
      refuse( path, "another server answers there" );
   }
   unlink( path.c_str() );
}

// The file's mode lets the group in once it is the right one.
void admit( const std::string& path, const Audience& audience ) {
   if ( audience.group && chown( path.c_str(), kSameOwner, *audience.group ) < 0 ) {
      throw asio::system_error( asio::error_code( errno, asio::system_category() ) );
   }
   chmod( path.c_str(), audience.hasGroup ? kGroupsMode : kOwnersMode );
}

}  // namespace

Listener::Lock::Lock( const std::string& path ) : file_( lockFileFor( path ) ) {
   if ( path.empty() ) {
      refuse( "''", "the path is empty" );
   }
   while ( descriptor_ < 0 ) {
      descriptor_ = openLocked( path, file_ );
   }
   std::string id = fmt::format( "{}\n", getpid() );
   [[maybe_unused]] bool isTold =
      ftruncate( descriptor_, 0 ) == 0 && pwrite( descriptor_, id.data(), id.size(), 0 ) > 0;
}

Listener::Lock::~Lock() {
   unlink( file_.c_str() );
   ::close( descriptor_ );
}

Listener::Listener( asio::io_context& context, std::string path, const Audience& audience )
    : path_( std::move( path ) ), lock_( path_ ), acceptor_( context ), timer_( context ) {
   try {
      stream_protocol::endpoint endpoint( path_ );
      makeWay( path_, endpoint );
      acceptor_.open();
      // Linux gives the file the socket's own mode, so that nobody gets in before it is complete.
      fchmod( acceptor_.native_handle(), kOwnersMode );
      acceptor_.bind( endpoint );
      file_ = fileNumber( path_ );
      admit( path_, audience );
      acceptor_.listen();
      acceptor_.non_blocking( true );
   } catch ( const asio::system_error& error ) {
      removeFile();
      refuse( path_, error.code().message() );
   }
}

Listener::~Listener() {
   close();
}

void Listener::close() {
   if ( acceptor_.is_open() ) {
      removeFile();
      asio::error_code ignored;
      acceptor_.close( ignored );
      timer_.cancel();
   }
}

// Another server may have put its own socket there in the meantime.
void Listener::removeFile() const {
   if ( fileNumber( path_ ) == file_ ) {
      unlink( path_.c_str() );
   }
}

void Listener::accept( std::function< void( int descriptor ) > onClient ) {
   onClient_ = std::move( onClient );
   waitForClient();
}

void Listener::waitForClient() {
   acceptor_.async_wait( stream_protocol::acceptor::wait_read, [ this ]( asio::error_code error ) {
      if ( !error ) {
         acceptClient();
      }
   } );
}

// Short of descriptors or memory, the client that waits would be announced again at once.
void Listener::acceptClient() {
   if ( !acceptor_.is_open() ) {
      return;
   }
   int descriptor = accept4( acceptor_.native_handle(), nullptr, nullptr, SOCK_CLOEXEC );
   if ( descriptor >= 0 ) {
      onClient_( descriptor );
   } else if ( isShortage( errno ) ) {
      timer_.expires_after( kRetryDelay );
      timer_.async_wait( [ this ]( asio::error_code error ) {
         if ( !error ) {
            waitForClient();
         }
      } );
      return;
   }
   waitForClient();
}

}  // namespace SmbusService
