// A job graph: loads the files named on the command line, parses them, folds their bytes into
// checksums and adds all up, each step as soon as those before it are done. Then the same without workers,
// which gives the same result.
//
//     load a -> parse a -> sum up        an arrow leads from a task to those that wait for it
//        \----> check a -----/
//     load b -> parse b ----/  ...

#include "zan_core/containers/zan_array.h"
#include "zan_core/graphs/zan_graph_dot.h"
#include "zan_core/persistence/lexer.h"
#include "zan_core/persistence/zan_file.h"
#include "zan_core/tasks/zan_graph_job.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/zan_platform.h"

#include <cstdio>

namespace
{
struct SDocument
{
    CZanArray<uint8> _Bytes;
    bool _bLoaded = false;
    uint32 _Tokens = 0;
    uint32 _Checksum = 0;
};

struct SResult
{
    bool operator==( const SResult& ) const = default;

    uint32 _Tokens = 0;
    uint32 _Checksum = 0;
    int32 _Loaded = 0;
};

bool Load( const char* pPath, CZanArray<uint8>& Bytes )
{
    std::FILE* const pFile = std::fopen( pPath, "rb" );
    if ( pFile == nullptr )
    {
        return false;
    }
    uint8 Buffer[ 4096 ];
    while ( const size_t Size = std::fread( Buffer, 1, sizeof( Buffer ), pFile ) )
    {
        Bytes.Append( Buffer, static_cast<int32>( Size ) );
    }
    std::fclose( pFile );
    return true;
}

uint32 CountTokens( CZanArray<uint8>& Bytes )
{
    CMemoryFile File( Bytes, FILE_TEXT, OPEN_READ );
    CTextLexer Lexer( &File );
    uint32 Tokens = 0;
    while ( Lexer.GetTok() )
    {
        ++Tokens;
    }
    return Tokens;
}

SResult Run( int32 Workers, int32 FileCount, char** ppPaths )
{
    CZanTaskScheduler Scheduler( "Example" );
    Scheduler.Start( Workers );
    CZanGraphJob Job( &Scheduler );
    CZanArray<SDocument> Documents( FileCount );
    SResult Result;

    // Tells who ran it. One printf is one line, whoever else prints.
    const auto Told = []( const char* pStep, const char* pPath, auto Step ) {
        return [ = ]() {
            Step();
            const int32 Thread = GetTaskThread()._ThreadIndex;
            Thread < 0 ? std::printf( "  main      %-6s %s\n", pStep, pPath )
                       : std::printf( "  worker %d  %-6s %s\n", Thread + 1, pStep, pPath );
        };
    };

    CZanGraphJob::CTaskNode* const pSum = Job.AddTask( "sum up", Told( "sum up", "", [ & ]() {
        for ( const SDocument& Document : Documents )
        {
            Result._Loaded += Document._bLoaded ? 1 : 0;
            Result._Tokens += Document._Tokens;
            Result._Checksum = Result._Checksum * 31 + Document._Checksum;
        }
    } ) );
    for ( int32 i = 0; i < FileCount; ++i )
    {
        SDocument& Document = Documents[ i ];
        const char* const pPath = ppPaths[ i ];
        CZanGraphJob::CTaskNode* const pLoad = Job.AddTask( CString( "load " ) + pPath,
            Told( "load", pPath,
                [ &Document, pPath ]() { Document._bLoaded = Load( pPath, Document._Bytes ); } ) );
        Job.AddTask( CString( "parse " ) + pPath,
            Told( "parse", pPath, [ & ]() { Document._Tokens = CountTokens( Document._Bytes ); } ),
            SDependentOn( pLoad ), SRequiredBy( pSum ) );
        Job.AddTask( CString( "check " ) + pPath,
            Told( "check", pPath,
                [ & ]() {
                    CZanChecksum Checksum;
                    Checksum.Add(
                        Document._Bytes.GetData(), static_cast<uint64>( Document._Bytes.GetSize() ) );
                    Document._Checksum = Checksum.GetValue();
                } ),
            SDependentOn( pLoad ), SRequiredBy( pSum ) );
    }
    if ( Workers == 0 )
    {
        const auto NameOf = []( const auto& Node ) { return Node.GetData()._Name; };
        std::printf( "%s", ZanGraphToDot( Job.GetGraph(), NameOf ).GetCharPtr() );
    }
    Job.Execute();
    std::printf( "%d files, %u tokens, checksum %08x\n", Result._Loaded, Result._Tokens, Result._Checksum );
    return Result;
}
} // namespace

int main( int ArgumentCount, char** ppArguments )
{
    const int32 FileCount = ArgumentCount - 1;
    std::printf( "with 2 workers:\n" );
    const SResult Parallel = Run( 2, FileCount, ppArguments + 1 );
    std::printf( "with none, as this graph tells:\n" );
    const SResult Alone = Run( 0, FileCount, ppArguments + 1 );
    return Parallel == Alone && Parallel._Loaded == FileCount ? 0 : 1;
}
