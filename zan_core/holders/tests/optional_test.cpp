#include "zan_core/holders/zan_optional.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"
#include "zan_test/include/zan_test_types.h"

#include <stdexcept>
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
    explicit SThrowing( bool bThrow )
    {
        if ( bThrow )
        {
            throw std::runtime_error( "no" );
        }
    }
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

template <typename T>
void CheckCopyAssignment()
{
    SLifeCounters Counters;
    {
        const CZanOptional<T> Source( std::in_place, 3, &Counters );
        CZanOptional<T> Target;
        for ( int32 i = 0; i < 2; ++i )
        {
            Target = Source;
            REQUIRE( Target.Get() == Source.Get() );
            REQUIRE( Target.Get().GetLastOperation() == CLifeObserver::CopyConstructed );
        }
        const CZanOptional<T>& Self = Target;
        Target = Self;
        REQUIRE( Target.Get() == 3 );
        Target = CZanOptional<T>();
        REQUIRE_FALSE( Target );
    }
    REQUIRE( Counters.GetLiveCount() == 0 );
    REQUIRE( Counters._CopyAssignments == 0 );
}
} // namespace

TEST_CASE( "CZanOptional Default Constructor", "[optional]" )
{
    const CZanOptional<SMovable> Optional;
    const SMovable Default = 5;
    REQUIRE_FALSE( Optional );
    REQUIRE_FALSE( Optional.IsSet() );
    REQUIRE( &Optional.Get( Default ) == &Default );
}

TEST_CASE( "CZanOptional::Set", "[optional]" )
{
    SLifeCounters Counters;
    {
        CZanOptional<SMovable> Optional;
        const SMovable Value( 7, &Counters );
        Optional.Set( Value );
        REQUIRE( Optional );
        REQUIRE( Optional.Get() == 7 );
        REQUIRE( Optional.Get( 1 ) == 7 );
        REQUIRE( Optional.Get().GetLastOperation() == CLifeObserver::CopyConstructed );
        Optional.Set( SMovable( 8, &Counters ) );
        REQUIRE( Optional.Get() == 8 );
        REQUIRE( Optional.Get().GetLastOperation() == CLifeObserver::MoveConstructed );
        Optional.Set( Optional.Get() );
        Optional = std::move( Optional.Get() );
        REQUIRE( Optional.Get() == 8 );
    }
    REQUIRE( Counters.GetLiveCount() == 0 );
    REQUIRE( Counters._CopyAssignments + Counters._MoveAssignments == 0 );

    CZanOptional<bool> Flag;
    Flag.Set( false );
    REQUIRE( Flag );
    REQUIRE_FALSE( Flag.Get() );
}

TEST_CASE( "CZanOptional::SetEmplace", "[optional]" )
{
    CText Optional;
    Optional.SetEmplace( 3u, 'x' );
    REQUIRE( Optional.Get() == "xxx" );
    Optional.SetEmplace();
    REQUIRE( Optional );
    REQUIRE( Optional.Get().empty() );
}

TEST_CASE( "CZanOptional::Emplace", "[optional]" )
{
    SLifeCounters Counters;
    CZanOptional<SMoveOnly> Optional;
    Optional.Emplace( 1, &Counters );
    SMoveOnly& Value = Optional.Emplace( 2, &Counters );
    REQUIRE( &Value == &Optional.Get() );
    REQUIRE( Value == 2 );
    REQUIRE( Counters._ValueConstructions == 2 );
    REQUIRE( Counters.GetLiveCount() == 1 );

    CZanOptional<SThrowing> Throwing( std::in_place, false );
    REQUIRE_THROWS( Throwing.Emplace( true ) );
    REQUIRE_FALSE( Throwing );
}

TEST_CASE( "CZanOptional::Clear", "[optional]" )
{
    SLifeCounters Counters;
    CZanOptional<SMovable> Optional( std::in_place, 3, &Counters );
    for ( int32 i = 0; i < 2; ++i )
    {
        Optional.Clear();
        REQUIRE_FALSE( Optional );
        REQUIRE( Counters.GetLiveCount() == 0 );
    }
    const SMovable Default = 5;
    REQUIRE( &Optional.Get( Default ) == &Default );
}

TEST_CASE( "CZanOptional Copy Constructor", "[optional]" )
{
    const CZanOptional<SCopyable> Source = SCopyable( 3 );
    const CZanOptional<SCopyable> Target = Source; // NOLINT(performance-unnecessary-copy-initialization)
    REQUIRE( Source.Get() == 3 );
    REQUIRE( Target.Get() == Source.Get() );
    REQUIRE( Target == Source );
    REQUIRE( Target != CZanOptional<SCopyable>( 4 ) );

    const CZanOptional<SCopyable> Empty;
    const CZanOptional<SCopyable> Copy = Empty; // NOLINT(performance-unnecessary-copy-initialization)
    REQUIRE_FALSE( Copy );
    REQUIRE( Copy == Empty );
    REQUIRE( Copy != Source );
}

TEST_CASE( "CZanOptional Move Constructor", "[optional]" )
{
    CZanOptional<SMoveOnly> Source = 3;
    const CZanOptional<SMoveOnly> Target = std::move( Source );
    REQUIRE( Target.Get() == 3 );
    REQUIRE( Target.Get().IsMoved() );
    REQUIRE( Source ); // NOLINT(bugprone-use-after-move)
    REQUIRE( Source.Get().GetLastOperation() == CLifeObserver::MovedFromByConstruction );
    REQUIRE( Source != Target );
    REQUIRE_FALSE( CText( CText() ) );

    const SMoveOnly Released = std::move( Source ).Get();
    REQUIRE( Released.IsMoved() );
}

TEST_CASE( "CZanOptional Copy Assignment", "[optional]" )
{
    CheckCopyAssignment<SCopyable>();
    CheckCopyAssignment<SMovable>();

    const CZanOptional<SUnassignable> Source( std::in_place, "name" );
    CZanOptional<SUnassignable> Target( std::in_place, "other" );
    Target = Source;
    REQUIRE( Target.Get()._Text == "name" );
    CZanOptional<SFixed> Fixed = SFixed{ 1 };
    Fixed = CZanOptional<SFixed>( SFixed{ 2 } );
    REQUIRE( Fixed.Get()._Value == 2 );
}

TEST_CASE( "CZanOptional Move Assignment", "[optional]" )
{
    SLifeCounters Counters;
    {
        CZanOptional<SMoveOnly> Source( std::in_place, 3, &Counters );
        CZanOptional<SMoveOnly> Target( std::in_place, 4, &Counters );
        Target = std::move( Source );
        REQUIRE( Target.Get() == 3 );
        REQUIRE( Source ); // NOLINT(bugprone-use-after-move)
        REQUIRE( Source.Get().GetLastOperation() == CLifeObserver::MovedFromByConstruction );
        REQUIRE( Source != Target );
        Target = CZanOptional<SMoveOnly>();
        REQUIRE_FALSE( Target );
        Source = {};
        REQUIRE_FALSE( Source );
    }
    REQUIRE( Counters.GetLiveCount() == 0 );
    REQUIRE( Counters._MoveAssignments == 0 );
}

TEST_CASE( "CZanOptional In Place Constructor", "[optional]" )
{
    const char Characters[] = { 'a', 'b', 'c' };
    REQUIRE( CText( std::in_place, Characters, sizeof( Characters ) ).Get() == "abc" );
    const CText Empty( std::in_place );
    REQUIRE( Empty );
    REQUIRE( Empty.Get().empty() );
}

TEST_CASE( "CZanOptional In Place iniitalizer_list Constructor", "[optional]" )
{
    REQUIRE( CText( std::in_place, { 'a', 'b' } ).Get() == "ab" );
    REQUIRE( CText( std::in_place, { 'c', 'd' }, std::allocator<char>() ).Get() == "cd" );
}

TEST_CASE( "CZanOptional From Value Constructor", "[optional]" )
{
    SMovable Value = 3;
    const CZanOptional<SMovable> Copied = Value;
    REQUIRE( Copied.Get().GetLastOperation() == CLifeObserver::CopyConstructed );
    REQUIRE( Value == 3 );
    const CZanOptional<SMovable> Moved = std::move( Value );
    REQUIRE( Moved.Get() == 3 );
    REQUIRE( Moved.Get().IsMoved() );
    REQUIRE( CZanOptional<bool>( false ).IsSet() );
    REQUIRE( CZanOptional<CZanOptional<int32>>( CZanOptional<int32>() ).IsSet() );
}

TEST_CASE( "CZanOptional Perfect Forward Assignment", "[optional]" )
{
    CText Optional;
    std::string Value = "a text that is too long for a string to hold inside";
    Optional = Value;
    REQUIRE_FALSE( Value.empty() );
    REQUIRE( Optional.Get() == Value );
    Optional = "text";
    REQUIRE( Optional.Get() == "text" );

    SMovable Source = 3;
    CZanOptional<SMovable> Target;
    Target = std::move( Source );
    REQUIRE( Target.Get().IsMoved() );
    REQUIRE( Source == 0 ); // NOLINT(bugprone-use-after-move)
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
