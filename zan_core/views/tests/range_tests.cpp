#include "zan_core/views/zan_range.h"

#include "zan_core/containers/zan_array.h"
#include "zan_core/hashing/zan_unordered_set.h"
#include "zan_test/include/zan_test_capture.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_matchers.h"

#include <forward_list>
#include <functional>
#include <list>
#include <numeric>
#include <vector>

using NZanCatch2::EqualsSequence;
using namespace NZanRange;

namespace
{
/// The elements that a ranged for finds.
template <typename TRange>
std::vector<int32> List( const TRange& Range )
{
    std::vector<int32> Values;
    for ( const int32 Value : Range )
    {
        Values.push_back( Value );
    }
    return Values;
}

/// The numbers from First up to Last.
std::vector<int32> Count( int32 First, int32 Last )
{
    std::vector<int32> Values( static_cast<size_t>( Last - First ) );
    std::iota( Values.begin(), Values.end(), First );
    return Values;
}

/// What any container of 0, 1, 2, 3, 4 has to show.
template <typename TContainer>
void CheckBasics( TContainer Container )
{
    auto Range = ZanMakeRange( Container );
    const CZanRange<decltype( std::as_const( Container ).begin() )> ConstRange = Range;
    REQUIRE( ( Range.AccessIterStart() == Container.begin() && Range.GetIterEnd() == Container.end() ) );
    REQUIRE( ( cbegin( ConstRange ) == Container.begin() && cend( ConstRange ) == Container.end() ) );
    REQUIRE( ( !Range.IsEmpty() && ZanMakeRange( Range ).AccessIterEnd() == Container.end() ) );
    REQUIRE_THAT( ConstRange, EqualsSequence<decltype( ConstRange )>( 0, 1, 2, 3, 4 ) );
    Range.Advance( 3 );
    REQUIRE( ( cbegin( ConstRange.Next( 3 ) ) == cbegin( Range ) && cend( ConstRange ) == cend( Range ) ) );
    *Range.begin() = 5;
    REQUIRE( ( List( Container ) == std::vector{ 0, 1, 2, 5, 4 } && List( Range ) == std::vector{ 5, 4 } ) );
    if constexpr ( requires { Range.Prev( 3 ); } )
    {
        REQUIRE( cbegin( Range.Prev( 3 ) ) == cbegin( ConstRange ) );
        REQUIRE( List( ZanMakeReversed( Range ) ) == std::vector{ 4, 5 } );
        REQUIRE_THAT( ZanMakeReversed( ConstRange ),
            EqualsSequence<decltype( ZanMakeReversed( ConstRange ) )>( 4, 5, 2, 1, 0 ) );
    }
    Range.Advance( 2 );
    REQUIRE( Range.IsEmpty() );
}

/// Subranges of 0 to 9 by positions that count from the start, and with bFromEnd by all others.
template <bool bFromEnd, typename TContainer>
void CheckSubranges( TContainer Container )
{
    for ( const auto& [ First, Last ] :
        { std::pair( 0, 10 ), { 4, 10 }, { 0, 6 }, { 4, 6 }, { 4, 4 }, { 10, 10 } } )
    {
        const std::vector<int32> Expected = Count( First, Last );
        const auto Check = [ & ]( auto From, auto To ) {
            REQUIRE( List( ZanMakeRange( Container, From, To ) ) == Expected );
        };
        const auto Start = StartPlus( First ), End = StartPlus( Last );
        const auto Size = RangeSize( Last - First );
        Check( Start, End );
        Check( Start, Size );
        REQUIRE( List( ZanMakeHeadRange( Container, End ) ) == Count( 0, Last ) );
        REQUIRE( List( ZanMakeHeadRange( Container, RangeSize( Last ) ) ) == Count( 0, Last ) );
        REQUIRE( List( ZanMakeTailRange( Container, Start ) ) == Count( First, 10 ) );
        REQUIRE( ZanMakeRange( Container, Start, End ).IsEmpty() == ( First == Last ) );
        if constexpr ( bFromEnd )
        {
            const auto BackStart = EndMinus( 10 - First ), BackEnd = EndMinus( 10 - Last );
            Check( Start, BackEnd );
            Check( BackStart, End );
            Check( BackStart, BackEnd );
            Check( BackStart, Size );
            Check( Size, End );
            Check( Size, BackEnd );
            REQUIRE( List( ZanMakeHeadRange( Container, BackEnd ) ) == Count( 0, Last ) );
            REQUIRE( List( ZanMakeTailRange( Container, BackStart ) ) == Count( First, 10 ) );
            REQUIRE( List( ZanMakeTailRange( Container, RangeSize( 10 - First ) ) ) == Count( First, 10 ) );
        }
    }
}

template <typename TMember>
struct TMemberTraits
{
    struct CSource
    {
        TMember _Values = { 0, 1, 2, 3, 4 };
    };
    static auto GetStart( auto& Source ) { return Source._Values.begin(); }
    static auto GetEnd( auto& Source ) { return Source._Values.end(); }
};

template <typename TMember>
void CheckMember()
{
    using TTraits = TMemberTraits<TMember>;
    typename TTraits::CSource Source;
    const CZanMappedMembersRangeRef<TTraits, SMutableElementsTag> Range( Source );
    const CZanMappedMembersRangeRef<TTraits> ConstRange = Range;
    REQUIRE( ( !ConstRange.IsEmpty() && ConstRange.GetSize() == 5 ) );
    REQUIRE_THAT( ConstRange, EqualsSequence<decltype( ConstRange )>( 0, 1, 2, 3, 4 ) );
    *std::next( begin( Range ), 3 ) = 5;
    REQUIRE( List( ZanMakeRange( ConstRange ) ) == std::vector{ 0, 1, 2, 5, 4 } );
    STATIC_REQUIRE( std::is_const_v<std::remove_reference_t<decltype( *ConstRange.begin() )>> );
}

/// That Action reports a failure, in a build that looks for it. Others have nothing to show.
void CheckFails( [[maybe_unused]] const std::function<void()>& Action )
{
#if defined( ZAN_CHECK_PRECONDITIONS )
    NZanCatch2::CAssertCapture Capture;
    Action();
    Capture.Stop();
    REQUIRE( Capture.begin() != Capture.end() );
#endif
}

template <typename TContainer>
void CheckGuards()
{
    TContainer Container = { 0, 1, 2, 3, 4 };
    auto Range = ZanMakeRange( Container );
    const int32 Steps = GENERATE( 6, -1 );
    NZanCatch2::CAssertCapture Capture;
    REQUIRE( Range.Next( 5 ).Prev( 5 ).begin() == Range.begin() );
    Capture.Stop();
    REQUIRE( Capture.begin() == Capture.end() );
    SECTION( "Assert Advance" )
    {
        CheckFails( [ & ] { Range.Advance( Steps ); } );
    }
    SECTION( "Assert Next" )
    {
        CheckFails( [ & ] { Range = Range.Next( Steps ); } );
    }
    SECTION( "Assert Prev" )
    {
        CheckFails( [ & ] { Range = Range.Next( 5 ).Prev( Steps ).Prev( 5 ); } );
    }
    REQUIRE( Range.begin() == begin( Container ) );
}
} // namespace

TEST_CASE( "CZanRange::BasicTests", "[range]" )
{
    CheckBasics( std::vector{ 0, 1, 2, 3, 4 } );
    CheckBasics( std::list{ 0, 1, 2, 3, 4 } );
    CheckBasics( std::forward_list{ 0, 1, 2, 3, 4 } );

    const CZanArray<int32> Array = { 0, 1, 2, 3, 4 };
    const auto Range = ZanMakeRange( Array );
    REQUIRE( ( Range.GetSize() == 5 && Range[ 2 ] == 2 && Range.Next( 1 )[ 2 ] == 3 ) );

    const CZanUnorderedSet<int32> Set = { 10, 20, 30, 40 };
    const auto Keys = ZanMakeRange( Set );
    for ( int32 i = 0; const int32 Key : Set )
    {
        REQUIRE( Keys.Next( i ).begin() == Set.Find( Key ) );
        ++i;
    }
    REQUIRE( Keys.Next( 4 ).IsEmpty() );
}

TEST_CASE( "CZanRange::ZanMakeRange", "[range]" )
{
    CheckSubranges<false>( std::forward_list{ 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 } );

    CZanArray<int32> Array = { 0, 1, 2 };
    const CZanRange<int32*, int32*, std::forward_iterator_tag> Forward( Array );
    STATIC_REQUIRE(
        std::is_same_v<decltype( ZanMakeRange( Forward ) ), std::remove_const_t<decltype( Forward )>> );
    const auto IsMoreThanForward = []( auto Range ) {
        return requires { Range.Prev( 1 ); }
        || requires { Range.GetSize(); };
    };
    REQUIRE( ( IsMoreThanForward( ZanMakeRange( Array ) ) && !IsMoreThanForward( Forward ) ) );
    STATIC_REQUIRE(
        std::is_same_v<decltype( ZanMakeRange( std::as_const( Array ) ) ), CZanRange<const int32*>> );
}

TEST_CASE( "CZanRange::ZanMakeRange_BiDiIter", "[range]" )
{
    CheckSubranges<true>( std::list{ 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 } );
}

TEST_CASE( "CZanRange::ZanMakeRange_RandIter", "[range]" )
{
    CheckSubranges<true>( std::vector{ 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 } );
    CheckSubranges<true>( CZanArray<int32>{ 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 } );
}

TEST_CASE( "CZanRange RandomAccess DEBUG scope guards", "[range]" )
{
    CheckGuards<std::vector<int32>>();
    const int32 Values[] = { 0, 1, 2 };
    const auto Range = ZanMakeRange( Values ).Next( 1 );
    REQUIRE( ( Range[ 0 ] == 1 && Range[ 1 ] == 2 ) );
    SECTION( "Assert [] Negative" )
    {
        CheckFails( [ & ] { static_cast<void>( &Range[ -1 ] ); } );
    }
    SECTION( "Assert [] Positive" )
    {
        CheckFails( [ & ] { static_cast<void>( &Range[ 2 ] ); } );
    }
}

TEST_CASE( "CZanRange Bidirectional DEBUG scope guards", "[range]" ) { CheckGuards<std::list<int32>>(); }

TEST_CASE( "CZanMappedMembersRangeRef::BasicTests", "[range]" )
{
    CheckMember<std::vector<int32>>();
    CheckMember<std::list<int32>>();
}
