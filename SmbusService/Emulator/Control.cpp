#include "SmbusService/Emulator/Control.h"

#include <fmt/format.h>

#include <asio/buffer.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <stdexcept>

#include "SmbusService/Emulator/JsonCursor.h"
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

Json::Value describe( const Slot& slot, Json::Document& answer ) {
   auto& allocator = answer.GetAllocator();
   Json::Value quantities( rapidjson::kObjectType );
   for ( const std::string& name : slot.chip->quantities() ) {
      quantities.AddMember( text( name, answer ), Json::Value( slot.chip->get( name ) ),
                            allocator );
   }
   Json::Value chip( rapidjson::kObjectType );
   chip.AddMember( "did", slot.did, allocator );
   chip.AddMember( "model", text( slot.model, answer ), allocator );
   chip.AddMember( "address", slot.address, allocator );
   chip.AddMember( "plugged", slot.isPlugged, allocator );
   chip.AddMember( "faults", static_cast< unsigned >( slot.faults.pending().size() ), allocator );
   chip.AddMember( "quantities", quantities, allocator );
   return chip;
}

void list( Board& board, Json::Document& answer ) {
   Json::Value chips( rapidjson::kArrayType );
   board.forEachChip( [ & ]( const Slot& slot ) {
      chips.PushBack( describe( slot, answer ), answer.GetAllocator() );
   } );
   answer.AddMember( "chips", chips, answer.GetAllocator() );
}

void perform( Board& board, const JsonCursor& request, Json::Document& answer ) {
   std::string operation = request.member( "op" ).asString();
   if ( operation == "list" ) {
      list( board, answer );
      return;
   }
   uint32_t did = request.member( "did" ).asUint();
   if ( operation == "set" ) {
      double value = request.member( "value" ).asNumber();
      board.set( did, request.member( "quantity" ).asString(), value );
   } else if ( operation == "get" ) {
      double value = board.get( did, request.member( "quantity" ).asString() );
      answer.AddMember( "value", value, answer.GetAllocator() );
   } else if ( operation == "unplug" ) {
      board.unplug( did );
   } else if ( operation == "plug" ) {
      board.plug( did );
   } else if ( operation == "fault" ) {
      board.addFault( did, readFault( request ) );
   } else {
      request.member( "op" ).fail( fmt::format(
         "unknown operation '{}'; there are list, set, get, unplug, plug, fault", operation ) );
   }
}

}  // namespace

std::string answerControl( Board& board, std::string_view request ) {
   Json::Document answer( rapidjson::kObjectType );
   try {
      JsonFile json( "request", std::string( request ) );
      answer.AddMember( "ok", true, answer.GetAllocator() );
      perform( board, JsonCursor( json ), answer );
   } catch ( const std::exception& error ) {
      answer.SetObject();
      answer.AddMember( "ok", false, answer.GetAllocator() );
      answer.AddMember( "error", text( Utils::printable( error.what() ), answer ),
                        answer.GetAllocator() );
   }
   return Json::write( answer );
}

// One client: a line is answered before the next is read.
class Control::Session : public std::enable_shared_from_this< Control::Session > {
 public:
   Session( Board& board, stream_protocol::socket socket )
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

   Board& board_;
   stream_protocol::socket socket_;
   std::string input_;
   std::string output_;
};

Control::Control( Board& board, const std::string& path )
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
