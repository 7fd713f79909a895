#include "SmbusService/ControlSocket.h"

#include <asio/buffer.hpp>
#include <asio/read_until.hpp>
#include <asio/write.hpp>
#include <memory>

namespace SmbusService {

namespace {

using asio::local::stream_protocol;

constexpr size_t kLongestLine = 64 * 1024;

}  // namespace

// One client: a line is answered before the next is read.
class ControlSocket::Session : public std::enable_shared_from_this< ControlSocket::Session > {
 public:
   Session( const Answer& answer, stream_protocol::socket socket )
       : answer_( answer ), socket_( std::move( socket ) ) {}

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
      output_ = answer_( std::string_view( input_ ).substr( 0, size - 1 ) ) + '\n';
      input_.erase( 0, size );
      asio::async_write( socket_, asio::buffer( output_ ),
                         [ self = shared_from_this() ]( asio::error_code error, size_t ) {
                            if ( !error ) {
                               self->readLine();
                            }
                         } );
   }

   const Answer& answer_;
   stream_protocol::socket socket_;
   std::string input_;
   std::string output_;
};

ControlSocket::ControlSocket( Answer answer, const std::string& path )
    : answer_( std::move( answer ) ), listener_( context_, path, { .hasGroup = false } ) {
   listener_.accept( [ this ]( int descriptor ) {
      stream_protocol::socket socket( context_, stream_protocol(), descriptor );
      std::make_shared< Session >( answer_, std::move( socket ) )->readLine();
   } );
   thread_ = std::thread( [ this ] { context_.run(); } );
}

ControlSocket::~ControlSocket() {
   context_.stop();
   thread_.join();
}

}  // namespace SmbusService
