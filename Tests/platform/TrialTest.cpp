#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <filesystem>
#include <stdexcept>

#include "Tests/support/TraceLog.h"
#include "pl.h"
#include "pl_host.h"

namespace {

size_t openDescriptors() {
   using Iterator = std::filesystem::directory_iterator;
   return static_cast< size_t >( std::distance( Iterator( "/proc/self/fd" ), Iterator() ) );
}

int hangWithAChild( void* ) {
   fputs( "hangs", stderr );
   fork();
   return pause();
}

TEST( TrialTest, TellsHowItEndedAndLeavesNothing ) {
   const struct {
      int ( *attempt )( void* );
      int timeoutMs;
      pl_trial trial;
      std::vector< std::string > lines;
   } rows[] = {
      { []( void* user ) { return ++*static_cast< int* >( user ) << 9; },
        -1,
        { PL_TRIAL_RETURNED, 8 << 9, 0 },
        {} },
      { []( void* ) -> int {
          fputs( "a\nb", stderr );
          pl_trace( 5, "two\nlines" );
          fputs( "c\n\n", stderr );
          exit( 3 );
       },
        60'000,
        { PL_TRIAL_EXITED, 3, 0 },
        { "0 a", "0 b", "5 two\nlines", "0 c", "0 " } },
      { []( void* ) -> int {
          fputs( "Assertion `chip' failed.", stderr );
          abort();
       },
        60'000,
        { PL_TRIAL_KILLED, 0, SIGABRT },
        { "0 Assertion `chip' failed." } },
      { []( void* ) -> int { throw std::runtime_error( "a dead chip" ); },
        60'000,
        { PL_TRIAL_KILLED, 0, SIGABRT },
        { "0 terminate called after throwing an instance of 'std::runtime_error'",
          "0   what():  a dead chip" } },
      { hangWithAChild, 300, { PL_TRIAL_TIMED_OUT, 0, 0 }, { "0 hangs" } },
      { []( void* ) { return fork() ? 0 : pause(); }, 60'000, { PL_TRIAL_RETURNED, 0, 0 }, {} },
   };
   for ( const auto& row : rows ) {
      int held[ 2 ];  // by the child and its children, while they live
      ASSERT_EQ( pipe( held ), 0 );
      size_t before = openDescriptors();
      Tests::TraceLog traces;
      pl_trial trial{};
      int seven = 7;
      ASSERT_EQ( pl_try( row.attempt, &seven, row.timeoutMs, &trial ), 0 );
      EXPECT_THAT(
         std::tuple( trial.ended, trial.status, trial.signal ),
         testing::Eq( std::tuple( row.trial.ended, row.trial.status, row.trial.signal ) ) );
      EXPECT_EQ( traces.lines, row.lines );
      EXPECT_EQ( seven, 7 );
      EXPECT_EQ( openDescriptors(), before );
      EXPECT_EQ( waitpid( -1, nullptr, WNOHANG ), -1 ) << "a zombie";
      close( held[ 1 ] );
      char byte;
      EXPECT_EQ( read( held[ 0 ], &byte, 1 ), 0 ) << "ends when all that held it have";
      close( held[ 0 ] );
   }
}

TEST( TrialTest, SaysWhenItCannotTell ) {
   pl_trial trial{};
   EXPECT_TRUE( pl_try( nullptr, nullptr, 0, &trial ) == -1 && errno == EINVAL );
   signal( SIGCHLD, SIG_IGN );
   auto vanish = []( void* ) -> int { _exit( 0 ); };
   EXPECT_TRUE( pl_try( vanish, nullptr, 60'000, &trial ) == -1 && errno == ECHILD );
   signal( SIGCHLD, SIG_DFL );
}

}  // namespace
