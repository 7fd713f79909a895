#include "SmbusService/Transfer.h"

#include <fmt/format.h>

#include <algorithm>

#include "BoardFiles/Addresses.h"
#include "BoardFiles/Media.h"
#include "BoardFiles/OperationWords.h"

namespace SmbusService {

namespace {

std::string bytes( size_t count ) {
   return fmt::format( "{} byte{}", count, count == 1 ? "" : "s" );
}

bool registerFits( const Transfer& transfer ) {
   uint8_t size = transfer.isSendByte() ? 1 : transfer.address.registerSize;
   return size >= sizeof transfer.reg || transfer.reg >> 8 * size == 0;
}

// Bytes of data that the request must carry.
uint32_t dataSize( const Transfer& transfer ) {
   return transfer.writes() ? transfer.size : 0;
}

}  // namespace

AdapterId AdapterId::of( Smbus::MasterType master,
                         uint32_t pci,
                         uint8_t accelerator,
                         uint8_t bus ) {
   bool hasAccelerators = false;
   bool hasBusses = false;
   for ( const Media::Medium& medium : Media::kAll ) {
      bool isIt = medium.master == master;
      hasAccelerators |= isIt && medium.hasAccelerators();
      hasBusses |= isIt && medium.hasBusses();
   }
   return { master, pci, hasAccelerators ? accelerator : uint8_t{}, hasBusses ? bus : uint8_t{} };
}

AdapterId idOf( const BoardFiles::Wiring::Adapter& adapter ) {
   return AdapterId::of( adapter.master, adapter.pci, static_cast< uint8_t >( adapter.accelerator ),
                         static_cast< uint8_t >( adapter.bus ) );
}

uint32_t Transfer::answerLimit() const {
   switch ( type ) {
      case Smbus::REQUEST_READ:
         return std::max( size, 1u );
      case Smbus::REQUEST_PROCESS_CALL:
         return 2;
      case Smbus::REQUEST_BLOCK_READ:
         return kMaxBlockSize;
      default:
         return 0;
   }
}

Transfer sendByte( const AdapterId& adapter, uint8_t device, uint8_t byte ) {
   Transfer transfer = receiveByte( adapter, device );
   transfer.type = Smbus::REQUEST_WRITE;
   transfer.reg = byte;
   return transfer;
}

Transfer receiveByte( const AdapterId& adapter, uint8_t device ) {
   Transfer transfer{};
   transfer.type = Smbus::REQUEST_READ;
   transfer.address.device = device;
   transfer.address.registerSize = 1;
   transfer.adapter = adapter;
   return transfer;
}

Transfer decode( const Smbus::Request& request ) {
   AddressWord address = AddressWord::of( request.address() );
   return {
      .type = request.type(),
      .address = address,
      .adapter =
         AdapterId::of( request.mastertype(), request.pci(), address.accelerator, address.bus ),
      .reg = request.reg(),
      .size = request.size(),
      .data = request.data(),
      .acknowledgeOptional = request.flag(),
   };
}

std::optional< std::string > problemOf( const Smbus::Request& request, const Transfer& transfer ) {
   // A value that the enumeration does not have reads as an absent field.
   if ( !request.has_type() ) {
      return "missing or unknown request type";
   }
   if ( !request.has_mastertype() ) {
      return "missing or unknown master type";
   }
   if ( uint8_t device = transfer.address.device;
        device < BoardFiles::kFirstAddress || device > BoardFiles::kLastAddress ) {
      return fmt::format( "address 0x{:02x} is reserved", device );
   }
   if ( !transfer.address.registerSize ) {
      return "meaningless register size code";
   }
   if ( !registerFits( transfer ) ) {
      return fmt::format( "register number 0x{:x} is too wide", transfer.reg );
   }
   bool isBlock = transfer.type == Smbus::REQUEST_BLOCK_WRITE;
   uint32_t limit = isBlock ? kMaxBlockSize : kMaxTransferSize;
   if ( transfer.size > limit ) {
      return fmt::format( "more than {} bytes", limit );
   }
   if ( transfer.type == Smbus::REQUEST_PROCESS_CALL && transfer.size != 2 ) {
      return "a process call has a word of data";
   }
   if ( transfer.data.size() != dataSize( transfer ) ) {
      return bytes( transfer.data.size() ) + " of data where " + bytes( dataSize( transfer ) ) +
             " belong";
   }
   return std::nullopt;
}

std::string describe( const Transfer& transfer ) {
   std::string text = BoardFiles::operationWords( transfer.type, transfer.size, transfer.reg,
                                                  transfer.address.registerSize );
   text += fmt::format( ", device 0x{:02x}", transfer.address.device );
   if ( transfer.adapter.accelerator ) {
      text += fmt::format( ", accelerator {}", transfer.adapter.accelerator );
   }
   return text + fmt::format( ", bus {}", transfer.adapter.bus );
}

}  // namespace SmbusService
