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

// --- One value, from and to the file -----------------------------------------------------------------------

// True, as the statement has been taken, whether its value could be or not.

bool ReadText( CZanPersistentReader& Reader, std::string& Text )
{
    Text = Reader.GetValue().GetString();
    return true;
}

template <typename T>
bool ReadNumber( CZanPersistentReader& Reader, T& Number )
{
    const CZanOptional<T> Value = NZanStringUtils::FromString<T>( Reader.GetValue().GetView() );
    if ( !Value )
    {
        Reader.ReportMalformedToken();
    }
    Number = Value.Get( Number );
    return true;
}

bool ReadBlock( CZanPersistentReader& Reader, CPersistent& Object )
{
    if ( Reader.GetValue()._Type == NToken::OpenBlock )
    {
        Object.Read( Reader );
    }
    else
    {
        Reader.ReportMalformedToken();
    }
    return true;
}

void WriteKey( CWriter& Writer, const char* pKey )
{
    Writer.WriteIndent();
    Writer.AccessFile().WriteString( pKey );
    Writer.AccessFile().WriteString( " = " );
}

template <typename T>
void WriteNumber( CWriter& Writer, const char* pKey, T Number )
{
    WriteKey( Writer, pKey );
    Writer.WriteTokenText( SToken( Number ) );
    Writer.WriteToken( NToken::LineFeed );
}

void WriteQuoted( CWriter& Writer, const char* pKey, const std::string& Text )
{
    WriteKey( Writer, pKey );
    Writer.WriteQuoted( Text.c_str() );
    Writer.WriteToken( NToken::LineFeed );
}

// --- The settings ------------------------------------------------------------------------------------------

/// Reads statements; what they mean is up to the derived classes.
class CSettingsBlock : public CPersistent
{
public:
    void Read( CZanPersistentReader& Reader ) final
    {
        while ( Reader.ReadStatementOfBlock() )
        {
            if ( Reader.GetOperator()._Type != NToken::Assign || !Take( Reader.GetKey().GetView(), Reader ) )
            {
                OnUnexpectedToken( Reader );
            }
        }
    }

private:
    /// False for a key that the object does not have.
    virtual bool Take( CZanStringView Key, CZanPersistentReader& Reader ) = 0;
};

struct SLight final : CSettingsBlock
{
    bool Take( CZanStringView Key, CZanPersistentReader& Reader ) override
    {
        int32* const pPart = Key == "red" ? &Red : Key == "green" ? &Green : Key == "blue" ? &Blue : nullptr;
        return pPart != nullptr && ReadNumber( Reader, *pPart );
    }
    void Write( CWriter& Writer ) override
    {
        WriteNumber( Writer, "red", Red );
        WriteNumber( Writer, "green", Green );
        WriteNumber( Writer, "blue", Blue );
    }

    int32 Red = 0, Green = 0, Blue = 0;
};

struct SWindow final : CSettingsBlock
{
    bool Take( CZanStringView Key, CZanPersistentReader& Reader ) override
    {
        return ( Key == "title" && ReadText( Reader, Title ) ) ||
               ( Key == "width" && ReadNumber( Reader, Width ) ) ||
               ( Key == "height" && ReadNumber( Reader, Height ) ) ||
               ( Key == "scale" && ReadNumber( Reader, Scale ) ) ||
               ( Key == "background" && ReadBlock( Reader, Background ) );
    }
    void Write( CWriter& Writer ) override
    {
        WriteQuoted( Writer, "title", Title );
        WriteNumber( Writer, "width", Width );
        WriteNumber( Writer, "height", Height );
        WriteNumber( Writer, "scale", Scale );
        WriteKey( Writer, "background" );
        Background.WriteBlock( Writer );
    }

    std::string Title;
    int32 Width = 0, Height = 0;
    CFixedPoint Scale = 1;
    SLight Background;
};

struct SLamp final : CSettingsBlock
{
    bool Take( CZanStringView Key, CZanPersistentReader& Reader ) override
    {
        return ( Key == "name" && ReadText( Reader, Name ) ) ||
               ( Key == "power" && ReadNumber( Reader, Power ) ) ||
               ( Key == "light" && ReadBlock( Reader, Light ) );
    }
    void Write( CWriter& Writer ) override
    {
        WriteQuoted( Writer, "name", Name );
        WriteNumber( Writer, "power", Power );
        WriteKey( Writer, "light" );
        Light.WriteBlock( Writer );
    }

    std::string Name;
    CFixedPoint Power;
    SLight Light;
};

struct SSettings final : CSettingsBlock
{
    bool Take( CZanStringView Key, CZanPersistentReader& Reader ) override
    {
        return ( Key == "window" && ReadBlock( Reader, Window ) ) ||
               ( Key == "lamp" && ReadBlock( Reader, Lamps.emplace_back() ) );
    }
    void Write( CWriter& Writer ) override
    {
        WriteKey( Writer, "window" );
        Window.WriteBlock( Writer );
        for ( SLamp& Lamp : Lamps )
        {
            WriteKey( Writer, "lamp" );
            Lamp.WriteBlock( Writer );
        }
    }

    SWindow Window;
    std::vector<SLamp> Lamps;
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
