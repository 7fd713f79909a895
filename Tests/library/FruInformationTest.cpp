#include <gmock/gmock.h>

#include "Drivers/Corvid/FruInformation.h"
#include "Tests/support/Hex.h"

using namespace std::chrono;
using Drivers::FruInformation;

namespace {

// The bytes, filled up with zeros, and a last one that makes the sum zero.
std::string summed( const std::string& digits, size_t length ) {
   std::string bytes = Tests::bytesOf( digits );
   bytes.resize( length );
   for ( size_t i = 0; i + 1 < length; ++i ) {
      bytes.back() = static_cast< char >( bytes.back() - bytes[ i ] );
   }
   return bytes;
}

// What follows the version in the header, and areas of four units each.
std::string imageOf( const std::string& header, const std::vector< std::string >& areas ) {
   std::string image = summed( "01" + header, 8 );
   for ( const std::string& area : areas ) {
      image += summed( area, 32 );
   }
   return image;
}

// "manufacturer|product|part|version|serial|tag|file" of an image.
std::string fieldsOf( const std::string& image ) {
   auto unit = FruInformation::decode( image );
   if ( !unit ) {
      return "nothing";
   }
   std::string text = unit->manufacturer;
   for ( const std::string& field : { unit->productName, unit->partNumber, unit->version,
                                      unit->serialNumber, unit->assetTag, unit->fileId } ) {
      text += "|" + field;
   }
   return text;
}

constexpr const char* kProduct = "0000000100";
constexpr const char* kBoardHeader = "0000010000";
constexpr const char* kBoardArea = "010419a08601c24142c24344c25331c25031c0c1";

TEST( FruInformation, DecodesFields ) {
   const std::tuple< const char*, std::vector< std::string >, const char* > rows[] = {
      { kProduct,  // each type, a tail of blanks and zeros
        { "010419c2414202007f4312abcd836673fdc55331200020c2e94100c1c3" },
        "AB|007f|12 -.?|F-7_|S1|\u00e9A|" },
      { kProduct, { "01041984a138922182a13881a1c1" }, "ABCDA|AB|A||||" },  // six bits left over
      { kProduct, { "010419ff4142" }, "AB||||||" },                        // cut short by the end
      { kProduct, { "010408c24142024142c1" }, "|4142|||||" },
      { kBoardHeader, { kBoardArea }, "AB|CD|P1||S1||" },
      { "0000010500", { kBoardArea, "010419c25858c1" }, "XX||||||" },
      { "0a09010500", { kBoardArea, "010419c25858c1", "" }, "nothing" },  // no chassis of no length
      { "0a00010509", { kBoardArea, "010419c25858c1", "" }, "XX||||||" },
   };
   for ( const auto& [ header, areas, fields ] : rows ) {
      EXPECT_EQ( fieldsOf( imageOf( header, areas ) ), fields ) << header;
   }
   EXPECT_EQ( FruInformation::decode( imageOf( kBoardHeader, { kBoardArea } ) )->manufactured,
              100000u );
}

TEST( FruInformation, RefusesDamagedImages ) {
   const std::string sound = imageOf( kProduct, { "010419c25858c1" } );
   ASSERT_EQ( fieldsOf( sound ), "XX||||||" );
   const std::pair< const char*, std::string > rows[] = {
      { "empty", "" },
      { "cut in the header", sound.substr( 0, 7 ) },
      { "cut in the area", sound.substr( 0, 39 ) },
      { "without areas", imageOf( "0000000000", {} ) },
      { "header's sum", "\x02" + sound.substr( 1 ) },
      { "version 2", summed( "020000000100", 8 ) + sound.substr( 8 ) },
      { "padding", imageOf( "000000010001", { "010419c25858c1" } ) },
      { "area of no length", imageOf( kProduct, { "010019c25858c1" } ) },
      { "area beyond the end", imageOf( kProduct, { "010519c25858c1" } ) },
      { "begins beyond the end", imageOf( "00000005ff", { "010419c25858c1" } ) },
      { "areas overlap", imageOf( "0000010200", { "010401c25858c1" } ) },
      { "one area twice", imageOf( "0000010100", { "010401c25858c1" } ) },
      { "internal use in the area", imageOf( "0400000100", { "010419c25858c1" } ) },
      { "area's sum", sound.substr( 0, 39 ) + "\x55" },
   };
   for ( const auto& [ damage, image ] : rows ) {
      EXPECT_EQ( fieldsOf( image ), "nothing" ) << damage;
   }
}

TEST( FruInformation, DatesStartAnewInNovember2027 ) {
   const std::tuple< uint32_t, sys_days, sys_days > rows[] = {
      { 1440, 2027y / 11 / 24, 1996y / 1 / 2 },
      { 1440, 2027y / 11 / 25, 2027y / 11 / 25 },
      { 15'000'000, 2030y / 1 / 1, 2024y / 7 / 8 },
   };
   for ( const auto& [ minutes, today, day ] : rows ) {
      EXPECT_EQ( FruInformation::dayOf( minutes, today ), day ) << minutes;
   }
}

}  // namespace
