// Converts an asset file between its two forms: a binary file becomes text, any other is read as text and
// becomes binary. What the library logs meanwhile goes to the console, and makes the conversion a partial
// one.

#include "zan_core/persistence/zan_file.h"
#include "zan_core/zan_asset.h"
#include "zan_core/zan_log.h"

#include <cstdio>
#include <cstring>
#include <fstream>
#include <iterator>
#include <memory>
#include <vector>

namespace
{
enum EExit
{
    Converted = 0,
    Failed = 1,
    WrongUse = 2,
    PartlyConverted = 3
};

class CConsoleLogger final : public CLogger
{
public:
    void Log( int32, const CZanStringView&, int32, const std::string& Message ) override
    {
        std::fputs( Message.c_str(), stderr );
        GHasLogged = true;
    }

    static inline bool GHasLogged = false;
};

bool LoadBytes( const char* pPath, CZanArray<uint8>& Bytes )
{
    std::ifstream Stream( pPath, std::ios::binary );
    const std::vector<char> Chars( ( std::istreambuf_iterator<char>( Stream ) ), {} );
    Bytes = CZanArray<uint8>(
        reinterpret_cast<const uint8*>( Chars.data() ), static_cast<int32>( Chars.size() ) );
    return Stream.is_open() && !Stream.bad();
}

bool SaveBytes( const char* pPath, const CZanArray<uint8>& Bytes )
{
    std::ofstream Stream( pPath, std::ios::binary );
    Stream.write( reinterpret_cast<const char*>( Bytes.GetData() ), Bytes.GetSize() );
    Stream.close();
    return Stream.good();
}
} // namespace

int main( int ArgumentCount, char** pArguments )
{
    if ( ArgumentCount != 3 )
    {
        std::fprintf( stderr, "usage: %s FROM TO\n", pArguments[ 0 ] );
        return WrongUse;
    }
    const char* const pFrom = pArguments[ 1 ];
    const char* const pTo = pArguments[ 2 ];
    SetLogger( std::make_unique<CConsoleLogger>() );

    CZanArray<uint8> Bytes;
    if ( !LoadBytes( pFrom, Bytes ) )
    {
        std::fprintf( stderr, "%s cannot be read\n", pFrom );
        return Failed;
    }
    CMemoryFile From( Bytes, FILE_BINARY, OPEN_READ );
    From.SetName( pFrom );
    CAssetObject Root;
    Root.ReadFromFile( From );
    if ( Bytes.GetSize() < 4 )
    {
        return Failed; // which the log has told
    }

    const bool bWasBinary = std::memcmp( Bytes.GetData(), "@@b@", 4 ) == 0;
    CZanArray<uint8> Result;
    CMemoryFile To( Result, FILE_BINARY, OPEN_WRITE );
    Root.WriteToFile( To, !bWasBinary );
    if ( !SaveBytes( pTo, Result ) )
    {
        std::fprintf( stderr, "%s cannot be written\n", pTo );
        return Failed;
    }
    return CConsoleLogger::GHasLogged ? PartlyConverted : Converted;
}
