#include "SmbusService/PolicyRules.h"

#include <fmt/format.h>

#include <algorithm>

namespace SmbusService {

namespace {

using BoardFiles::NumberRange;

// Registers that a transfer reaches at most on a chip that counts on by itself.
uint64_t registersOf( const Transfer& transfer ) {
   constexpr uint64_t kCount = 1;  // that of a block, which another chip takes for a byte of data
   switch ( transfer.type ) {
      case Smbus::REQUEST_BLOCK_READ:
         return kCount + kMaxBlockSize;
      case Smbus::REQUEST_BLOCK_WRITE:
         return kCount + transfer.size;
      case Smbus::REQUEST_PROCESS_CALL:
         return uint64_t{ 2 } * transfer.size;  // it reads behind what it wrote
      default:
         return std::max( transfer.size, 1u );
   }
}

bool isWider( const PolicyRule& rule, const Transfer& transfer ) {
   return !transfer.isReceiveByte() && !transfer.isSendByte() &&
          transfer.address.registerSize > rule.registerSize;
}

bool hasSizeOf( const PolicyRule& rule, const Transfer& transfer ) {
   return rule.registerSize == ( transfer.isSendByte() ? 1 : transfer.address.registerSize );
}

bool isWithin( const PolicyRule& rule, const Transfer& transfer ) {
   if ( rule.registers.empty() ) {
      return true;
   }
   // A byte that is received comes from where some earlier transfer has left the chip.
   if ( transfer.isReceiveByte() || !hasSizeOf( rule, transfer ) ) {
      return false;
   }
   // Behind the last register a chip begins anew with the first one.
   NumberRange all{ 0, UINT32_MAX >> 8 * ( sizeof( uint32_t ) - rule.registerSize ) };
   return rule.registers.front() == all ||
          std::ranges::any_of( rule.registers, [ & ]( const NumberRange& range ) {
             return transfer.reg >= range.first &&
                    transfer.reg + registersOf( transfer ) - 1 <= range.last;
          } );
}

}  // namespace

bool isFor( const PolicyRule& rule, const Peer& peer ) {
   return rule.isForAll || rule.users.contains( peer.uid ) ||
          std::ranges::any_of( peer.groups,
                               [ & ]( gid_t group ) { return rule.groups.contains( group ); } );
}

bool permitsReading( const PolicyRule& rule, const Transfer& transfer ) {
   return rule.reads && ( rule.writes || !isWider( rule, transfer ) ) && isWithin( rule, transfer );
}

bool permitsWriting( const PolicyRule& rule, const Transfer& transfer ) {
   return rule.writes && isWithin( rule, transfer );
}

std::string whyRefused( const PolicyRule& rule,
                        const Transfer& transfer,
                        const std::string& name ) {
   std::string text = fmt::format( "rule \"{}\" lets {} be ", rule.name, name );
   if ( transfer.writes() && !rule.writes ) {
      return text + "read only";
   }
   if ( transfer.reads() && !rule.reads ) {
      return text + "written only";
   }
   if ( !rule.registers.empty() && ( transfer.isReceiveByte() || hasSizeOf( rule, transfer ) ) ) {
      return text + "used at registers " + BoardFiles::textOf( rule.registers ) + " only";
   }
   return text + fmt::format( "used with register numbers of {} byte{} only", rule.registerSize,
                              rule.registerSize == 1 ? "" : "s" );
}

}  // namespace SmbusService
