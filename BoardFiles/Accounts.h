#pragma once

#include <sys/types.h>

#include <optional>
#include <string>
#include <vector>

namespace BoardFiles {

// The system's users and groups. Nothing where there is none of that name.
std::optional< uid_t > userNamed( const std::string& name );
std::optional< gid_t > groupNamed( const std::string& name );

// By name or number. Throws std::runtime_error where there is none of that name.
uid_t userOf( const std::string& nameOrNumber );
gid_t groupOf( const std::string& nameOrNumber );

// All groups that the user is a member of, the own one among them.
std::vector< gid_t > groupsOf( const std::string& user );

// The name, or the number where there is none.
std::string nameOfUser( uid_t user );
std::string nameOfGroup( gid_t group );

}  // namespace BoardFiles
