#pragma once

// Assertions for broken invariants, active in every build type: the condition, the function and the
// source file go to stderr, then the process aborts. Macros in the condition are expanded in the
// printed text.

namespace Utils {

[[noreturn]] void assertionFailed( const char* condition,
                                   const char* function,
                                   const char* file,
                                   unsigned line );

}  // namespace Utils

#define LUMEN_ASSERT( ... ) LUMEN_ASSERT_EXPANDED( __VA_ARGS__ )
#define LUMEN_ASSERT_EXPANDED( ... ) LUMEN_ASSERT_TEXT( ( __VA_ARGS__ ), #__VA_ARGS__ )

// For a printed text that differs from the code's.
#define LUMEN_ASSERT_TEXT( condition, text ) \
   ( ( condition ) ? ( void )0               \
                   : ::Utils::assertionFailed( text, __PRETTY_FUNCTION__, __FILE__, __LINE__ ) )
