#pragma once

#include <algorithm>
#include <array>
#include <cstdint>

// The ports of a PoE controller: who gets power, and how much. Watts.
namespace SmbusService::Emulator {

constexpr size_t kMaxPoePorts = 48;
constexpr size_t kPoeChannelsOfChip = 8;  // a port has one for each pair set
constexpr uint8_t kHighestPoeClass = 8;

struct PoeDevice {
   bool isPlugged = false;
   bool isDual = false;     // each pair set has a signature of its own
   bool isShorted = false;  // together with its cable
   uint8_t deviceClass = 0;
   double draw = 5;
};

// What the controller finds around it. Nothing here depends on the controller's own power.
struct PoeSurroundings {
   bool isFourPair( size_t port ) const { return port >= atPorts; }

   size_t ports = kMaxPoePorts;
   size_t atPorts = kMaxPoePorts;  // from here on a port feeds all four pairs
   double budget = 740;            // what the power supplies give
   uint8_t failedSupplies = 0;     // in the bits of shut-off masks
   double celsius = 40;            // the controller's own
   std::array< PoeDevice, kMaxPoePorts > devices;
};

// The numbers are those of messages.

enum PoeLimitType : uint8_t { kPoeUnlimited = 0, kPoeClassLimit = 1, kPoeUserLimit = 2 };

struct PoePortSettings {
   bool operator==( const PoePortSettings& ) const = default;

   uint8_t isEnabled = 0;
   uint8_t powersUpItself = 0;
   uint8_t detection = 2;  // of four points
   uint8_t detectionOptions = 0;
   uint8_t classifies = 1;
   uint8_t disconnect = 0;
   uint8_t limitType = kPoeClassLimit;
   uint8_t limit = 77;    // steps of 0.2 W; of a four-pair port for each pair set
   uint8_t priority = 0;  // 0 low, 1 medium, 2 high, 3 critical
   uint8_t powerUpMode = 3;
   uint8_t shutOffMask = 0;
   uint8_t output = 0;
};

struct PoeSettings {
   PoeSettings();
   bool operator==( const PoeSettings& ) const = default;

   uint8_t isOn = 1;
   uint8_t options = 0;
   uint8_t powerManagement = 0;
   uint32_t budget;  // 0.1 W
   bool hasPortMap = false;
   bool correctsCrc = false;
   std::array< PoePortSettings, kMaxPoePorts > ports;
};

enum class PoeStatus : uint8_t {
   kDisabled = 0,
   kSearching = 1,
   kDelivering = 2,
   kFault = 4,
   kRequesting = 6,  // there is a device, and no power for it
};

enum class PoeFault : uint8_t { kNone = 0, kShort = 1, kOverload = 3 };

// Over `isEnabled`, until that is written again.
enum class PoeSwitch { kNone, kOn, kOff };

struct PoeCounters {
   uint8_t overload = 0;
   uint8_t shortCircuit = 0;
   uint8_t denied = 0;
   uint8_t signatureLost = 0;  // a device that had power went away
};

struct PoePort {
   PoeSwitch forced = PoeSwitch::kNone;
   PoeStatus status = PoeStatus::kDisabled;
   PoeFault fault = PoeFault::kNone;  // stays until the device or the port's enabling goes
   PoeCounters counters;
};

class PoePorts {
 public:
   explicit PoePorts( const PoeSurroundings& around ) : around_( around ) {}

   // All ports drop, faults and counters are forgotten.
   void restart( const PoeSettings& );

   // What follows from the settings and the surroundings as they are now. To be called after each
   // change of either.
   //
   // A device gets power if the budget has room for it; none that has power loses it to another
   // that comes. When those that have it draw more than the budget, the lowest priority goes first,
   // and of equals the highest port number. What a device draws above its limit cuts its own port.
   void settle( bool hasFirmware );

   void force( size_t port, PoeSwitch );
   void enable( size_t port, bool );  // forgets a fault

   const PoePort& operator[]( size_t port ) const { return ports_[ port ]; }
   const PoeSurroundings& around() const { return around_; }
   const PoeDevice& device( size_t port ) const { return around_.devices[ port ]; }
   void clearCounters( size_t port ) { ports_[ port ].counters = {}; }

   double limit( size_t port ) const;
   double watts( size_t port ) const;
   double consumption() const;
   double budget() const { return std::min( around_.budget, settings.budget / 10.0 ); }

   PoeSettings settings;

 private:
   void follow( size_t port, bool hasFirmware );
   void check( size_t port );
   void shed();
   void supply();
   bool isOn( size_t port ) const;
   bool isShutOff( size_t port ) const;
   std::array< size_t, kMaxPoePorts > ranking() const;

   const PoeSurroundings& around_;
   std::array< PoePort, kMaxPoePorts > ports_;
};

}  // namespace SmbusService::Emulator
