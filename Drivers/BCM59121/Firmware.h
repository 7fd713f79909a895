#pragma once

#include "Drivers/BCM59121/FirmwareImage.h"
#include "Ham/Ham.h"

namespace Drivers::Poe {

// Puts a firmware into a controller, in place of the one that runs or of none: clears, writes and
// starts, until the controller answers. A message that fails is repeated up to three times. An
// update that ended early leaves a controller without firmware, for the next one.
class FirmwareUpdate {
 public:
   FirmwareUpdate( Ham::Ham* ham, const FirmwareImage& image ) : ham_( ham ), image_( image ) {}

   // The step that failed is named by failedStep().
   [[nodiscard]] pl_status run();
   const char* failedStep() const { return step_; }
   // Whether the firmware that ran may be gone, and all that it was told.
   bool mayHaveCleared() const { return mayHaveCleared_; }

 private:
   [[nodiscard]] pl_status clear();
   [[nodiscard]] pl_status write();
   [[nodiscard]] pl_status load();

   template < typename IsTaken >
   [[nodiscard]] pl_status ask( const std::string& message, IsTaken isTaken );
   [[nodiscard]] pl_status tell( uint8_t command, std::initializer_list< uint8_t > values );
   [[nodiscard]] pl_status writeBlock( uint16_t number );
   [[nodiscard]] pl_status waitFor( uint8_t answer );

   Ham::Ham* ham_;
   const FirmwareImage& image_;
   const char* step_ = "";
   bool mayHaveCleared_ = false;
   bool mayHaveArrived_ = false;  // the latest message, though it has no good answer yet
};

}  // namespace Drivers::Poe
