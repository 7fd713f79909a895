#include "Topology/HamAddress.h"

#include "Utils/Assert.h"

void Topology::fillAddressFromJSON( const Value& value, HamAddress& addr ) {
   LUMEN_ASSERT( value.IsObject() );
   auto [ address, writeDelay, readDelay, busTimeout, extraDelay, addrSize, accel, noStop ] =
      Utils::Json::members< "address", "writeDelay", "readDelay", "busTimeout", "extraDelay",
                            "addrSize", "accel", "writeNoStopReadCurrent" >( value );
   LUMEN_ASSERT_TEXT( address, "value.HasMember( \"address\" )" );
   auto number = []( const Value* member ) { return member ? member->GetUint() : 0; };
   addr =
      HamAddress{ .command = addr.command, .address = address->GetUint() & 0x7F, .addrSize = 1 };
   addr.writeDelay = number( writeDelay );
   addr.readDelay = number( readDelay );
   addr.busTimeout = number( busTimeout );
   addr.extraDelay = number( extraDelay );
   if ( addrSize ) {
      addr.addrSize = addrSize->GetUint();
      // Two bits hold the code, so that a 4 reads back as 0 and is refused as well.
      LUMEN_ASSERT_TEXT( addr.addrSize == 1 || addr.addrSize == 2,
                         "addr.addrSize == 1 || addr.addrSize == 2 || addr.addrSize == 4" );
   }
   addr.accelerator = number( accel );
   addr.writeNoStopReadCurrent = noStop && noStop->GetBool();
}
