#include "Drivers/Corvid/FanFdl.h"
#include "Drivers/Corvid/SettledRead.h"
#include "Drivers/Corvid/TarnRearCardCPLD.h"
#include "Utils/Text.h"

namespace Drivers {

namespace {

constexpr Ham::Ham::Register kTypeId = 0x41;  // 8 bits, of each position

}  // namespace

TarnRearCardCPLD::FanSlot::FanSlot( TarnRearCardCPLD* device,
                                    uint8_t slotId,
                                    uint8_t position,
                                    const Arguments& args )
    : device_( device ),
      slotId_( slotId ),
      position_( position ),
      templates_( fanFdlTemplates( args ) ) {}

pl_status TarnRearCardCPLD::FanSlot::getPresence( char** fdl ) {
   const char* function = __PRETTY_FUNCTION__;
   pl_trace( 6, "%s FanSlot %d", function, slotId_ );
   bool present;
   if ( pl_status status = device_->getFanPresence( slotId_, position_, present ) ) {
      pl_trace( 0, "%s FanSlot %d: Fan is not present due to error", function, slotId_ );
      return status;
   }
   if ( !present ) {
      pl_trace( 0, "%s FanSlot %d: Fan is not present", function, slotId_ );
      return PL_STATUS_ABSENT;
   }
   std::optional< uint8_t > typeId;
   if ( pl_status status = readTypeId( function, typeId ) ) {
      return status;
   }
   if ( !typeId ) {
      return PL_STATUS_ABSENT;
   }
   pl_trace( 5, "%s FanSlot %d: Fan type id is '0x%x'", function, slotId_, *typeId );
   if ( cachedFdl_ && cachedTypeId_ == *typeId ) {
      pl_trace( 7, "%s FanSlot %d: Using cached fdl", function, slotId_ );
   } else {
      auto fdlTemplate = templates_.find( *typeId );
      if ( fdlTemplate == templates_.end() ) {
         pl_trace( 0, "%s FanSlot %d: Unknown type id 0x%x. Fan is unsupported", function, slotId_,
                   *typeId );
         return PL_STATUS_ABSENT;
      }
      pl_trace( 7, "%s FanSlot %d: Generating fdl", function, slotId_ );
      cachedFdl_ = describe( *typeId, fdlTemplate->second );
      cachedTypeId_ = *typeId;
      pl_trace( 7, "%s FanSlot %d fdl: %s", function, slotId_, cachedFdl_->c_str() );
   }
   if ( !Utils::copyToHeap( *cachedFdl_, fdl ) ) {
      pl_trace( 0, "Error: %s FanSlot %d: strdup failed", function, slotId_ );
      return PL_STATUS_FAILURE;
   }
   return PL_STATUS_OK;
}

pl_status TarnRearCardCPLD::FanSlot::readTypeId( const char* function,
                                                 std::optional< uint8_t >& typeId ) {
   auto traceMismatch = [ this, function ]( uint8_t one, uint8_t other ) {
      pl_trace( 0, "%s FanSlot %d: mismatch in fan id readings - 0x%02x 0x%02x", function, slotId_,
                one, other );
   };
   pl_status status = readSettled( device_->ham(), kTypeId + position_, typeId, traceMismatch );
   if ( status != PL_STATUS_OK ) {
      pl_trace( 0, "%s FanSlot %d: Could not get fan id register", function, slotId_ );
   }
   return status;
}

std::string TarnRearCardCPLD::FanSlot::describe( uint8_t typeId, const std::string& fdl ) const {
   return fillFdl( fdl, { { "slotId", std::to_string( slotId_ ) },
                          { "position", std::to_string( position_ ) },
                          { "typeId", std::to_string( typeId ) },
                          { "modelName", kUnknownFdlValue },
                          { "serialNum", kUnknownFdlValue } } );
}

}  // namespace Drivers
