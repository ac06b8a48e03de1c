#include "benchmarks/zan_bench.h"
#include "zan_core/persistence/zan_file.h"
#include "zan_core/zan_asset.h"

#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>

namespace
{
using CBytes = CZanArray<uint8>;

/// Objects with a mesh's worth of numbers, and some with many short properties, until the file has about
/// ByteCount bytes.
std::unique_ptr<CAssetObject> MakeTree( int32 ByteCount, int32 NumberCount )
{
    std::mt19937 Generator( 1 );
    auto pRoot = std::make_unique<CAssetObject>();
    for ( int32 Size = 0; Size < ByteCount; )
    {
        CAssetObject& Object = pRoot->AddObject( "group" ).AddObject( "mesh" );
        CZanArray<SAssetProperty>& Properties = Object.AccessProperties();
        CZanArray<float> Floats( 3 * NumberCount );
        CZanArray<int32> Ints( NumberCount );
        Floats.ForEach( [ & ]( float& Float ) { Float = static_cast<float>( Generator() ) / 65536; } );
        Ints.ForEach( [ & ]( int32& Int ) { Int = static_cast<int32>( Generator() % 100000 ); } );
        Properties.AppendEmplace( "positions", Floats );
        Properties.AppendEmplace( "indices", Ints );
        Properties.AppendEmplace( "material", CZanStringView( "stone/granite_dark_07" ) );
        Properties.AppendEmplace( "layers", std::initializer_list<CString>{ "base", "detail", "decals" } );
        Properties.AppendEmplace( "lod", 3 );
        Properties.AppendEmplace( "radius", 12.5f );
        Size += 16 * NumberCount + 170;
    }
    return pRoot;
}

void Write( const CAssetObject& Root, bool bBinary, CBytes& Bytes )
{
    CMemoryFile File( Bytes, FILE_BINARY, OPEN_WRITE );
    File.Open( FILE_BINARY, OPEN_WRITE );
    Root.WriteToFile( File, bBinary );
}

CBytes Write( const CAssetObject& Root, bool bBinary )
{
    CBytes Bytes;
    Write( Root, bBinary, Bytes );
    return Bytes;
}

void Read( CBytes& Bytes, CAssetObject* pRoot )
{
    CMemoryFile File( Bytes, FILE_BINARY, OPEN_READ );
    pRoot->ReadFromFile( File );
}

/// Has malloc join the small blocks that were freed, which it otherwise does when it is next asked for a
/// large one.
void SettleHeap()
{
    void* pLarge = std::malloc( 65536 );
    benchmark::DoNotOptimize( pLarge );
    std::free( pLarge );
}

/// Reads into a new T each time. Its construction and its end are not measured.
template <typename T, typename TWork>
auto IntoNew( TWork Work )
{
    return [ Work ]( benchmark::State& State ) {
        for ( auto _ : State )
        {
            State.PauseTiming();
            auto pTarget = std::make_unique<T>();
            State.ResumeTiming();
            Work( pTarget.get() );
            benchmark::ClobberMemory();
            State.PauseTiming();
            pTarget.reset();
            SettleHeap();
            State.ResumeTiming();
        }
    };
}

void Require( bool bHolds )
{
    if ( !bHolds )
    {
        std::fputs( "the file of a benchmark failed\n", stderr );
        std::abort();
    }
}

/// A file that is gone with the process, with these bytes in it.
std::FILE* OpenFile( const CBytes& Bytes )
{
    std::FILE* const pFile = std::tmpfile();
    const size_t Size = static_cast<size_t>( Bytes.GetSize() );
    Require( pFile != nullptr && std::fwrite( Bytes.GetData(), 1, Size, pFile ) == Size );
    return pFile;
}

void AddRows( const std::string& Name, int32 NumberCount )
{
    const std::shared_ptr<CAssetObject> pTree = MakeTree( 16 << 20, NumberCount );
    const auto pBytes = std::make_shared<CBytes>( Write( *pTree, true ) );
    const auto pText = std::make_shared<CBytes>( Write( *pTree, false ) );
    CAssetObject Again;
    Read( *pBytes, &Again );
    Require( Write( Again, true ) == *pBytes );
    std::FILE* const pFile = OpenFile( *pBytes );
    const size_t Size = static_cast<size_t>( pBytes->GetSize() );
    const auto WritePiece = [ = ] {
        std::rewind( pFile );
        Require( std::fwrite( pBytes->GetData(), 1, Size, pFile ) == Size && std::fflush( pFile ) == 0 );
    };
    const auto ReadPiece = [ = ]( std::unique_ptr<uint8[]>* pBuffer ) {
        pBuffer->reset( new uint8[ Size ] );
        std::rewind( pFile );
        Require( std::fread( pBuffer->get(), 1, Size, pFile ) == Size );
    };
    const auto ReadTree = []( const auto& pFrom ) {
        return IntoNew<CAssetObject>( [ = ]( CAssetObject* pRoot ) { Read( *pFrom, pRoot ); } );
    };

    // Over the bytes of the time before, as the piece is.
    const auto WriteTree = [ = ]( bool bBinary ) {
        return [ =, pTarget = std::make_shared<CBytes>() ] { Write( *pTree, bBinary, *pTarget ); };
    };

    ZanBench( "asset of 16 MiB, write binary, " + Name,
        { { "ours", WriteTree( true ) }, { "fwrite", WritePiece } }, 4.0 );
    ZanBench( "asset of 16 MiB, read binary, " + Name,
        { { "ours", ReadTree( pBytes ) }, { "fread", IntoNew<std::unique_ptr<uint8[]>>( ReadPiece ) } },
        4.0 );
    ZanBench( "asset of 16 MiB, write text, " + Name,
        { { "ours", WriteTree( false ) }, { "binary", WriteTree( true ) } } );
    ZanBench( "asset of 16 MiB, read text, " + Name,
        { { "ours", ReadTree( pText ) }, { "binary", ReadTree( pBytes ) } } );
}
} // namespace

void RegisterRows()
{
    AddRows( "4096 numbers an array", 4096 );
    AddRows( "256 numbers an array", 256 );
    AddRows( "16 numbers an array", 16 );
}
