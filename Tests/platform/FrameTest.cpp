#include <gmock/gmock.h>

#include "Platform/Frame.h"
#include "smbus.pb.h"

using namespace PlatformLibrary;

TEST( FrameTest, IsLengthThenMessage ) {
   Smbus::TransactionRequest request;
   Smbus::Request& read = *request.add_request();
   read.set_address( 0x00400048 );
   read.set_type( Smbus::REQUEST_READ );
   read.set_size( 2 );
   std::string frame = "what was there before, longer than the frame";
   EXPECT_TRUE( Frame::encode( request, frame ) );
   EXPECT_THAT( frame, testing::ElementsAre( 0, 0, 0, 11, 0x0a, 9, 0x1d, 0x48, 0, 0x40, 0, 0x20, 0,
                                             0x28, 2 ) );
}

TEST( FrameTest, TakesOneMebibyteAndNoMore ) {
   Smbus::TransactionResponse longest;
   longest.set_error( std::string( Frame::kMaxPayload - 4, 'x' ) );  // behind its tag and length
   std::string frame;
   EXPECT_TRUE( Frame::encode( longest, frame ) );
   EXPECT_EQ( frame.size(), Frame::kHeaderSize + 1048576 );
   EXPECT_EQ( Frame::payloadLength( frame.data() ), 1048576u );
   longest.mutable_error()->push_back( 'x' );
   EXPECT_FALSE( Frame::encode( longest, frame ) );
   EXPECT_EQ( Frame::payloadLength( "\xff\xff\xff\xfe" ), 0xfffffffeu );
}
