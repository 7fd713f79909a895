#pragma once

#include <exception>
#include <string>

// Thrown by operations that a driver or a HAM does not have. Hosts may catch it, so its type is
// visible outside the library.
class __attribute__( ( visibility( "default" ) ) ) NotImplementedException : public std::exception {
 public:
   explicit NotImplementedException( const std::string& operation )
       : message_( "Not implemented " + operation ) {}

   const char* what() const noexcept override { return message_.c_str(); }

 private:
   std::string message_;
};
