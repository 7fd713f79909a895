#pragma once

#include "Ham/ServiceSocket.h"
#include "pl.h"

// What every init entry point does: connects to the service, unless the process is connected, with
// `tries` attempts a second apart, then loads the topology.
[[nodiscard]] pl_status lumenLibraryInit( const char* name, const char* json, int tries );

// PL_STATUS_OK, or PL_STATUS_IO_ERROR when no attempt succeeded.
[[nodiscard]] pl_status plSockInit( const char* name, int tries );

// Attempts that every init entry point makes.
constexpr int kInitTries = 30;
