#pragma once

#include <string>
#include <string_view>

namespace PlatformLibrary {

// What comes through the pipe of a trial: records of the platform's between two zero bytes, and
// between records whatever the child prints on stderr.
class TrialOutput {
 public:
   // In the child.
   static void sendTrace( int pipe, int level, const char* text );
   static void sendResult( int pipe, int result );

   // In the parent: traces each line when it is complete.
   void take( std::string_view bytes );

   // What was left without an end.
   void finish();

   const int* result() const { return hasResult_ ? &result_ : nullptr; }

 private:
   void end();

   std::string line_;
   bool isRecord_ = false;
   bool hasResult_ = false;
   int result_ = 0;
};

}  // namespace PlatformLibrary
