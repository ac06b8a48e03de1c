// Reads the settings of a room, turns every lamp up by a tenth, and writes them anew:
//
//     settings INPUT OUTPUT
//
// What is wrong with the input is told with file and line, and nothing is written then. docs/token-format.md
// tells how such a file is written by hand.

#include "zan_core/persistence/zan_persistent_reader.h"
#include "zan_core/persistence/zan_writer.h"
#include "zan_core/zan_log.h"

#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

namespace
{
struct SLamp final : CPersistent
{
    void Read( CZanPersistentReader& Reader ) override
    {
        while ( Reader.ReadStatementOfBlock() )
        {
            if ( !Reader.TryRead( "name", Name ) && !Reader.TryRead( "power", Power ) )
            {
                OnUnexpectedToken( Reader );
            }
        }
    }
    void Write( CWriter& Writer ) override
    {
        Writer.WriteStatement( "name", Name );
        Writer.WriteStatement( "power", Power );
    }

    CString Name;
    CFixedPoint Power;
};

struct SRoom final : CPersistent
{
    void Read( CZanPersistentReader& Reader ) override
    {
        while ( Reader.ReadStatementOfBlock() )
        {
            if ( SLamp Lamp; Reader.TryRead( "lamp", Lamp ) )
            {
                Lamps.Append( Lamp ); // as many as there are
            }
            else if ( !Reader.TryRead( "title", Title ) && !Reader.TryRead( "width", Width ) )
            {
                OnUnexpectedToken( Reader );
            }
        }
    }
    void Write( CWriter& Writer ) override
    {
        Writer.WriteStatement( "title", Title );
        Writer.WriteStatement( "width", Width );
        Lamps.ForEach( [ & ]( SLamp& Lamp ) { Writer.WriteStatement( "lamp", Lamp ); } );
    }

    CString Title;
    int32 Width = 0;
    CZanArray<SLamp> Lamps;
};

/// Hears of mistakes in definitions and expressions, too, which the reader logs only.
struct SConsoleLogger final : CLogger
{
    void Log( int32, const CZanStringView&, int32, const std::string& Message ) override
    {
        std::fputs( Message.c_str(), stderr );
        bAnyMessage = true;
    }
    static inline bool bAnyMessage = false;
};
} // namespace

int main( int ArgumentCount, char** ppArguments )
{
    if ( ArgumentCount != 3 )
    {
        std::fputs( "usage: settings INPUT OUTPUT\n", stderr );
        return 2;
    }
    SetLogger( std::make_unique<SConsoleLogger>() );

    std::ifstream Input( ppArguments[ 1 ], std::ios::binary );
    const std::string Text{ std::istreambuf_iterator<char>( Input ), std::istreambuf_iterator<char>() };
    CMemoryFile InputFile( Text.c_str() );
    InputFile.SetName( ppArguments[ 1 ] );
    CTextLexer Lexer( &InputFile );
    CZanPersistentReader Reader( &Lexer );
    SRoom Room;
    while ( Reader.ReadStatementOfBlock() )
    {
        if ( !Reader.TryRead( "room", Room ) )
        {
            Reader.ReportUnexpectedToken();
        }
    }
    if ( !Input || SConsoleLogger::bAnyMessage || Reader.NextToken() ) // a '}' too many ends the reading
    {
        std::fprintf( stderr, "Not taken, read to%s\n", Reader.GetLocationText().GetData() );
        return 1;
    }

    Room.Lamps.ForEach( []( SLamp& Lamp ) { Lamp.Power *= 1.1_fixed; } );

    CZanArray<uint8> Bytes;
    CMemoryFile OutputFile( Bytes, FILE_TEXT, OPEN_WRITE );
    CWriter( &OutputFile ).WriteStatement( "room", Room );
    std::ofstream Output( ppArguments[ 2 ], std::ios::binary );
    Output.write( reinterpret_cast<const char*>( Bytes.GetData() ), Bytes.GetSize() ).flush();
    std::printf( "%s, %d lamps\n", Output ? "written" : "not written", Room.Lamps.GetSize() );
    return Output ? 0 : 1;
}
