#pragma once

#include <gtest/gtest.h>

#include <string>

#include "Drivers/Drivers.h"
#include "Topology/Topology.h"

namespace Tests {

constexpr uint32_t kNoUid = Drivers::DriverArgs::kNoUid;

// Every medium; two muxes in a row; the device 14 twice, first where the walk comes later.
constexpr const char* kMuxedBoard = R"( [
   { "type": "SCD", "ham": "LumenSmbus", "pci": 256, "accelerators": [
      { "id": 2, "busses": [
         { "id": 2 },
         { "id": 1, "label": "first",
           "muxes": [ { "did": 10, "busses": [ { "id": 4,
              "muxes": [ { "did": 11, "busses": [
                 { "id": 8, "devices": [
                    { "did": 13, "label": "sensor", "components": [ { "uid": 76 }, { "uid": 77 } ] },
                    { "did": 10 } ] },
                 { "id": 1, "devices": [ { "did": 15 } ] } ] } ],
              "devices": [ { "did": 11, "driver": "Max7356", "address": { "address": 113 } } ] } ] } ],
           "devices": [ { "did": 10, "driver": "PCA9548", "address": { "address": 112 } },
                        { "did": 12 }, { "did": 14 } ] } ] },
      { "id": 0, "busses": [ { "id": 0, "devices": [ { "did": 14, "label": "twin" } ] } ] } ] },
   { "type": "Celestica", "ham": "LumenSmbus", "accelerators": [ { "id": 4, "busses": [
      { "id": 5, "devices": [ { "did": 20 } ] } ] } ] },
   { "type": "I2C", "ham": "LumenSmbus", "id": -1, "label": "i2c", "devices": [ { "did": 21 } ] },
   { "type": "I2C", "ham": "LumenSmbus", "id": 0, "simulated": true, "devices": [ { "did": 22 } ] },
   { "type": "IOPort", "ham": "LumenSmbus", "id": 0, "devices": [ { "did": 23 } ] },
   { "type": "PLM", "ham": "LumenSmbus", "id": 0, "devices": [ { "did": 24 } ] },
   { "type": "SccSpi", "ham": "LumenSmbus", "id": 0, "devices": [ { "did": 25 } ] },
   { "type": "FbDomFpga", "ham": "LumenSmbus", "pci": 512, "busses": [
      { "id": 9, "devices": [ { "did": 30 } ] } ] } ] )";

inline void load( const std::string& topology ) {
   ASSERT_EQ( Topology::loadTopology( topology.c_str() ), PL_STATUS_OK ) << topology;
}

}  // namespace Tests
