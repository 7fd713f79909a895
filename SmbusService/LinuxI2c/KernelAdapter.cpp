#include "SmbusService/LinuxI2c/KernelAdapter.h"

#include <fmt/format.h>
#include <linux/i2c-dev.h>

#include <cerrno>
#include <system_error>

#include "SmbusService/LinuxI2c/Messages.h"
#include "SmbusService/LinuxI2c/SmbusCommand.h"
#include "SmbusService/TransferError.h"

namespace SmbusService::LinuxI2c {

namespace {

using std::chrono::milliseconds;

constexpr int kArbitrations = 3;  // repeated transfers after a lost arbitration
constexpr milliseconds kTimeoutUnit( 10 );
constexpr milliseconds kUsualTimeout( 1000 );   // the kernel's own for most adapters
constexpr std::chrono::seconds kFreeTime( 1 );  // a kernel driver may come at any time

std::string systemWords( int result ) {
   return std::generic_category().message( -result );
}

}  // namespace

KernelAdapter::~KernelAdapter() {
   close();
}

void KernelAdapter::close() {
   if ( descriptor_ >= 0 ) {
      system_.close( descriptor_ );
   }
   descriptor_ = -1;
   freeUntil_.fill( {} );
   muxes.doubt();
}

void KernelAdapter::assign( BoardFiles::AdapterSpec spec ) {
   close();
   spec_ = std::move( spec );
   bus_ = {};
}

int KernelAdapter::fail( int error, std::string problem ) {
   problem_ = std::move( problem );
   return error;
}

int KernelAdapter::lookUp( SystemAdapter& found ) {
   auto adapters = sysfs_.find( spec_ );
   if ( adapters.size() != 1 ) {
      return fail( ENODEV, adapters.empty() ? "the adapter is not there"
                                            : "several adapters match its entry" );
   }
   found = adapters[ 0 ];
   return 0;
}

int KernelAdapter::open() {
   close();
   SystemAdapter found;
   if ( int error = lookUp( found ) ) {
      return error;
   }
   std::string file = sysfs_.deviceFile( found.number );
   int descriptor = system_.open( file );
   if ( descriptor < 0 ) {
      const char* hint = descriptor == -ENOENT ? " (is the module i2c-dev loaded?)" : "";
      return fail( -descriptor, fmt::format( "{}: {}{}", file, systemWords( descriptor ), hint ) );
   }
   descriptor_ = descriptor;
   if ( number_ != found.number ) {
      timeout_.reset();
   }
   number_ = found.number;
   if ( int result = system_.control( descriptor_, I2C_FUNCS, &capabilities_ ); result < 0 ) {
      close();
      return fail( -result, fmt::format( "{} does not tell what the adapter can do: {}", file,
                                         systemWords( result ) ) );
   }
   return 0;
}

int KernelAdapter::transfer( const Transfer& transfer, std::string& answer ) {
   problem_.clear();
   if ( descriptor_ < 0 ) {
      if ( int error = open() ) {
         return error;
      }
   }
   if ( int error = checkAddress( transfer.address.device ) ) {
      return error;
   }
   if ( bus_.isLeftAlone( Clock::now() ) ) {
      return fail( ETIMEDOUT, "the bus is stuck" );
   }
   milliseconds asked = transfer.address.busTimeout;
   if ( int result = asked.count() ? setTimeout( asked ) : restoreTimeout(); result < 0 ) {
      return fail( -result, "the adapter's time-out cannot be set: " + systemWords( result ) );
   }
   int error = EAGAIN;
   for ( int i = 0; error == EAGAIN && i <= kArbitrations; ++i ) {
      error = attempt( transfer, answer );
   }
   ( void )restoreTimeout();  // the transfer's outcome is what counts; the next one tries again
   return judge( error );
}

milliseconds KernelAdapter::patience( const Transfer& transfer ) const {
   if ( bus_.isLeftAlone( Clock::now() ) ) {
      return milliseconds( 0 );
   }
   milliseconds asked = transfer.address.busTimeout;
   return asked.count() ? asked : spec_.timeout.value_or( kUsualTimeout );
}

int KernelAdapter::checkAddress( uint8_t device ) {
   auto now = Clock::now();
   if ( spec_.isShared || now < freeUntil_[ device ] ) {
      return 0;
   }
   std::string driver = sysfs_.driverAt( number_, device );
   if ( !driver.empty() ) {
      return fail( EBUSY, fmt::format( "the kernel's driver {} holds the address", driver ) );
   }
   freeUntil_[ device ] = now + kFreeTime;
   return 0;
}

// The SMBus commands put the bytes of a combined transfer on the wires: whether the address word
// asks for a plain one makes no difference.
int KernelAdapter::attempt( const Transfer& transfer, std::string& answer ) {
   return capabilities_ & I2C_FUNC_I2C ? combined( transfer, answer ) : command( transfer, answer );
}

int KernelAdapter::combined( const Transfer& transfer, std::string& answer ) {
   if ( transfer.type == Smbus::REQUEST_BLOCK_READ &&
        !( capabilities_ & I2C_FUNC_SMBUS_READ_BLOCK_DATA ) ) {
      return fail( EOPNOTSUPP, "the adapter has no block read" );
   }
   Messages messages( transfer );
   if ( !messages.fit() ) {
      return fail( EMSGSIZE,
                   fmt::format( "register and data are more than {} bytes", kMaxMessageSize ) );
   }
   i2c_rdwr_ioctl_data record{ .msgs = messages.data(), .nmsgs = messages.size() };
   int result = system_.control( descriptor_, I2C_RDWR, &record );
   if ( result < 0 ) {
      return -result;
   }
   bool isWhole = static_cast< uint32_t >( result ) == messages.size();
   return outcome( isWhole ? messages.answer( answer ) : EIO );
}

int KernelAdapter::command( const Transfer& transfer, std::string& answer ) {
   SmbusCommand command( transfer, capabilities_ );
   if ( !command.problem().empty() ) {
      return fail( EOPNOTSUPP, command.problem() );
   }
   unsigned long select = spec_.isShared ? I2C_SLAVE_FORCE : I2C_SLAVE;
   unsigned long device = transfer.address.device;
   if ( int result = system_.control( descriptor_, select, device ); result < 0 ) {
      return result == -EBUSY ? fail( EBUSY, "a kernel driver holds the address" ) : -result;
   }
   i2c_smbus_ioctl_data record{ .read_write = command.direction(),
                                .command = command.command(),
                                .size = command.size(),
                                .data = command.data() };
   int result = system_.control( descriptor_, I2C_SMBUS, &record );
   return result < 0 ? -result : outcome( transfer.reads() ? command.answer( answer ) : 0 );
}

// Of a transfer that the kernel counts as done.
int KernelAdapter::outcome( int error ) {
   return error ? fail( error, wordsFor( error ) ) : 0;
}

// Makes what the kernel says what it means. Drivers tell a missing acknowledge as ENXIO, EREMOTEIO,
// ENODEV or EIO; a bus that stays busy is one that times out.
int KernelAdapter::judge( int error ) {
   if ( !problem_.empty() || !error ) {
      bus_.note( 0, Clock::now() );
      return error;
   }
   if ( !sysfs_.has( number_ ) ) {
      close();
      return fail( ENODEV, "the adapter has vanished" );
   }
   bus_.note( error, Clock::now() );
   if ( bus_.isLeftAlone( Clock::now() ) ) {
      return fail( ETIMEDOUT, "the bus is stuck" );
   }
   if ( error == EBUSY ) {
      return fail( ETIMEDOUT, "the bus is busy" );
   }
   return error == ENODEV || error == EIO ? ENXIO : error;
}

int KernelAdapter::setTimeout( milliseconds timeout ) {
   if ( timeout_ == timeout ) {
      return 0;
   }
   milliseconds roundedUp = timeout + kTimeoutUnit - milliseconds( 1 );
   auto units = static_cast< unsigned long >( roundedUp / kTimeoutUnit );
   int result = system_.control( descriptor_, I2C_TIMEOUT, units );
   if ( result >= 0 ) {
      timeout_ = timeout;
   }
   return result;
}

// The kernel does not tell what it was: where nobody has set another, it stays as it is.
int KernelAdapter::restoreTimeout() {
   return spec_.timeout ? setTimeout( *spec_.timeout ) : timeout_ ? setTimeout( kUsualTimeout ) : 0;
}

}  // namespace SmbusService::LinuxI2c
