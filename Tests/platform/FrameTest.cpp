#include <gmock/gmock.h>

#include "Platform/Frame.h"
#include "smbus.pb.h"

using namespace PlatformLibrary;

namespace {

// Tag and length of the one long field: of the request, and of its data.
constexpr size_t kOverhead = 8;

Smbus::TransactionRequest requestOfSize( size_t payload ) {
   Smbus::TransactionRequest request;
   request.add_request()->set_data( std::string( payload - kOverhead, 'x' ) );
   return request;
}

}  // namespace

TEST( FrameTest, IsLengthThenMessage ) {
   std::string frame = "what was there before, longer than the frame";
   EXPECT_TRUE( Frame::encode( Smbus::TransactionRequest(), frame ) );
   EXPECT_EQ( frame, std::string( 4, '\0' ) );

   Smbus::TransactionRequest request;
   Smbus::Request& read = *request.add_request();
   read.set_address( 0x00400048 );
   read.set_type( Smbus::REQUEST_READ );
   read.set_size( 2 );
   EXPECT_TRUE( Frame::encode( request, frame ) );
   EXPECT_THAT( frame, testing::ElementsAre( 0, 0, 0, 11, 0x0a, 9, 0x1d, 0x48, 0, 0x40, 0, 0x20, 0,
                                             0x28, 2 ) );
}

TEST( FrameTest, TakesOneMebibyteAndNoMore ) {
   std::string frame;
   EXPECT_TRUE( Frame::encode( requestOfSize( Frame::kMaxPayload ), frame ) );
   ASSERT_EQ( frame.size(), Frame::kHeaderSize + 1048576 );
   EXPECT_EQ( Frame::payloadLength( frame.data() ), 1048576u );
   EXPECT_FALSE( Frame::encode( requestOfSize( Frame::kMaxPayload + 1 ), frame ) );
   EXPECT_EQ( Frame::payloadLength( "\xff\xff\xff\xfe" ), 0xfffffffeu );
}
