#include "Ham/SimHam.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <utility>

#include "Utils/Assert.h"

namespace Ham {

namespace {

constexpr const char* kDefaultDirectory = "/tmp/LumenSimulationDevices";
constexpr mode_t kDirectoryMode = 0755;
constexpr mode_t kFileMode = 0644;
constexpr char kNumberFill = 'f';
constexpr char kBytesFill = '\xFF';
constexpr const char* kNotMapped = "mm != ((void *) -1)";  // said of every unusable file

const std::string& simulationDirectory() {
   static const std::string directory = [] {
      const char* fromEnvironment = getenv( "LUMENLIB_SIMDIR" );
      return std::string( fromEnvironment ? fromEnvironment : kDefaultDirectory );
   }();
   return directory;
}

// Its name is known, and /tmp is everybody's: a directory that somebody else made, or can put files
// into, is not used. One that the environment names is whose it may be.
bool isUsable( const std::string& directory ) {
   struct statx status {};
   if ( directory != kDefaultDirectory ) {
      return true;
   }
   if ( statx( AT_FDCWD, directory.c_str(), AT_SYMLINK_NOFOLLOW, STATX_BASIC_STATS, &status ) ) {
      return false;
   }
   bool isForAll = ( status.stx_mode & S_IWOTH ) && !( status.stx_mode & S_ISVTX );
   bool isOurs = status.stx_uid == geteuid() || status.stx_uid == 0;
   errno = EACCES;
   return S_ISDIR( status.stx_mode ) && isOurs && !isForAll;
}

// Neither follows a link that waits under the name nor waits for the other end of a pipe; -1 with
// errno.
int openFile( const std::string& name, int flags ) {
   constexpr int kWary = O_CLOEXEC | O_NOFOLLOW | O_NONBLOCK;
   return isUsable( simulationDirectory() ) ? open( name.c_str(), flags | kWary, kFileMode ) : -1;
}

// A file under a record lock on the whole of it, waited for, and released with the file's closing
// at the end of the scope.
class LockedFile {
 public:
   LockedFile( int fd, short lockType ) : fd_( fd ) {
      struct flock whole {};
      whole.l_type = lockType;
      whole.l_whence = SEEK_SET;
      while ( fd_ >= 0 && fcntl( fd_, F_SETLKW, &whole ) < 0 && errno == EINTR ) {
      }
   }
   ~LockedFile() {
      if ( fd_ >= 0 ) {
         close( fd_ );
      }
   }
   LockedFile( const LockedFile& ) = delete;
   LockedFile& operator=( const LockedFile& ) = delete;

   bool isOpen() const { return fd_ >= 0; }

   // As many bytes as the file has there, at most `length`.
   std::string read( size_t offset, size_t length ) const {
      std::string bytes( length, '\0' );
      ssize_t count = pread( fd_, bytes.data(), length, static_cast< off_t >( offset ) );
      LUMEN_ASSERT_TEXT( count >= 0, kNotMapped );
      bytes.resize( static_cast< size_t >( count ) );
      return bytes;
   }

   bool write( size_t offset, const std::string& bytes ) const {
      return pwrite( fd_, bytes.data(), bytes.size(), static_cast< off_t >( offset ) ) ==
             static_cast< ssize_t >( bytes.size() );
   }

   bool truncate() const { return ftruncate( fd_, 0 ) == 0; }

 private:
   int fd_;
};

LockedFile openLocked( const std::string& name, int flags, short lockType ) {
   return LockedFile( openFile( name, flags ), lockType );
}

// Makes the directory, if it is not there, for every process that shares the files.
void createDirectory( const std::string& name ) {
   if ( mkdir( name.c_str(), kDirectoryMode ) == 0 ) {
      chmod( name.c_str(), kDirectoryMode );
   }
}

// Empties the file only once nobody else holds its lock. False with errno.
bool createFile( const std::string& name, const std::string& content ) {
   constexpr int kFlags = O_RDWR | O_CREAT;
   int fd = openFile( name, kFlags | O_EXCL );
   if ( fd >= 0 ) {
      fchmod( fd, kFileMode );
   } else {
      fd = openFile( name, kFlags );
   }
   LockedFile file( fd, F_WRLCK );
   return file.isOpen() && file.truncate() && file.write( 0, content );
}

const char* whyNotCreated( int error ) {
   if ( !isUsable( simulationDirectory() ) ) {
      return "its directory is a link, belongs to neither this user nor root, or everybody may "
             "write to it";
   }
   switch ( error ) {
      case ELOOP:
         return "it is a link";
      case EINVAL:  // a pipe cannot be emptied
      case ENXIO:
         return "it is no file";
      default:
         return strerror( error );
   }
}

std::string hexDigits( uint32_t value, uint32_t size ) {
   std::string digits( size_t{ 2 } * size, '0' );
   for ( auto digit = digits.rbegin(); digit != digits.rend(); ++digit, value >>= 4 ) {
      *digit = "0123456789abcdef"[ value & 0xF ];
   }
   return digits;
}

std::string entryText( const Utils::ExpectedVal& val ) {
   if ( val.isNumeric ) {
      return hexDigits( val.val, val.size );
   }
   LUMEN_ASSERT_TEXT( val.size == val.valStr().length(), "size == val.valStr().length()" );
   return val.valStr();
}

size_t entryLength( const Utils::ExpectedVal& val ) {
   return val.isNumeric ? size_t{ 2 } * val.size : val.size;
}

}  // namespace

Ham* SimHam::create( const Topology::Topology&, const Drivers::DriverArgs& ) {
   return new SimHam;
}

pl_status SimHam::execute() {
   return !simFileExists_ || isAddrSimulated() ? PL_STATUS_OK : PL_STATUS_IO_ERROR;
}

bool SimHam::isAddrSimulated() const {
   return expected && expected->contains( currentReg );
}

bool SimHam::isServed() const {
   return simFileExists_ && isAddrSimulated();
}

void SimHam::addWrite8( Register, uint8_t value, bool, uint8_t ) {
   writeNumber( value, 1 );
}
void SimHam::addWrite16( Register, uint16_t value, bool, uint8_t ) {
   writeNumber( value, 2 );
}

void SimHam::writeNumber( uint32_t value, uint32_t size ) const {
   if ( !isServed() ) {
      warnUnsimulated();
   } else if ( expected->at( currentReg ).size == size ) {
      writeToFile( hexDigits( value, size ) );
   }
}

void SimHam::addWrite( Register, const void* data, uint32_t length, bool, uint8_t ) {
   if ( !isServed() ) {
      warnUnsimulated();
   } else if ( expected->at( currentReg ).size == length ) {
      writeToFile( std::string( static_cast< const char* >( data ), length ) );
   }
}

void SimHam::addWriteBlock(
   Register reg, const void* data, uint32_t length, bool flag, uint8_t regSize ) {
   addWrite( reg, data, length, flag, regSize );
}

uint8_t SimHam::get8( ResponseId ) {
   return static_cast< uint8_t >( readNumber( 1 ) );
}

uint16_t SimHam::get16( ResponseId ) {
   return static_cast< uint16_t >( readNumber( 2 ) );
}

// Text that is not hexadecimal counts up to its first such character.
uint32_t SimHam::readNumber( uint32_t size ) const {
   if ( !isServed() ) {
      warnUnsimulated();
      return 0;
   }
   return static_cast< uint32_t >(
      strtoul( readFromFile( size_t{ 2 } * size ).c_str(), nullptr, 16 ) );
}

std::string SimHam::getBlock( ResponseId, uint32_t length ) {
   if ( !isServed() ) {
      warnUnsimulated();
      throw std::logic_error( "basic_string: construction from null is not valid" );
   }
   return readFromFile( length );
}

void SimHam::setDriverName( std::string driverName, std::string qualifier ) {
   driverName_ = std::move( driverName );
   simFileName_ = simulationDirectory() + "/" + driverName_;
   if ( !qualifier.empty() ) {
      qualifier_ = std::move( qualifier );
      simFileName_ += "-" + qualifier_;
   }
}

void SimHam::setExpected( const Utils::ExpectedValues* map ) {
   expected = map;
   if ( !map->empty() ) {
      createSimFile();
   }
}

void SimHam::createSimFile() {
   LUMEN_ASSERT( !simFileName_.empty() );
   createDirectory( simulationDirectory() );
   std::string text;
   for ( const auto& [ reg, val ] : *expected ) {
      offsets[ reg ] = text.size();
      text += entryText( val );
   }
   // A file that is not there is met by the first access.
   simFileExists_ = true;
   if ( createFile( simFileName_, text + '\n' ) ) {
      pl_trace( 5, "Created %s", simFileName_.c_str() );
   } else {
      pl_trace( 0, "Failed to create %s: %s", simFileName_.c_str(), whyNotCreated( errno ) );
   }
}

// What a reader asks for beyond the entry, or beyond a file that someone cut short, is filled up.
std::string SimHam::readFromFile( size_t length ) const {
   LUMEN_ASSERT( simFileExists_ );
   LUMEN_ASSERT( isAddrSimulated() );
   const Utils::ExpectedVal& val = expected->at( currentReg );
   size_t available = std::min( length, entryLength( val ) );
   char fill = val.isNumeric ? kNumberFill : kBytesFill;
   std::string text( length - available, fill );
   {
      LockedFile file = openLocked( simFileName_, O_RDONLY, F_RDLCK );
      LUMEN_ASSERT_TEXT( file.isOpen(), kNotMapped );
      text += file.read( offsets.at( currentReg ), available );
   }
   text.resize( length, fill );
   pl_trace( 5, "%s - Read %s from register 0x%x", simFileName_.c_str(), text.c_str(), currentReg );
   return text;
}

// What is not all in the file, because someone cut it short, is not written.
void SimHam::writeToFile( const std::string& value ) const {
   LUMEN_ASSERT( simFileExists_ );
   LUMEN_ASSERT( isAddrSimulated() );
   size_t length = entryLength( expected->at( currentReg ) );
   size_t offset = offsets.at( currentReg );
   bool isWritten = false;
   {
      LockedFile file = openLocked( simFileName_, O_RDWR, F_WRLCK );
      LUMEN_ASSERT_TEXT( file.isOpen(), kNotMapped );
      isWritten = file.read( offset, length ).size() == length &&
                  file.write( offset, value.substr( 0, length ) );
   }
   if ( isWritten ) {
      pl_trace( 5, "%s - Wrote %s to register 0x%x", simFileName_.c_str(), value.c_str(),
                currentReg );
   } else {
      pl_trace( 0, "%s is damaged: register 0x%x not written", simFileName_.c_str(), currentReg );
   }
}

void SimHam::warnUnsimulated() const {
   pl_trace(
      0,
      "WARNING: Simulated Driver %s doesn't yet have expectedVal set for register 0x%x using "
      "SIMULATION_HAM()\n",
      driverName_.c_str(), currentReg );
}

void saveReg( Ham* ham, Ham::Register reg ) {
   if ( auto simulation = dynamic_cast< SimHam* >( ham ) ) {
      simulation->saveReg( reg );
   }
}

}  // namespace Ham
