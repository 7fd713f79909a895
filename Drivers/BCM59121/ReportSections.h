#pragma once

#include <cstdint>
#include <span>
#include <string>

// What the reports about a port consist of: what to ask for, and what to say of the response.
namespace Drivers::Poe {

struct Field {
   const char* label;
   std::string ( *value )( const std::string& response );
};

struct Section {
   const char* title;
   uint8_t command;
   bool isOfPort;         // or of the controller
   bool isForDevelopers;  // or for everybody
   std::span< const Field > fields;
};

// In the order of the text.
std::span< const Section > reportSections();

}  // namespace Drivers::Poe
