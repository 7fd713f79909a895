#pragma once

#include <sys/types.h>

#include <bitset>
#include <cstdint>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "BoardFiles/Documents.h"
#include "BoardFiles/NumberRange.h"
#include "BoardFiles/Wiring.h"

namespace BoardFiles {

// One entry of a policy document: what some clients may do to some chips.
struct PolicyRule {
   // Addresses, of declared chips or not.
   struct Region {
      std::optional< size_t > adapter;  // its position in the wiring; none stands for all
      std::optional< size_t > bus;      // likewise; none stands for all of the adapter
      std::bitset< 128 > addresses;
   };

   std::string name;
   bool isForAll = false;  // who can connect
   std::set< uid_t > users = {};
   std::set< gid_t > groups = {};
   bool hasAllDevices = false;
   std::set< uint32_t > devices = {};  // dids
   std::vector< Region > regions = {};
   bool reads = false;
   bool writes = false;
   std::vector< NumberRange > registers = {};  // sorted and apart; empty stands for all
   uint8_t registerSize = 1;                   // bytes of the chips' register numbers
};

// The rules of a document that satisfies its schema, and what is wrong with them.
std::vector< PolicyRule > readPolicyRules( const BoardFile& policy,
                                           const Wiring& wiring,
                                           std::vector< Finding >& findings );

// Reads a policy from a file. Throws BoardError with every mistake in it.
std::vector< PolicyRule > loadPolicy( const std::string& path, const Wiring& wiring );

}  // namespace BoardFiles
