#include "fuzz/fuzz_target.h"

#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>

/// Takes every file of a folder. Fails when there is none.
int main( int Count, char** ppArguments )
{
    int FileCount = 0;
    for ( const auto& Entry : std::filesystem::directory_iterator( Count > 1 ? ppArguments[ 1 ] : "." ) )
    {
        std::ifstream File( Entry.path(), std::ios::binary );
        const std::string Bytes( std::istreambuf_iterator<char>( File ), {} );
        std::printf( "%s\n", Entry.path().filename().c_str() );
        std::fflush( stdout ); // so that the last one is known
        LLVMFuzzerTestOneInput( reinterpret_cast<const uint8_t*>( Bytes.data() ), Bytes.size() );
        ++FileCount;
    }
    return FileCount > 0 ? 0 : 1;
}
