// Reads a file of settings, turns every lamp up by a tenth, and writes the file anew:
//
//     settings INPUT OUTPUT
//
// What is wrong with the input is told with file and line, and makes it fail. docs/token-format.md tells how
// such a file is written by hand.

#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_core/persistence/zan_persistent_reader.h"
#include "zan_core/persistence/zan_writer.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_core/zan_log.h"

#include <concepts>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

namespace
{
int GMessageCount = 0;

class CConsoleLogger final : public CLogger
{
    void Log( int32, const CZanStringView&, int32, const std::string& Message ) override
    {
        std::fputs( Message.c_str(), stderr );
        ++GMessageCount;
    }
};

template <typename T>
concept CBlock = std::derived_from<T, CPersistent>;

// --- The value of the statement that has been read ---------------------------------------------------------

void Take( CZanPersistentReader& Reader, std::string& Text ) { Text = Reader.GetValue().GetString(); }

template <typename TNumber>
void Take( CZanPersistentReader& Reader, TNumber& Number )
{
    const auto Value = NZanStringUtils::FromString<TNumber>( Reader.GetValue().GetView() );
    if ( !Value )
    {
        Reader.ReportMalformedToken();
    }
    Number = Value.Get( Number );
}

template <CBlock TBlock>
void Take( CZanPersistentReader& Reader, TBlock& Block )
{
    if ( Reader.GetValue()._Type == NToken::OpenBlock )
    {
        Block.Read( Reader );
    }
    else
    {
        Reader.ReportMalformedToken();
    }
}

template <CBlock TBlock>
void Take( CZanPersistentReader& Reader, std::vector<TBlock>& Blocks )
{
    Take( Reader, Blocks.emplace_back() );
}

// --- A statement to write ----------------------------------------------------------------------------------

void PutKey( CWriter& Writer, const char* pKey )
{
    Writer.WriteIndent();
    Writer.AccessFile().WriteString( pKey );
    Writer.AccessFile().WriteString( " = " );
}

void Put( CWriter& Writer, const char* pKey, std::string& Text )
{
    PutKey( Writer, pKey );
    Writer.WriteQuoted( Text.c_str() );
    Writer.WriteToken( NToken::LineFeed );
}

template <typename TNumber>
void Put( CWriter& Writer, const char* pKey, TNumber& Number )
{
    PutKey( Writer, pKey );
    Writer.WriteTokenText( SToken( Number ) );
    Writer.WriteToken( NToken::LineFeed );
}

template <CBlock TBlock>
void Put( CWriter& Writer, const char* pKey, TBlock& Block )
{
    PutKey( Writer, pKey );
    Block.WriteBlock( Writer );
}

template <CBlock TBlock>
void Put( CWriter& Writer, const char* pKey, std::vector<TBlock>& Blocks )
{
    for ( TBlock& Block : Blocks )
    {
        Put( Writer, pKey, Block );
    }
}

// --- The settings ------------------------------------------------------------------------------------------

/// A block that lists its fields once, in TBlock::Visit, for reading and for writing.
template <typename TBlock>
struct TSettingsBlock : CPersistent
{
    void Read( CZanPersistentReader& Reader ) final
    {
        while ( Reader.ReadStatementOfBlock() )
        {
            bool bTaken = false;
            static_cast<TBlock*>( this )->Visit( [ & ]( const char* pKey, auto& Value ) {
                if ( Reader.GetKey().GetView() == pKey && Reader.GetOperator()._Type == NToken::Assign &&
                     !bTaken )
                {
                    bTaken = true;
                    Take( Reader, Value );
                }
            } );
            if ( !bTaken )
            {
                OnUnexpectedToken( Reader );
            }
        }
    }
    void Write( CWriter& Writer ) final
    {
        static_cast<TBlock*>( this )->Visit(
            [ & ]( const char* pKey, auto& Value ) { Put( Writer, pKey, Value ); } );
    }
};

struct SLight final : TSettingsBlock<SLight>
{
    void Visit( const auto& Field ) { Field( "red", Red ), Field( "green", Green ), Field( "blue", Blue ); }

    int32 Red = 0, Green = 0, Blue = 0;
};

struct SWindow final : TSettingsBlock<SWindow>
{
    void Visit( const auto& Field )
    {
        Field( "title", Title ), Field( "width", Width ), Field( "height", Height );
        Field( "scale", Scale ), Field( "background", Background );
    }

    std::string Title;
    int32 Width = 0, Height = 0;
    CFixedPoint Scale = 1;
    SLight Background;
};

struct SLamp final : TSettingsBlock<SLamp>
{
    void Visit( const auto& Field )
    {
        Field( "name", Name ), Field( "power", Power ), Field( "light", Light );
    }

    std::string Name;
    CFixedPoint Power;
    SLight Light;
};

struct SSettings final : TSettingsBlock<SSettings>
{
    void Visit( const auto& Field ) { Field( "window", Window ), Field( "lamp", Lamps ); }

    SWindow Window;
    std::vector<SLamp> Lamps; // a block for each
};

// --- Whole files -------------------------------------------------------------------------------------------

std::string ToText( SSettings& Settings )
{
    CZanArray<uint8> Bytes;
    CMemoryFile File( Bytes, FILE_TEXT, OPEN_WRITE );
    CWriter Writer( &File );
    Settings.Write( Writer );
    return std::string( Bytes.GetIterStart(), Bytes.GetIterEnd() );
}

bool Load( const char* pPath, SSettings& Settings )
{
    std::ifstream Stream( pPath, std::ios::binary );
    const std::string Text{ std::istreambuf_iterator<char>( Stream ), std::istreambuf_iterator<char>() };
    if ( !Stream )
    {
        std::fprintf( stderr, "cannot read %s\n", pPath );
        return false;
    }
    CMemoryFile File( CZanStringView( Text.data(), static_cast<int32>( Text.size() ) ) );
    File.SetName( pPath );
    CTextLexer Lexer( &File );
    CZanPersistentReader Reader( &Lexer );
    Settings.Read( Reader );
    return GMessageCount == 0; // also of what the reader finds in variables and expressions
}

bool Save( const char* pPath, SSettings& Settings )
{
    std::ofstream Stream( pPath, std::ios::binary );
    return !!( Stream << ToText( Settings ) << std::flush );
}
} // namespace

int main( int ArgumentCount, char** ppArguments )
{
    if ( ArgumentCount != 3 )
    {
        std::fputs( "usage: settings INPUT OUTPUT\n", stderr );
        return 2;
    }
    SetLogger( std::make_unique<CConsoleLogger>() );

    SSettings Settings;
    if ( !Load( ppArguments[ 1 ], Settings ) )
    {
        return 1;
    }
    for ( SLamp& Lamp : Settings.Lamps )
    {
        Lamp.Power *= 1.1_fixed;
    }

    SSettings Written;
    const bool bSaved = Save( ppArguments[ 2 ], Settings ) && Load( ppArguments[ 2 ], Written ) &&
                        ToText( Written ) == ToText( Settings );
    std::printf( "%s: window %d x %d, %d lamps\n", bSaved ? ppArguments[ 2 ] : "not saved",
        Settings.Window.Width, Settings.Window.Height, static_cast<int>( Settings.Lamps.size() ) );
    return bSaved ? 0 : 1;
}
