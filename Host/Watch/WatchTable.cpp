#include "Host/Watch/WatchTable.h"

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

}  // namespace

Span stateSpan( State state, std::string text ) {
   Colour colour = stateColour( state );
   return { std::move( text ), colour, colour == Colour::Red ? Weight::Bold : Weight::Plain };
}

WatchTable::WatchTable( const WatchModel& model )
    : longestName_( kNameTitle.size() ), longestKind_( kKindTitle.size() ) {
   for ( const WatchRow& row : model.rows() ) {
      const ObjectSpec& object = *row.latest.object;
      longestName_ = std::max( longestName_, Utils::columns( Utils::printable( object.name ) ) );
      longestKind_ = std::max( longestKind_, kindName( object.kind ).size() );
      longestUnit_ = std::max( longestUnit_, Utils::columns( unitOf( object ) ) );
   }
}

Frame WatchTable::draw( const WatchModel& model, size_t columns ) {
   std::vector< Readings > readings;
   size_t end = std::min( model.top() + model.height(), model.size() );
   for ( size_t i = model.top(); i < end; ++i ) {
      const WatchRow& each = model.row( i );
      readings.push_back(
         { readingText( each.latest ), rangeText( each.lowest ), rangeText( each.highest ) } );
   }
   measure( readings );
   Columns chosen = chooseColumns( columns );
   Frame frame{ titles( chosen ) };
   for ( const Readings& each : readings ) {
      frame.push_back( row( model.row( model.top() + frame.size() - 1 ), each, chosen ) );
   }
   return frame;
}

void WatchTable::measure( const std::vector< Readings >& readings ) {
   for ( const Readings& each : readings ) {
      for ( const std::string& text : { each.latest, each.lowest, each.highest } ) {
         size_t fraction = fractionLength( text );
         fraction_ = std::max( fraction_, fraction );
         whole_ = std::max( whole_, Utils::columns( Utils::printable( text ) ) - fraction );
      }
   }
}

// With the decimal points in one column.
std::string WatchTable::aligned( std::string text ) const {
   text.append( fraction_ - fractionLength( text ), ' ' );
   return text;
}

WatchTable::Columns WatchTable::chooseColumns( size_t width ) const {
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

Line WatchTable::titles( const Columns& columns ) const {
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

Line WatchTable::row( const WatchRow& row,
                      const Readings& readings,
                      const Columns& columns ) const {
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
   line.push_back(
      stateSpan( row.latest.state, fitted( stateText( row.latest ), columns.state ) ) );
   return line;
}

}  // namespace Host
