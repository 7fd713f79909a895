#pragma once

#include <string>

#include "BoardFiles/PolicyRule.h"
#include "SmbusService/Peer.h"
#include "SmbusService/Transfer.h"

// What one rule of a policy says to one transfer.
//
// A register number goes to the chip as bytes, and a chip takes those beyond its own numbers for
// data. So a rule tells how long its chips' numbers are: a read with a longer one is a write as
// well. Where a rule lists registers, only numbers of that length tell which ones a transfer
// reaches, and it must stay within the list with all of them, counting on from the first.
namespace SmbusService {

using BoardFiles::PolicyRule;

bool isFor( const PolicyRule&, const Peer& );

// The two sides of a transfer, which different rules may permit.
bool permitsReading( const PolicyRule&, const Transfer& );
bool permitsWriting( const PolicyRule&, const Transfer& );

// What the rule permits on `name`: `rule "x" lets scd0<0x48> be read only`. For a transfer that it
// does not permit.
std::string whyRefused( const PolicyRule&, const Transfer&, const std::string& name );

}  // namespace SmbusService
