#include "zan_core/zan_asset.h"

#include "zan_core/persistence/zan_file.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_capture.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"

#include <algorithm>
#include <bit>
#include <clocale>
#include <cmath>
#include <cstdio>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

using namespace std::literals;
using NZanTestUtils::CLogCapture;

namespace
{
CZanStringView View( std::string_view Text ) { return { Text.data(), static_cast<int32>( Text.size() ) }; }

std::string Write( const CAssetObject& Root, bool bBinary )
{
    CZanArray<uint8> Bytes;
    CMemoryFile File( Bytes, FILE_BINARY, OPEN_WRITE );
    Root.WriteToFile( File, bBinary );
    return { reinterpret_cast<const char*>( Bytes.GetData() ), static_cast<size_t>( Bytes.GetSize() ) };
}

void Read( std::string_view Bytes, CAssetObject* pRoot )
{
    // On the heap without a byte to spare, for the address sanitizer.
    CZanArray<uint8> Content(
        reinterpret_cast<const uint8*>( Bytes.data() ), static_cast<int32>( Bytes.size() ) );
    CMemoryFile File( Content, FILE_BINARY, OPEN_WRITE );
    File.SetName( "tree.asset" );
    File.Open( FILE_BINARY, OPEN_READ );
    pRoot->ReadFromFile( File );
}

/// What a reader makes of a file, told in the text form, behind the messages that it logs.
std::string Told( std::string_view Bytes )
{
    CLogCapture Log;
    CAssetObject Root;
    Read( Bytes, &Root );
    const std::string Messages = Log.GetMessages(); // without those of writing
    return Messages + Write( Root, false ).substr( 4 );
}

/// As the binary form, which keeps everything, has them.
bool IsSame( const CAssetObject& Left, const CAssetObject& Right )
{
    return Write( Left, true ) == Write( Right, true );
}

std::string MakeText( std::mt19937& Random, size_t MaxSize, std::string_view Alphabet )
{
    std::string Text( Random() % ( MaxSize + 1 ), ' ' );
    std::generate( Text.begin(), Text.end(), [ & ] { return Alphabet[ Random() % Alphabet.size() ]; } );
    return Text;
}

void Grow( std::mt19937& Random, CAssetObject* pObject, int32 Depth )
{
    for ( auto i = Random() % 6; i > 0; --i )
    {
        CZanArray<float> Floats;
        CZanArray<int32> Ints;
        CZanArray<CString> Strings;
        for ( auto j = Random() % 4; j > 0; --j )
        {
            Ints.Append( static_cast<int32>( Random() ) );
            Floats.Append( static_cast<float>( Ints.GetTailData() % 8000 ) / 8 );
            Strings.Append( CString( View( MakeText( Random, 9, "ab \"\\\n\r\t[]#\x80\xFF" ) ) ) );
        }
        const CString Name( View( 'p' + MakeText( Random, 3, "xy\t[#\xC3" ) ) );
        const SAssetProperty Choices[] = { { Name, 0.1f }, { Name, -7 }, { Name, "s" }, { Name, Floats },
            { Name, Ints }, { Name, Strings }, SAssetProperty( Name ) };
        pObject->AccessProperties().Append( Choices[ Random() % 7 ] );
    }
    for ( auto i = Depth > 0 ? Random() % 4 : 0; i > 0; --i )
    {
        Grow( Random, &pObject->AddObject( View( MakeText( Random, 4, "ab c\t#\x80" ) ) ), Depth - 1 );
    }
}
} // namespace

TEST_CASE( "CAssetObject::WriteToFile round-trip with specific data", "[asset]" )
{
    // A comma locale, where there is one, changes nothing.
    std::setlocale( LC_ALL, "de_DE.UTF-8" );
    CAssetObject Root;
    Root.AccessProperties() = { { "int", 23987534 }, { "ints", { 3, 2, 1 } }, { "float", 72.5f },
        { "floats", { 3.25f, 2.5f, 1.375f } }, { "one", "value" }, { "three", { "one", "two", "three" } },
        { "back", "\\back\\slashes\\" }, { "quotes", "\"double\"quotes\"" }, { "lines", "\nnew\nlines\n" },
        { "mixed", "\"\n\\n\\\n\"\n" }, SAssetProperty( "none" ) };
    Root.AddObject( "a" ).AddObject( "b c" ).AccessProperties().AppendEmplace( "deep", -1 );
    Root.AddObject( "" );

    REQUIRE( Write( Root, false ) == R"(@@t@int i 1 23987534
ints i 3 3 2 1
float f 1 72.5
floats f 3 3.25 2.5 1.375
one s 1 "value"
three s 3 "one" "two" "three"
back s 1 "\\back\\slashes\\"
quotes s 1 "\"double\"quotes\""
lines s 1 "\nnew\nlines\n"
mixed s 1 "\"\n\\n\\\n\"\n"
none i 0
[a]
	[[b c]]
		deep i 1 -1
[]
)" );
    const std::string Binary = Write( Root, true );
    REQUIRE( Binary.starts_with( "@@b@!\3inti\1\0\0\0\x4E\x05\x6E\1!\4intsi\3\0\0\0\3\0\0\0\2\0\0\0\1\0\0\0"
                                 "!\5floatf\1\0\0\0\0\0\x91\x42!"sv ) );
    REQUIRE( Binary.find( "!\3ones\1\0\0\0\6\0\0\0value\0!"sv ) != Binary.npos );
    REQUIRE( Binary.ends_with( "!\4nonei\0\0\0\0[a\0[[b c\0!\4deepi\1\0\0\0\xFF\xFF\xFF\xFF[\0"sv ) );

    for ( const bool bBinary : { true, false } )
    {
        CLogCapture Log;
        CAssetObject Other;
        Read( Write( Root, bBinary ), &Other );
        REQUIRE( ( IsSame( Root, Other ) && Log.GetRecords().empty() ) );
        REQUIRE( ( Other.GetProperties()[ 0 ].HasIntData() && !Other.GetProperties()[ 0 ].HasFloatData() ) );
    }
    std::setlocale( LC_ALL, "C" );
}

TEST_CASE( "CAssetObject::WriteToFile round-trip with random data", "[asset]" )
{
    std::mt19937 Random( 10 );
    for ( int32 i = 0; i < 60; ++i )
    {
        CAssetObject Root, FromBinary, FromText;
        Grow( Random, &Root, 4 );
        Read( Write( Root, true ), &FromBinary );
        Read( Write( Root, false ), &FromText );
        REQUIRE( ( IsSame( Root, FromBinary ) && IsSame( Root, FromText ) ) );
    }
}

TEST_CASE( "CAssetObject::ReadFromFile takes what is whole and leaves out what is broken", "[asset]" )
{
    const std::string Header = "Asset does not have a complete header: tree.asset\n";
    const std::string BadStart = "Asset has a byte that starts no record: tree.asset\n";
    const std::pair<std::string_view, std::string> Cases[] = { { "", Header }, { "@@b", Header },
        { "@@b@", "" }, { "abcd", "" },
        // Binary: cut off anywhere, counts beyond the end, missing parents, bytes that start nothing.
        { "@@b@!", "" }, { "@@b@!\5ab", "" }, { "@@b@!\1a", "" }, { "@@b@!\1af\1\0\0"sv, "" },
        { "@@b@!\1ai\1\0\0\0\7\0\0\0!\1bi\2\0\0\0\7\0\0\0\7"sv, "a i 1 7\n" },
        { "@@b@!\1ai\xFF\xFF\xFF\xFF\7\0\0\0"sv, "" }, { "@@b@!\1as\xFF\xFF\xFF\xFF\1\0\0\0\0"sv, "" },
        { "@@b@!\1as\1\0\0\0\xFF\xFF\xFF\xFF\0"sv, "" }, { "@@b@!\1as\1\0\0\0\2\0\0\0x"sv, "" },
        { "@@b@!\1as\3\0\0\0\0\0\0\0\2\0\0\0xx\1\0\0\0\0[o\0"sv, "a s 3 \"\" \"x\" \"\"\n[o]\n" },
        { "@@b@[o\0[[p\0[[[[q\0[[[r\0[[s"sv, "[o]\n\t[[p]]\n\t\t[[[r]]]\n" },
        { "@@b@[o\0x[p\0"sv, BadStart + "[o]\n" }, { "@@b@!\1ax[p\0"sv, BadStart },
        // An unknown type goes on at the byte of the size, here of 33.
        { "@@b@!!\1ai\1\0\0\0\7\0\0\0[pppppppppppppppppppp\0x"sv,
            BadStart + "a i 1 7\n[pppppppppppppppppppp]\n" },
        // Text: where lines, runs, names and counts end.
        { "@@t@a i 1 5\0b i 1 6"sv, "a i 1 5\n" }, { "any!# a i 1 5\n\t b i 1 6", "b i 1 6\n" },
        { "@@t@a\nb \nc x 1 1\n~ i\t\x80\x7F 1 5 6 i 1 7\n", "~ i 1 5\n" },
        { "@@t@[[o]]\n[o\n[o]x\na i 1 1\n[[p]\n[[[[q]]]]\nb i 1 2",
            "[o]\n\ta i 1 1\n\t[[p]]\n\t\tb i 1 2\n" },
        { "@@t@a i 4 1\n-2x # 99999999999 ! i 1 7", "a i 4 1 -2 0 0\n! i 1 7\n" },
        { "@@t@a i x 1\nb i -1 1\nc i 2", "a i 0\nb i 0\nc i 2 0 0\n" }, { "@@t@a i 65539 1 2", "" },
        { "@@t@a f 4294967295 1 2", "" }, { "@@t@a s 99999999999999999999 \"\"", "" },
        { "@@t@a f 13 1 -0.5e1 1E+2 +1 01 .5 1. - 1e 1.5x 1e400 nan 16777217",
            "a f 13 1 -5 100 0 0 0 0 0 0 1.5 0 0 1.67772e+07\n" },
        { "@@t@a s 2x, \"1\" , \"\\\"\\\\\\n\\q\" \"no\"\nb i 1 1",
            "a s 2 \"1\" \"\\\"\\\\\\nq\"\nb i 1 1\n" },
        { "@@t@a s 1 \"\\\nb\"\nc s 1 \"x\nd s 2 \"x\"\ne s 1\n\"x\"\nf s 0", "f i 0\n" } };
    for ( const auto& [ Bytes, Expected ] : Cases )
    {
        CAPTURE( std::string( Bytes ) );
        NZanCatch2::CAssertCapture Asserts; // which are logged once in a process
        Told( Bytes );
        REQUIRE( Told( Bytes ) == Expected );
    }

    CAssetObject::SetTextLogged( true );
    REQUIRE( ( Told( "@@t@a i 1 1" ) == "Asset not saved as BINARY: tree.asset\na i 1 1\n" &&
               Told( "@@b@" ) == "" ) );
    CAssetObject::SetTextLogged( false );

    NZanCatch2::CAssertCapture Asserts;
    Told( "@@t@a s 1 \"\\q\"\nb s 1 \"" );
    Asserts.Stop();
    REQUIRE( std::distance( Asserts.begin(), Asserts.end() ) == 2 );
    REQUIRE( Asserts.begin()[ 0 ]._Text == "Unrecognized escape sequence in asset text property." );
    REQUIRE( Asserts.begin()[ 1 ]._Text == "Error during parsing" );

    // What is there already counts as though it had just been read.
    CAssetObject Root;
    Root.AddObject( "old" ).AddObject( "older" );
    Read( "@@t@a i 1 1\n[[b]]\nc i 1 1", &Root );
    Read( "@@b@!\1es\1\0\0\0\2\0\0\0x\0!\1fi\0\0\0\0[[[d\0"sv, &Root );
    REQUIRE( Write( Root, false ) == "@@t@[old]\n\t[[older]]\n\t\ta i 1 1\n\t[[b]]\n\t\tc i 1 1\n"
                                     "\t\te s 1 \"x\"\n\t\tf i 0\n\t\t[[[d]]]\n" );
}

TEST_CASE( "A name comes back or is logged", "[asset]" )
{
    std::mt19937 Random( 10 );
    for ( size_t i = 0; i < 2000; ++i )
    {
        const bool bLong = i == 255 || i == 256;
        const std::string Name =
            bLong ? std::string( i, 'x' ) : MakeText( Random, 4, "ab #[]!\t\n\0\x7F\x80\xFF\""sv );
        for ( const int32 Case : { 0, 1, 2, 3 } )
        {
            const bool bBinary = Case % 2 == 0, bIsObject = Case >= 2;
            CLogCapture Log;
            CAssetObject Root, Other;
            bIsObject ? Root.AddObject( View( Name ) ).GetName()
                      : Root.AccessProperties().AppendEmplace( View( Name ), 1 )._Name;
            const std::string Bytes = Write( Root, bBinary );
            const size_t LoggedCount = Log.GetRecords().size();
            Read( Bytes, &Other );
            const auto& Properties = Other.GetProperties();
            const auto& Objects = Other.GetObjects();
            const bool bPropertyBack = Objects.IsEmpty() && Properties.GetSize() == 1 &&
                                       Properties[ 0 ]._Name == View( Name ) &&
                                       Properties[ 0 ].GetIntData().GetSize() == 1;
            const bool bObjectBack =
                Properties.IsEmpty() && Objects.GetSize() == 1 && Objects[ 0 ]->GetName() == View( Name );
            const bool bCameBack = bIsObject ? bObjectBack : bPropertyBack;
            CAPTURE( Name, Case, Bytes );
            REQUIRE( LoggedCount == ( bCameBack ? 0 : 1 ) );
            const std::string Told = ": " + Name.substr( 0, Name.find( '\0' ) ) + "\n";
            REQUIRE( ( bCameBack || Log.GetRecords()[ 0 ].Message.ends_with( Told ) ) );
        }
    }

    // A zero byte in a string takes nothing with it but the rest of the string.
    CAssetObject Root;
    Root.AccessProperties() = { { "a", CZanStringView( "x\0y", 3 ) }, { "b", 1 } };
    CLogCapture Log;
    REQUIRE( Told( Write( Root, true ) ).ends_with( "a s 1 \"x\"\nb i 1 1\n" ) );
    REQUIRE( Write( Root, false ) == "@@t@a s 1 \"x\"\nb i 1 1\n" );
    REQUIRE( Log.GetRecords().size() == 1 );
}

TEST_CASE( "Floats are written to text as by printf", "[asset]" )
{
    CZanArray<float> Floats = { 0.0f, -0.0f, 1e-5f, 1e-4f, 99999.95f, 999999.5f, 1e6f, 1e-45f, INFINITY,
        NAN };
    std::mt19937 Generator( 5 );
    while ( Floats.GetSize() < 5000 )
    {
        Floats.Append( std::bit_cast<float>( static_cast<uint32>( Generator() ) ) );
    }
    CAssetObject Root;
    Root.AccessProperties().AppendEmplace( "f", Floats );
    std::string Expected = "@@t@f f 5000";
    for ( const float Float : Floats )
    {
        char Buffer[ 32 ];
        std::snprintf( Buffer, sizeof( Buffer ), " %g", static_cast<double>( Float ) );
        Expected += Buffer;
    }
    REQUIRE( Write( Root, false ) == Expected + "\n" );
}

TEST_CASE( "CAssetObject of any depth", "[asset]" )
{
    CAssetObject Root;
    CAssetObject* pObject = &Root;
    for ( int32 i = 0; i < 1000000; ++i )
    {
        pObject->AddObject( "first" );
        pObject = &pObject->AddObject( "last" );
    }

    CAssetObject Deep, FromBinary, FromText;
    pObject = &Deep;
    for ( int32 i = 0; i < 2000; ++i )
    {
        pObject = &pObject->AddObject( "o" );
        pObject->AccessProperties() = { { "p", i }, { "q", 0.5f } };
    }
    Read( Write( Deep, true ), &FromBinary );
    Read( Write( Deep, false ), &FromText );
    REQUIRE( ( IsSame( Deep, FromBinary ) && IsSame( Deep, FromText ) ) );
}

TEST_CASE( "SStringTable looks into its own characters", "[asset]" )
{
    NZanTestUtils::CZanTestAllocator Allocator;
    for ( const bool bSameAllocator : { true, false } ) // on another one the characters move elsewhere
    {
        CZanArray<char> Chars( bSameAllocator ? GetDefaultAllocator() : Allocator );
        Chars.Append( "one\0\0three", 11 );
        SStringTable::CViews Views = { { Chars.GetData(), 3 }, { Chars.GetData() + 4, 0 },
            { Chars.GetData() + 5, 5 } };
        const SAssetProperty Property( "p", std::move( Chars ), std::move( Views ) );
        const SStringTable& Table = *Property._Data.GetValue<SStringTable>();
        SStringTable Copied = Table, Moved( std::move( Copied ) );
        Copied = Moved;
        for ( const auto* pTable : { &Table, &std::as_const( Moved ), &std::as_const( Copied ) } )
        {
            REQUIRE( ( *pTable == Table && pTable->_Views[ 0 ].GetData() == pTable->_Chars.GetData() ) );
            REQUIRE( pTable->_Views[ 2 ].GetIterEnd() + 1 == pTable->_Chars.GetIterEnd() );
        }
        Copied = SStringTable( CZanSpan<const CZanStringView>( Moved._Views ).Last( 1 ) ); // embeds its view
        Moved = std::move( Copied );
        REQUIRE( ( Moved._Views.GetSize() == 1 && Moved._Views[ 0 ] == "three" && !( Moved == Table ) ) );
    }
}
