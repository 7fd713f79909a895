#include "Drivers/GPIOExpander.h"

#include "Drivers/Registers.h"
#include "Utils/Assert.h"

namespace Drivers {

namespace {

constexpr uint8_t kPinsPerBank = 8;
constexpr double kNanosecondsPerSecond = 1e9;

}  // namespace

GPIOExpander::GPIOExpander(
   int numBanks, unsigned int cacheTime, uint8_t inputBase, uint8_t outputBase, uint8_t configBase )
    : lastRead_( static_cast< size_t >( numBanks ), timespec{} ),
      inputs_( static_cast< size_t >( numBanks ), 0 ),
      outputs_( static_cast< size_t >( numBanks ), kUnknown ),
      numBanks_( numBanks ),
      cacheTime_( cacheTime ),
      inputBase_( inputBase ),
      outputBase_( outputBase ),
      configBase_( configBase ) {}

uint8_t GPIOExpander::outputBankAddr( uint8_t n ) const {
   return static_cast< uint8_t >( outputBase_ + n );
}

uint8_t GPIOExpander::configBankAddr( uint8_t n ) const {
   return static_cast< uint8_t >( configBase_ + n );
}

bool GPIOExpander::isPending( uint8_t bank ) const {
   return static_cast< int16_t >( outputs_[ bank ] ) >= 0;
}

bool GPIOExpander::isExpired( uint8_t bank, const timespec& now ) const {
   const timespec& last = lastRead_[ bank ];
   bool neverRead = last.tv_sec == 0 && last.tv_nsec == 0;
   double age = static_cast< double >( now.tv_sec - last.tv_sec ) +
                static_cast< double >( now.tv_nsec - last.tv_nsec ) / kNanosecondsPerSecond;
   return neverRead || age > cacheTime_;
}

pl_status GPIOExpander::getInBank( uint8_t n, uint8_t* value ) {
   LUMEN_ASSERT( n < numBanks_ );
   timespec now;
   clock_gettime( CLOCK_MONOTONIC, &now );
   if ( isExpired( n, now ) ) {
      pl_status status = ham()->read8( uint32_t{ inputBase_ } + n, &inputs_[ n ], kRegSize );
      if ( status != PL_STATUS_OK ) {
         pl_trace( 0, "Error: status %d while reading input bank %d", status, n );
         return status;
      }
      lastRead_[ n ] = now;
   }
   pl_trace( 5, "GPIOExpander::getInBank( %d ) = %x", n, inputs_[ n ] );
   *value = inputs_[ n ];
   return PL_STATUS_OK;
}

pl_status GPIOExpander::getOutBank( uint8_t n, uint8_t* value ) {
   LUMEN_ASSERT( n < numBanks_ );
   if ( !isPending( n ) ) {
      uint8_t byte;
      pl_status status = ham()->read8( outputBankAddr( n ), &byte, kRegSize );
      if ( status != PL_STATUS_OK ) {
         pl_trace( 0, "Error: status %d while reading output bank %d", status, n );
         return status;
      }
      outputs_[ n ] = byte;
   }
   pl_trace( 5, "GPIOExpander::getoutBank( %d ) = %x", n, outputs_[ n ] );
   *value = static_cast< uint8_t >( outputs_[ n ] );
   return PL_STATUS_OK;
}

pl_status GPIOExpander::readBit( uint8_t bank, uint8_t bit, bool* value ) {
   LUMEN_ASSERT( bit <= 7 );
   uint8_t byte;
   if ( pl_status status = getInBank( bank, &byte ) ) {
      pl_trace( 5, "Error %d: GPIOExpander::readBit( %d, %d )", status, bank, bit );
      return status;
   }
   *value = byte >> bit & 1;
   pl_trace( 5, "GPIOExpander::readBit( %d, %d ) = %d", bank, bit, *value );
   return PL_STATUS_OK;
}

pl_status GPIOExpander::writeBit( uint8_t bank, uint8_t bit, bool value ) {
   LUMEN_ASSERT( bit <= 7 );
   uint8_t byte;
   if ( pl_status status = getOutBank( bank, &byte ) ) {
      return status;
   }
   auto mask = static_cast< uint8_t >( 1u << bit );
   outputs_[ bank ] = static_cast< uint8_t >( value ? byte | mask : byte & ~mask );
   return PL_STATUS_OK;
}

pl_status GPIOExpander::readBit( uint8_t pin, bool* value ) {
   return readBit( pin / kPinsPerBank, pin % kPinsPerBank, value );
}

pl_status GPIOExpander::writeBit( uint8_t pin, bool value ) {
   return writeBit( pin / kPinsPerBank, pin % kPinsPerBank, value );
}

pl_status GPIOExpander::save() {
   pl_trace( 5, "GPIOExpander::save" );
   ham()->prepare();
   bool anyPending = false;
   for ( uint8_t bank = 0; bank < numBanks_; ++bank ) {
      if ( !isPending( bank ) ) {
         continue;
      }
      auto value = static_cast< uint8_t >( outputs_[ bank ] );
      pl_trace( 5, " GPIOExpander::save -- writing output bank %d = %d", bank, value );
      addWrite( outputBankAddr( bank ), value );
      outputs_[ bank ] = kUnknown;
      anyPending = true;
   }
   if ( !anyPending ) {
      return PL_STATUS_OK;
   }
   pl_status status = ham()->execute();
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "Error: status %d writing to GPIOExpander", status );
   }
   return status;
}

pl_status GPIOExpander::writeConfig( const uint8_t* bankConfig ) {
   ham()->prepare();
   for ( uint8_t bank = 0; bank < numBanks_; ++bank ) {
      addWrite( configBankAddr( bank ), bankConfig[ bank ] );
   }
   return ham()->execute();
}

void GPIOExpander::addWrite( uint8_t reg, uint8_t value ) {
   Ham::saveReg( ham(), reg );
   ham()->addWrite8( reg, value, false, kRegSize );
}

}  // namespace Drivers
