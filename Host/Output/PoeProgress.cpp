#include "Host/Output/PoeProgress.h"

#include <fmt/format.h>
#include <unistd.h>

#include <charconv>

#include "Host/Output/Print.h"
#include "Utils/Text.h"

namespace Host {

namespace {

constexpr std::string_view kClearing = "Clearing current image";
constexpr std::string_view kWriting = "Writing firmware";
constexpr std::string_view kLoading = "Loading firmware";
constexpr int kWhole = 100;
constexpr size_t kBarWidth = 30;

}  // namespace

int firmwareProgress( std::string_view line ) {
   if ( line == kClearing || line == kWriting ) {
      return 0;
   }
   if ( line == kLoading ) {
      return kWhole;
   }
   const std::string prefix = std::string( kWriting ) + ": ";
   int percent = -1;
   if ( line.starts_with( prefix ) ) {
      std::from_chars( line.data() + prefix.size(), line.data() + line.size(), percent );
   }
   return percent >= 0 && percent <= kWhole ? percent : -1;
}

PoeProgress::PoeProgress( bool isShown )
    : isShown_( isShown ), isTerminal_( isatty( STDOUT_FILENO ) ) {}

void PoeProgress::hear( const std::string& controller, const std::string& line ) {
   int percent = firmwareProgress( line );
   if ( !isShown_ || percent < 0 ) {
      return;
   }
   if ( isTerminal_ ) {
      if ( controller != shown_ ) {
         end();
      }
      std::string bar( kBarWidth * static_cast< size_t >( percent ) / kWhole, '#' );
      print( fmt::format( "\r{}  [{:.<{}}] {:3} %  {}\x1b[K", Utils::printable( controller ), bar,
                          kBarWidth, percent,
                          Utils::printable( line.substr( 0, line.find( ':' ) ) ) ) );
      shown_ = controller;
   } else {
      print( Utils::printable( controller + ": " + line ) + "\n" );
   }
   flushOutput();
}

void PoeProgress::end() {
   if ( !shown_.empty() ) {
      print( "\n" );
      shown_.clear();
   }
}

}  // namespace Host
