#include "Host/Session/Reason.h"

#include <fmt/format.h>
#include <sys/wait.h>

#include <algorithm>
#include <cstring>

namespace Host {

namespace {

using std::string_view;

// How the library announces that a request failed; what follows says why, which is about the
// service itself where it gave no answer.
struct Announcement {
   string_view prefix;
   string_view subject;
};
constexpr Announcement kRequestFailures[] = {
   { "execute: failure in response ", "" },
   { "execute: error. ", "SMBus service: " },
   { "execute: ", "SMBus service: " },
};

constexpr string_view kFailureWords[] = {
   "fail",        "Fail",     "error",     "Error",         "not found", "ould not", "Couldn't",
   "null object", "mismatch", "not exist", "not supported", "nknown",    "invalid",
};

bool contains( string_view text, string_view part ) {
   return text.find( part ) != string_view::npos;
}

bool tellsFailure( const TraceLine& line ) {
   // The announcement of a device's arguments may contain any word.
   return !line.text.starts_with( "parsing devArgs" ) &&
          std::ranges::any_of( kFailureWords,
                               [ & ]( string_view word ) { return contains( line.text, word ); } );
}

// The last request that failed.
std::string requestFailure( const Traces& traces ) {
   for ( auto line = traces.rbegin(); line != traces.rend(); ++line ) {
      for ( const Announcement& announced : kRequestFailures ) {
         if ( line->text.starts_with( announced.prefix ) && tellsFailure( *line ) ) {
            return std::string( announced.subject ) + line->text.substr( announced.prefix.size() );
         }
      }
   }
   return {};
}

// The first failure that was traced as such: later ones follow from it.
string_view firstFailure( const Traces& traces ) {
   auto line = std::ranges::find_if( traces, [ & ]( const TraceLine& candidate ) {
      return candidate.level <= 0 && tellsFailure( candidate );
   } );
   return line == traces.end() ? string_view() : string_view( line->text );
}

string_view lastLine( string_view text ) {
   while ( text.ends_with( '\n' ) ) {
      text.remove_suffix( 1 );
   }
   return text.substr( text.rfind( '\n' ) + 1 );
}

string_view lineWith( string_view text, string_view part ) {
   size_t position = text.find( part );
   if ( position == string_view::npos ) {
      return {};
   }
   text = text.substr( text.rfind( '\n', position ) + 1 );
   return text.substr( 0, text.find( '\n' ) );
}

// Of what the process printed, the line that tells most.
string_view lastWords( string_view errorOutput ) {
   for ( string_view part : { "Assertion `", "AddressSanitizer: ", "runtime error: " } ) {
      if ( string_view line = lineWith( errorOutput, part ); !line.empty() ) {
         return line;
      }
   }
   return lastLine( errorOutput );
}

std::string ending( int waitStatus ) {
   if ( WIFSIGNALED( waitStatus ) ) {
      int signal = WTERMSIG( waitStatus );
      return fmt::format( "killed by signal {} ({})", signal, strsignal( signal ) );
   }
   return fmt::format( "ended with exit status {}", WEXITSTATUS( waitStatus ) );
}

const char* statusText( pl_status status ) {
   switch ( status ) {
      case PL_STATUS_ABSENT:
         return "not there";
      case PL_STATUS_DEVICE_ERROR:
         return "the device reports an error";
      case PL_STATUS_UNSUPPORTED:
         return "not supported";
      case PL_STATUS_IO_ERROR:
         return "I/O error";
      case PL_STATUS_FAILURE:
         return "service failure";
      default:
         return nullptr;
   }
}

std::string join( string_view first, string_view second, string_view separator ) {
   std::string text( first );
   if ( !first.empty() && !second.empty() ) {
      text += separator;
   }
   return text.append( second );
}

}  // namespace

std::string whyNotAdded( const Traces& traces ) {
   std::string reason = join( requestFailure( traces ), firstFailure( traces ), "; " );
   return reason.empty() ? "the library made no object of it" : reason;
}

std::string whyNotRead( pl_status status, const Traces& traces ) {
   const char* known = statusText( status );
   std::string what = known ? known : fmt::format( "status {}", status );
   std::string request = requestFailure( traces );
   return join( what, request.empty() ? firstFailure( traces ) : request, ": " );
}

std::string whyDied( int waitStatus, std::string_view errorOutput, const Traces& traces ) {
   string_view words = lastWords( errorOutput );
   return join( requestFailure( traces ), words.empty() ? ending( waitStatus ) : words, "; " );
}

std::string whyHung( std::chrono::milliseconds limit, const Traces& traces ) {
   double seconds = static_cast< double >( limit.count() ) / 1000;
   return join( requestFailure( traces ), fmt::format( "no answer within {} s", seconds ), "; " );
}

}  // namespace Host
