#include "zan_core/hashing/zan_hash.h"
#include "zan_core/text/zan_string.h"
#include "zan_test/include/zan_test_catch.h"

#include <algorithm>
#include <array>
#include <list>
#include <memory>
#include <random>
#include <string>
#include <type_traits>
#include <vector>

namespace
{
enum class EColour : uint8
{
    Green = 42
};

struct SCell
{
    int32 _Column, _Row;
};
uint32 ZanHash( const SCell& Cell ) { return ZanHashCombine( Cell._Column, Cell._Row ); }

// The way of the published function: byte by byte, with no code in common.
uint32 HashByTheBook( const std::vector<uint8>& Bytes )
{
    const auto Rotate = []( uint32 Word, int32 Count ) { return Word << Count | Word >> ( 32 - Count ); };
    const auto Scramble = [ & ]( uint32 Word ) { return Rotate( Word * 0xCC9E2D51u, 15 ) * 0x1B873593u; };
    uint32 Hash = 0;
    uint32 Word = 0;
    for ( size_t i = 0; i < Bytes.size(); ++i )
    {
        Word |= static_cast<uint32>( Bytes[ i ] ) << ( i % 4 * 8 );
        if ( i % 4 == 3 )
        {
            Hash = Rotate( Hash ^ Scramble( Word ), 13 ) * 5 + 0xE6546B64u;
            Word = 0;
        }
    }
    Hash ^= Scramble( Word ) ^ static_cast<uint32>( Bytes.size() );
    Hash = ( Hash ^ Hash >> 16 ) * 0x85EBCA6Bu;
    Hash = ( Hash ^ Hash >> 13 ) * 0xC2B2AE35u;
    return Hash ^ Hash >> 16;
}
} // namespace

TEST_CASE( "ZanHash of every length, at once and in any cut", "[hash]" )
{
    std::mt19937 Random( 2 );
    SZanHashStream Stream; // one for all, as finalising makes it fresh
    for ( size_t Round = 0; Round < 700; ++Round )
    {
        std::vector<uint8> Bytes( Round % 70 );
        std::generate( Bytes.begin(), Bytes.end(), [ & ] { return static_cast<uint8>( Random() ); } );
        const int32 Size = static_cast<int32>( Bytes.size() );
        const size_t MaxPiece = 1 + Random() % 9;
        for ( int32 Fed = 0, Piece = 0; Fed < Size; Fed += Piece )
        {
            Piece = std::min( static_cast<int32>( Random() % ( MaxPiece + 1 ) ), Size - Fed );
            Stream.Feed( Bytes.data() + Fed, Piece );
        }
        CAPTURE( Bytes );
        REQUIRE( ZanHash( Bytes.data(), Size ) == HashByTheBook( Bytes ) );
        REQUIRE( Stream.Finalise() == HashByTheBook( Bytes ) );
    }
    REQUIRE( ZanHash( "Hello world!", -1 ) == ZanHash( "", 0 ) );
}

TEST_CASE( "SZanHashStream keeps the newest byte on top", "[hash]" )
{
    SZanHashStream Stream;
    Stream.Feed( "\x11\x22\x33", 3 );
    REQUIRE( ( Stream._Carry == 0x33221103 && Stream._Total == 3 ) );
    Stream.Finalise();
    REQUIRE( ( Stream._Hash | Stream._Carry | Stream._Total ) == 0 );
}

TEST_CASE( "ZanHash of values", "[hash]" )
{
    REQUIRE( ZanHash( EColour::Green ) == ZanHash( uint8( 42 ) ) );
    REQUIRE( ( ZanHash( int64( 42 ) ) != ZanHash( int32( 42 ) ) && ZanHash( 0.0 ) == ZanHash( -0.0 ) ) );
    REQUIRE( ZanHash( 1.5L ) == ZanHash( 1.5 ) );

    // A pointer by its value, and an owner as its pointer, also where that would be text.
    const std::unique_ptr<char[]> Owner( new char[ 4 ]{ "abc" } );
    const void* const pOwned = Owner.get();
    REQUIRE( ( ZanHash( pOwned ) == ZanHash( &pOwned, 8 ) && ZanHash( Owner ) == ZanHash( pOwned ) ) );

    // An array of characters up to the zero byte, not all sixteen.
    char Buffer[ 16 ] = "Hello world!";
    char* const pText = Buffer;
    REQUIRE( ( ZanHash( Buffer ) == 1652231212 && ZanHash( pText ) == 1652231212 ) );
}

TEST_CASE( "SZanBitWiseHash", "[hash]" )
{
    REQUIRE( SZanBitWiseHash<int32>()( 42 ) == 3160117731 );
    REQUIRE( SZanBitWiseHash<EColour>()( EColour::Green ) == ZanHash( "\x2A", 1 ) );

    // The bytes of the structure, not its own hash; and more of them than are unrolled.
    const SCell Cell{ 1, 2 };
    REQUIRE( SZanBitWiseHash<SCell>()( Cell ) == ZanHash( &Cell, 8 ) );
    const std::array<int32, 7> Numbers = { 1, 2, 3, 4, 5, 6, 7 };
    REQUIRE( SZanBitWiseHash<std::array<int32, 7>>()( Numbers ) == ZanHash( &Numbers, 28 ) );
    REQUIRE( SZanBitWiseHash<std::array<char, 7>>()( { "abcdef" } ) == ZanHash( "abcdef", 7 ) );
}

TEST_CASE( "SZanHash", "[hash]" )
{
    REQUIRE( ( SZanHash<int32>()( 42 ) == 3160117731 && SZanHash<SCell>()( { 1, 2 } ) == 3787935720 ) );
    REQUIRE( SZanHash<CString>()( CZanStringView( "Hello world!" ) ) == 1652231212 );

    // A number is hashed as the type of the key, whatever type it comes in.
    REQUIRE( SZanHash<int64>()( 42 ) == ZanHash( int64( 42 ) ) );
    static_assert( SZanHash<CString>::TakesAsIs<CZanStringView> && !SZanHash<int64>::TakesAsIs<int32> );
}

TEST_CASE( "Zan::HashRange", "[hash]" )
{
    const std::list<int32> Numbers = { 1, 19, 30, -16, 11 };
    REQUIRE( Zan::HashRange( Numbers.begin(), Numbers.end() ) == 2219615127 );
    const std::array<char, 3> Triples[] = { { 'a', 'b', 'c' }, { 'd', 'e', 'f' } }; // blocks not filled
    REQUIRE( Zan::HashRange( Triples, Triples + 2 ) == ZanHash( "abcdef", 6 ) );
}

TEST_CASE( "Zan::HashMultiple", "[hash]" )
{
    const std::string Text = "some text";
    SZanHashStream Stream;
    Stream.Feed( "\x2A\0\0\0x", 5 );
    Stream.Feed( &Text, static_cast<int32>( sizeof( Text ) ) );
    REQUIRE( Zan::HashMultiple( int32( 42 ), 'x', Text ) == Stream.Finalise() );
    REQUIRE( Zan::HashMultiple( 'x', int32( 42 ) ) == ZanHash( "x\x2A\0\0\0", 5 ) );
}

TEST_CASE( "ZanHashCombine", "[hash]" )
{
    REQUIRE( ( ZanHashCombine( 1 ) == 4226891818 && ZanHashCombine( 1, 2 ) == 3787935720 ) );
    REQUIRE( ZanHashCombine( 2, 1 ) == 2522223613 );
    const uint32 Mixed = ZanHashCombine( 1, 2, CZanStringView( ", 10" ) );
    REQUIRE( Mixed == ZanHashCombine( 1, 2, ", 10" ) );
    for ( const uint32 Other : { ZanHashCombine( 1, 2, ", 10", 0 ), ZanHashCombine( 0, 1, 2, ", 10" ),
              ZanHashCombine( 1, 0, 2, ", 10" ), ZanHashCombine( 1, ", 10", 2 ) } )
    {
        REQUIRE( Other != Mixed );
    }
}

TEST_CASE( "ZanHashCombineRange", "[hash]" )
{
    const auto OfRange = []( const auto& Items ) {
        REQUIRE( ZanHashCombineRange( Items ) == ZanHashCombineRange( Items.begin(), Items.end() ) );
        return ZanHashCombineRange( Items );
    };
    REQUIRE( ( OfRange( std::vector<int32>{} ) == 0 && OfRange( std::vector<int32>{ 7 } ) == ZanHash( 7 ) ) );
    REQUIRE( OfRange( std::vector<CZanStringView>{ "one" } ) == ZanHash( "one" ) );
    REQUIRE( OfRange( std::vector<int32>{ 1, 2, 3, 4 } ) == ZanHashCombine( 1, 2, 3, 4 ) );
    for ( const std::vector<int32>& Other : std::vector<std::vector<int32>>{
              { 1, 2, 3, 4, 5 }, { 1, 2, 0, 3, 4 }, { 0, 1, 2, 3, 4 }, { 4, 2, 1, 3 } } )
    {
        REQUIRE( OfRange( Other ) != ZanHashCombine( 1, 2, 3, 4 ) );
    }
}
