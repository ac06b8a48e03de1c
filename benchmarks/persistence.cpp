#include "benchmarks/zan_bench.h"
#include "zan_core/persistence/lexer.h"
#include "zan_core/persistence/zan_persistent_reader.h"
#include "zan_core/persistence/zan_writer.h"
#include "zan_core/text/zan_charconv.h"

#if defined( __SSE2__ )
#define RAPIDJSON_SSE2
#endif
#include <rapidjson/document.h>
#include <rapidjson/memorystream.h>
#include <rapidjson/prettywriter.h>
#include <rapidjson/reader.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <charconv>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <random>
#include <string>
#include <vector>

namespace
{
constexpr const char* Keys[] = { "unit", "name", "cost", "speed", "tags", "upkeep", "gold", "food", "enabled",
    "requires", "strength", "description" };

const char* const pWords = "infantry melee heavy light siege mounted ranged scout elite militia guard levy";

/// The same settings in both forms, laid out in the same way: words, numbers, quoted strings, nested blocks,
/// and comments, which JSON has none of.
struct SSettings
{
    explicit SSettings( size_t Size );

    std::string Text, Json;
};

SSettings::SSettings( size_t Size )
{
    std::minstd_rand Random( 5 );
    std::string Words[ 12 ];
    const char* pNext = pWords;
    for ( std::string& Word : Words )
    {
        for ( ; *pNext != '\0' && *pNext != ' '; ++pNext )
        {
            Word += *pNext;
        }
        pNext += *pNext != '\0';
    }
    const auto Word = [ & ] { return Words[ Random() % 12 ]; };
    const auto Number = [ & ]( uint32 Limit ) { return std::to_string( Random() % Limit ); };

    Json = "[\n";
    while ( Text.size() < Size )
    {
        const std::string Name = Word() + " " + Word() + " " + Number( 1000 );
        const std::string Cost = Number( 2000 );
        const std::string Speed = Number( 10 ) + "." + Number( 100 );
        const std::string Tags[] = { Word(), Word(), Word() };
        const std::string Gold = Number( 50 );
        const std::string Food = "-" + Number( 50 );
        const bool bEnabled = Random() % 4 != 0;
        const std::string Required = Word() + "_" + Word();
        const std::string About =
            "The " + Word() + " of the " + Word() + ", said to be \\\"" + Word() + "\\\".";
        Text += "# " + Word() + " " + Word() + ", see " + Name + "\nunit = {\n\tname = \"" + Name +
                "\"\n\tcost = " + Cost + "\n\tspeed = " + Speed + "\n\ttags = { " + Tags[ 0 ] + " " +
                Tags[ 1 ] + " " + Tags[ 2 ] + " }\n\tupkeep = {\n\t\tgold = " + Gold +
                " # a month\n\t\tfood = " + Food + "\n\t}\n\tenabled = " + ( bEnabled ? "yes" : "no" ) +
                "\n\trequires = " + Required + "\n\tdescription = \"" + About + "\"\n}\n";
        Json += std::string( Json.size() > 2 ? ",\n" : "" ) + "{\n\t\"name\": \"" + Name +
                "\",\n\t\"cost\": " + Cost + ",\n\t\"speed\": " + Speed + ",\n\t\"tags\": [ \"" + Tags[ 0 ] +
                "\", \"" + Tags[ 1 ] + "\", \"" + Tags[ 2 ] +
                "\" ],\n\t\"upkeep\": {\n\t\t\"gold\": " + Gold + ",\n\t\t\"food\": " + Food +
                "\n\t},\n\t\"enabled\": " + ( bEnabled ? "true" : "false" ) + ",\n\t\"requires\": \"" +
                Required + "\",\n\t\"description\": \"" + About + "\"\n}";
    }
    Json += "\n]\n";
}

int64 ReadTokens( const std::string& Text )
{
    CMemoryFile File( CZanStringView( Text.data(), static_cast<int32>( Text.size() ) ) );
    CTextLexer Lexer( &File );
    int64 Sum = 0;
    while ( Lexer.GetTok() )
    {
        Sum += Lexer.Tok()._Type;
    }
    return Sum;
}

/// Events without work, as many as there are.
bool ReadJson( const std::string& Json )
{
    rapidjson::MemoryStream Stream( Json.data(), Json.size() );
    rapidjson::Reader Reader;
    rapidjson::BaseReaderHandler<> Handler;
    return !Reader.Parse( Stream, Handler ).IsError();
}

int64 CountWordEnds( const std::string& Text )
{
    int64 Count = 0;
    bool bInWord = false;
    for ( const char Char : Text )
    {
        const bool bWord = Char != ' ' && Char != '\n' && Char != '\t' && Char != '=' && Char != '"';
        Count += bInWord && !bWord;
        bInWord = bWord;
    }
    return Count;
}

uint32 SumPlainly( const std::string& Text )
{
    uint32 Sum1 = 0;
    uint32 Sum2 = 0;
    for ( const char Char : Text )
    {
        Sum1 += static_cast<uint8>( Char );
        Sum1 -= Sum1 >= 65536 ? 65535 : 0;
        Sum2 += Sum1;
        Sum2 -= Sum2 >= 65536 ? 65535 : 0;
    }
    return Sum1 << 16 | Sum2;
}

uint32 Sum( const std::string& Text )
{
    CZanChecksum Checksum;
    Checksum.Add( Text.data(), Text.size() );
    return Checksum.GetValue();
}

void Check( bool bAgrees, const char* pWhat )
{
    if ( !bAgrees )
    {
        std::fprintf( stderr, "%s differs\n", pWhat );
        std::exit( 1 );
    }
}

// --- Structures, from text and to text ---------------------------------------------------------------

/// The numbers of the keywords: FirstKey and on, in the order of Keys.
constexpr uint32 FirstKey = 2000;
enum EKey : uint32
{
    KeyUnit = FirstKey,
    KeyName,
    KeyCost,
    KeySpeed,
    KeyTags,
    KeyUpkeep,
    KeyGold,
    KeyFood,
    KeyEnabled,
    KeyRequires,
    KeyStrength,
    KeyDescription
};

struct SUnit
{
    bool operator==( const SUnit& ) const = default;

    std::string Name, Tags[ 3 ], Required, Description;
    int32 Cost = 0, Gold = 0, Food = 0;
    double Speed = 0;
    bool bEnabled = false;
};
using CUnits = std::vector<SUnit>;

CZanStringView AsView( const std::string& Text )
{
    return CZanStringView( Text.data(), static_cast<int32>( Text.size() ) );
}

void ReadText( const SToken& Token, std::string& Text )
{
    Text.assign( Token.GetView().GetIterStart(), Token.GetView().GetIterEnd() );
}

void ReadNumber( const SToken& Token, auto& Number )
{
    std::from_chars( Token.GetView().GetIterStart(), Token.GetView().GetIterEnd(), Number );
}

void ReadUnit( CZanPersistentReader& Reader, SUnit& Unit )
{
    while ( Reader.ReadStatementOfBlock() )
    {
        const SToken& Value = Reader.GetValue();
        switch ( Reader.GetKey()._Type )
        {
        case KeyName:
            ReadText( Value, Unit.Name );
            break;
        case KeyCost:
            ReadNumber( Value, Unit.Cost );
            break;
        case KeySpeed:
            ReadNumber( Value, Unit.Speed );
            break;
        case KeyTags:
            for ( int32 i = 0; Reader.NextToken() && Reader.AccessLexer().Tok()._Type != NToken::CloseBlock;
                  ++i )
            {
                ReadText( Reader.AccessLexer().Tok(), Unit.Tags[ i % 3 ] );
            }
            break;
        case KeyUpkeep:
            while ( Reader.ReadStatementOfBlock() )
            {
                ReadNumber( Value, Reader.GetKey()._Type == KeyGold ? Unit.Gold : Unit.Food );
            }
            break;
        case KeyEnabled:
            Unit.bEnabled = Value.GetView() == "yes";
            break;
        case KeyRequires:
            ReadText( Value, Unit.Required );
            break;
        case KeyDescription:
            ReadText( Value, Unit.Description );
            break;
        default:
            Reader.ReportUnexpectedToken();
        }
    }
}

CUnits ReadUnits( const std::string& Text )
{
    CMemoryFile File( CZanStringView( Text.data(), static_cast<int32>( Text.size() ) ) );
    CTextLexer Lexer( &File );
    CZanPersistentReader Reader( &Lexer );
    CUnits Units;
    while ( Reader.ReadStatementOfBlock() )
    {
        ReadUnit( Reader, Units.emplace_back() );
    }
    return Units;
}

CUnits ReadJsonUnits( const std::string& Json )
{
    rapidjson::Document Document;
    Document.Parse( Json.data(), Json.size() );
    CUnits Units;
    for ( const auto& From : Document.GetArray() )
    {
        const auto Text = []( const auto& Value, std::string& To ) {
            To.assign( Value.GetString(), Value.GetStringLength() );
        };
        SUnit& Unit = Units.emplace_back();
        Text( From[ "name" ], Unit.Name );
        Unit.Cost = From[ "cost" ].GetInt();
        Unit.Speed = From[ "speed" ].GetDouble();
        for ( uint32 i = 0; i < 3; ++i )
        {
            Text( From[ "tags" ][ i ], Unit.Tags[ i ] );
        }
        Unit.Gold = From[ "upkeep" ][ "gold" ].GetInt();
        Unit.Food = From[ "upkeep" ][ "food" ].GetInt();
        Unit.bEnabled = From[ "enabled" ].GetBool();
        Text( From[ "requires" ], Unit.Required );
        Text( From[ "description" ], Unit.Description );
    }
    return Units;
}

/// Tokens by their numbers, as the binary form needs them.
class CTokenWriter
{
public:
    explicit CTokenWriter( CFile& File ) : _Writer( &File ) {}

    void Key( EKey Token )
    {
        _Writer.WriteToken( Token );
        _Writer.WriteToken( NToken::Assign );
    }
    void Int( EKey Token, int32 Value )
    {
        Key( Token );
        _Writer.WriteInt( Value );
    }
    void Quoted( EKey Token, const std::string& Text )
    {
        Key( Token );
        _Writer.WriteQuoted( AsView( Text ) );
    }
    void Open( EKey Token )
    {
        Key( Token );
        _Writer.WriteToken( NToken::OpenBlock );
    }
    void Close() { _Writer.WriteToken( NToken::CloseBlock ); }
    void Unit( const SUnit& From )
    {
        Open( KeyUnit );
        Quoted( KeyName, From.Name );
        Int( KeyCost, From.Cost );
        Int( KeyStrength, From.Cost );
        Open( KeyTags );
        for ( const std::string& Tag : From.Tags )
        {
            _Writer.WriteQuoted( AsView( Tag ) );
        }
        Close();
        Open( KeyUpkeep );
        Int( KeyGold, From.Gold );
        Int( KeyFood, From.Food );
        Close();
        Int( KeyEnabled, From.bEnabled );
        Quoted( KeyRequires, From.Required );
        Quoted( KeyDescription, From.Description );
        Close();
    }

private:
    CWriter _Writer;
};

/// A block of statements, or of what else there is in it.
template <typename TWrite>
struct SBlock final : CPersistent
{
    explicit SBlock( TWrite Function ) : _Function( Function ) {}
    void Read( CZanPersistentReader& ) override {}
    void Write( CWriter& Writer ) override { _Function( Writer ); }

    TWrite _Function;
};

void WriteStatements( CWriter& Writer, const SUnit& From )
{
    SBlock Tags( [ & ]( CWriter& Inner ) {
        Inner.WriteIndent();
        for ( const std::string& Tag : From.Tags )
        {
            Inner.WriteQuoted( AsView( Tag ) );
        }
        Inner.WriteToken( NToken::LineFeed );
    } );
    SBlock Upkeep( [ & ]( CWriter& Inner ) {
        Inner.WriteStatement( "gold", From.Gold );
        Inner.WriteStatement( "food", From.Food );
    } );
    Writer.WriteStatement( "name", AsView( From.Name ) );
    Writer.WriteStatement( "cost", From.Cost );
    Writer.WriteStatement( "strength", From.Cost );
    Writer.WriteStatement( "tags", Tags );
    Writer.WriteStatement( "upkeep", Upkeep );
    Writer.WriteStatement( "enabled", From.bEnabled );
    Writer.WriteStatement( "requires", AsView( From.Required ) );
    Writer.WriteStatement( "description", AsView( From.Description ) );
}

int32 WriteUnits( const CUnits& Units, CZanArray<uint8>& Bytes, EFileType Type )
{
    Bytes.RemoveAll();
    CMemoryFile File( Bytes, Type, OPEN_WRITE );
    CTokenWriter Tokens( File );
    CWriter Writer( &File );
    for ( const SUnit& Unit : Units )
    {
        if ( Type == FILE_BINARY )
        {
            Tokens.Unit( Unit );
            continue;
        }
        SBlock Block( [ & ]( CWriter& Inner ) { WriteStatements( Inner, Unit ); } );
        Writer.WriteStatement( "unit", Block );
    }
    return Bytes.GetSize();
}

template <typename TWriter>
size_t WriteJsonUnits( const CUnits& Units, rapidjson::StringBuffer& Buffer )
{
    Buffer.Clear();
    TWriter Writer( Buffer );
    const auto Text = [ & ]( const std::string& From ) {
        Writer.String( From.data(), static_cast<rapidjson::SizeType>( From.size() ) );
    };
    Writer.StartArray();
    for ( const SUnit& Unit : Units )
    {
        Writer.StartObject();
        Writer.Key( "name" ), Text( Unit.Name );
        Writer.Key( "cost" ), Writer.Int( Unit.Cost );
        Writer.Key( "strength" ), Writer.Int( Unit.Cost );
        Writer.Key( "tags" ), Writer.StartArray();
        for ( const std::string& Tag : Unit.Tags )
        {
            Text( Tag );
        }
        Writer.EndArray();
        Writer.Key( "upkeep" ), Writer.StartObject();
        Writer.Key( "gold" ), Writer.Int( Unit.Gold );
        Writer.Key( "food" ), Writer.Int( Unit.Food );
        Writer.EndObject();
        Writer.Key( "enabled" ), Writer.Bool( Unit.bEnabled );
        Writer.Key( "requires" ), Text( Unit.Required );
        Writer.Key( "description" ), Text( Unit.Description );
        Writer.EndObject();
    }
    Writer.EndArray();
    return Buffer.GetSize();
}

using CCompactWriter = rapidjson::Writer<rapidjson::StringBuffer>;
using CPrettyWriter = rapidjson::PrettyWriter<rapidjson::StringBuffer>;

void RegisterStructures( const std::string& SizeName, const std::shared_ptr<const SSettings>& pData )
{
    const auto pUnits = std::make_shared<const CUnits>( ReadUnits( pData->Text ) );
    Check( !pUnits->empty() && *pUnits == ReadJsonUnits( pData->Json ), "the structure" );
    ZanBench( "ReadStatement into structures, " + SizeName,
        { { "ours", [ pData ] { return ReadUnits( pData->Text ); },
              static_cast<double>( pData->Text.size() ) },
            { "rapidjson::Document", [ pData ] { return ReadJsonUnits( pData->Json ); },
                static_cast<double>( pData->Json.size() ) } },
        2.0 );

    const auto pBytes = std::make_shared<CZanArray<uint8>>();
    const auto pBuffer = std::make_shared<rapidjson::StringBuffer>();
    const auto WriteOurs = [ = ]( EFileType Type ) {
        return [ = ] { return WriteUnits( *pUnits, *pBytes, Type ); };
    };
    const SZanBenchContender Compact = { "rapidjson::Writer",
        [ = ] { return WriteJsonUnits<CCompactWriter>( *pUnits, *pBuffer ); } };
    const SZanBenchContender Pretty = { "rapidjson::PrettyWriter",
        [ = ] { return WriteJsonUnits<CPrettyWriter>( *pUnits, *pBuffer ); } };
    ZanBench(
        "Token writing, text, " + SizeName, { { "ours", WriteOurs( FILE_TEXT ) }, Pretty, Compact }, 1.0 );
    ZanBench( "Token writing, binary, " + SizeName, { { "ours", WriteOurs( FILE_BINARY ) }, Compact }, 1.0 );
}
} // namespace

void RegisterRows()
{
    static NToken::SKeyword Keywords[ std::size( Keys ) ];
    for ( uint32 i = 0; i < std::size( Keys ); ++i )
    {
        Keywords[ i ] = { Keys[ i ], FirstKey + i };
    }
    SetTokenKeywords( Keywords, static_cast<int32>( std::size( Keys ) ) );

    const std::pair<const char*, size_t> Sizes[] = { { "1 KiB", 1 << 10 }, { "1 MiB", 1 << 20 },
        { "64 MiB", 1 << 26 } };
    for ( const auto& [ pSize, Size ] : Sizes )
    {
        const auto pData = std::make_shared<const SSettings>( Size );
        const std::string& Text = pData->Text;
        RegisterStructures( pSize, pData );
        const double Bytes = static_cast<double>( Text.size() );
        Check( ReadJson( pData->Json ), "the JSON" );
        Check( Sum( Text ) == SumPlainly( Text ), "the checksum" );
        ZanBench( std::string( "GetTok, " ) + pSize,
            { { "ours", [ pData ] { return ReadTokens( pData->Text ); }, Bytes },
                { "rapidjson::Reader on JSON", [ pData ] { return ReadJson( pData->Json ); },
                    static_cast<double>( pData->Json.size() ) } },
            2.0 );
        ZanBench( std::string( "GetTok, bare, " ) + pSize,
            { { "ours", [ pData ] { return ReadTokens( pData->Text ); } },
                { "loop that finds word ends", [ pData ] { return CountWordEnds( pData->Text ); } } } );
        ZanBench( std::string( "Checksum, " ) + pSize,
            { { "ours", [ pData ] { return Sum( pData->Text ); } },
                { "byte by byte", [ pData ] { return SumPlainly( pData->Text ); } } },
            0.5 );
    }
}
