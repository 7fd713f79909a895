#pragma once

#include <stdexcept>

namespace Host {

// What the user asked for cannot be done: a name, a value, a file or a service. The text is for the
// user.
class UseError : public std::runtime_error {
   using std::runtime_error::runtime_error;
};

}  // namespace Host
