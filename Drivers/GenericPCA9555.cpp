#include "Drivers/GenericPCA9555.h"

#include <algorithm>

#include "Drivers/Arguments.h"

namespace Drivers {

namespace {

constexpr uint32_t kPowerOn = 0xFF;  // inputs pulled up, outputs high, all pins inputs
constexpr uint32_t kBytes = 1;

uint8_t byteOr( const DriverArgs& args, const char* key, int absent ) {
   return static_cast< uint8_t >( argumentOr( args.driverArgs, key, Utils::stoi, absent ) );
}

}  // namespace

Component::HardwareDevice* GenericPCA9555::create( const FactoryArgs& args, Ham::Ham* ) {
   uint8_t bankConfig[ kBanks ];
   bankConfig[ 0 ] =
      static_cast< uint8_t >( Utils::stoi( LUMEN_FOUND_ARGUMENT( args, "bank-io-0" ) ) );
   bankConfig[ 1 ] =
      static_cast< uint8_t >( Utils::stoi( LUMEN_FOUND_ARGUMENT( args, "bank-io-1" ) ) );
   uint8_t cacheTime = byteOr( args, "cacheTimeout", kCacheTime );
   uint8_t inputBase = byteOr( args, "inputBankBase", kInput );
   uint8_t outputBase = byteOr( args, "outputBankBase", kOutput );
   uint8_t configBase = byteOr( args, "configBankBase", kConfiguration );
   pl_trace( 0, "Creating ambiguous PCA9555 Device: cacheTimeout %ds", cacheTime );
   return new GenericPCA9555( bankConfig, kBanks, cacheTime, inputBase, outputBase, configBase );
}

GenericPCA9555::GenericPCA9555( const uint8_t* bankConfig,
                                uint8_t numBanks,
                                uint8_t cacheTime,
                                uint8_t inputBase,
                                uint8_t outputBase,
                                uint8_t configBase )
    : GPIOExpander( numBanks, cacheTime, inputBase, outputBase, configBase ) {
   LUMEN_ASSERT( numBanks <= sizeof( this->config ) / sizeof( this->config[ 0 ] ) );
   std::copy_n( bankConfig, numBanks, config );
   for ( uint8_t bank = 0; bank < numBanks; ++bank ) {
      for ( uint32_t reg : { uint32_t{ inputBase } + bank, uint32_t{ outputBankAddr( bank ) },
                             uint32_t{ configBankAddr( bank ) } } ) {
         expectedValues_[ reg ] = { kPowerOn, kBytes };
      }
   }
}

// Ignored: an expander that does not answer yet stays usable.
void GenericPCA9555::init() {
   ( void )writeConfig( config );
   if ( save() != PL_STATUS_OK ) {
      pl_trace( 0, "Error: failed to write PCA9555 pin configuration" );
   }
}

Component::LogicalDevice::Gpio* GenericPCA9555::newGpio( const DriverArgs& args ) {
   return new ExpGpio( this, args );
}

GenericPCA9555::ExpGpio::ExpGpio( GenericPCA9555* expander, const DriverArgs& args )
    : expander_( expander ),
      bank_( Utils::stoi( LUMEN_FOUND_ARGUMENT( args, "bank" ) ) ),
      bit_( Utils::stoi( LUMEN_FOUND_ARGUMENT( args, "bit" ) ) ) {}

pl_status GenericPCA9555::ExpGpio::bitSet() {
   pl_status status = write( true );
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "GenericPCA9555 bitSet() failed!" );
   }
   return status;
}

pl_status GenericPCA9555::ExpGpio::bitClear() {
   pl_status status = write( false );
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "GenericPCA9555 bitClear() failed!" );
   }
   return status;
}

// Ignored: when the output register cannot be read nothing is pending, and save() succeeds.
pl_status GenericPCA9555::ExpGpio::write( bool value ) {
   ( void )expander_->writeBit( static_cast< uint8_t >( bank_ ), static_cast< uint8_t >( bit_ ),
                                value );
   return expander_->save();
}

pl_status GenericPCA9555::ExpGpio::bitRead( unsigned int* value ) {
   bool bit = false;
   pl_status status =
      expander_->readBit( static_cast< uint8_t >( bank_ ), static_cast< uint8_t >( bit_ ), &bit );
   *value = bit;
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "GenericPCA9555 bitRead() failed!" );
   }
   return status;
}

}  // namespace Drivers
