#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Drivers/Drivers.h"
#include "Tests/support/TemporaryDirectory.h"
#include "Topology/Topology.h"

namespace Tests {

constexpr uint32_t kNoUid = Drivers::DriverArgs::kNoUid;

// Every medium; two muxes in a row; the device 14 twice, first where the walk comes later.
inline const std::string kMuxedBoard = textOf( LUMEN_SOURCE_DIR "/Tests/support/muxed-board.json" );

inline void load( const std::string& topology ) {
   ASSERT_EQ( Topology::loadTopology( topology.c_str() ), PL_STATUS_OK ) << topology;
}

}  // namespace Tests
