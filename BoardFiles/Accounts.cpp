#include "BoardFiles/Accounts.h"

#include <fmt/format.h>
#include <grp.h>
#include <pwd.h>

#include <cerrno>
#include <stdexcept>

#include "BoardFiles/NumberRange.h"

namespace BoardFiles {

namespace {

constexpr size_t kUsualSize = 1024;
constexpr size_t kMostSize = 1 << 24;

// Calls one of the reentrant lookups, getpwnam_r and its kin, with as much room as it asks for.
template < typename Entry, typename Key, typename Read >
auto look( int ( *lookUp )( Key, Entry*, char*, size_t, Entry** ), Key key, Read read )
   -> std::optional< decltype( read( Entry{} ) ) > {
   Entry entry;
   Entry* found = nullptr;
   std::string room( kUsualSize, '\0' );
   while ( lookUp( key, &entry, room.data(), room.size(), &found ) == ERANGE &&
           room.size() < kMostSize ) {
      room.resize( 2 * room.size() );
   }
   return found ? std::optional( read( *found ) ) : std::nullopt;
}

uint32_t accountOf( std::optional< uint32_t > named, const std::string& text, const char* kind ) {
   auto number = named ? named : numberIn( text );
   if ( !number ) {
      throw std::runtime_error(
         fmt::format( "no {} of this system is called \"{}\"", kind, text ) );
   }
   return *number;
}

}  // namespace

std::optional< uid_t > userNamed( const std::string& name ) {
   return look( getpwnam_r, name.c_str(), []( const passwd& entry ) { return entry.pw_uid; } );
}

std::optional< gid_t > groupNamed( const std::string& name ) {
   return look( getgrnam_r, name.c_str(), []( const group& entry ) { return entry.gr_gid; } );
}

uid_t userOf( const std::string& nameOrNumber ) {
   return accountOf( userNamed( nameOrNumber ), nameOrNumber, "user" );
}

gid_t groupOf( const std::string& nameOrNumber ) {
   return accountOf( groupNamed( nameOrNumber ), nameOrNumber, "group" );
}

std::vector< gid_t > groupsOf( const std::string& user ) {
   auto own = look( getpwnam_r, user.c_str(), []( const passwd& entry ) { return entry.pw_gid; } );
   if ( !own ) {
      return {};
   }
   int count = 1;
   std::vector< gid_t > groups( 1 );
   while ( getgrouplist( user.c_str(), *own, groups.data(), &count ) < 0 ) {
      groups.resize( static_cast< size_t >( count ) );
   }
   groups.resize( static_cast< size_t >( count ) );
   return groups;
}

std::string nameOfUser( uid_t number ) {
   auto name = look( getpwuid_r, number,
                     []( const passwd& entry ) { return std::string( entry.pw_name ); } );
   return name.value_or( std::to_string( number ) );
}

std::string nameOfGroup( gid_t number ) {
   auto name =
      look( getgrgid_r, number, []( const group& entry ) { return std::string( entry.gr_name ); } );
   return name.value_or( std::to_string( number ) );
}

}  // namespace BoardFiles
