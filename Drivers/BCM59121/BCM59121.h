#pragma once

#include <ctime>
#include <string>
#include <vector>

#include "Components/HardwareDevice.h"
#include "Components/PoePort.h"
#include "Drivers/BCM59121/Message.h"

namespace Drivers {

// BCM59121 controller of power-sourcing ports.
//
// Driver arguments of the device: "numPorts"; "numAtPorts", the first of these, which have one
// channel each where the others have two; "firmwarePath", the folder of its firmware;
// "mpssValueZero", "true" for a board whose shut-off masks have one bit for all supplies. A port
// takes "portId", from 0. An operation on a port that the controller does not have is
// PL_STATUS_UNSUPPORTED, one on any port while the firmware is written PL_STATUS_DEVICE_ERROR.
//
// Statuses of every exchange: PL_STATUS_DEVICE_ERROR when the controller answered with an error,
// PL_STATUS_IO_ERROR when the answer's checksum is wrong, otherwise the HAM's. Outputs are written
// last. Nothing but what is asked for changes a port; to create, to initialise or to read does not.
class BCM59121 : public Component::HardwareDevice {
 public:
   struct Answer {
      std::string response;
      timespec last{};  // of the monotonic clock, when it was asked for
   };

   // The last responses to the cached queries of one port. An empty one is always asked for.
   struct PoeCache {
      Answer portStatus;
      Answer measurements;
      Answer system;
      Answer channels;
      Answer crc;
      Answer channelPower;
   };

   class PoePort;

   static Component::HardwareDevice* create( const FactoryArgs& args, Ham::Ham* ham );
   explicit BCM59121( const FactoryArgs& args );

   Component::LogicalDevice::PoePort* newPoePort( const DriverArgs& args ) override;
   const Utils::ExpectedValues& expectedValues() override;

   // What the host does with a port.
   [[nodiscard]] pl_status setPse( PoePort* port, bool enable );
   [[nodiscard]] pl_status powerOn( PoePort* port, bool on );
   [[nodiscard]] pl_status setLegacyDetect( PoePort* port, bool enable );
   // Whether the loss of the power supply, from 0, shuts the port off. There are three.
   [[nodiscard]] pl_status setShutOffWithPsu( PoePort* port, uint8_t psu, bool enable );
   [[nodiscard]] pl_status setPowerLimit( PoePort* port,
                                          pl_poe_power_limit_mode mode,
                                          float watts );
   // The controller's correction of its own memory. With a firmware path it is never switched off.
   [[nodiscard]] pl_status setCrcAutocorrect( bool on );
   [[nodiscard]] pl_status getVoltage( PoePort* port, float* volts );
   [[nodiscard]] pl_status getCurrent( PoePort* port, float* amperes );
   [[nodiscard]] pl_status getTemperature( PoePort* port, float* celsius );
   [[nodiscard]] pl_status getPower( PoePort* port,
                                     float* total,
                                     float* primary,
                                     float* alternative );
   [[nodiscard]] pl_status getDeviceClass( PoePort* port,
                                           pl_poe_device_class* cls,
                                           pl_poe_device_class* primary,
                                           pl_poe_device_class* alternative );
   [[nodiscard]] pl_status getPowerState( PoePort* port,
                                          pl_poe_port_state* state,
                                          pl_poe_port_state* primary,
                                          pl_poe_port_state* alternative,
                                          pl_poe_port_pair_state* pairs );
   // Not `ok` after a fault that was seen three times before.
   [[nodiscard]] pl_status getCrcStatus( PoePort* port, bool* ok );

   // These go on after a failure and return the largest status met. The first port's initialisation
   // is the controller's, too, with its firmware when it has none.
   [[nodiscard]] pl_status portInit( PoePort* port );
   [[nodiscard]] pl_status configPortMap( PoePort* port );

   // Texts are allocated with malloc and freed by the caller. Reports tell a failure in their text
   // and return PL_STATUS_OK; Reports.h says what is in them.
   [[nodiscard]] pl_status debugInfo( PoePort* port, char** out, bool verbose );
   [[nodiscard]] pl_status getPortInformation( PoePort* port, char** out );
   // Without `force` nothing is done to a firmware that runs. PL_STATUS_FAILURE when there is no
   // image or it is no good. The text says how it went, also after a failure, but not of a refusal;
   // ports have no power from the beginning on.
   [[nodiscard]] pl_status reprogramFirmware( PoePort* port, bool force, char** text );

   // A query whose response stays good for two seconds from `last` on, which becomes the time of
   // the request. b1 to b10 are the bytes of the request.
   [[nodiscard]] pl_status queryCustom( uint8_t cmd,
                                        uint8_t b1,
                                        uint8_t b2,
                                        uint8_t b3,
                                        uint8_t b4,
                                        uint8_t b5,
                                        uint8_t b6,
                                        uint8_t b7,
                                        uint8_t b8,
                                        uint8_t b9,
                                        uint8_t b10,
                                        std::string& response,
                                        timespec& last );
   [[nodiscard]] pl_status queryPort( uint8_t port,
                                      uint8_t cmd,
                                      std::string& response,
                                      timespec& last );
   // `delay` units of 4 ms pass before the acknowledgement may be read.
   [[nodiscard]] pl_status configCustom( uint8_t cmd,
                                         uint8_t b1,
                                         uint8_t b2,
                                         uint8_t b3,
                                         uint8_t b4,
                                         uint8_t b5,
                                         uint8_t b6,
                                         uint8_t b7,
                                         uint8_t b8,
                                         uint8_t b9,
                                         uint8_t b10,
                                         uint16_t delay,
                                         bool readAck );
   [[nodiscard]] pl_status configPort( PoePort* port, uint8_t cmd, uint8_t value, uint16_t delay );
   [[nodiscard]] pl_status configSystem( uint8_t cmd, uint8_t value, uint16_t delay );
   // Asks each time. The response is empty when there was none.
   [[nodiscard]] pl_status queryDebug( uint8_t port, uint8_t cmd, std::string& response );

 private:
   struct Query;

   [[nodiscard]] pl_status query( uint8_t cmd,
                                  const Poe::Parameters& parameters,
                                  std::string& response,
                                  timespec& last );
   [[nodiscard]] pl_status configure( uint8_t cmd,
                                      const Poe::Parameters& parameters,
                                      uint16_t delay,
                                      bool readAck );
   [[nodiscard]] pl_status refusal( const PoePort* port ) const;
   [[nodiscard]] pl_status sendShutOffMask( PoePort* port, uint8_t mask );
   void forgetController();

   // The port's answers. Those to the queries are asked for where they are too old; they are kept
   // for the next call when all are good.
   [[nodiscard]] pl_status fetch( const PoePort* port,
                                  std::initializer_list< Query > queries,
                                  PoeCache* answers );
   [[nodiscard]] pl_status measure( const PoePort* port,
                                    double ( *decode )( const std::string& ),
                                    float* out );
   static Query portStatusOf( const PoePort* port );
   static Query channelsOf( const PoePort* port );
   static Query measurementsOf( const PoePort* port );
   static Query channelPowerOf( const PoePort* port );
   static Query systemQuery();
   [[nodiscard]] pl_status followCrc( PoePort* port, bool isGood, bool* ok );
   [[nodiscard]] pl_status configureGlobally( PoePort* port );
   [[nodiscard]] pl_status mapPorts();
   [[nodiscard]] pl_status tell( uint8_t cmd,
                                 std::initializer_list< uint8_t > values,
                                 uint16_t delay );
   bool hasTwoChannels( const PoePort* port ) const;
   uint8_t crcGroup( const PoePort* port ) const;

   // Parts of reprogramFirmware; `outcome` is its text.
   [[nodiscard]] pl_status supplyFirmware( PoePort* port, std::string& outcome );
   [[nodiscard]] pl_status writeFirmware( PoePort* port, std::string& outcome );

   bool globalConfigDone = false;
   std::vector< PoeCache > cache;  // by port id
   uint8_t numPorts;
   uint8_t numAtPorts;
   std::string firmwarePath;
   bool hasFirmwarePath = false;
   bool mpssValueZero;
   std::vector< uint8_t > psuShutOff;     // what the controller was told, by port id
   std::vector< bool > isShutOffUnsure_;  // no acknowledgement came for the latest
   uint8_t crcFailGroup = 0;
   bool crcAutocorrectOn = false;
   bool isReprogramming_ = false;
};

struct BCM59121::Query {
   uint8_t cmd;
   Poe::Parameters parameters;
   Answer PoeCache::*slot;
};

}  // namespace Drivers
