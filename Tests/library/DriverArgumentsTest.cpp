#include <gmock/gmock.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstdio>

#include "BoardFiles/DriverTable.h"
#include "BoardFiles/Kind.h"
#include "Components/Fan.h"
#include "Tests/support/SensorChip.h"
#include "Utils/Json.h"
#include "Utils/NotImplementedException.h"

// The table of driver arguments against the drivers.

namespace DriverTable = BoardFiles::DriverTable;
using Tests::DriverArguments;
using Utils::Json::Value;

namespace {

// A device on a fake HAM is made, and an object of it.
bool makes( const std::string& driver, const std::string& kind, const DriverArguments& arguments ) {
   Tests::FakeHam ham;
   ham.load( 0xFF, "0468" );  // a TMP468
   ham.fixed = { 0xC4 };      // whose lock opens
   ham.load( 0x9A, "0124" );  // an IR3570A
   ham.load( 0x9B, "0103" );
   ham.load( 0x49, "ff" );  // fan modules
   Component::HardwareDevice* device = Tests::createDevice( driver, ham, arguments );
   auto args = Tests::argumentsOf( arguments );
   return kind == "temp_sensor" ? device->newTempSensor( args ) != nullptr
          : kind == "fan"       ? device->newFan( args ) != nullptr
          : kind == "led"       ? device->newLed( args ) != nullptr
          : kind == "slot"      ? device->newSlot( args ) != nullptr
          : kind == "poe_port"  ? device->newPoePort( args ) != nullptr
          : kind == "gpio"      ? device->newGpio( args ) != nullptr
          : kind == "psu"       ? device->newPsu( args ) != nullptr
          : kind == "xcvr"      ? device->newSfpXcvr( 1, args ) || device->newQsfpXcvr( 1, args ) ||
                                device->newCmisXcvr( 1, args )
          : kind == "mux" ? device->newMux( args, 1 ) != nullptr
                          : device->newSmbusProxy( args ) != nullptr;
}

// The same in a process that may end as it likes.
bool accepts( const std::string& driver, const std::string& kind, const DriverArguments& args ) {
   pid_t child = fork();
   if ( child == 0 ) {
      freopen( "/dev/null", "w", stderr );
      bool made = false;
      try {
         made = makes( driver, kind, args );
      } catch ( const std::exception& ) {
      }
      _exit( made ? 0 : 1 );
   }
   int status = 0;
   waitpid( child, &status, 0 );
   return WIFEXITED( status ) && WEXITSTATUS( status ) == 0;
}

std::string textOf( const Value& value ) {
   return value.IsString() ? value.GetString() : Utils::Json::write( value );
}

// Values that are none of the argument's.
std::vector< std::string > wrongValues( const Value& argument ) {
   std::vector< std::string > values;
   if ( argument[ "type" ] != "text" ) {
      values.push_back( "x" );
   }
   if ( argument.HasMember( "values" ) ) {
      values.push_back( argument[ "type" ] == "text" ? "x" : "77" );
   }
   if ( argument.HasMember( "maximum" ) ) {
      values.push_back( std::to_string( argument[ "minimum" ].GetInt() - 1 ) );
      values.push_back( std::to_string( argument[ "maximum" ].GetInt() + 1 ) );
   }
   return values;
}

DriverArguments examplesOf( const std::vector< const Value* >& rules ) {
   DriverArguments examples;
   for ( const Value* rule : rules ) {
      if ( rule->HasMember( "example" ) ) {
         examples[ ( *rule )[ "name" ].GetString() ] = textOf( ( *rule )[ "example" ] );
      }
   }
   return examples;
}

// That the drivers make what the table has is seen below.
TEST( DriverTable, HasEveryDriverAndKind ) {
   EXPECT_EQ( DriverTable::driverNames().size(), Drivers::drivers.size() );
   std::vector< std::string > hams;
   std::ranges::transform( Ham::hams, std::back_inserter( hams ),
                           []( const auto& ham ) { return ham.first; } );
   EXPECT_EQ( DriverTable::hamNames(), hams );
   std::vector< std::string > kinds( BoardFiles::kKindNames.begin(), BoardFiles::kKindNames.end() );
   std::ranges::replace( kinds, "system", "mux" );
   for ( const auto& [ name, factory ] : Drivers::drivers ) {
      const Value* driver = DriverTable::driver( name );
      ASSERT_TRUE( driver ) << name;
      EXPECT_THAT( kinds, testing::IsSupersetOf( DriverTable::kindsOf( *driver ) ) ) << name;
      for ( const std::string& kind : kinds ) {
         if ( !DriverTable::makes( *driver, kind ) ) {
            auto examples = examplesOf( DriverTable::rulesFor( *driver, kind ) );
            EXPECT_THROW( makes( name, kind, examples ), NotImplementedException ) << name << kind;
         }
      }
   }
}

TEST( DriverArguments, AreAsTheTableSays ) {
   for ( const std::string& name : DriverTable::driverNames() ) {
      const Value& driver = *DriverTable::driver( name );
      for ( const std::string& kindName : DriverTable::kindsOf( driver ) ) {
         if ( kindName == "gpio" && name != "Dummy" && !driver.HasMember( "device" ) ) {
            continue;
         }
         auto rules = DriverTable::rulesFor( driver, kindName );
         DriverArguments all = examplesOf( rules );
         ASSERT_TRUE( accepts( name, kindName, all ) ) << name << " " << kindName;
         for ( const Value* rule : rules ) {
            const Value& argument = *rule;
            std::string key = argument[ "name" ].GetString();
            if ( !all.contains( key ) ) {
               continue;
            }
            auto without = all;
            without.erase( key );
            EXPECT_EQ( accepts( name, kindName, without ), !argument.HasMember( "required" ) )
               << name << " " << kindName << " without " << key;
            for ( const std::string& wrong : wrongValues( argument ) ) {
               auto changed = all;
               changed[ key ] = wrong;
               EXPECT_FALSE( accepts( name, kindName, changed ) )
                  << name << " " << kindName << " " << key << "=" << wrong;
            }
            if ( argument[ "type" ] == "integer" ) {
               auto changed = all;
               changed[ key ] = "";
               EXPECT_EQ( accepts( name, kindName, changed ),
                          argument.HasMember( "mayBeEmpty" ) && !argument.HasMember( "required" ) )
                  << name << " " << kindName << " " << key << " empty";
               changed[ key ] = std::to_string( argument[ "example" ].GetInt() + 256 );
               EXPECT_EQ( accepts( name, kindName, changed ),
                          argument.HasMember( "bits" ) || !argument.HasMember( "maximum" ) )
                  << name << " " << kindName << " " << key << "=" << changed[ key ];
            }
         }
      }
   }
}

TEST( DriverArgumentsDeathTest, BoardControllersSayWhatIsWrong ) {
   const std::string led = "bank-io-0=0; bank-io-1=0; pinRed=0; pinGreen=1";
   const std::tuple< const char*, const char*, std::string, const char* > rows[] = {
      { "CpuCPLD", "led", "", R"(`args.driverArgs.find( "fanId" ) != args.driverArgs.end()')" },
      { "CpuCPLD", "fan", "fanId=8; G2maxRpm=1", "`it != args.end()'" },
      { "TarnRearCardCPLD", "fan", "position=0", "`fanIdIter != args.end()'" },
      { "TarnRearCardCPLD", "fan", "fanId=1", "`posIter != args.end()'" },
      { "TarnRearCardCPLD", "fan", "fanId=16", "`id < 16'" },
      { "TarnRearCardCPLD", "fan", "fanId=1; position=-1", "`position < 8'" },
      { "TarnRearCardCPLD", "led", "position=1",
        "Error: Failed to find fanId for TarnRearCardCPLD::newLed" },
      { "TarnRearCardCPLD", "led", "fanId=1",
        "Error: expected 'position' in TarnRearCardCPLD::newLed" },
      { "TarnRearCardCPLD", "slot", "", "Error: expected 'fanId' in driverArgs" },
      { "TarnRearCardCPLD", "slot", "fanId=16", "Error: expected 'position' in driverArgs" },
      { "TarnRearCardCPLD", "slot", "fanId=16; position=1", "`fanId < 16'" },
      { "TarnRearCardCPLD", "slot", "fanId=15; position=8", "`position < 8'" },
      { "MorrowFanspinnerController", "fan", "", "`fanIdIter != args.driverArgs.end()'" },
      { "MorrowFanspinnerController", "fan", "fanId=1", "`max != args.driverArgs.end()'" },
      { "MorrowFanspinnerController", "fan", "fanId=1; maxRpm=1",
        "`min != args.driverArgs.end()'" },
      { "QuillonRearCardStatusLed", "led", "", "`it != args.driverArgs.end()'" },
      { "QuillonRearCardStatusLed", "led", "type=fan",
        "Error: failed to find driverArg forQuillonRearCardStatusLed::newLed\nDrivers/Corvid/Q" },
      { "TarnStatusLed", "led", "bank-io-0=1", "`it != args.driverArgs.end()'" },
      { "TarnStatusLed", "led", "bank-io-0=0; bank-io-1=0; pinRed=0; pinGreen=",
        "`ledPins_[ 1 ].present && ledPins_[ 0 ].present'" },
      { "TarnStatusLed", "led", led + "; pinBlue=8", "`tmp < 8'" },
      { "TarnStatusLed", "led", led + "; bankBlue=-1", "`tmp < ( unsigned )pca9555_->numBanks_'" },
   };
   for ( const auto& [ driver, kind, arguments, text ] : rows ) {
      EXPECT_DEATH( makes( driver, kind, Tests::pairsOf( arguments ) ), testing::HasSubstr( text ) )
         << driver << " " << arguments;
   }
   Tests::FakeHam ham;
   ham.load( 0x49, "ff" );
   auto args = Tests::pairsOf( "fanId=1; position=1; maxRpm=1; minRpm=0; isOuter=1" );
   for ( const char* driver : { "TarnRearCardCPLD", "MorrowFanspinnerController" } ) {
      auto fan = Tests::createDevice( driver, ham )->newFan( Tests::argumentsOf( args ) );
      EXPECT_DEATH( ( void )fan->setRpm( -1 ), "`rpm >= 0'" );
   }
}

}  // namespace
