#include "zan_core/views/zan_span.h"

#include "zan_core/containers/zan_array.h"
#include "zan_test/include/zan_test_assertions.h"
#include "zan_test/include/zan_test_catch.h"

namespace
{
using CInts = CZanSpan<int>;
using CConstInts = CZanSpan<const int>;

/// Every way to the elements agrees that they are so many from pFirst on.
void CheckViews( CInts Span, int* pFirst, int32 Size )
{
    int* const pLast = pFirst + Size;
    REQUIRE( ( Span.GetData() == pFirst && Span.GetIterStart() == pFirst && Span.GetIterEnd() == pLast ) );
    REQUIRE( ( begin( Span ) == pFirst && end( Span ) == pLast && Span.IsEmpty() == ( Size == 0 ) ) );
    REQUIRE(
        ( Span.GetSize() == Size && Span.GetByteSize() == static_cast<size_t>( Size ) * sizeof( int ) ) );
    for ( int& Element : Span )
    {
        REQUIRE(
            ( &Element == pFirst && &Span[ static_cast<int32>( pFirst++ - Span.GetData() ) ] == &Element ) );
    }
    REQUIRE( pFirst == pLast );
}

void CheckBytes( CInts Span, auto Bytes )
{
    REQUIRE( static_cast<const void*>( Bytes.GetData() ) == Span.GetData() );
    REQUIRE( static_cast<const void*>( Bytes.GetIterEnd() ) == Span.GetIterEnd() );
}

int GArray[] = { 5, 4, 3, 2, 1 };

constexpr int Squares[] = { 0, 1, 4, 9 };
static_assert( ZanAsSpan( Squares ).Subspan( 1 ).Last( 2 )[ 1 ] == 9, "in constant expressions, too" );
static_assert( std::is_convertible_v<CInts, CConstInts> && !std::is_constructible_v<CInts, CConstInts> );
static_assert( !std::is_constructible_v<CZanSpan<const long>, CInts> );
static_assert( !std::is_constructible_v<CInts, CZanArray<int>>, "an array that ends is not written to" );
} // namespace

TEST_CASE( "CZanSpan Default Constructor", "[span]" ) { CheckViews( CInts(), nullptr, 0 ); }

TEST_CASE( "CZanSpan Construct From Pointers", "[span]" )
{
    CheckViews( CInts( GArray, GArray + 4 ), GArray, 4 );
}

TEST_CASE( "CZanSpan Construct From Pointers and Size", "[span]" )
{
    CheckViews( CInts( GArray, 5 ), GArray, 5 );
    CheckViews( CInts( GArray + 1, 0 ), GArray + 1, 0 );
}

TEST_CASE( "ZanAsSpan With C-Style Array", "[span]" ) { CheckViews( ZanAsSpan( GArray ), GArray, 5 ); }

TEST_CASE( "CZanSpan::First", "[span]" )
{
    CheckViews( ZanAsSpan( GArray ).First( 2 ), GArray, 2 );
    CheckViews( CInts().First( 0 ), nullptr, 0 );
}

TEST_CASE( "CZanSpan::Last", "[span]" ) { CheckViews( ZanAsSpan( GArray ).Last( 3 ), GArray + 2, 3 ); }

TEST_CASE( "CZanSpan::Subspan", "[span]" )
{
    const CInts Span = ZanAsSpan( GArray );
    CheckViews( Span.Subspan( 1, 3 ), GArray + 1, 3 );
    CheckViews( Span.Subspan( 5, 0 ), GArray + 5, 0 );
    CheckViews( Span.Subspan( 3 ), GArray + 3, 2 );
#if defined( ZAN_CHECK_PRECONDITIONS )
    ASSERT_FAILS_WITH( CheckViews( Span.Subspan( 3, 3 ), nullptr, 0 ), "A part outside its span" );
    ASSERT_FAILS_WITH( CheckViews( Span.First( -1 ), nullptr, 0 ), "A part outside its span" );
    ASSERT_FAILS_WITH( CheckViews( Span.Last( 6 ), nullptr, 0 ), "A part outside its span" );
#endif
}

TEST_CASE( "ZanAsByteSpan", "[span]" )
{
    CheckBytes( ZanAsSpan( GArray ), ZanAsByteSpan( ZanAsSpan( GArray ) ) );
    CheckBytes( ZanAsSpan( GArray ), ZanAsByteSpan( CConstInts( ZanAsSpan( GArray ) ) ) );
}

TEST_CASE( "ZanAsWritableByteSpan", "[span]" )
{
    CheckBytes( ZanAsSpan( GArray ), ZanAsWritableByteSpan( ZanAsSpan( GArray ) ) );
}

TEST_CASE( "CZanSpan of what has data and size", "[span]" )
{
    CZanArray<int> Array = { 1, 2, 3 };
    CheckViews( Array, Array.GetData(), 3 );
    CheckViews( CZanSpan( Array ), Array.GetData(), 3 );
    const CConstInts Const = std::as_const( Array );
    REQUIRE( ( Const.GetData() == Array.GetData() && Const.GetSize() == 3 ) );
}
