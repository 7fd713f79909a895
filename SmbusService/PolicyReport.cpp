#include "SmbusService/PolicyReport.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <algorithm>
#include <stdexcept>

#include "BoardFiles/Accounts.h"
#include "BoardFiles/NumberRange.h"

namespace SmbusService {

namespace {

using BoardFiles::PolicyRule;

// Somebody who is none of the users, where none is asked about.
Peer peerOf( const PolicyQuestion& question ) {
   Peer peer{ .uid = static_cast< uid_t >( -1 ) };
   if ( question.user ) {
      peer.uid = BoardFiles::userOf( *question.user );
      peer.groups = BoardFiles::groupsOf( BoardFiles::nameOfUser( peer.uid ) );
   }
   for ( const std::string& group : question.groups ) {
      peer.groups.push_back( BoardFiles::groupOf( group ) );
   }
   return peer;
}

std::string nameOf( const PolicyQuestion& question, const Peer& peer ) {
   std::vector< std::string > groups;
   for ( gid_t group : peer.groups ) {
      groups.push_back( BoardFiles::nameOfGroup( group ) );
   }
   std::string text = fmt::format( "groups {}", fmt::join( groups, ", " ) );
   if ( !question.user ) {
      return text;
   }
   std::string user = "user " + BoardFiles::nameOfUser( peer.uid );
   return groups.empty() ? user : fmt::format( "{} ({})", user, text );
}

std::optional< uint32_t > didOf( const PolicyQuestion& question,
                                 const BoardFiles::Wiring& wiring ) {
   if ( !question.device ) {
      return std::nullopt;
   }
   auto label = wiring.labels.find( *question.device );
   auto did =
      label == wiring.labels.end() ? BoardFiles::numberIn( *question.device ) : label->second;
   std::string problem = did ? wiring.whyOutOfReach( *did )
                             : fmt::format( "no device has the label \"{}\"", *question.device );
   if ( !problem.empty() ) {
      throw std::runtime_error( problem );
   }
   return did;
}

std::string scopeOf( const PolicyRule& rule ) {
   std::string scope = rule.registers.empty() ? "yes" : "registers " + textOf( rule.registers );
   return fmt::format( "{}, by rule \"{}\"", scope, rule.name );
}

std::string wordsFor( const PolicyMap::Rules& rules, bool PolicyRule::*side, const char* other ) {
   std::vector< std::string > scopes;
   for ( const PolicyRule* rule : rules ) {
      if ( rule->*side ) {
         scopes.push_back( scopeOf( *rule ) );
      }
   }
   if ( !scopes.empty() ) {
      return fmt::format( "{}", fmt::join( scopes, " and " ) );
   }
   return rules.empty()
             ? "no, no rule lists it"
             : fmt::format( "no, rule \"{}\" is for {} only", rules.front()->name, other );
}

std::string wordsFor( const Policy::Permission& permission ) {
   std::string text =
      fmt::format( "{} 0x{:02x}: read {}; write {}", permission.target.name, permission.address,
                   wordsFor( permission.rules, &PolicyRule::reads, "writing" ),
                   wordsFor( permission.rules, &PolicyRule::writes, "reading" ) );
   if ( permission.target.mux != BusTree::kNone ) {
      text += permission.channels.empty()
                 ? "; may select no channel"
                 : fmt::format( "; may select channel {}", fmt::join( permission.channels, ", " ) );
   }
   return text;
}

}  // namespace

std::string reportOn( const Policy& policy,
                      const BoardFiles::Wiring& wiring,
                      const PolicyQuestion& question ) {
   Peer peer = peerOf( question );
   std::string name = nameOf( question, peer );
   auto did = didOf( question, wiring );
   std::string report;
   policy.forEachDevice( peer, [ & ]( const Policy::Permission& permission ) {
      if ( !did || *did == permission.target.did ) {
         report += fmt::format( "{}: {}\n", name, wordsFor( permission ) );
      }
   } );
   return report;
}

}  // namespace SmbusService
