#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput( const uint8_t* data, size_t size );

// Feeds a fuzz target with every file of a folder.
int main( int argc, char** argv ) {
   if ( argc != 2 ) {
      fprintf( stderr, "usage: %s FOLDER\n", argv[ 0 ] );
      return 2;
   }
   int count = 0;
   for ( const auto& entry : std::filesystem::directory_iterator( argv[ 1 ] ) ) {
      std::ifstream file( entry.path(), std::ios::binary );
      const std::vector< char > bytes{ std::istreambuf_iterator< char >( file ), {} };
      LLVMFuzzerTestOneInput( reinterpret_cast< const uint8_t* >( bytes.data() ), bytes.size() );
      ++count;
   }
   printf( "%d files\n", count );
   return count > 0 ? 0 : 1;
}
