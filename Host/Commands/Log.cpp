#include <fmt/format.h>
#include <unistd.h>

#include <CLI/CLI.hpp>
#include <chrono>
#include <memory>
#include <stdexcept>
#include <thread>

#include "BoardFiles/WireRecord.h"
#include "Host/Commands/Commands.h"
#include "Host/Output/Print.h"
#include "Host/Output/WireLine.h"
#include "Host/Session/ControlClient.h"
#include "Host/Session/UseError.h"
#include "Platform/ServicePath.h"
#include "Utils/Text.h"

namespace Host {

namespace {

constexpr std::chrono::milliseconds kInterval( 200 );

struct LogArguments {
   std::string control;
   std::string file;
   bool follow = false;
};

WireTransfer transferOf( const WireRecord& record ) {
   WireTransfer transfer{ .time = record.time,
                          .master = static_cast< uint32_t >( record.master ),
                          .pci = record.pci,
                          .accelerator = record.accelerator,
                          .bus = record.bus,
                          .channels = {},
                          .device = record.device,
                          .operation = record.operation,
                          .size = record.size,
                          .reg = record.reg,
                          .registerSize = record.registerSize,
                          .written = record.written,
                          .read = record.read,
                          .problem = record.problem,
                          .duration = record.duration };
   for ( auto [ mux, channels ] : record.path ) {
      transfer.channels.push_back( { mux, channels } );
   }
   return transfer;
}

// Prints records as they come, and how many there are no more.
class LogPrinter {
 public:
   LogPrinter( const Program& program, const Wiring& wiring )
       : json_( program.json ), names_( wiring ) {}

   void print( const WireRecord& record ) {
      if ( last_ && record.number > last_ + 1 ) {
         complain(
            fmt::format( "lumen: {} transfers are no longer kept", record.number - last_ - 1 ) );
      }
      last_ = record.number;
      std::string line = json_ ? wireRecordText( record ) : textOf( record );
      Host::print( Utils::printable( line ) + '\n' );
   }

   uint64_t last() const { return last_; }

 private:
   std::string textOf( const WireRecord& record ) const {
      std::string who = record.client
                           ? fmt::format( "client {} of uid {}", record.client, record.uid )
                           : "the service itself";
      return fmt::format( "{} [{}]", wireLine( transferOf( record ), names_ ), who );
   }

   bool json_;
   WireNames names_;
   uint64_t last_ = 0;
};

struct Answer {
   std::vector< WireRecord > records;
   uint64_t last;  // that the service has
};

Answer recordsAfter( uint64_t number, ControlClient& service ) {
   std::string answer = service.ask( fmt::format( R"({{"op":"log","after":{}}})", number ) );
   Utils::Json::Document json;
   if ( Utils::Json::parse( answer.c_str(), json ) || !json.IsObject() ||
        !json.HasMember( "records" ) ) {
      throw std::runtime_error( "the service does not hand out a log: " + answer );
   }
   Answer result{ .records = {}, .last = json[ "last" ].GetUint64() };
   for ( const auto& record : json[ "records" ].GetArray() ) {
      result.records.push_back( readWireRecord( record ) );
   }
   return result;
}

// Without following, up to the last transfer that there was at the beginning.
int showKept( const LogArguments& arguments, LogPrinter& printer ) {
   ControlClient service( arguments.control );
   Answer answer = recordsAfter( 0, service );
   uint64_t end = arguments.follow ? UINT64_MAX : answer.last;
   while ( true ) {
      for ( const WireRecord& record : answer.records ) {
         if ( record.number <= end ) {
            printer.print( record );
         }
      }
      if ( !flushOutput() ) {
         return kNotWell;
      }
      if ( printer.last() >= end ) {
         return kAllWell;
      }
      if ( answer.records.empty() ) {
         std::this_thread::sleep_for( kInterval );
      }
      answer = recordsAfter( printer.last(), service );
   }
}

int log( const Program& program, const LogArguments& arguments ) {
   if ( program.emulate && arguments.file.empty() ) {
      throw UseError(
         "an emulator of this program's own keeps no log; --trace-wire shows its "
         "transfers" );
   }
   Board board = loadBoard( program );
   LogPrinter printer( program, board.wiring );
   if ( arguments.file.empty() ) {
      return showKept( arguments, printer );
   }
   std::vector< Finding > findings;
   for ( const WireRecord& record : readWireLog( arguments.file, findings ) ) {
      printer.print( record );
   }
   complain( findings );
   return findings.empty() ? kAllWell : kNotWell;
}

}  // namespace

void addLogCommand( CLI::App& app, Program& program ) {
   auto arguments = std::make_shared< LogArguments >();
   arguments->control = PlatformLibrary::controlPath();
   auto command =
      addCommand( app, program, { "log", "the service's last transfers, with the board's names" },
                  [ &program, arguments ] { return log( program, *arguments ); } );
   auto control =
      command
         ->add_option( "--control", arguments->control,
                       "the service's control socket; PL_SMBUS_CONTROL sets the default" )
         ->type_name( "PATH" )
         ->capture_default_str();
   auto follow = command->add_flag( "--follow", arguments->follow, "go on with what comes" );
   command->add_option( "--file", arguments->file, "what the service's --wire-log has written" )
      ->type_name( "FILE" )
      ->excludes( control )
      ->excludes( follow );
}

}  // namespace Host
