#include "zan_core/holders/zan_multi_any.h"

#include "zan_core/text/zan_string.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <array>
#include <random>
#include <utility>

using namespace NZanTestUtils;

namespace
{
using CValues = CZanMultiAny<32, false>;
using CCopyableValues = CZanMultiAny<32, true>;

static_assert( !std::is_copy_constructible_v<CValues> && !std::is_copy_assignable_v<CValues> );

/// As many types as it takes to displace entries and to grow: in place, and some in blocks of their own.
template <size_t Index>
struct TValue
{
    friend bool operator==( const TValue&, const TValue& ) = default;
    std::array<int32, Index % 3 == 0 ? 40 : 2> _Values = {};
};

CCopyableValues MakeTwo( CCopyableValues Values = {} )
{
    return Values.SetValue( CString( "text" ) ), Values.SetValue( 3 ), Values;
}

bool HasTwo( const CCopyableValues& Values )
{
    CString Text;
    int32 Number = 0;
    return Values.GetValue( Text ) && Text == "text" && Values.GetValue( Number ) && Number == 3;
}
} // namespace

TEST_CASE( "CZanMultiAny Constructor", "[multiany]" )
{
    const CValues Values;
    int32 Number = 5;
    REQUIRE( ( Values.IsEmpty() && !Values.HasValue<int32>() && Values.GetValue<int32>() == nullptr ) );
    REQUIRE( ( !Values.GetValue( Number ) && Number == 5 ) );
}

TEST_CASE( "CZanMultiAny::SetValue", "[multiany]" )
{
    SLifeCounters Life;
    CValues Values;
    SMovable Value( 3, &Life );
    REQUIRE( Values.SetValue( Value )->GetLastOperation() == CLifeObserver::MoveConstructed );
    REQUIRE( ( Life._CopyConstructions == 1 && Life._MoveConstructions == 1 && Life.GetLiveCount() == 2 ) );
    Value = SMovable( 4, &Life );
    SMovable* const pStored = Values.SetValue( std::move( Value ) );
    REQUIRE( ( *pStored == 4 && pStored->GetLastOperation() == CLifeObserver::MoveAssigned ) );
    REQUIRE( ( Life._CopyConstructions == 1 && Life.GetLiveCount() == 2 ) );
    REQUIRE( ( pStored == Values.GetValue<SMovable>() && *Values.SetValue( *pStored ) == 4 ) );
    *Values.AccessValue<SMovable>() = 5;

    Values.SetValue( SMoveOnly( 6 ) );
    SMovable Out;
    REQUIRE( ( Values.GetValue( Out ) && Out == 5 && *Values.GetValue<SMoveOnly>() == 6 ) );
    REQUIRE( !Values.IsEmpty() );
}

TEST_CASE( "CZanMultiAny::RemoveValue", "[multiany]" )
{
    // Against a plain array, over many types.
    constexpr size_t TypeCount = 40;
    CValues Values;
    std::array<int32, TypeCount> Expected = {}; // 0 where nothing is held
    std::minstd_rand Random;
    const auto Step = [ & ]<size_t Index>( std::integral_constant<size_t, Index> ) {
        const TValue<Index>* const pHeld = Values.GetValue<TValue<Index>>();
        REQUIRE( ( pHeld != nullptr ? pHeld->_Values.back() : 0 ) == Expected[ Index ] );
        if ( Random() % 3 == 0 )
        {
            REQUIRE( Values.RemoveValue<TValue<Index>>() == ( Expected[ Index ] != 0 ) );
            Expected[ Index ] = 0;
        }
        else if ( Random() % 2 == 0 )
        {
            TValue<Index> Value;
            Value._Values.fill( Expected[ Index ] = static_cast<int32>( Random() ) | 1 );
            REQUIRE( *Values.SetValue( Value ) == Value );
        }
        REQUIRE( Values.CheckInvariants() );
    };
    const auto StepAll = [ & ]<size_t... Indices>( std::index_sequence<Indices...> )
    {
        ( Step( std::integral_constant<size_t, Indices>() ), ... );
    };
    for ( int32 i = 0; i < 20; ++i )
    {
        StepAll( std::make_index_sequence<TypeCount>() );
    }
    Values = CValues();
    Values.SetValue( 3 );
    REQUIRE( ( !Values.RemoveValue<uint32>() && Values.RemoveValue<int32>() && Values.IsEmpty() ) );
}

TEST_CASE( "CZanMultiAny::Clear", "[multiany]" )
{
    CCopyableValues Values = MakeTwo();
    Values.Clear();
    REQUIRE( ( Values.IsEmpty() && !Values.HasValue<int32>() && !Values.HasValue<CString>() ) );
}

TEST_CASE( "CZanMultiAny Copy Constructor", "[multiany]" )
{
    const CCopyableValues Values = MakeTwo();
    CCopyableValues Copy = Values;
    REQUIRE( ( HasTwo( Values ) && HasTwo( Copy ) && Copy.CheckInvariants() ) );
    Copy.SetValue( 4 );
    REQUIRE( HasTwo( Values ) );
}

TEST_CASE( "CZanMultiAny Move Constructor", "[multiany]" )
{
    CCopyableValues Values = MakeTwo();
    const CString* const pText = Values.GetValue<CString>();
    const CCopyableValues Moved = std::move( Values );
    REQUIRE( ( HasTwo( Moved ) && Moved.GetValue<CString>() == pText && Values.IsEmpty() ) );
}

TEST_CASE( "CZanMultiAny Copy Assignment", "[multiany]" )
{
    const CCopyableValues Values = MakeTwo();
    CCopyableValues Copy;
    Copy.SetValue( 5.0 );
    Copy = Values;
    Copy = static_cast<const CCopyableValues&>( Copy );
    REQUIRE( ( HasTwo( Values ) && HasTwo( Copy ) && !Copy.HasValue<double>() ) );
}

TEST_CASE( "CZanMultiAny Move Assignment", "[multiany]" )
{
    CCopyableValues Values = MakeTwo(), Moved;
    Moved.SetValue( 5.0 );
    Moved = std::move( Values );
    REQUIRE( ( HasTwo( Moved ) && !Moved.HasValue<double>() && Values.IsEmpty() ) );
    swap( Moved, Values );
    REQUIRE( ( HasTwo( Values ) && Moved.IsEmpty() ) );
}

TEST_CASE( "CZanMultiAny TryReleaseValue", "[multiany]" )
{
    CValues Values;
    REQUIRE_FALSE( Values.TryReleaseValue<int32>().IsSet() );
    const auto CheckRelease = [ & ]<typename T>( T Value, int32 Operation ) {
        Values.SetValue( std::move( Value ) );
        const CZanOptional<T> Released = Values.TryReleaseValue<T>();
        REQUIRE( ( Released.IsSet() && Released.Get() == 3 && !Values.HasValue<T>() ) );
        REQUIRE( Released.Get().GetLastOperation() == Operation );
    };
    CheckRelease( SCopyable( 3 ), CLifeObserver::CopyConstructed );
    CheckRelease( SMovable( 3 ), CLifeObserver::MoveConstructed );
    CheckRelease( SMoveOnly( 3 ), CLifeObserver::MoveConstructed );
    REQUIRE( Values.IsEmpty() );
}
