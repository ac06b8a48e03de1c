#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_matchers.h"
#include "zan_test/include/zan_test_types.h"

#include <map>
#include <string>
#include <vector>

using namespace NZanTestUtils;
using NZanCatch2::EqualsMultiMap;
using NZanCatch2::EqualsMultiSet;
using NZanCatch2::EqualsSequence;

namespace
{
using CInts = std::vector<int32>;
using CMap = std::multimap<std::string, int32>;
} // namespace

TEST_CASE( "EqualsSequence wants exactly these values in this order", "[zan_test]" )
{
    const auto Matcher = EqualsSequence<CInts>( 1, 2 );
    REQUIRE( ( Matcher.match( { 1, 2 } ) && !Matcher.match( { 2, 1 } ) && !Matcher.match( { 1, 2, 3 } ) ) );
    REQUIRE( ( !Matcher.match( { 1 } ) && !Matcher.match( {} ) ) );
    REQUIRE( ( EqualsSequence<CInts>().match( {} ) && !EqualsSequence<CInts>().match( { 1 } ) ) );
    REQUIRE( EqualsSequence<CInts>( 1, 300 ).describe() == "Equals: { 1, 300 (0x12c) }" );
    REQUIRE( EqualsSequence<std::vector<std::string>>( "a", std::string( "b" ) ).match( { "a", "b" } ) );
}

TEST_CASE( "EqualsMultiSet wants a permutation", "[zan_test]" )
{
    const auto Matcher = EqualsMultiSet<CInts>( 1, 2, 2 );
    REQUIRE(
        ( Matcher.match( { 1, 2, 2 } ) && Matcher.match( { 2, 1, 2 } ) && Matcher.match( { 2, 2, 1 } ) ) );
    REQUIRE( ( !Matcher.match( { 1, 2 } ) && !Matcher.match( { 1, 2, 2, 2 } ) ) );
    REQUIRE( ( !Matcher.match( { 1, 1, 2 } ) && !Matcher.match( { 1, 2, 3 } ) ) );
    REQUIRE( Matcher.describe() == "Equals (unordered): { 1, 2, 2 }" );
}

TEST_CASE( "EqualsMultiMap wants exactly these pairs", "[zan_test]" )
{
    const auto Matcher = EqualsMultiMap<CMap>( "one", 1, "two", 2 );
    REQUIRE( Matcher.match( { { "two", 2 }, { "one", 1 } } ) );
    REQUIRE( ( !Matcher.match( { { "one", 1 } } ) && !Matcher.match( { { "one", 2 }, { "two", 1 } } ) ) );
    REQUIRE( !Matcher.match( { { "one", 1 }, { "two", 2 }, { "two", 2 } } ) );
    REQUIRE( Matcher.describe() == "Equals (unordered): { \"one\", 1, \"two\", 2 }" );
}

TEMPLATE_TEST_CASE( "Lifecycle types see what happens to them", "[zan_test]", SCopyable, SMovable, SMoveOnly )
{
    constexpr bool bCopies = std::is_copy_constructible_v<TestType>;
    constexpr bool bMoves = !std::is_same_v<TestType, SCopyable>;
    SLifeCounters Counters;
    {
        TestType Default( &Counters );
        REQUIRE( Default.GetLastOperation() == CLifeObserver::DefaultConstructed );
        TestType Source( 5, &Counters );
        REQUIRE( Source.GetLastOperation() == CLifeObserver::ValueConstructed );

        TestType Target( std::move( Source ) );
        REQUIRE( ( Target == 5 && Target.IsMoved() == bMoves && Source == ( bMoves ? 0 : 5 ) ) );
        REQUIRE( Source.GetLastOperation() == ( bMoves ? 7 : 2 ) );

        Default = std::move( Target );
        REQUIRE( ( Default == 5 && Default.GetLastOperation() == ( bMoves ? 6 : 4 ) ) );
        REQUIRE( Target.GetLastOperation() == ( bMoves ? 8 : 3 ) );

        TestType& Self = Default;
        Default = std::move( Self );
        REQUIRE( Default == 5 );
        if constexpr ( bCopies )
        {
            Default = Self;
            const TestType Copy( Default );
            REQUIRE( ( Copy == Default && Copy.GetLastOperation() == 3 ) );
            Target = Copy;
            REQUIRE( ( Target.GetLastOperation() == 4 && !Target.IsMoved() ) );
        }
        REQUIRE( Counters.GetLiveCount() == 3 );
    }
    REQUIRE( ( Counters.GetLiveCount() == 0 && Counters._DefaultConstructions == 1 ) );
    const auto& C = Counters;
    REQUIRE(
        ( C._ValueConstructions == 1 && C._MoveConstructions == bMoves && C._MoveAssignments == bMoves ) );
    REQUIRE( ( C._MovedFromByConstruction == bMoves && C._MovedFromByAssignment == bMoves ) );
    const int32 CopyCount = bMoves ? bCopies : 2;
    REQUIRE( ( C._CopyConstructions == CopyCount && C._CopyAssignments == CopyCount ) );
}
