#pragma once

#include <cstdint>
#include <map>
#include <string>

namespace Utils {

// The content that a simulated register starts with: a number or a byte string.
class ExpectedVal {
 public:
   ExpectedVal() = default;
   ExpectedVal( uint32_t value, uint32_t bytes ) : val( value ), size( bytes ) {}
   explicit ExpectedVal( std::string bytes )
       : valStr_( std::move( bytes ) ),
         size( static_cast< uint32_t >( valStr_.size() ) ),
         isNumeric( false ) {}
   virtual ~ExpectedVal() = default;
   ExpectedVal( const ExpectedVal& ) = default;
   ExpectedVal& operator=( const ExpectedVal& ) = default;

   const std::string& valStr() const { return valStr_; }

   uint32_t val = 0;

 private:
   std::string valStr_;

 public:
   uint32_t size = 0;  // of the register, in bytes
   bool isNumeric = true;
};

using ExpectedValues = std::map< uint32_t, ExpectedVal >;  // by register number

}  // namespace Utils
