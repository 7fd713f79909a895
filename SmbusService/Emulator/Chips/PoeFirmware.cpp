#include "SmbusService/Emulator/Chips/PoeFirmware.h"

#include "SmbusService/Emulator/Chips/PoeQueries.h"

namespace SmbusService::Emulator {

namespace {

constexpr uint8_t kReset = 0x09;
constexpr uint8_t kSave = 0xe0;
constexpr uint8_t kSaveKey = 0xf0;  // byte 1

constexpr uint8_t kBeginPortMap = 2;
constexpr uint8_t kEndPortMap = 3;

// System status.
constexpr uint8_t kAutomaticI2c = 2;
constexpr uint32_t kDeviceId = 0x9121;
constexpr uint8_t kControllerType = 0;
constexpr uint8_t kUnsaved = 0x01;
constexpr uint8_t kWasReset = 0x02;
constexpr uint8_t kHasPortMap = 0x08;

constexpr uint8_t kCrcStatus = 1;  // byte 3 of its queries
constexpr uint8_t kCrcError = 0x04;

template < typename Row, size_t count >
const Row* find( const Row ( &table )[ count ], uint8_t command ) {
   const Row* row = std::ranges::find( table, command, &Row::command );
   return row == std::end( table ) ? nullptr : row;
}

}  // namespace

struct PoeFirmware::Query {
   uint8_t command;
   bool ( PoeFirmware::*answer )( PoeRequest, PoeAnswer& );
};

constexpr PoeFirmware::Query PoeFirmware::kQueries[] = {
   { 0x20, &PoeFirmware::answerSystem },
   { 0x2d, &PoeFirmware::answerCrcOfGroup },
   { 0x4c, &PoeFirmware::answerCrcOfChannels },
};

// Byte 2 the port, byte 3 the value.
struct PoeFirmware::PortSetting {
   uint8_t command;
   uint8_t PoePortSettings::*value;
   uint8_t highest = 0xff;
};

constexpr PoeFirmware::PortSetting PoeFirmware::kPortSettings[] = {
   { 0x08, &PoePortSettings::detectionOptions },
   { 0x10, &PoePortSettings::detection, 3 },
   { 0x11, &PoePortSettings::classifies, 1 },
   { 0x12, &PoePortSettings::powersUpItself, 1 },
   { 0x13, &PoePortSettings::disconnect },
   { 0x15, &PoePortSettings::limitType, kPoeUserLimit },
   { 0x16, &PoePortSettings::limit },
   { 0x1a, &PoePortSettings::priority, 3 },
   { 0x1c, &PoePortSettings::powerUpMode },
   { 0x1d, &PoePortSettings::output },
   { 0x1e, &PoePortSettings::shutOffMask },
};

// Byte 2 the value.
struct PoeFirmware::Setting {
   uint8_t command;
   uint8_t PoeSettings::*value;
   uint8_t highest = 0xff;
};

constexpr PoeFirmware::Setting PoeFirmware::kSettings[] = {
   { 0x06, &PoeSettings::isOn, 1 },
   { 0x0b, &PoeSettings::options },
   { 0x17, &PoeSettings::powerManagement, 4 },
};

// Byte 2 the port.
struct PoeFirmware::PortCommand {
   uint8_t command;
   bool ( PoeFirmware::*run )( size_t port, PoeRequest );
};

constexpr PoeFirmware::PortCommand PoeFirmware::kPortCommands[] = {
   { 0x00, &PoeFirmware::enable },   { 0x01, &PoeFirmware::powerOn },
   { 0x03, &PoeFirmware::powerOff }, { 0x05, &PoeFirmware::clearCounters },
   { 0x0e, &PoeFirmware::mapPort },
};

struct PoeFirmware::Command {
   uint8_t command;
   bool ( PoeFirmware::*run )( PoeRequest );
};

constexpr PoeFirmware::Command PoeFirmware::kCommands[] = {
   { 0x02, &PoeFirmware::beginOrEndPortMap },
   { kReset, &PoeFirmware::ignore },
   { 0x0a, &PoeFirmware::ignore },
   { 0x18, &PoeFirmware::setBudget },
   { 0x4e, &PoeFirmware::setCrcCorrection },
   { kSave, &PoeFirmware::save },
};

void PoeFirmware::leaveEnabled( size_t port, bool isEnabled ) {
   saved_.ports[ port ].isEnabled = isEnabled;
   ports_.enable( port, isEnabled );
}

void PoeFirmware::start( PoeVersion version ) {
   version_ = version;
   wasReset_ = true;
   mapping_.reset();
   ports_.restart( saved_ );
}

PoeFirmware::Outcome PoeFirmware::handle( PoeRequest request, PoeAnswer& answer ) {
   uint8_t command = request[ 0 ];
   const Query* query = find( kQueries, command );
   if ( query ? ( this->*query->answer )( request, answer )
              : answerPoeQuery( ports_, request, answer ) ) {
      return Outcome::kAnswered;
   }
   if ( !configure( request ) ) {
      return Outcome::kRefused;
   }
   answer[ 2 ] = request[ 2 ];
   answer[ 3 ] = 0;
   return command == kReset || command == kSave ? Outcome::kRestarts : Outcome::kConfigured;
}

bool PoeFirmware::configure( PoeRequest request ) {
   if ( const Command* command = find( kCommands, request[ 0 ] ) ) {
      return ( this->*command->run )( request );
   }
   if ( const Setting* setting = find( kSettings, request[ 0 ] ) ) {
      bool isPossible = request[ 2 ] <= setting->highest;
      if ( isPossible ) {
         ports_.settings.*setting->value = request[ 2 ];
      }
      return isPossible;
   }
   return request[ 2 ] < ports_.around().ports && configurePort( request[ 2 ], request );
}

bool PoeFirmware::configurePort( size_t port, PoeRequest request ) {
   if ( const PortCommand* command = find( kPortCommands, request[ 0 ] ) ) {
      return ( this->*command->run )( port, request );
   }
   const PortSetting* setting = find( kPortSettings, request[ 0 ] );
   if ( !setting || request[ 3 ] > setting->highest ) {
      return false;
   }
   ports_.settings.ports[ port ].*setting->value = request[ 3 ];
   return true;
}

bool PoeFirmware::answerSystem( PoeRequest, PoeAnswer& answer ) {
   answer[ 2 ] = kAutomaticI2c;
   answer[ 3 ] = static_cast< uint8_t >( ports_.around().ports );
   answer[ 4 ] = ports_.settings.hasPortMap;
   putNumber( answer, 5, kDeviceId, 1 );
   answer[ 7 ] = version_.version;
   answer[ 8 ] = kControllerType;
   answer[ 9 ] = ( ports_.settings == saved_ ? 0 : kUnsaved ) | ( wasReset_ ? kWasReset : 0 ) |
                 ( saved_.hasPortMap ? kHasPortMap : 0 );
   answer[ 10 ] = version_.extended;
   wasReset_ = false;
   return true;
}

// Byte 2 the group; a byte other than zero says that all is well.
bool PoeFirmware::answerCrcOfGroup( PoeRequest request, PoeAnswer& answer ) {
   auto channels = crcStatus( request );
   if ( channels ) {
      answer[ 2 ] = request[ 2 ];
      answer[ 3 ] = kCrcStatus;
      answer[ 8 ] = std::ranges::count( *channels, kCrcError ) == 0;
   }
   return channels.has_value();
}

bool PoeFirmware::answerCrcOfChannels( PoeRequest request, PoeAnswer& answer ) {
   auto channels = crcStatus( request );
   if ( channels ) {
      answer[ 2 ] = request[ 2 ];
      std::ranges::copy( *channels, answer.begin() + 3 );
   }
   return channels.has_value();
}

// A byte for each channel of the group: one of a port, two of a four-pair port.
std::optional< std::array< uint8_t, kPoeChannelsOfChip > > PoeFirmware::crcStatus(
   PoeRequest request ) {
   std::array< uint8_t, kPoeChannelsOfChip > status{};
   auto channel = status.begin();
   for ( size_t port = 0; port < ports_.around().ports; ++port ) {
      if ( groupOf( port ) == request[ 2 ] ) {
         auto room = status.end() - channel;
         auto channels =
            std::min< decltype( room ) >( room, ports_.around().isFourPair( port ) ? 2 : 1 );
         channel = std::fill_n( channel, channels, crcErrors[ port ] ? kCrcError : 0 );
         crcErrors[ port ] -= ports_.settings.correctsCrc && crcErrors[ port ];
      }
   }
   bool isKnown = channel != status.begin() && request[ 3 ] == kCrcStatus;
   return isKnown ? std::optional( status ) : std::nullopt;
}

size_t PoeFirmware::groupOf( size_t port ) const {
   size_t atPorts = ports_.around().atPorts;
   return port < atPorts
             ? port / kPoeChannelsOfChip
             : atPorts / kPoeChannelsOfChip + ( port - atPorts ) / ( kPoeChannelsOfChip / 2 );
}

bool PoeFirmware::enable( size_t port, PoeRequest request ) {
   if ( request[ 3 ] > 1 ) {
      return false;
   }
   ports_.enable( port, request[ 3 ] );
   return true;
}

bool PoeFirmware::powerOn( size_t port, PoeRequest request ) {
   return force( port, request, PoeSwitch::kOn );
}

bool PoeFirmware::powerOff( size_t port, PoeRequest request ) {
   return force( port, request, PoeSwitch::kOff );
}

bool PoeFirmware::force( size_t port, PoeRequest request, PoeSwitch position ) {
   if ( request[ 3 ] != 1 ) {
      return false;
   }
   ports_.force( port, position );
   return true;
}

bool PoeFirmware::clearCounters( size_t port, PoeRequest ) {
   ports_.clearCounters( port );
   return true;
}

// Byte 3 whether it is a four-pair port, 4 the chip and 5 and 6 the channels of it.
bool PoeFirmware::mapPort( size_t port, PoeRequest request ) {
   if ( !mapping_ ) {
      return false;
   }
   mapping_->set( port );
   ports_.settings.ports[ port ].output =
      static_cast< uint8_t >( request[ 4 ] * kPoeChannelsOfChip + request[ 5 ] );
   return true;
}

// A map is good when it has all ports.
bool PoeFirmware::beginOrEndPortMap( PoeRequest request ) {
   size_t ports = ports_.around().ports;
   if ( request[ 2 ] == kBeginPortMap && request[ 3 ] == ports ) {
      mapping_.emplace();
      return true;
   }
   bool isComplete = request[ 2 ] == kEndPortMap && mapping_ && mapping_->count() == ports;
   if ( isComplete ) {
      ports_.settings.hasPortMap = true;
      mapping_.reset();
   }
   return isComplete;
}

bool PoeFirmware::setBudget( PoeRequest request ) {
   ports_.settings.budget = numberIn( request.subspan( 2, 2 ) );
   return true;
}

bool PoeFirmware::setCrcCorrection( PoeRequest request ) {
   if ( request[ 2 ] != 1 || request[ 3 ] > 1 ) {
      return false;
   }
   ports_.settings.correctsCrc = request[ 3 ];
   return true;
}

bool PoeFirmware::save( PoeRequest request ) {
   if ( request[ 1 ] != kSaveKey ) {
      return false;
   }
   saved_ = ports_.settings;
   return true;
}

}  // namespace SmbusService::Emulator
