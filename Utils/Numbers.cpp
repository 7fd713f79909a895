#include "Utils/Numbers.h"

#include <cerrno>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>

namespace Utils {

namespace {

locale_t plainLocale() {
   static locale_t locale = newlocale( LC_ALL_MASK, "C", nullptr );
   return locale;
}

template < typename Convert >
auto convert( const std::string& text, const char* name, Convert strtoNumber ) {
   int savedErrno = errno;
   errno = 0;
   char* end;
   auto value = strtoNumber( text.c_str(), &end );
   bool outOfRange = errno == ERANGE;
   errno = savedErrno;
   if ( end == text.c_str() ) {
      throw std::invalid_argument( name );
   }
   if ( outOfRange ) {
      throw std::out_of_range( name );
   }
   return value;
}

}  // namespace

int stoi( const std::string& text ) {
   auto value = convert( text, "stoi", []( const char* begin, char** end ) {
      return strtoll_l( begin, end, 10, plainLocale() );
   } );
   if ( value < std::numeric_limits< int >::min() || value > std::numeric_limits< int >::max() ) {
      throw std::out_of_range( "stoi" );
   }
   return static_cast< int >( value );
}

unsigned long stoul( const std::string& text ) {
   return convert( text, "stoul", []( const char* begin, char** end ) {
      return strtoul_l( begin, end, 10, plainLocale() );
   } );
}

float stof( const std::string& text ) {
   return convert( text, "stof", []( const char* begin, char** end ) {
      return strtof_l( begin, end, plainLocale() );
   } );
}

double stod( const std::string& text ) {
   return convert( text, "stod", []( const char* begin, char** end ) {
      return strtod_l( begin, end, plainLocale() );
   } );
}

int32_t truncate( double value ) {
   if ( std::isnan( value ) ) {
      return 0;
   }
   if ( value >= std::numeric_limits< int32_t >::max() ) {
      return std::numeric_limits< int32_t >::max();
   }
   if ( value <= std::numeric_limits< int32_t >::min() ) {
      return std::numeric_limits< int32_t >::min();
   }
   return static_cast< int32_t >( value );
}

}  // namespace Utils
