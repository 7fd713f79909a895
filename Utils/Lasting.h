#pragma once

#include <memory>

namespace Utils {

// Memory for what stays until the process ends, handed out piece behind piece: faster and denser
// than the general heap, and never given back. For the library's one thread.
void* allocateLasting( size_t size, size_t alignment );

template < typename T >
struct LastingAllocator {
   using value_type = T;

   LastingAllocator() = default;
   template < typename Other >
   LastingAllocator( const LastingAllocator< Other >& ) {}

   T* allocate( size_t count ) {
      return static_cast< T* >( allocateLasting( count * sizeof( T ), alignof( T ) ) );
   }
   void deallocate( T*, size_t ) {}
   bool operator==( const LastingAllocator& ) const = default;
};

template < typename T >
std::shared_ptr< T > makeLasting() {
   return std::allocate_shared< T >( LastingAllocator< T >() );
}

}  // namespace Utils
