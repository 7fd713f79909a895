#include "SmbusService/Control.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <iterator>
#include <stdexcept>

#include "BoardFiles/Documents.h"
#include "SmbusService/Emulator/EmulatedBoard.h"
#include "SmbusService/WireLog.h"
#include "Utils/Json.h"
#include "Utils/Text.h"

namespace SmbusService {

namespace {

using Emulator::EmulatedBoard;
using Emulator::Site;
namespace Json = Utils::Json;

constexpr size_t kMostRecords = 100;  // in one answer

Json::Value text( const std::string& characters, Json::Document& answer ) {
   return Json::Value( characters.c_str(), answer.GetAllocator() );
}

Json::Value describe( const Site& site, Json::Document& answer ) {
   auto& allocator = answer.GetAllocator();
   Json::Value quantities( rapidjson::kObjectType );
   for ( const std::string& name : site.chip->quantities() ) {
      quantities.AddMember( text( name, answer ), Json::Value( site.chip->get( name ) ),
                            allocator );
   }
   Json::Value chip( rapidjson::kObjectType );
   chip.AddMember( "did", site.did, allocator );
   chip.AddMember( "model", text( site.model, answer ), allocator );
   chip.AddMember( "address", site.address, allocator );
   chip.AddMember( "plugged", site.isPlugged, allocator );
   chip.AddMember( "faults", static_cast< unsigned >( site.faults.pending().size() ), allocator );
   chip.AddMember( "quantities", quantities, allocator );
   return chip;
}

void list( EmulatedBoard& board, Json::Document& answer ) {
   Json::Value chips( rapidjson::kArrayType );
   board.forEachChip( [ & ]( const Site& site ) {
      chips.PushBack( describe( site, answer ), answer.GetAllocator() );
   } );
   answer.AddMember( "chips", chips, answer.GetAllocator() );
}

// The records are JSON texts already.
std::string recordsAfter( uint64_t number, const WireLog& log ) {
   std::vector< std::string > texts;
   for ( const BoardFiles::WireRecord& record : log.after( number, kMostRecords ) ) {
      texts.push_back( BoardFiles::wireRecordText( record ) );
   }
   return fmt::format( R"({{"ok":true,"last":{},"records":[{}]}})", log.last(),
                       fmt::join( texts, "," ) );
}

// Throws std::invalid_argument for chips and quantities that do not exist.
void perform( EmulatedBoard& board, const Json::Value& request, Json::Document& answer ) {
   std::string_view operation = request[ "op" ].GetString();
   if ( operation == "list" ) {
      return list( board, answer );
   }
   if ( operation == "clear" && !request.HasMember( "did" ) ) {
      return board.clearFaults();
   }
   uint32_t did = request[ "did" ].GetUint();
   if ( operation == "set" ) {
      board.set( did, request[ "quantity" ].GetString(), request[ "value" ].GetDouble() );
   } else if ( operation == "get" ) {
      double value = board.get( did, request[ "quantity" ].GetString() );
      answer.AddMember( "value", value, answer.GetAllocator() );
   } else if ( operation == "unplug" ) {
      board.unplug( did );
   } else if ( operation == "plug" ) {
      board.plug( did );
   } else if ( operation == "fault" ) {
      board.addFault( did, BoardFiles::readFault( request ) );
   } else if ( operation == "clear" ) {
      board.clearFaults( did );
   }
}

}  // namespace

std::string refuseControl( std::string_view why ) {
   Json::Document answer( rapidjson::kObjectType );
   answer.AddMember( "ok", false, answer.GetAllocator() );
   answer.AddMember( "error", text( Utils::printable( why ), answer ), answer.GetAllocator() );
   return Json::write( answer );
}

std::string answerControl( const Controlled& controlled, std::string_view line ) {
   std::vector< BoardFiles::Finding > findings;
   auto request = BoardFiles::readControlRequest( std::string( line ), findings );
   if ( !request.sound ) {
      std::vector< std::string > texts;
      std::ranges::transform( findings, std::back_inserter( texts ), &BoardFiles::Finding::text );
      return refuseControl( fmt::format( "{}", fmt::join( texts, "; " ) ) );
   }
   if ( std::string_view( request.json[ "op" ].GetString() ) == "log" ) {
      bool isFirst = !request.json.HasMember( "after" );
      return recordsAfter( isFirst ? 0 : request.json[ "after" ].GetUint64(), controlled.log );
   }
   if ( !controlled.board ) {
      return refuseControl( "the board is not emulated" );
   }
   try {
      Json::Document answer( rapidjson::kObjectType );
      answer.AddMember( "ok", true, answer.GetAllocator() );
      perform( *controlled.board, request.json, answer );
      return Json::write( answer );
   } catch ( const std::invalid_argument& error ) {
      return refuseControl( error.what() );
   }
}

}  // namespace SmbusService
