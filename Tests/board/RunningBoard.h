#pragma once

#include <gtest/gtest.h>

#include <algorithm>

#include "BoardFiles/Board.h"
#include "Tests/service/Steps.h"

namespace Tests {

// One of Boards/ with its emulated chips and their service, all in this process.
class RunningBoard : public testing::Test {
 protected:
   explicit RunningBoard( const std::string& name )
       : documents( BoardFiles::loadBoard( LUMEN_SOURCE_DIR "/Boards/" + name,
                                           { .emulation = BoardFiles::Demand::Needed } ) ) {
      setenv( "PL_SMBUS_SOCKET", server.path().c_str(), 1 );
   }

   const BoardFiles::ObjectSpec& object( const std::string& name ) const {
      return *std::ranges::find( documents.objects, name, &BoardFiles::ObjectSpec::name );
   }

   uint32_t didOf( const std::string& name ) const {
      Utils::Json::Document device;
      Utils::Json::parse( object( name ).device.c_str(), device );
      return device[ "did" ].GetUint();
   }

   BoardFiles::Board documents;
   std::unique_ptr< SmbusService::Emulator::EmulatedBoard > chips =
      SmbusService::Emulator::loadBoard( documents );
   RunningServer server{ *chips };
};

}  // namespace Tests
