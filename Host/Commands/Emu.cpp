#include <fmt/format.h>
#include <fmt/ranges.h>

#include <CLI/CLI.hpp>
#include <algorithm>
#include <limits>
#include <memory>
#include <optional>

#include "Host/Commands/Commands.h"
#include "Host/Commands/Names.h"
#include "Host/Output/EmuReport.h"
#include "Host/Output/Print.h"
#include "Host/Session/EmulatorControl.h"
#include "Host/Session/ParseNumber.h"
#include "Host/Session/UseError.h"
#include "Platform/ServicePath.h"
#include "Utils/Nearest.h"

namespace Host {

namespace {

struct EmuArguments {
   std::string control;
   std::vector< std::string > names;
   std::string name;
   std::string quantity;
   double value = 0;
   std::string kind;
   uint32_t count = 1;
   uint32_t skip = 0;
};

std::vector< EmulatedChip > chipsCalled( EmulatorControl& emulator,
                                         const std::vector< std::string >& names ) {
   std::vector< uint32_t > wanted;
   for ( const std::string& name : names ) {
      wanted.push_back( emulator.find( name ) );
   }
   auto chips = emulator.chips();
   std::erase_if( chips, [ & ]( const EmulatedChip& chip ) {
      return !wanted.empty() && std::ranges::find( wanted, chip.did ) == wanted.end();
   } );
   if ( chips.empty() && !names.empty() ) {
      throw UseError( "the service no longer has the chip" );
   }
   return chips;
}

// One use of the command.
struct Use {
   const Program& program;
   const EmuArguments& arguments;
   const char* operation;  // as the service calls it
   EmulatorControl& emulator;

   void tell( const Utils::Json::Document& answer ) const;
   void askAboutChip( const std::string& members ) const;
};

void Use::tell( const Utils::Json::Document& answer ) const {
   auto value =
      answer.HasMember( "value" ) ? std::optional( answer[ "value" ].GetDouble() ) : std::nullopt;
   if ( program.json ) {
      print( valueJson( program.board, value ) );
   } else if ( value ) {
      print( quantityText( *value ) + "\n" );
   }
}

// With further members of the request, each with its comma.
void Use::askAboutChip( const std::string& members ) const {
   uint32_t did = emulator.find( arguments.name );
   tell( emulator.ask( fmt::format( R"({{"op":"{}","did":{}{}}})", operation, did, members ) ) );
}

void list( const Use& use ) {
   auto chips = chipsCalled( use.emulator, use.arguments.names );
   print( use.program.json ? chipsJson( use.program.board, chips ) : chipsTable( chips ) );
}

// A refusal gets the name that was likely meant, where the chip has no such quantity.
void askAboutQuantity( const Use& use, const std::string& members ) {
   const std::string& quantity = use.arguments.quantity;
   try {
      use.askAboutChip( fmt::format( R"(,"quantity":{}{})", quoted( quantity ), members ) );
   } catch ( const Refusal& refusal ) {
      auto chips = chipsCalled( use.emulator, { use.arguments.name } );
      std::vector< std::string > names;
      for ( const auto& known : chips[ 0 ].quantities ) {
         names.push_back( known.first );
      }
      bool isKnown = std::ranges::find( names, quantity ) != names.end();
      throw UseError( fmt::format( "{}: {}{}", use.arguments.name, refusal.what(),
                                   isKnown ? "" : Utils::didYouMean( quantity, names ) ) );
   }
}

void get( const Use& use ) {
   if ( !use.arguments.quantity.empty() ) {
      return askAboutQuantity( use, "" );
   }
   auto chips = chipsCalled( use.emulator, { use.arguments.name } );
   print( use.program.json ? chipsJson( use.program.board, chips )
                           : quantitiesTable( chips[ 0 ] ) );
}

void set( const Use& use ) {
   askAboutQuantity( use, fmt::format( R"(,"value":{})", use.arguments.value ) );
}

void plugOrUnplug( const Use& use ) {
   use.askAboutChip( "" );
}

void fault( const Use& use ) {
   const std::string& kind = use.arguments.kind;
   auto kinds = faultKindNames();
   if ( std::ranges::find( kinds, kind ) == kinds.end() ) {
      throw UseError( fmt::format( "no kind of fault is called \"{}\"; there are {}{}", kind,
                                   fmt::join( kinds, ", " ), Utils::didYouMean( kind, kinds ) ) );
   }
   use.askAboutChip( fmt::format( R"(,"kind":"{}","count":{},"skip":{})", kind, use.arguments.count,
                                  use.arguments.skip ) );
}

void clear( const Use& use ) {
   if ( use.arguments.name.empty() ) {
      return use.tell( use.emulator.ask( R"({"op":"clear"})" ) );
   }
   use.askAboutChip( "" );
}

struct Row {
   Synopsis synopsis;
   const char* examples;
   void ( *run )( const Use& );
};

int run( const Program& program, const EmuArguments& arguments, const Row& row ) {
   if ( program.emulate ) {
      throw UseError( fmt::format(
         "--emulate has an emulator of this program's own, which ends with it; start one that "
         "stays: lumen-smbusd --emulate {} --control PATH, and give the same --control PATH",
         program.board ) );
   }
   Board board = loadBoard( program );
   EmulatorControl emulator( board, arguments.control );
   row.run( { program, arguments, row.synopsis.name, emulator } );
   return kAllWell;
}

std::string checkFinite( const std::string& text ) {
   using Limits = std::numeric_limits< double >;
   return parseNumber( text, Limits::lowest(), Limits::max() ) ? "" : text + " is no number";
}

constexpr Row kRows[] = {
   { { "list", "the chips with their quantities" },
     "  lumen --board DIR emu list\n"
     "  lumen --board DIR emu list inlet 'scd1<0x48>'",
     list },
   { { "get", "a chip's quantities, or one of them" },
     "  lumen --board DIR emu get inlet\n"
     "  lumen --board DIR emu get inlet temperature",
     get },
   { { "set", "let a chip measure something, or set what hands do to it" },
     "  lumen --board DIR emu set inlet temperature -7.5\n"
     "  lumen --board DIR emu set fan1 present1 0",
     set },
   { { "plug", "put a chip in: it is powered on" },
     "  lumen --board DIR emu plug inlet",
     plugOrUnplug },
   { { "unplug", "take a chip out: it does not answer" },
     "  lumen --board DIR emu unplug inlet",
     plugOrUnplug },
   { { "fault", "let a chip's next transfers fail" },
     "  lumen --board DIR emu fault inlet nak\n"
     "  lumen --board DIR emu fault inlet timeout --count 3 --skip 1",
     fault },
   { { "clear", "forget the faults that wait" },
     "  lumen --board DIR emu clear inlet\n"
     "  lumen --board DIR emu clear",
     clear },
};

void addParameters( CLI::App& command, EmuArguments& arguments ) {
   std::string name = command.get_name();
   if ( name == "list" ) {
      command
         .add_option( "NAME", arguments.names, "objects, labels or device ids; all without it" )
         ->type_name( kChipType );
      return;
   }
   auto chip = command
                  .add_option( "NAME", arguments.name,
                               "an object's name, a device's label or its device id" )
                  ->type_name( kChipType );
   chip->required( name != "clear" );
   if ( name == "get" || name == "set" ) {
      command.add_option( "QUANTITY", arguments.quantity, "as \"emu get NAME\" lists them" )
         ->required( name == "set" );
   }
   if ( name == "set" ) {
      command
         .add_option( "VALUE", arguments.value, "in degrees Celsius, rpm, volts, watts; 0 or 1" )
         ->required()
         ->check( CLI::Validator( checkFinite, "NUMBER" ) );
   }
   if ( name == "fault" ) {
      auto kinds = faultKindNames();
      command.add_option( "KIND", arguments.kind, fmt::format( "{}", fmt::join( kinds, ", " ) ) )
         ->type_name( fmt::format( "{}", fmt::join( kinds, "|" ) ) )
         ->required();
      command.add_option( "--count", arguments.count, "transfers that it strikes, 1 or more" )
         ->type_name( "N" )
         ->check( CLI::Range( 1u, UINT32_MAX ) )
         ->capture_default_str();
      command.add_option( "--skip", arguments.skip, "transfers that it lets pass before" )
         ->type_name( "N" )
         ->check( CLI::Range( 0u, UINT32_MAX ) )
         ->capture_default_str();
   }
}

}  // namespace

void addEmuCommand( CLI::App& app, Program& program ) {
   auto arguments = std::make_shared< EmuArguments >();
   arguments->control = PlatformLibrary::controlPath();
   CLI::App* emu = app.add_subcommand( "emu", "the chips that lumen-smbusd emulates" );
   emu->fallthrough();
   emu->group( kCommandGroup );
   emu->require_subcommand( 1 );
   emu->add_option( "--control", arguments->control,
                    "the service's control socket; PL_SMBUS_CONTROL sets the default" )
      ->type_name( "PATH" )
      ->capture_default_str();
   emu->footer(
      "For a service that was started with\n"
      "  lumen-smbusd --emulate DIR --control PATH" );
   for ( const Row& row : kRows ) {
      CLI::App* command = addCommand( *emu, program, row.synopsis, [ &program, arguments, &row ] {
         return run( program, *arguments, row );
      } );
      addParameters( *command, *arguments );
      command->footer( std::string( "Examples:\n" ) + row.examples );
   }
}

}  // namespace Host
