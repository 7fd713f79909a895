#pragma once

#include <chrono>
#include <optional>
#include <string>
#include <string_view>

namespace Drivers {

// What a field-replaceable unit's memory tells of it, in the IPMI Platform Management FRU
// Information Storage format, version 1.
//
// Texts are UTF-8 without trailing blanks and zeros. They are empty where the memory has none, or
// one of a language other than English, with two bytes a character. Binary fields are hexadecimal
// digits.
struct FruInformation {
   std::string manufacturer;
   std::string productName;
   std::string partNumber;
   std::string version;  // of the Product Info area only, as is the asset tag
   std::string serialNumber;
   std::string assetTag;
   std::string fileId;
   std::optional< uint32_t > manufactured;  // minutes since 1996, modulo 2^24; Board Info area only

   // The Product Info area of the image, or the Board Info area where there is no other. Nothing
   // when the header is damaged, when an area is empty, does not lie inside the image or overlaps
   // another, when the area read has a wrong checksum, or when there is neither. Fields that the
   // area's end cuts short keep what is there.
   static std::optional< FruInformation > decode( std::string_view image );

   // The day that a 24-bit count of minutes means: it is the latest one up to `today`, because the
   // count starts anew in November 2027.
   static std::chrono::sys_days dayOf( uint32_t count, std::chrono::sys_days today );
};

}  // namespace Drivers
