#include <fmt/format.h>

#include <cerrno>
#include <functional>
#include <thread>

#include "Tests/endtoend/Service.h"
#include "Tests/faults/Parts.h"
#include "Tests/faults/Sensors.h"
#include "Tests/support/FakeService.h"

namespace Tests::Faults {

namespace {

using Answer = Smbus::TransactionResponse;

constexpr unsigned kTimeLimit = 120;  // ms
constexpr int kSteps = 5;             // two selections, the reading, two resets
constexpr int kReading = 2;
constexpr int kAttempts = 10;  // at hitting a step on a busy machine
constexpr const char* kUnseen = "a fault goes unseen";

// The chip of each step, and how many transfers pass before.
constexpr struct {
   int did;
   int skip;
} kBusSteps[ kSteps ] = { { 1, 0 }, { 2, 0 }, { 10, 0 }, { 2, 1 }, { 1, 1 } };

// Whether a reading that a fault may strike is an error. Those after it must be right, also the one
// of a sensor whose answer would look the same.
bool strike(
   Row& row, const std::function< void() >& clear = [] {} ) {
   ++row.faults;
   uint32_t right = row.tally.right;
   read( 0, row.tally );
   bool isSeen = row.tally.right == right;
   clear();
   for ( size_t sensor : { 1, 0 } ) {
      row.require( readsRight( sensor, row.tally ), "no right reading after the fault" );
   }
   row.judge();
   return isSeen;
}

void failOnBus( Report& report, const Service& service, const char* kind ) {
   Row& row = report.add( fmt::format( "bus: {}", kind ) );
   bool isOfMux = kind == std::string( "stuck-mux" );
   bool isOfReading = kind == std::string( "corrupt" ) || kind == std::string( "short" );
   for ( int step = 0; step < kSteps; ++step ) {
      // A mux that keeps its channel at a reset hurts nobody.
      if ( isOfMux ? step < kReading : !isOfReading || step == kReading ) {
         service.tell( fmt::format( R"({{"op":"fault","did":{},"kind":"{}","skip":{}}})",
                                    kBusSteps[ step ].did, kind, kBusSteps[ step ].skip ) );
         row.require( strike( row ), kUnseen );
      }
   }
}

struct FrameFault {
   const char* name;
   void ( *send )( int client, int step, Answer& );
};

// Where a step's answer begins in the frame.
size_t beginOf( int step, const Answer& answer ) {
   Answer before;
   for ( int i = 0; i < step; ++i ) {
      *before.add_response() = answer.response( i );
   }
   return frameOf( before ).size();
}

void awaitLeaving( int client ) {
   receiveBytes( client, 1 );
}

const FrameFault kFrameFaults[] = {
   { "answers are missing",
     []( int client, int step, Answer& answer ) {
        answer.mutable_response()->DeleteSubrange( step, kSteps - step );
        sendBytes( client, frameOf( answer ) );
     } },
   { "more answers than requests",
     []( int client, int step, Answer& answer ) {
        while ( answer.response_size() <= kSteps + step ) {
           answer.add_response();
        }
        sendBytes( client, frameOf( answer ) );
     } },
   { "frame broken off",
     []( int client, int step, Answer& answer ) {
        sendBytes( client, frameOf( answer ).substr( 0, beginOf( step, answer ) + 1 ) );
        shutdown( client, SHUT_RDWR );
     } },
   { "frame never ends",
     []( int client, int step, Answer& answer ) {
        sendBytes( client, frameOf( answer ).substr( 0, beginOf( step, answer ) + 1 ) );
        awaitLeaving( client );
     } },
   { "frame corrupt",
     []( int client, int step, Answer& answer ) {
        std::string frame = frameOf( answer );
        frame[ beginOf( step, answer ) + 1 ] = 0x7f;
        sendBytes( client, frame );
     } },
   { "frame longer than may be",
     []( int client, int step, Answer& ) {
        sendBytes( client, { 0, 16, 0, static_cast< char >( 1 + step ) } );
        awaitLeaving( client );
     } },
   { "bytes behind the frame",
     []( int client, int step, Answer& answer ) {
        sendBytes( client, frameOf( answer ) + std::string( 1 + step, '\0' ) );
     } },
   { "another request's answer",
     []( int client, int step, Answer& answer ) {
        answer.set_id( answer.id() - 1 - step );
        sendBytes( client, frameOf( answer ) );
     } },
   { "answer comes late",
     []( int client, int, Answer& answer ) {
        awaitLeaving( client );
        sendBytes( client, frameOf( answer ) );
     } },
   { "error for an answer",
     []( int client, int step, Answer& answer ) {
        constexpr int kErrors[] = { ENXIO, EREMOTEIO, EIO, ETIMEDOUT, EBUSY };
        answer.clear_response();
        answer.set_failure( kErrors[ step ] );
        answer.mutable_details()->set_request( static_cast< uint32_t >( step ) );
        sendBytes( client, frameOf( answer ) );
     } },
   { "connection closed", []( int client, int, Answer& ) { shutdown( client, SHUT_RDWR ); } },
};

// Between the client and the service: hands on what either says, but for an answer whose place a
// fault takes.
class Proxy {
 public:
   explicit Proxy( std::string service )
       : service_( std::move( service ) ),
         front_( { kConnections, [ this ]( FakeService&, int client ) { serve( client ); } } ) {}

   void arm( const FrameFault* fault, int step ) {
      step_ = step;
      fault_ = fault;
   }

 private:
   static constexpr size_t kConnections = 1000;

   void serve( int client ) {
      int service = socketAt( service_, connect );
      std::string payload;
      while ( receivePayload( client, payload ) ) {
         Smbus::TransactionRequest batch;
         Answer answer;
         batch.ParseFromString( payload );
         sendBytes( service, frameOf( batch ) );
         if ( !receivePayload( service, payload ) ) {
            break;
         }
         answer.ParseFromString( payload );
         if ( const FrameFault* fault = fault_.exchange( nullptr ) ) {
            fault->send( client, step_, answer );
         } else {
            sendBytes( client, frameOf( answer ) );
         }
      }
      close( service );
   }

   std::string service_;
   std::atomic< int > step_ = 0;
   std::atomic< const FrameFault* > fault_ = nullptr;
   FakeService front_;
};

void failFrames( Report& report, const Service& service ) {
   Proxy proxy( service.path );
   use( getenv( "PL_SMBUS_SOCKET" ), kTimeLimit );
   for ( const FrameFault& fault : kFrameFaults ) {
      Row& row = report.add( fmt::format( "frame: {}", fault.name ) );
      for ( int step = 0; step < kSteps; ++step ) {
         readsRight( 0, row.tally );  // connects
         proxy.arm( &fault, step );
         row.require( strike( row ), kUnseen );
      }
   }
}

// The number of the latest transfer.
unsigned transfersOf( const Service& service ) {
   unsigned last = 0;
   std::string answer = service.tell( R"({"op":"log","after":4000000000})" );
   sscanf( answer.c_str(), R"({"ok":true,"last":%u)", &last );
   return last;
}

// Signals the service while it performs a step, which the bus makes last for some milliseconds.
bool signalInStep(
   Row& row, Service& service, unsigned step, int number, const std::function< void() >& undo ) {
   use( service.path, kTimeLimit );
   readsRight( 0, row.tally );
   unsigned due = transfersOf( service ) + step;
   std::jthread striker( [ & ]( const std::stop_token& isOver ) {
      while ( transfersOf( service ) < due && !isOver.stop_requested() ) {
      }
      usleep( 2'000 );
      service.process->signal( number );
   } );
   return strike( row, [ & ] {
      striker.request_stop();
      striker.join();
      undo();
      use( service.path, kTimeLimit );
   } );
}

void failInSteps( Row& row, Service& service, int number, const std::function< void() >& undo ) {
   for ( unsigned step = 0; step < kSteps; ++step ) {
      bool isSeen = false;
      for ( int i = 0; i < kAttempts && !isSeen; ++i ) {
         isSeen = signalInStep( row, service, step, number, undo );
      }
      row.require( isSeen, kUnseen );
   }
}

void failService( Report& report, const std::string& program ) {
   Board board( R"("bitRate": 2000, )" );
   Service service( program + board.path() );
   failInSteps( report.add( "service: killed in a batch" ), service, SIGKILL, [ & ] {
      service.process->wait();
      service.start();
   } );
   failInSteps( report.add( "service: stopped in a batch" ), service, SIGSTOP,
                [ & ] { service.process->signal( SIGCONT ); } );
}

}  // namespace

void failBatchSteps( Report& report, const std::string& program ) {
   Board board;
   Service service( program + board.path() );
   use( service.path, kTimeLimit );
   for ( const char* kind : { "nak", "timeout", "corrupt", "short", "stuck-mux" } ) {
      failOnBus( report, service, kind );
   }
   failFrames( report, service );
   failService( report, program );
}

}  // namespace Tests::Faults
