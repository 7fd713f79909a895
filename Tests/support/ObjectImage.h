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
       : table_( tableOf( type, std::make_index_sequence< kSlots >() ) ),
         words_{ &table_[ 2 ], reinterpret_cast< void* >( id ) },
         structure_( &words_[ wordsBefore ] ) {
      structure_[ 1 ] = ops;
      structure_[ 2 ] = words_;
   }
   ObjectImage( const ObjectImage& ) = delete;

   void* object() { return words_; }
   void* structure() { return structure_; }

 private:
   static constexpr size_t kSlots = 18;

   using Table = std::array< const void*, 2 + kSlots >;  // offset to the top, type, slots

   template < size_t... kNumbers >
   static Table tableOf( const std::type_info& type, std::index_sequence< kNumbers... > ) {
      return { nullptr, &type, reinterpret_cast< const void* >( answerWithSlot< kNumbers > )... };
   }

   Table table_;
   const void* words_[ 8 ];
   const void** structure_;
};

}  // namespace Tests
