#include "zan_core/holders/zan_optional.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"
#include "zan_test/include/zan_test_types.h"

#include <string>

using namespace NZanTestUtils;

namespace
{
// Constructors only, and const members: neither kind can be assigned.
struct SUnassignable
{
    explicit SUnassignable( std::string Text ) : _Text( std::move( Text ) ) {}
    const std::string _Text;
};
struct SFixed
{
    const int32 _Value;
};

struct SThrowing
{
    explicit SThrowing( bool bThrow ) : _Value( bThrow ? throw 42 : 0 ) {}
    int32 _Value;
};

using CText = CZanOptional<std::string>;

// The holder is as trivial and as copyable as its value.
static_assert( std::is_trivially_copyable_v<CZanOptional<int32>> );
static_assert( std::is_trivially_destructible_v<CZanOptional<SFixed>> );
static_assert( !std::is_trivially_destructible_v<CText> && std::is_nothrow_move_constructible_v<CText> );
static_assert( std::is_copy_assignable_v<CZanOptional<SFixed>> );
static_assert( std::is_move_assignable_v<CZanOptional<SMoveOnly>> );
static_assert( !std::is_copy_constructible_v<CZanOptional<SMoveOnly>> );
static_assert( !std::is_copy_assignable_v<CZanOptional<SMoveOnly>> );
static_assert( !std::is_convertible_v<CZanOptional<bool>, bool> );
static_assert( !std::is_constructible_v<CZanOptional<int32>, std::string> );
static_assert( sizeof( CZanOptional<int64> ) == 2 * sizeof( int64 ) );

constexpr int32 CountInConstantExpression()
{
    CZanOptional<int32> Optional;
    Optional.Set( 4 );
    const CZanOptional<int32> Copy = Optional;
    Optional.Clear();
    Optional = Copy.Get() + Optional.Get( 1 );
    return Optional.Emplace( Optional.Get() * 2 ) + Copy.Get();
}
static_assert( CountInConstantExpression() == 14 );
static_assert( CZanOptional<SFixed>( SFixed{ 3 } ).Get()._Value == 3 );

/// Whether the value is 3 and came by this operation.
template <typename T>
bool HasThree( const CZanOptional<T>& Optional, CLifeObserver::EOperation Operation )
{
    return Optional && Optional.Get() == 3 && Optional.Get().GetLastOperation() == Operation;
}

/// Fails the case when an object is left, or was assigned instead of built anew.
struct SLifeCase
{
    ~SLifeCase() { CHECK( ( _Life.GetLiveCount() | _Life._CopyAssignments | _Life._MoveAssignments ) == 0 ); }
    SLifeCounters _Life;
};
} // namespace

TEST_CASE( "CZanOptional Default Constructor", "[optional]" )
{
    const CZanOptional<SMovable> Optional;
    const SMovable Default = 5;
    REQUIRE( ( !Optional && !Optional.IsSet() && &Optional.Get( Default ) == &Default ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanOptional::Set", "[optional]" )
{
    CZanOptional<SMovable> Optional( std::in_place, 1, &_Life );
    const SMovable Value( 3, &_Life );
    Optional.Set( Value );
    REQUIRE( ( HasThree( Optional, CLifeObserver::CopyConstructed ) && Optional.Get( 1 ) == 3 ) );
    Optional.Set( SMovable( 3, &_Life ) );
    Optional.Set( Optional.Get() );
    Optional = std::move( Optional.Get() );
    REQUIRE( HasThree( Optional, CLifeObserver::MoveConstructed ) );
}

TEST_CASE( "CZanOptional::SetEmplace", "[optional]" )
{
    CText Optional;
    Optional.SetEmplace( 3u, 'x' );
    REQUIRE( ( Optional.Get() == "xxx" && ( Optional.SetEmplace(), Optional ) && Optional.Get().empty() ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanOptional::Emplace", "[optional]" )
{
    CZanOptional<SMoveOnly> Optional;
    Optional.Emplace( 1, &_Life );
    SMoveOnly& Value = Optional.Emplace( 3, &_Life );
    REQUIRE( ( &Value == &Optional.Get() && HasThree( Optional, CLifeObserver::ValueConstructed ) ) );
    REQUIRE( ( _Life._ValueConstructions == 2 && _Life.GetLiveCount() == 1 ) );
    CZanOptional<SThrowing> Throwing( std::in_place, false );
    REQUIRE_THROWS( Throwing.Emplace( true ) );
    REQUIRE_FALSE( Throwing );
}

TEST_CASE_METHOD( SLifeCase, "CZanOptional::Clear", "[optional]" )
{
    CZanOptional<SMovable> Optional( std::in_place, 3, &_Life );
    const SMovable Default = 5;
    for ( int32 i = 0; i < 2; ++i )
    {
        Optional.Clear();
        REQUIRE( ( !Optional && _Life.GetLiveCount() == 0 && &Optional.Get( Default ) == &Default ) );
    }
}

TEST_CASE_METHOD( SLifeCase, "CZanOptional Copy Constructor", "[optional]" )
{
    const CZanOptional<SCopyable> Source( std::in_place, 3, &_Life ), Empty;
    const CZanOptional<SCopyable> Target = Source,
                                  Copy = Empty; // NOLINT(performance-unnecessary-copy-initialization)
    REQUIRE( ( HasThree( Target, CLifeObserver::CopyConstructed ) && Source.Get() == 3 && !Copy ) );
    REQUIRE(
        ( Target == Source && Source != CZanOptional<SCopyable>( 4 ) && Copy == Empty && Copy != Source ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanOptional Move Constructor", "[optional]" )
{
    CZanOptional<SMoveOnly> Source( std::in_place, 3, &_Life ), Target = std::move( Source );
    REQUIRE( ( HasThree( Target, CLifeObserver::MoveConstructed ) && Source && Source != Target ) );
    REQUIRE( Source.Get().GetLastOperation() == CLifeObserver::MovedFromByConstruction );
    const SMoveOnly Released = std::move( Target ).Get();
    REQUIRE( ( Released.IsMoved() && !CText( CText() ) ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanOptional Copy Assignment", "[optional]" )
{
    const CZanOptional<SMovable> Source( std::in_place, 3, &_Life );
    CZanOptional<SMovable> Target;
    const CZanOptional<SMovable>& Self = Target;
    for ( int32 i = 0; i < 2; ++i )
    {
        Target = Source;
        Target = Self;
        REQUIRE( ( HasThree( Target, CLifeObserver::CopyConstructed ) && Source == Target ) );
    }
    REQUIRE( !( Target = CZanOptional<SMovable>() ) );
    const CZanOptional<SUnassignable> Name( std::in_place, "name" );
    CZanOptional<SUnassignable> Other( std::in_place, "other" );
    Other = Name;
    CZanOptional<SFixed> Fixed = SFixed{ 1 };
    Fixed = CZanOptional<SFixed>( SFixed{ 2 } );
    REQUIRE( ( Other.Get()._Text == "name" && Fixed.Get()._Value == 2 ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanOptional Move Assignment", "[optional]" )
{
    CZanOptional<SMoveOnly> Source( std::in_place, 3, &_Life ), Target( std::in_place, 4, &_Life );
    Target = std::move( Source );
    REQUIRE( ( HasThree( Target, CLifeObserver::MoveConstructed ) && Source && Source != Target ) );
    REQUIRE( Source.Get().GetLastOperation() == CLifeObserver::MovedFromByConstruction );
    REQUIRE( ( !( Target = CZanOptional<SMoveOnly>() ) && !( Source = {} ) ) );
}

TEST_CASE( "CZanOptional In Place Constructor", "[optional]" )
{
    REQUIRE( (
        CText( std::in_place, "abcd", 3u ).Get() == "abc" && CText( std::in_place ).Get( "set" ).empty() ) );
}

TEST_CASE( "CZanOptional In Place iniitalizer_list Constructor", "[optional]" )
{
    REQUIRE( CText( std::in_place, { 'c', 'd' }, std::allocator<char>() ).Get() == "cd" );
}

TEST_CASE( "CZanOptional From Value Constructor", "[optional]" )
{
    SMovable Value = 3;
    const CZanOptional<SMovable> Copied = Value, Moved = std::move( Value );
    REQUIRE( HasThree( Copied, CLifeObserver::CopyConstructed ) );
    REQUIRE( ( HasThree( Moved, CLifeObserver::MoveConstructed ) && CZanOptional<bool>( false ).IsSet() ) );
    REQUIRE( CZanOptional<CZanOptional<int32>>( CZanOptional<int32>() ).IsSet() );
}

TEST_CASE( "CZanOptional Perfect Forward Assignment", "[optional]" )
{
    SMovable Value = 3;
    CZanOptional<SMovable> Optional;
    Optional = Value;
    REQUIRE( ( HasThree( Optional, CLifeObserver::CopyConstructed ) && Value == 3 ) );
    Optional = std::move( Value );
    REQUIRE( ( HasThree( Optional, CLifeObserver::MoveConstructed ) && Value == 0 ) );
    REQUIRE( ( CText() = "text" ).Get() == "text" );
}

#if defined( ZAN_CHECK_PRECONDITIONS )
TEST_CASE( "CZanOptional reports Get when it is not set", "[optional]" )
{
    CLogCapture Log;
    CZanOptional<int32> Optional;
    static_cast<void>( Optional.Get() );
    REQUIRE( Log.GetOnlyMessage() == "Assertion failed: Get of an optional that is not set\n" );
}
#endif
