#include "Host/Watch/WatchView.h"

#include <fmt/format.h>

#include <algorithm>
#include <utility>

#include "Host/Output/JsonObject.h"
#include "Host/Output/Report.h"
#include "Utils/Text.h"

namespace Host {

namespace {

constexpr size_t kGap = 2;
constexpr size_t kLeastName = 8;
constexpr size_t kLongestReading = 12;

// So much of the state must stay for a column to be worth its room.
constexpr size_t kLeastState = 8;
constexpr size_t kLeastReason = 24;

// From so many lines on.
constexpr size_t kLinesForSummary = 3;
constexpr size_t kLinesForTitles = 8;
constexpr size_t kLinesForAll = 10;
constexpr size_t kLinesForEachChange = 5;

constexpr std::string_view kSimulation = "simulation";
constexpr std::string_view kNameTitle = "object";
constexpr std::string_view kKindTitle = "kind";
constexpr std::string_view kReadingTitle = "reading";

std::string gap() {
   return std::string( kGap, ' ' );
}

std::string unitOf( const ObjectSpec& object ) {
   return std::string( operations( object.kind ).unit );
}

std::string rangeText( const std::optional< double >& reading ) {
   return reading ? numberText( *reading ) : "";
}

Weight weightOf( State state ) {
   return stateColour( state ) == Colour::Red ? Weight::Bold : Weight::Plain;
}

// Whole spans, the last one cut.
void addFitting( Line& line, size_t& left, Span span ) {
   size_t width = std::min( left, Utils::length( Utils::printable( span.text ) ) );
   span.text = fitted( span.text, width );
   left -= width;
   line.push_back( std::move( span ) );
}

void addChanges( Frame& frame, const WatchModel& model, size_t lines, size_t columns ) {
   const auto& changes = model.changes();
   for ( size_t i = changes.size() - lines; i < changes.size(); ++i ) {
      frame.push_back(
         { { fitted( changes[ i ].text(), columns ), stateColour( changes[ i ].state ) } } );
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

WatchView::WatchView( WatchHeading heading, const WatchModel& model )
    : heading_( std::move( heading ) ),
      longestName_( kNameTitle.size() ),
      longestKind_( kKindTitle.size() ) {
   for ( const WatchRow& row : model.rows() ) {
      const ObjectSpec& object = *row.latest.object;
      longestName_ = std::max( longestName_, Utils::length( Utils::printable( object.name ) ) );
      longestKind_ = std::max( longestKind_, kindName( object.kind ).size() );
      longestUnit_ = std::max( longestUnit_, Utils::length( unitOf( object ) ) );
   }
}

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
   addRows( frame, model, hasTitles, size.columns );
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
   std::string right = heading_.isSimulation ? gap() + std::string( kSimulation ) : "";
   std::string time = gap() + clockTime( now );
   std::string interval = fmt::format( "{}every {} s", gap(), numberText( heading_.interval ) );
   size_t board = Utils::length( Utils::printable( heading_.board ) );
   if ( std::min( board, kLeastName ) + right.size() + time.size() <= columns ) {
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
         addFitting( line, left, { text, stateColour( state ), weightOf( state ) } );
      }
   }
   if ( !model.filter().empty() ) {
      addFitting( line, left,
                  { fmt::format( "{}filter {}: {} shown", gap(), model.filter(), model.size() ) } );
   }
   if ( model.order() != WatchOrder::State ) {
      addFitting( line, left,
                  { fmt::format( "{}sorted by {}", gap(), orderName( model.order() ) ) } );
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

void WatchView::addRows( Frame& frame, const WatchModel& model, bool hasTitles, size_t columns ) {
   std::vector< Readings > readings;
   size_t end = std::min( model.top() + model.height(), model.size() );
   for ( size_t i = model.top(); i < end; ++i ) {
      const WatchRow& each = model.row( i );
      readings.push_back(
         { readingText( each.latest ), rangeText( each.lowest ), rangeText( each.highest ) } );
   }
   measure( readings );
   Columns chosen = chooseColumns( columns );
   if ( hasTitles ) {
      frame.push_back( titles( chosen ) );
   }
   for ( size_t i = model.top(); i < end; ++i ) {
      frame.push_back( row( model.row( i ), readings[ i - model.top() ], chosen ) );
   }
}

void WatchView::measure( const std::vector< Readings >& readings ) {
   for ( const Readings& each : readings ) {
      for ( const std::string& text : { each.latest, each.lowest, each.highest } ) {
         size_t fraction = fractionLength( text );
         fraction_ = std::max( fraction_, fraction );
         whole_ = std::max( whole_, Utils::length( Utils::printable( text ) ) - fraction );
      }
   }
}

// With the decimal points in one column.
std::string WatchView::aligned( std::string text ) const {
   text.append( fraction_ - fractionLength( text ), ' ' );
   return text;
}

WatchView::Columns WatchView::chooseColumns( size_t width ) const {
   size_t number = std::clamp( whole_ + fraction_, kReadingTitle.size(), kLongestReading );
   Columns chosen{ .name = std::min( { longestName_, std::max( kLeastName, width / 3 ), width } ) };
   chosen.state = width - std::min( chosen.name + kGap, width );
   auto hasRoom = [ &chosen ]( size_t columns, size_t forState ) {
      bool fits = chosen.state >= columns + forState;
      chosen.state -= fits ? columns : 0;
      return fits;
   };
   if ( hasRoom( number + 1 + longestUnit_ + kGap, kLeastState ) ) {
      chosen.reading = number;
      chosen.range = hasRoom( 2 * ( number + kGap ), kLeastReason ) ? number : 0;
      chosen.kind = hasRoom( longestKind_ + kGap, kLeastReason ) ? longestKind_ : 0;
   }
   return chosen;
}

Line WatchView::titles( const Columns& columns ) const {
   std::string text = fitted( kNameTitle, columns.name ) + gap();
   if ( columns.kind ) {
      text += fitted( kKindTitle, columns.kind ) + gap();
   }
   if ( columns.reading ) {
      text += fitted( kReadingTitle, columns.reading, Align::Right ) + " " +
              fitted( "", longestUnit_ ) + gap();
   }
   if ( columns.range ) {
      text += fitted( "lowest", columns.range, Align::Right ) + gap() +
              fitted( "highest", columns.range, Align::Right ) + gap();
   }
   return { { text + fitted( "state", columns.state ), Colour::Dim } };
}

Line WatchView::row( const WatchRow& row, const Readings& readings, const Columns& columns ) const {
   const ObjectSpec& object = *row.latest.object;
   Line line{ { fitted( object.name, columns.name ) + gap() } };
   if ( columns.kind ) {
      line.push_back( { fitted( kindName( object.kind ), columns.kind ) + gap() } );
   }
   if ( columns.reading ) {
      line.push_back( { fitted( aligned( readings.latest ), columns.reading, Align::Right ) + " " +
                        fitted( unitOf( object ), longestUnit_ ) + gap() } );
   }
   if ( columns.range ) {
      line.push_back( { fitted( aligned( readings.lowest ), columns.range, Align::Right ) + gap() +
                           fitted( aligned( readings.highest ), columns.range, Align::Right ) +
                           gap(),
                        Colour::Dim } );
   }
   State state = row.latest.state;
   line.push_back( { fitted( stateText( row.latest ), columns.state ), stateColour( state ),
                     weightOf( state ) } );
   return line;
}

}  // namespace Host
