#include "BoardFiles/WireRecord.h"

#include <fmt/format.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <filesystem>
#include <fstream>
#include <system_error>

#include "BoardFiles/Documents.h"
#include "Utils/Text.h"

namespace BoardFiles {

namespace {

using std::chrono::duration;
using Utils::Json::Value;

constexpr std::array< const char*, 5 > kOperations = {
   "read", "write", "process-call", "block-read", "block-write" };  // as Smbus::RequestType
constexpr int kHexadecimal = 16;
constexpr size_t kMostFindings = 20;

std::string hexText( const std::string& bytes ) {
   std::string text;
   for ( char byte : bytes ) {
      fmt::format_to( std::back_inserter( text ), "{:02x}", static_cast< uint8_t >( byte ) );
   }
   return text;
}

std::string bytesIn( const Value& value ) {
   std::string_view text( value.GetString(), value.GetStringLength() );
   std::string bytes;
   for ( size_t i = 0; i + 1 < text.size(); i += 2 ) {
      uint8_t byte = 0;
      std::from_chars( &text[ i ], &text[ i ] + 2, byte, kHexadecimal );
      bytes += static_cast< char >( byte );
   }
   return bytes;
}

std::string pathText( const WireRecord& record ) {
   std::string text;
   for ( auto [ mux, channels ] : record.path ) {
      text +=
         fmt::format( R"({}{{"mux":{},"channels":{}}})", text.empty() ? "" : ",", mux, channels );
   }
   return text;
}

std::string quoted( const std::string& text ) {
   return Utils::Json::write( Value( rapidjson::StringRef( text.c_str(), text.size() ) ) );
}

template < typename Duration >
Duration durationOf( const Value& value, double unit ) {
   return std::chrono::round< Duration >( duration< double >( value.GetDouble() * unit ) );
}

}  // namespace

std::string wireRecordText( const WireRecord& record ) {
   std::chrono::duration< double > time = record.time.time_since_epoch();
   std::chrono::duration< double, std::micro > length = record.duration;
   return fmt::format(
      R"({{"number":{},"time":{:.6f},"client":{},"uid":{},"master":{},"pci":{},"accelerator":{},)"
      R"("bus":{},"path":[{}],"device":{},"operation":"{}","register":{},"registerSize":{},)"
      R"("size":{},"written":"{}","read":"{}","status":{},"problem":{},"microseconds":{:.1f}}})",
      record.number, time.count(), record.client, record.uid, static_cast< int >( record.master ),
      record.pci, record.accelerator, record.bus, pathText( record ), record.device,
      kOperations.at( record.operation ), record.reg, record.registerSize, record.size,
      hexText( record.written ), hexText( record.read ), record.status,
      quoted( Utils::printable( record.problem ) ), length.count() );
}

WireRecord readWireRecord( const Value& value ) {
   auto number = [ & ]( const char* key ) { return value[ key ].GetUint(); };
   auto operation =
      std::ranges::find( kOperations, std::string_view( value[ "operation" ].GetString() ) );
   WireRecord record{
      .number = value[ "number" ].GetUint64(),
      .time = std::chrono::system_clock::time_point(
         durationOf< std::chrono::microseconds >( value[ "time" ], 1 ) ),
      .client = value[ "client" ].GetUint64(),
      .uid = number( "uid" ),
      .master = static_cast< Smbus::MasterType >( number( "master" ) ),
      .pci = number( "pci" ),
      .accelerator = number( "accelerator" ),
      .bus = number( "bus" ),
      .device = static_cast< uint8_t >( number( "device" ) ),
      .operation = static_cast< Smbus::RequestType >( operation - kOperations.begin() ),
      .reg = number( "register" ),
      .registerSize = static_cast< uint8_t >( number( "registerSize" ) ),
      .size = number( "size" ),
      .written = bytesIn( value[ "written" ] ),
      .read = bytesIn( value[ "read" ] ),
      .status = value[ "status" ].GetInt(),
      .problem = Utils::printable( value[ "problem" ].GetString() ),
      .duration = durationOf< std::chrono::nanoseconds >( value[ "microseconds" ], 1e-6 ),
   };
   for ( const Value& mux : value[ "path" ].GetArray() ) {
      record.path.emplace_back( mux[ "mux" ].GetUint(), mux[ "channels" ].GetUint() );
   }
   return record;
}

namespace {

// What is wrong with the bytes that were read, if anything.
std::string problemOf( const WireRecord& record ) {
   bool isRead = record.operation == Smbus::REQUEST_READ;
   if ( record.status || !( isRead || record.operation == Smbus::REQUEST_PROCESS_CALL ) ) {
      return {};
   }
   size_t size = isRead ? std::max( record.size, 1u ) : 2;
   return record.read.size() == size
             ? ""
             : fmt::format( "{} bytes were read where {} belong", record.read.size(), size );
}

}  // namespace

std::vector< WireRecord > readWireLog( const std::string& path, std::vector< Finding >& findings ) {
   std::vector< WireRecord > records;
   std::error_code error;
   if ( !std::filesystem::is_regular_file( path, error ) ) {
      findings.push_back( { path, "", error ? error.message() : "is no file" } );
      return {};
   }
   std::ifstream file( path );
   if ( !file ) {
      findings.push_back( { path, "", std::generic_category().message( errno ) } );
   }
   size_t number = 0;
   for ( std::string line; findings.size() < kMostFindings && std::getline( file, line ); ) {
      BoardFile text = readWireLine( fmt::format( "{}:{}", path, ++number ), line, findings );
      if ( !text.sound ) {
         continue;
      }
      WireRecord record = readWireRecord( text.json );
      if ( auto problem = problemOf( record ); problem.empty() ) {
         records.push_back( std::move( record ) );
      } else {
         findings.push_back( { text.path, "/read", problem } );
      }
   }
   return records;
}

}  // namespace BoardFiles
