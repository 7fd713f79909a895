#include "Drivers/Corvid/MorrowFanspinnerIdprom.h"

#include <fmt/format.h>

#include <chrono>

#include "Drivers/Arguments.h"
#include "Drivers/Corvid/FanFdl.h"
#include "Drivers/Registers.h"
#include "Utils/Text.h"

namespace Drivers {

namespace {

constexpr uint32_t kImageLength = 256;
constexpr uint32_t kChunkLength = 32;  // the longest read of an SMBus adapter
constexpr uint32_t kChunks = kImageLength / kChunkLength;
constexpr int kAttempts = 3;

constexpr const char* kFdl =
   "FruFactoryIds: PLDevice\n"
   "device.group = 'FanTray'\n"
   "slotId = {slotId}\n"
   "device.fanTray = ( 'FanTray%d' % slotId, )\n"
   "fanTray = device.fanTray\n"
   "fanTray.modelName = '{modelName}'\n"
   "fanTray.serialNum = '{serialNum}'\n"
   "fanTray.slotId = slotId\n";

// What the simulation starts with: a header, and a Product Info area with a name and a serial
// number.
constexpr char kSimulatedImage[ kImageLength + 1 ] =
   "\x01\x00\x00\x00\x01\x00\x00\xFE"
   "\x01\x03\x19\xC0\xC9SIMULATED\xC0\xC0\xC4SIM1\xC1\x00\x93";

void traceUnit( const FruInformation& unit ) {
   using namespace std::chrono;
   std::string day = "an unknown day";
   if ( unit.manufactured ) {
      auto today = floor< days >( system_clock::now() );
      year_month_day date = FruInformation::dayOf( *unit.manufactured, today );
      day = fmt::format( "{:04}-{:02}-{:02}", static_cast< int >( date.year() ),
                         static_cast< unsigned >( date.month() ),
                         static_cast< unsigned >( date.day() ) );
   }
   pl_trace( 5, "Fan module '%s', part '%s', version '%s', serial '%s', by '%s', made on %s",
             unit.productName.c_str(), unit.partNumber.c_str(), unit.version.c_str(),
             unit.serialNumber.c_str(), unit.manufacturer.c_str(), day.c_str() );
}

}  // namespace

Component::HardwareDevice* MorrowFanspinnerIdprom::create( const FactoryArgs&, Ham::Ham* ) {
   pl_trace( 0, "Creating MorrowFanspinnerIdprom Device" );
   return new MorrowFanspinnerIdprom;
}

Component::LogicalDevice::Slot* MorrowFanspinnerIdprom::newSlot( const DriverArgs& args ) {
   int fanId = LUMEN_INT_ARGUMENT( args, "fanId" );
   const std::string* fdl = findArgument( args.driverArgs, "fdlTemplate" );
   pl_trace( 0, "Creating new Fanspinner slot for Fan id %d", fanId );
   return new FanSlot( this, fanId, fdl ? *fdl : kFdl );
}

pl_status MorrowFanspinnerIdprom::readInformation( FruInformation* information ) {
   pl_status status = PL_STATUS_OK;
   for ( int attempt = 0; attempt < kAttempts; ++attempt ) {
      std::string image;
      status = readImage( &image );
      if ( status == PL_STATUS_IO_ERROR ) {
         return status;
      }
      if ( status != PL_STATUS_OK ) {
         continue;
      }
      if ( auto decoded = FruInformation::decode( image ) ) {
         traceUnit( *decoded );
         *information = *decoded;
         return PL_STATUS_OK;
      }
      pl_trace( 0, "Error: MorrowFanspinnerIdprom holds no FRU information that can be read" );
      status = PL_STATUS_FAILURE;
   }
   return ham()->lacksAcknowledge() ? PL_STATUS_ABSENT : status;
}

pl_status MorrowFanspinnerIdprom::readImage( std::string* image ) {
   Ham::Ham::ResponseId ids[ kChunks ];
   ham()->prepare();
   for ( uint32_t chunk = 0; chunk < kChunks; ++chunk ) {
      ids[ chunk ] = ham()->addRead( chunk * kChunkLength, kChunkLength, false, kRegSize );
   }
   if ( pl_status status = ham()->execute() ) {
      return status;
   }
   for ( uint32_t chunk = 0; chunk < kChunks; ++chunk ) {
      Ham::saveReg( ham(), chunk * kChunkLength );
      *image += ham()->getBlock( ids[ chunk ], kChunkLength );
   }
   return PL_STATUS_OK;
}

pl_status MorrowFanspinnerIdprom::FanSlot::getPresence( char** info ) {
   FruInformation unit;
   if ( pl_status status = device_->readInformation( &unit ) ) {
      return status;
   }
   const std::string& model = unit.productName.empty() ? unit.partNumber : unit.productName;
   std::string text = fillFdl( fdl_, { { "slotId", std::to_string( slotId_ ) },
                                       { "position", kUnknownFdlValue },
                                       { "typeId", kUnknownFdlValue },
                                       { "modelName", fdlValue( model ) },
                                       { "serialNum", fdlValue( unit.serialNumber ) } } );
   return Utils::copyToHeap( text, info ) ? PL_STATUS_OK : PL_STATUS_FAILURE;
}

const Utils::ExpectedValues& MorrowFanspinnerIdprom::expectedValues() {
   static const Utils::ExpectedValues values = [] {
      Utils::ExpectedValues chunks;
      for ( uint32_t begin = 0; begin < kImageLength; begin += kChunkLength ) {
         std::string bytes( kSimulatedImage + begin, kChunkLength );
         chunks[ begin ] = Utils::ExpectedVal( bytes );
      }
      return chunks;
   }();
   return values;
}

}  // namespace Drivers
