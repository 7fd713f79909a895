#include "Utils/Lasting.h"

#include <memory_resource>

namespace Utils {

void* allocateLasting( size_t size, size_t alignment ) {
   static auto memory = new std::pmr::monotonic_buffer_resource;
   return memory->allocate( size, alignment );
}

}  // namespace Utils
