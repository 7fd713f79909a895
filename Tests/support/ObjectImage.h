#pragma once

#include <array>
#include <cstdint>
#include <typeinfo>
#include <utility>
#include <vector>

#include "pl.h"

namespace Tests {

// What each operation of an object image returns, the slot's number added; and which were called.
constexpr pl_status kSlotStatus = 100;

inline std::vector< size_t > calledSlots;

template < size_t kSlot >
pl_status answerWithSlot( void* ) {
   calledSlots.push_back( kSlot );
   return kSlotStatus + static_cast< pl_status >( kSlot );
}

// An object of any kind as it lies in memory: virtual table, `wordsBefore` - 1 words, the host's
// structure, zeros. Its virtual table has every slot answer with its number, so that a test sees
// which slot an operation is.
class ObjectImage {
 public:
   ObjectImage( const std::type_info& type, const void* ops, size_t wordsBefore, uintptr_t id )
       : table_( tableOf( type, std::make_index_sequence< kSlots >() ) ) {
      words_[ 0 ] = reinterpret_cast< uintptr_t >( &table_[ kBeforeSlots ] );
      words_[ 1 ] = id;
      structure_ = &words_[ wordsBefore ];
      structure_[ 1 ] = reinterpret_cast< uintptr_t >( ops );
      structure_[ 2 ] = reinterpret_cast< uintptr_t >( words_.data() );
   }
   ObjectImage( const ObjectImage& ) = delete;
   ObjectImage& operator=( const ObjectImage& ) = delete;

   void* object() { return words_.data(); }
   void* structure() { return structure_; }

 private:
   static constexpr size_t kSlots = 18;
   static constexpr size_t kBeforeSlots = 2;  // offset to the top, type information

   using Table = std::array< uintptr_t, kBeforeSlots + kSlots >;

   template < size_t... kSlotNumbers >
   static Table tableOf( const std::type_info& type, std::index_sequence< kSlotNumbers... > ) {
      return { uintptr_t{ 0 }, reinterpret_cast< uintptr_t >( &type ),
               reinterpret_cast< uintptr_t >( answerWithSlot< kSlotNumbers > )... };
   }

   Table table_;
   std::array< uintptr_t, 8 > words_{};
   uintptr_t* structure_;
};

}  // namespace Tests
