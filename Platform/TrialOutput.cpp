#include "Platform/TrialOutput.h"

#include <unistd.h>

#include <cerrno>
#include <charconv>

#include "pl.h"

namespace PlatformLibrary {

namespace {

constexpr char kEdge = '\0';  // of a record
constexpr char kTrace = 'T';
constexpr char kResult = 'R';
constexpr size_t kLongestLine = 64 * 1024;  // of what is printed on stderr

void send( int pipe, char type, int number, std::string_view text ) {
   std::string record{ kEdge, type };
   record += std::to_string( number ) + " ";
   record += text;
   record += kEdge;
   for ( size_t sent = 0; sent < record.size(); ) {
      ssize_t count =
         TEMP_FAILURE_RETRY( write( pipe, record.data() + sent, record.size() - sent ) );
      if ( count < 0 ) {
         return;
      }
      sent += static_cast< size_t >( count );
   }
}

}  // namespace

void TrialOutput::sendTrace( int pipe, int level, const char* text ) {
   send( pipe, kTrace, level, text );
}

void TrialOutput::sendResult( int pipe, int result ) {
   send( pipe, kResult, result, "" );
}

void TrialOutput::take( std::string_view bytes ) {
   for ( char byte : bytes ) {
      if ( byte == kEdge ) {
         finish();
         isRecord_ = !isRecord_;
      } else if ( byte == '\n' && !isRecord_ ) {
         end();
      } else {
         line_ += byte;
         if ( line_.size() == kLongestLine && !isRecord_ ) {
            end();
         }
      }
   }
}

void TrialOutput::finish() {
   if ( !line_.empty() ) {
      end();
   }
}

void TrialOutput::end() {
   int number = 0;
   const char* text = line_.c_str();
   char type = isRecord_ ? *text++ : '\0';
   if ( isRecord_ ) {
      text = std::from_chars( text, line_.c_str() + line_.size(), number ).ptr;
      text += *text == ' ';
   }
   if ( type == kResult ) {
      hasResult_ = true;
      result_ = number;
   } else {
      pl_trace( number, "%s", text );
   }
   line_.clear();
}

}  // namespace PlatformLibrary
