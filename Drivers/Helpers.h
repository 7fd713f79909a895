#pragma once

#include <cstdint>
#include <string>

#include "pl.h"

namespace Component {
class HardwareDevice;
namespace LogicalDevice {
class Gpio;
}
}  // namespace Component

// Routines for drivers, here and in code that links the library.
#pragma GCC visibility push( default )

namespace Drivers {

// Fills a text template whose placeholders are keys in braces, such as {serialNum}: start(), any
// number of set(), then str() or charPtr(). Another order, or a key that the template does not
// hold, is an assertion.
class FormatFdl {
 public:
   explicit FormatFdl( std::string fdl );

   void start();
   // Replaces every occurrence of the key's placeholder; the value must not contain it. Returns
   // true.
   bool set( std::string key, std::string value );
   std::string str();
   const char* charPtr();  // owned by this object, valid until the next start()

 private:
   bool active_ = false;
   std::string template_;
   std::string text_;
};

// Runs a shell command and collects what it prints, also when it fails. PL_STATUS_OK,
// PL_STATUS_IO_ERROR when the time ran out, or PL_STATUS_FAILURE. It returns within a second of the
// limit, whatever the command left in the background; a limit of 0 is none.
[[nodiscard]] pl_status runCmd( const char* cmd, std::string& output, unsigned int timeoutSeconds );

// A copy of the device arguments with one more driver argument, last. The caller frees *out. False,
// after a trace, when the text is not JSON or a text is not UTF-8; a document without "driverArgs"
// is an assertion.
bool insertDriverArg( const char* devArgs, char** out, const char* key, const char* value );

// The hardware device of a labelled device of the topology, found or created. `defaultDriver`
// serves a device whose arguments name no driver, from now on. An unknown label is an assertion, as
// is a device that cannot be created.
Component::HardwareDevice* getHardwareDeviceByLabel( const char* label, std::string defaultDriver );

// A bit of an 8-bit register of the device. A labelled device without a driver becomes a "Dummy".
Component::LogicalDevice::Gpio* getRegGpioForDevice( Component::HardwareDevice* device,
                                                     uint32_t reg,
                                                     uint32_t bit );
Component::LogicalDevice::Gpio* getRegGpioForDevice( const char* label,
                                                     uint32_t reg,
                                                     uint32_t bit );

// Without leading and trailing blanks and tabs.
std::string trim( const std::string& text );

// Whether the bytes add up to 0, modulo 256.
bool zeroChecksum( std::string& bytes );

}  // namespace Drivers

#pragma GCC visibility pop
