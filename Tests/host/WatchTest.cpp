#include <gmock/gmock.h>

#include <algorithm>
#include <cstdlib>

#include "Host/Watch/WatchView.h"
#include "Utils/Text.h"

using testing::Each;
using testing::ElementsAre;
using testing::ElementsAreArray;
using testing::ResultOf;

namespace Host {
namespace {

using std::chrono::seconds;

const WallClock::time_point kNoon( seconds( 12 * 3600 ) );

std::string textOf( const Line& line ) {
   std::string text;
   for ( const Span& span : line ) {
      text += span.text;
   }
   return text.substr( 0, text.find_last_not_of( ' ' ) + 1 );
}

Key keyOf( char c ) {
   const std::pair< char, Key::Name > named[] = {
      { '\x1b', Key::Escape }, { '\n', Key::Enter }, { '\x7f', Key::Erase },
      { 'N', Key::PageDown },  { 'E', Key::End },
   };
   auto name = std::ranges::find( named, c, &std::pair< char, Key::Name >::first );
   return name == std::end( named ) ? Key{ Key::Character, { c } } : Key{ name->second };
}

struct WatchTest : testing::Test {
   WatchTest() {
      setenv( "TZ", "UTC", 1 );
      tzset();
   }

   void press( const std::string& keys ) {
      for ( char c : keys ) {
         EXPECT_TRUE( controls.press( keyOf( c ), model ) );
      }
   }

   std::vector< std::string > draw( size_t lines, size_t columns ) {
      std::vector< std::string > text;
      std::ranges::transform( view.draw( model, controls, { lines, columns }, kNoon ),
                              std::back_inserter( text ), textOf );
      return text;
   }

   // The first words below the summary, on the smallest screen.
   std::vector< std::string > names() {
      std::vector< std::string > found;
      for ( const std::string& line : draw( 5, 20 ) ) {
         found.push_back( line.substr( 0, line.find( ' ' ) ) );
      }
      found.erase( found.begin(), found.begin() + 2 );
      std::erase_if( found, []( const auto& name ) { return name.empty() || name[ 0 ] == '/'; } );
      return found;
   }

   const std::vector< ObjectSpec > objects = {
      { Kind::TempSensor, "inlet", "" }, { Kind::Fan, "fan10", "" }, { Kind::Fan, "Fan2", "" },
      { Kind::Led, "lamp", "" },         { Kind::Psu, "psu1", "" },
   };
   std::vector< Observation > latest = {
      { &objects[ 0 ], State::Ok, "", 20.5 },
      { &objects[ 1 ], State::Alert, "", 900 },
      { &objects[ 2 ], State::Absent },
      { &objects[ 3 ], State::Ok, "", {}, "Good" },
      { &objects[ 4 ], State::Failed, "no acknowledge from the chip\x1b[2J at psu" },
   };
   WatchModel model{ { { &objects[ 0 ], State::Pending },
                       { &objects[ 1 ], State::Pending },
                       { &objects[ 2 ], State::Pending },
                       { &objects[ 3 ], State::Pending },
                       { &objects[ 4 ], State::Pending } } };
   Controls controls;
   WatchView view{ { "a/board", 0.5, true }, model };
};

TEST_F( WatchTest, ShowsTheWorstFirstWithRangesAndChanges ) {
   EXPECT_THAT( draw( 3, 30 ), ElementsAre( "a/board   simulation  12:00:00", "5 pending",
                                            "inlet         - C    pending" ) );
   EXPECT_TRUE( model.update( latest, kNoon ) );
   EXPECT_FALSE( model.update( latest, kNoon ) );
   for ( double celsius : { -7.25, 21.0 } ) {
      latest[ 0 ].reading = celsius;
      model.update( latest, kNoon );
   }
   latest[ 1 ].state = State::Ok;
   model.update( latest, kNoon + seconds( 61 ) );
   EXPECT_THAT(
      draw( 10, 70 ),
      ElementsAre( "a/board                              every 0.5 s  simulation  12:00:00",
                   "1 failed, 1 absent, 3 ok", "object  reading       lowest  highest  state",
                   "psu1       -                           failed: no acknowledge from th\u2026",
                   "Fan2       -    rpm                    absent",
                   "inlet     21    C      -7.25    21     ok",
                   "fan10    900    rpm   900      900     ok",
                   "lamp    Good                           ok", "12:01:01 fan10 alert -> ok",
                   "q quit  / filter  s sort  arrows scroll  ? keys" ) );
}

TEST_F( WatchTest, SortsFiltersAndScrollsByKeys ) {
   model.update( latest, kNoon );
   const std::pair< const char*, std::vector< std::string > > rows[] = {
      { "", { "psu1", "fan10", "Fan2" } },
      { "jj", { "Fan2", "inlet", "lamp" } },
      { "sk", { "fan10", "inlet", "lamp" } },
      { "s", { "inlet", "fan10", "Fan2" } },
      { "sE", { "Fan2", "lamp", "psu1" } },
      { "s/fAn", { "fan10", "Fan2" } },
      { "1", { "fan10" } },
      { "\x7f\x7f", { "fan10", "Fan2" } },
      { "\x1bN", { "Fan2", "inlet", "lamp" } },
      { "h", { "Esc", "s" } },
      { "q/?a?*\n", { "fan10", "Fan2", "lamp" } },
   };
   for ( const auto& [ keys, expected ] : rows ) {
      press( keys );
      EXPECT_THAT( names(), ElementsAreArray( expected ) ) << keys;
   }
   EXPECT_FALSE( controls.press( keyOf( 'q' ), model ) );
}

TEST_F( WatchTest, TellsOneCauseOnceAndNoChangeTwice ) {
   model.update( latest, kNoon );
   const struct {
      size_t object;
      State state;
      const char* reason;
      int second;
   } rows[] = {
      { 0, State::Failed, "x", 0 }, { 1, State::Failed, "x", 2 }, { 0, State::Ok, "", 2 },
      { 0, State::Failed, "x", 3 }, { 3, State::Failed, "x", 3 }, { 1, State::Failed, "y", 3 },
      { 2, State::Failed, "x", 9 },
   };
   for ( const auto& row : rows ) {
      latest[ row.object ] = { &objects[ row.object ], row.state, row.reason };
      model.update( latest, kNoon + seconds( row.second ) );
   }
   std::vector< std::string > told;
   std::ranges::transform( model.changes(), std::back_inserter( told ), &Change::text );
   EXPECT_THAT(
      told, ElementsAre( "12:00:00 2 objects failed: x", "12:00:02 inlet failed -> ok",
                         "12:00:03 2 objects failed: x", "12:00:09 Fan2 absent -> failed: x" ) );
}

TEST_F( WatchTest, FitsAScreenOfAnySize ) {
   model.update( latest, kNoon );
   for ( const char* keys : { "", "/", "\nh" } ) {
      press( keys );
      for ( size_t lines = 1; lines < 12; ++lines ) {
         for ( size_t columns = 1; columns < 90; columns += 4 ) {
            auto shown = draw( lines, columns );
            EXPECT_LE( shown.size(), lines );
            EXPECT_THAT( shown, Each( ResultOf( Utils::columns, testing::Le( columns ) ) ) );
         }
      }
   }
   EXPECT_EQ( fitted( "w\u00e4rme\x07-s\u00fcd", 7 ), "w\u00e4rme \u2026" );
   EXPECT_EQ( fitted( "\u00fc", 3, Align::Right ), "  \u00fc" );
}

}  // namespace
}  // namespace Host
