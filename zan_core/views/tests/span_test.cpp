#include "zan_core/views/zan_span.h"

#include "zan_core/containers/zan_array.h"
#include "zan_test/include/zan_test_assertions.h"
#include "zan_test/include/zan_test_catch.h"

#include <cstring>
#include <iterator>
#include <utility>

namespace
{
using CInts = CZanSpan<int>;
using CConstInts = CZanSpan<const int>;

/// Every way to the elements agrees that they are those from First up to Last.
void CheckViews( CInts Span, int* pFirst, int* pLast )
{
    REQUIRE( Span.IsEmpty() == ( pFirst == pLast ) );
    REQUIRE( Span.GetSize() == pLast - pFirst );
    REQUIRE( Span.GetByteSize() == static_cast<size_t>( pLast - pFirst ) * sizeof( int ) );
    REQUIRE( ( Span.GetData() == pFirst && Span.GetIterStart() == pFirst && Span.GetIterEnd() == pLast ) );
    REQUIRE( ( begin( Span ) == pFirst && end( Span ) == pLast ) );
    for ( int& Element : Span )
    {
        REQUIRE( &Element == pFirst );
        REQUIRE( &Span[ static_cast<int32>( pFirst++ - Span.GetData() ) ] == &Element );
    }
    REQUIRE( pFirst == pLast );
}

/// Each element starts where its bytes do.
template <typename TByte>
void CheckBytes( CInts Span, CZanSpan<TByte> Bytes )
{
    REQUIRE_FALSE( Bytes.IsEmpty() );
    REQUIRE( static_cast<size_t>( Bytes.GetSize() ) == Span.GetByteSize() );
    TByte* pByte = Bytes.GetData();
    for ( const int& Element : Span )
    {
        REQUIRE( static_cast<const void*>( pByte ) == &Element );
        pByte += sizeof( int );
    }
    REQUIRE( pByte == Bytes.GetIterEnd() );
}

int GArray[] = { 5, 4, 3, 2, 1 };

constexpr int Squares[] = { 0, 1, 4, 9 };
static_assert( ZanAsSpan( Squares ).Subspan( 1 ).Last( 2 )[ 1 ] == 9, "in constant expressions, too" );
static_assert( std::is_convertible_v<CInts, CConstInts> && !std::is_constructible_v<CInts, CConstInts> );
static_assert( !std::is_constructible_v<CZanSpan<const long>, CInts> );
static_assert( !std::is_constructible_v<CInts, CZanArray<int>>, "an array that ends is not written to" );
} // namespace

TEST_CASE( "CZanSpan Default Constructor", "[span]" ) { CheckViews( CInts(), nullptr, nullptr ); }

TEST_CASE( "CZanSpan Construct From Pointers", "[span]" )
{
    CheckViews( CInts( std::begin( GArray ), std::end( GArray ) ), GArray, GArray + 5 );
    CheckViews( CInts( GArray, GArray ), GArray, GArray );
}

TEST_CASE( "CZanSpan Construct From Pointers and Size", "[span]" )
{
    CheckViews( CInts( GArray, 5 ), GArray, GArray + 5 );
    CheckViews( CInts( GArray + 1, 0 ), GArray + 1, GArray + 1 );
}

TEST_CASE( "ZanAsSpan With C-Style Array", "[span]" )
{
    CheckViews( ZanAsSpan( GArray ), GArray, GArray + 5 );
}

TEST_CASE( "CZanSpan::First", "[span]" )
{
    CheckViews( ZanAsSpan( GArray ).First( 2 ), GArray, GArray + 2 );
    CheckViews( ZanAsSpan( GArray ).First( 0 ), GArray, GArray );
    CheckViews( CInts().First( 0 ), nullptr, nullptr );
}

TEST_CASE( "CZanSpan::Last", "[span]" )
{
    CheckViews( ZanAsSpan( GArray ).Last( 3 ), GArray + 2, GArray + 5 );
    CheckViews( ZanAsSpan( GArray ).Last( 5 ), GArray, GArray + 5 );
}

TEST_CASE( "CZanSpan::Subspan", "[span]" )
{
    const CInts Span = ZanAsSpan( GArray );
    CheckViews( Span.Subspan( 1, 3 ), GArray + 1, GArray + 4 );
    CheckViews( Span.Subspan( 5, 0 ), GArray + 5, GArray + 5 );
    CheckViews( Span.Subspan( 3 ), GArray + 3, GArray + 5 );
#if defined( ZAN_CHECK_PRECONDITIONS )
    ASSERT_FAILS_WITH( CheckViews( Span.Subspan( 3, 3 ), nullptr, nullptr ), "A part outside its span" );
    ASSERT_FAILS_WITH( CheckViews( Span.First( -1 ), nullptr, nullptr ), "A part outside its span" );
    ASSERT_FAILS_WITH( CheckViews( Span.Last( 6 ), nullptr, nullptr ), "A part outside its span" );
#endif
}

TEST_CASE( "ZanAsByteSpan", "[span]" )
{
    CheckBytes( ZanAsSpan( GArray ), ZanAsByteSpan( ZanAsSpan( GArray ) ) );
    CheckBytes( ZanAsSpan( GArray ), ZanAsByteSpan( CConstInts( ZanAsSpan( GArray ) ) ) );
}

TEST_CASE( "ZanAsWritableByteSpan", "[span]" )
{
    int Array[] = { 2, 1 };
    const CZanSpan<uint8> Bytes = ZanAsWritableByteSpan( ZanAsSpan( Array ) );
    CheckBytes( ZanAsSpan( Array ), Bytes );
    std::memset( Bytes.Last( sizeof( int ) ).GetData(), 0xFF, sizeof( int ) );
    REQUIRE( ( Array[ 0 ] == 2 && Array[ 1 ] == -1 ) );
}

TEST_CASE( "CZanSpan of what has data and size", "[span]" )
{
    CZanArray<int> Array = { 1, 2, 3 };
    CheckViews( Array, Array.GetData(), Array.GetData() + 3 );
    CheckViews( CZanSpan( Array ), Array.GetData(), Array.GetData() + 3 );
    const CConstInts Const = std::as_const( Array );
    REQUIRE( ( Const.GetData() == Array.GetData() && Const.GetSize() == 3 ) );
}
