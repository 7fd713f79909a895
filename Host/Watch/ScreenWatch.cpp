#include "Host/Watch/ScreenWatch.h"

#include <poll.h>
#include <sys/epoll.h>
#include <sys/prctl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <system_error>
#include <utility>

namespace Host {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kBetweenUpdates( 50 );
constexpr milliseconds kLongestWait = std::chrono::hours( 1 );

// The one that ends a program, or 0.
int endIn( const Signals::Set& signals ) {
   for ( int number : { SIGHUP, SIGINT, SIGQUIT, SIGTERM } ) {
      if ( signals[ static_cast< size_t >( number ) ] ) {
         return number;
      }
   }
   return 0;
}

void watchInput( int events, int descriptor ) {
   epoll_event event{};
   event.events = EPOLLIN;
   if ( epoll_ctl( events, EPOLL_CTL_ADD, descriptor, &event ) < 0 ) {
      throw std::system_error( errno, std::generic_category(), "epoll_ctl" );
   }
}

}  // namespace

Signals ScreenWatch::signals() {
   return Signals( { SIGHUP, SIGINT, SIGQUIT, SIGTERM, SIGTSTP, SIGCONT, SIGWINCH },
                   Terminal::giveBack );
}

ScreenWatch::ScreenWatch( Session& session, Signals& signals, WatchHeading heading, unsigned count )
    : session_( session ),
      signals_( signals ),
      count_( count ),
      interval_( heading.interval ),
      model_( session.latest() ),
      view_( std::move( heading ), model_ ),
      events_( epoll_create1( EPOLL_CLOEXEC ) ) {
   watchInput( events_, signals_.descriptor() );
   watchInput( events_, STDIN_FILENO );
}

ScreenWatch::~ScreenWatch() {
   close( events_ );
}

int ScreenWatch::run() {
   // Without whoever started it, the terminal is somebody else's.
   prctl( PR_SET_PDEATHSIG, SIGHUP );
   show( true );
   while ( count_ == 0 || sweeps_ < count_ ) {
      awaitSomething();
      bool isTouched = hasEvents() || screen_.isLeft();
      if ( isTouched ) {
         if ( int end = takeSignals() ) {
            return end;
         }
         if ( !takeKeys() ) {
            return 0;
         }
      }
      show( isTouched );
   }
   return 0;
}

void ScreenWatch::awaitSomething() {
   if ( Clock::now() >= nextSweep_ && mayBegin() ) {
      session_.begin();
      nextSweep_ = Clock::now() + duration_cast< Clock::duration >( interval_ );
   }
   bool wasBusy = session_.isBusy();
   session_.await( patience(), descriptor() );
   hasNews_ = hasNews_ || wasBusy;
   sweeps_ += wasBusy && !session_.isBusy();
}

// Until there is something to do here.
milliseconds ScreenWatch::patience() const {
   auto wait = mayBegin() ? nextSweep_ - Clock::now() : Clock::duration( kLongestWait );
   if ( hasNews_ ) {
      wait = std::min( wait, lastUpdate_ + kBetweenUpdates - Clock::now() );
   }
   return std::chrono::ceil< milliseconds >(
      std::clamp< Clock::duration >( wait, {}, kLongestWait ) );
}

// In the background, keys are somebody else's.
int ScreenWatch::descriptor() const {
   return screen_.isLeft() ? signals_.descriptor() : events_;
}

bool ScreenWatch::hasEvents() const {
   pollfd input{ descriptor(), POLLIN, 0 };
   return poll( &input, 1, 0 ) > 0;
}

// Returns the one that is to end the watch, or 0.
int ScreenWatch::takeSignals() {
   Signals::Set came = signals_.take();
   auto isToStop = [ & ] {
      return came[ SIGTSTP ] || ( came[ SIGCONT ] && !Terminal::isForeground() );
   };
   while ( !endIn( came ) && !Terminal::isGone() && isToStop() ) {
      screen_.leave();
      signals_.obey( SIGTSTP );
      came = signals_.take();
   }
   if ( int end = endIn( came ) ) {
      return end;
   }
   if ( came[ SIGCONT ] ) {
      screen_.leave();  // whatever it shows is not ours
   }
   if ( screen_.isLeft() ? Terminal::isForeground() : came[ SIGWINCH ] ) {
      screen_.show();
   }
   return 0;
}

// False when the watch is to end.
bool ScreenWatch::takeKeys() {
   if ( Terminal::isGone() ) {
      return false;
   }
   if ( screen_.isLeft() ) {
      return true;
   }
   while ( auto key = screen_.key() ) {
      if ( !controls_.press( *key, model_ ) ) {
         return false;
      }
   }
   return true;
}

// What is new; at once when it is urgent, and else not too often.
void ScreenWatch::show( bool isUrgent ) {
   bool isDue = hasNews_ && Clock::now() - lastUpdate_ >= kBetweenUpdates;
   bool isNew = false;
   if ( isDue ) {
      lastUpdate_ = Clock::now();
      readAt_ = WallClock::now();
      isNew = model_.update( session_.latest(), readAt_ ) || !session_.isBusy();
      hasNews_ = false;
   }
   if ( isUrgent || isNew ) {
      screen_.draw( view_.draw( model_, controls_, screen_.size(), readAt_ ) );
   }
}

}  // namespace Host
