#include "SmbusService/Emulator/Control.h"

#include <fmt/format.h>
#include <fmt/ranges.h>

#include <asio/buffer.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <iterator>
#include <stdexcept>

#include "BoardFiles/Documents.h"
#include "Utils/Json.h"
#include "Utils/Text.h"

namespace SmbusService::Emulator {

namespace {

using asio::local::stream_protocol;
namespace Json = Utils::Json;

constexpr size_t kLongestLine = 64 * 1024;

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

// Throws std::invalid_argument for chips and quantities that do not exist.
void perform( EmulatedBoard& board, const Json::Value& request, Json::Document& answer ) {
   std::string_view operation = request[ "op" ].GetString();
   if ( operation == "list" ) {
      return list( board, answer );
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
   }
}

std::string refuse( std::string_view why ) {
   Json::Document answer( rapidjson::kObjectType );
   answer.AddMember( "ok", false, answer.GetAllocator() );
   answer.AddMember( "error", text( Utils::printable( why ), answer ), answer.GetAllocator() );
   return Json::write( answer );
}

}  // namespace

std::string answerControl( EmulatedBoard& board, std::string_view line ) {
   std::vector< BoardFiles::Finding > findings;
   auto request = BoardFiles::readControlRequest( std::string( line ), findings );
   if ( !request.sound ) {
      std::vector< std::string > texts;
      std::ranges::transform( findings, std::back_inserter( texts ), &BoardFiles::Finding::text );
      return refuse( fmt::format( "{}", fmt::join( texts, "; " ) ) );
   }
   try {
      Json::Document answer( rapidjson::kObjectType );
      answer.AddMember( "ok", true, answer.GetAllocator() );
      perform( board, request.json, answer );
      return Json::write( answer );
   } catch ( const std::invalid_argument& error ) {
      return refuse( error.what() );
   }
}

// One client: a line is answered before the next is read.
class Control::Session : public std::enable_shared_from_this< Control::Session > {
 public:
   Session( EmulatedBoard& board, stream_protocol::socket socket )
       : board_( board ), socket_( std::move( socket ) ) {}

   void readLine() {
      auto buffer = asio::dynamic_buffer( input_, kLongestLine );
      asio::async_read_until( socket_, buffer, '\n',
                              [ self = shared_from_this() ]( asio::error_code error, size_t size ) {
                                 if ( !error ) {
                                    self->answerLine( size );
                                 }
                              } );
   }

 private:
   void answerLine( size_t size ) {
      output_ = answerControl( board_, std::string_view( input_ ).substr( 0, size - 1 ) ) + '\n';
      input_.erase( 0, size );
      asio::async_write( socket_, asio::buffer( output_ ),
                         [ self = shared_from_this() ]( asio::error_code error, size_t ) {
                            if ( !error ) {
                               self->readLine();
                            }
                         } );
   }

   EmulatedBoard& board_;
   stream_protocol::socket socket_;
   std::string input_;
   std::string output_;
};

Control::Control( EmulatedBoard& board, const std::string& path )
    : board_( board ), listener_( context_, path ) {
   listener_.accept( [ this ]( int descriptor ) {
      stream_protocol::socket socket( context_, stream_protocol(), descriptor );
      std::make_shared< Session >( board_, std::move( socket ) )->readLine();
   } );
   thread_ = std::thread( [ this ] { context_.run(); } );
}

Control::~Control() {
   context_.stop();
   thread_.join();
}

}  // namespace SmbusService::Emulator
