#include <gmock/gmock.h>

#include <stdexcept>

#include "Components/HardwareDevice.h"
#include "Components/Xcvr.h"
#include "Tests/support/EveryKind.h"
#include "Tests/support/TraceLog.h"

namespace {

class Xcvr : public testing::Test {
 protected:
   Xcvr() { every_kind_register(); }

   // A new device's; `arguments` is the text of the driver arguments.
   static std::string document( const std::string& arguments, const char* driver = "EveryKind" ) {
      static int did = 2000;
      return R"({ "did": )" + std::to_string( did++ ) + R"(, "driver": ")" + driver +
             R"(", "provideHam": 0, "address": { "address": 80 }, "driverArgs": { )" + arguments +
             " } }";
   }

   static pl_xcvr* add( const std::string& arguments ) {
      return pl_xcvr_add( document( arguments ).c_str() );
   }

   Tests::TraceLog traces;
};

TEST_F( Xcvr, TypeChoosesTheFamily ) {
   using namespace Component::LogicalDevice;
   const std::tuple< const char*, pl_xcvr_type, const pl_xcvr_ops* > rows[] = {
      { "sfp", PL_XCVR_SFP, &SfpXcvr::ops_ },      { "sfp+", PL_XCVR_SFP, &SfpXcvr::ops_ },
      { "qsfp", PL_XCVR_QSFP, &QsfpXcvr::ops_ },   { "qsfp+", PL_XCVR_QSFP, &QsfpXcvr::ops_ },
      { "qsfpDd", PL_XCVR_CMIS, &CmisXcvr::ops_ }, { "qsfpCmis", PL_XCVR_CMIS, &CmisXcvr::ops_ },
   };
   for ( const auto& [ type, code, ops ] : rows ) {
      pl_xcvr* xcvr = add( std::string( R"("id": 3, "type": ")" ) + type + '"' );
      ASSERT_NE( xcvr, nullptr ) << type;
      EXPECT_EQ( xcvr->ops, ops ) << type;
      EXPECT_EQ( xcvr->ops->type, size_t{ code } ) << type;
   }
}

TEST_F( Xcvr, IdIsConvertedFromItsDigits ) {
   const std::pair< const char*, const char* > rows[] = {
      { "12", "12" },
      { R"("12abc")", "12" },
      { R"(" 7")", "7" },
      { "-1", "4294967295" },
   };
   for ( const auto& [ id, traced ] : rows ) {
      pl_xcvr* xcvr = add( R"("type": "sfp", "id": )" + std::string( id ) );
      ASSERT_NE( xcvr, nullptr );
      traces.take();
      xcvr->ops->family.sfp.get_presence( xcvr );
      EXPECT_EQ( traces.lines.at( 0 ), std::string( "4 getPresenceCallback(" ) + traced + ")" );
   }
   EXPECT_THROW( add( R"("type": "sfp", "id": "abc")" ), std::invalid_argument );
   EXPECT_THROW( add( R"("type": "sfp", "id": "2147483648")" ), std::out_of_range );
   EXPECT_THROW( add( R"("id": "abc")" ), std::invalid_argument ) << "before the type is looked at";
}

TEST_F( Xcvr, MistakesInTheDescriptionEndTheProcess ) {
   const std::pair< const char*, const char* > rows[] = {
      { "", "No id argument given for Xcvr\n.*Components/Xcvr.cpp" },
      { R"("type": "sfp")", "No id argument given for Xcvr\n.*Components/Xcvr.cpp" },
      { R"("id": 1)", "No type argument given for Xcvr\n.*Components/Xcvr.cpp" },
      { R"("id": 1, "type": "QSFP")", "Xcvr type QSFP not supported\n.*Components/Xcvr.cpp" },
      { R"("id": 1, "type": "sfp-dd")", "Xcvr type sfp-dd not supported" },
      { R"("id": 1, "type": "")", "Xcvr type  not supported" },
   };
   pl_trace_sink_set( nullptr, nullptr );
   for ( const auto& [ arguments, message ] : rows ) {
      EXPECT_DEATH( add( arguments ), message );
   }
}

TEST_F( Xcvr, DriversThatMakeNoneAreReported ) {
   class None final : public Component::HardwareDevice {
    public:
      Component::LogicalDevice::SfpXcvr* newSfpXcvr( unsigned int, const DriverArgs& ) override {
         return nullptr;
      }
      Component::LogicalDevice::QsfpXcvr* newQsfpXcvr( unsigned int, const DriverArgs& ) override {
         return nullptr;
      }
      Component::LogicalDevice::CmisXcvr* newCmisXcvr( unsigned int, const DriverArgs& ) override {
         return nullptr;
      }
   };
   Drivers::drivers[ "None" ] = []( const auto&, Ham::Ham* ) { return new None; };
   const std::pair< const char*, const char* > rows[] = {
      { "sfp+", "0 newSfpXcvr() failed" },
      { "qsfp+", "0 newQsfpXcvr() failed" },
      { "qsfpDd", "0 newCmisXcvr() failed" },
   };
   for ( const auto& [ type, trace ] : rows ) {
      std::string json = document( R"("id": 1, "type": ")" + std::string( type ) + '"', "None" );
      EXPECT_EQ( pl_xcvr_add( json.c_str() ), nullptr );
      EXPECT_EQ( traces.lines.back(), trace );
   }
}

}  // namespace
