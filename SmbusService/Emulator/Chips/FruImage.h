#pragma once

#include <map>
#include <string>

namespace SmbusService::Emulator {

// Texts by name: of the product "manufacturer", "productName", "partNumber", "version",
// "serialNumber", "assetTag", "fileId"; of the board "boardManufacturer", "boardProductName",
// "boardSerialNumber", "boardPartNumber", "boardFileId".
using FruFields = std::map< std::string, std::string, std::less<> >;

// What a FRU memory holds (IPMI Platform Management FRU Information, version 1, English): an area
// for the product and one for the board, where one of its texts is given. std::invalid_argument for
// a field that does not exist, is longer than 63 characters or has others than ISO 8859-1 has.
std::string fruImage( const FruFields& );

}  // namespace SmbusService::Emulator
