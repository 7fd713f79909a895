#include "Host/Watch/WatchView.h"

#include <fmt/format.h>

#include <algorithm>
#include <string>
#include <utility>

#include "Host/Output/JsonObject.h"
#include "Utils/Text.h"

namespace Host {

namespace {

// From so many lines on.
constexpr size_t kLinesForSummary = 3;
constexpr size_t kLinesForTitles = 8;
constexpr size_t kLinesForAll = 10;
constexpr size_t kLinesForEachChange = 5;

constexpr const char* kBetweenParts = "  ";
constexpr const char* kSimulation = "  simulation";
constexpr size_t kLeastBoard = 8;  // of its name that must stay

// Whole spans, the last one cut.
void addFitting( Line& line, size_t& left, Span span ) {
   size_t width = std::min( left, Utils::columns( Utils::printable( span.text ) ) );
   span.text = fitted( span.text, width );
   left -= width;
   line.push_back( std::move( span ) );
}

void addChanges( Frame& frame, const WatchModel& model, size_t lines, size_t columns ) {
   const auto& changes = model.changes();
   for ( size_t i = changes.size() - lines; i < changes.size(); ++i ) {
      const Change& change = changes[ i ];
      frame.push_back( { stateSpan( change.state, fitted( change.text(), columns ) ) } );
   }
}

void addHelp( Frame& frame, size_t lines, size_t columns ) {
   for ( const std::string& line : Controls::help() ) {
      if ( frame.size() < lines ) {
         frame.push_back( { { fitted( line, columns ) } } );
      }
   }
}

}  // namespace

Frame WatchView::draw( WatchModel& model,
                       const Controls& controls,
                       FrameSize size,
                       WallClock::time_point now ) {
   Frame frame{ header( size.columns, now ) };
   if ( controls.mode() == Controls::Mode::Help ) {
      addHelp( frame, size.lines, size.columns );
      return frame;
   }
   if ( size.lines >= kLinesForSummary ) {
      frame.push_back( summary( model, size.columns ) );
   }
   bool hasAll = size.lines >= kLinesForAll;
   bool hasTitles = size.lines >= kLinesForTitles;
   size_t footers = hasAll || controls.mode() == Controls::Mode::Filter;
   size_t changes =
      hasAll ? std::min( model.changes().size(), size.lines / kLinesForEachChange ) : 0;
   size_t taken = frame.size() + hasTitles + changes + footers;
   model.heightIs( size.lines - std::min( taken, size.lines ) );
   Frame table = table_.draw( model, size.columns );
   frame.insert( frame.end(), table.begin() + !hasTitles, table.end() );
   frame.resize( std::max( frame.size(), size.lines - changes - footers ) );
   addChanges( frame, model, changes, size.columns );
   if ( footers ) {
      frame.push_back( footer( model, controls, size.columns ) );
   }
   frame.resize( size.lines );
   return frame;
}

// The time goes first where there is no room for all, then the interval, then the board.
Line WatchView::header( size_t columns, WallClock::time_point now ) const {
   std::string right = heading_.isSimulation ? kSimulation : "";
   std::string time = kBetweenParts + clockTime( now );
   std::string interval =
      fmt::format( "{}every {} s", kBetweenParts, numberText( heading_.interval ) );
   size_t board = Utils::columns( Utils::printable( heading_.board ) );
   if ( std::min( board, kLeastBoard ) + right.size() + time.size() <= columns ) {
      right += time;
   }
   if ( board + interval.size() + right.size() <= columns ) {
      right.insert( 0, interval );
   }
   right.resize( std::min( right.size(), columns ) );
   return {
      { fitted( heading_.board, columns - right.size() ) + right, Colour::None, Weight::Reverse } };
}

Line WatchView::summary( const WatchModel& model, size_t columns ) const {
   Line line;
   size_t left = columns;
   for ( State state : kStatesByUrgency ) {
      if ( size_t count = model.count( state ) ) {
         std::string text =
            fmt::format( "{}{} {}", line.empty() ? "" : ", ", count, stateName( state ) );
         addFitting( line, left, stateSpan( state, text ) );
      }
   }
   if ( !model.filter().empty() ) {
      addFitting(
         line, left,
         { fmt::format( "{}filter {}: {} shown", kBetweenParts, model.filter(), model.size() ) } );
   }
   if ( model.order() != Order::State ) {
      addFitting( line, left,
                  { fmt::format( "{}sorted by {}", kBetweenParts,
                                 kOrderNames[ static_cast< size_t >( model.order() ) ] ) } );
   }
   return line;
}

Line WatchView::footer( const WatchModel& model, const Controls& controls, size_t columns ) const {
   if ( controls.mode() == Controls::Mode::Filter ) {
      return { { fitted( "/" + model.filter() + "_", columns ), Colour::None, Weight::Bold } };
   }
   size_t last = std::min( model.top() + model.height(), model.size() );
   std::string rows =
      model.size() > model.height()
         ? fmt::format( "rows {} to {} of {}  ", model.top() + 1, last, model.size() )
         : "";
   return { { fitted( rows + "q quit  / filter  s sort  arrows scroll  ? keys", columns ),
              Colour::Dim } };
}

}  // namespace Host
