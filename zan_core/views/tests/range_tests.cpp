#include "zan_core/views/zan_range.h"

#include "zan_core/containers/zan_array.h"
#include "zan_core/hashing/zan_unordered_set.h"
#include "zan_test/include/zan_test_capture.h"
#include "zan_test/include/zan_test_catch.h"

#include <forward_list>
#include <list>
#include <numeric>
#include <vector>

using namespace NZanRange;

namespace
{
/// The elements that a walk finds.
std::vector<int32> List( const auto& Range ) { return { Range.begin(), Range.end() }; }

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
    REQUIRE( List( ConstRange ) == Count( 0, 5 ) );
    Range.Advance( 3 );
    REQUIRE( ( cbegin( ConstRange.Next( 3 ) ) == cbegin( Range ) && cend( ConstRange ) == cend( Range ) ) );
    *Range.begin() = 5;
    REQUIRE( ( List( Container ) == std::vector{ 0, 1, 2, 5, 4 } && List( Range ) == std::vector{ 5, 4 } ) );
    if constexpr ( requires { Range.Prev( 3 ); } )
    {
        REQUIRE( cbegin( Range.Prev( 3 ) ) == cbegin( ConstRange ) );
        REQUIRE( List( ZanMakeReversed( Range ) ) == std::vector{ 4, 5 } );
        REQUIRE( List( ZanMakeReversed( ConstRange ) ) == std::vector{ 4, 5, 2, 1, 0 } );
    }
    Range.Advance( 2 );
    REQUIRE( Range.IsEmpty() );
}

/// Subranges of 0 to 9 by positions that count from the start, and with bFromEnd by all others.
template <bool bFromEnd, typename TContainer>
void CheckSubranges( TContainer Container )
{
    for ( const auto& [ First, Last ] : { std::pair( 0, 10 ), { 4, 10 }, { 0, 6 }, { 4, 6 }, { 10, 10 } } )
    {
        const auto Start = StartPlus( First ), End = StartPlus( Last );
        const auto Size = RangeSize( Last - First );
        const std::vector<int32> Part = Count( First, Last ), Head = Count( 0, Last ),
                                 Tail = Count( First, 10 );
        REQUIRE( List( ZanMakeRange( Container, Start, End ) ) == Part );
        REQUIRE( List( ZanMakeRange( Container, Start, Size ) ) == Part );
        REQUIRE( List( ZanMakeHeadRange( Container, End ) ) == Head );
        REQUIRE( List( ZanMakeHeadRange( Container, RangeSize( Last ) ) ) == Head );
        REQUIRE( List( ZanMakeTailRange( Container, Start ) ) == Tail );
        if constexpr ( bFromEnd )
        {
            const auto BackStart = EndMinus( 10 - First ), BackEnd = EndMinus( 10 - Last );
            REQUIRE( List( ZanMakeRange( Container, Start, BackEnd ) ) == Part );
            REQUIRE( List( ZanMakeRange( Container, BackStart, End ) ) == Part );
            REQUIRE( List( ZanMakeRange( Container, BackStart, BackEnd ) ) == Part );
            REQUIRE( List( ZanMakeRange( Container, BackStart, Size ) ) == Part );
            REQUIRE( List( ZanMakeRange( Container, Size, End ) ) == Part );
            REQUIRE( List( ZanMakeRange( Container, Size, BackEnd ) ) == Part );
            REQUIRE( List( ZanMakeHeadRange( Container, BackEnd ) ) == Head );
            REQUIRE( List( ZanMakeTailRange( Container, BackStart ) ) == Tail );
            REQUIRE( List( ZanMakeTailRange( Container, RangeSize( 10 - First ) ) ) == Tail );
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
    REQUIRE( List( ConstRange ) == Count( 0, 5 ) );
    *std::next( begin( Range ), 3 ) = 5;
    REQUIRE( List( ZanMakeRange( ConstRange ) ) == std::vector{ 0, 1, 2, 5, 4 } );
    STATIC_REQUIRE( std::is_const_v<std::remove_reference_t<decltype( *ConstRange.begin() )>> );
}

/// That Action reports a failure, in a build that looks for it. Others have nothing to show.
void CheckFails( [[maybe_unused]] const auto& Action )
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
    const auto Advance = [ & ] { Range.Advance( Steps ); };
    const auto Next = [ & ] { Range = Range.Next( Steps ); };
    const auto Prev = [ & ] { Range = Range.Next( 5 ).Prev( Steps ).Prev( 5 ); };
    SECTION( "Assert Advance" ) { CheckFails( Advance ); }
    SECTION( "Assert Next" ) { CheckFails( Next ); }
    SECTION( "Assert Prev" ) { CheckFails( Prev ); }
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

    const CZanUnorderedSet<int32> Set = { 10, 20 };
    REQUIRE( ZanMakeRange( Set ).Next( 1 ).begin() == std::next( Set.begin() ) );
    REQUIRE( ZanMakeRange( Set ).Next( 2 ).IsEmpty() );
}

TEST_CASE( "CZanRange::ZanMakeRange", "[range]" )
{
    CheckSubranges<false>( std::forward_list{ 0, 1, 2, 3, 4, 5, 6, 7, 8, 9 } );

    CZanArray<int32> Array = { 0, 1, 2 };
    const CZanRange<int32*, int32*, std::forward_iterator_tag> Forward( Array );
    using CForward = std::remove_const_t<decltype( Forward )>;
    STATIC_REQUIRE( std::is_same_v<decltype( ZanMakeRange( Forward ) ), CForward> );
    const auto HasPrev = []( auto Range ) {
        return requires { Range.Prev( 1 ); };
    };
    const auto HasSize = []( auto Range ) {
        return requires { Range.GetSize(); };
    };
    REQUIRE( ( HasPrev( ZanMakeRange( Array ) ) && !HasPrev( Forward ) && !HasSize( Forward ) ) );
    using CConst = decltype( ZanMakeRange( std::as_const( Array ) ) );
    STATIC_REQUIRE( std::is_same_v<CConst, CZanRange<const int32*>> );
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
    const auto Before = [ & ] { static_cast<void>( &Range[ -1 ] ); };
    const auto Behind = [ & ] { static_cast<void>( &Range[ 2 ] ); };
    SECTION( "Assert [] Negative" ) { CheckFails( Before ); }
    SECTION( "Assert [] Positive" ) { CheckFails( Behind ); }
}

TEST_CASE( "CZanRange Bidirectional DEBUG scope guards", "[range]" ) { CheckGuards<std::list<int32>>(); }

TEST_CASE( "CZanMappedMembersRangeRef::BasicTests", "[range]" )
{
    CheckMember<std::vector<int32>>();
    CheckMember<std::list<int32>>();
}
