#include "zan_core/hashing/zan_unordered_set.h"

#include "zan_core/containers/zan_array.h"
#include "zan_core/hashing/tests/hash_container_bench.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_matchers.h"
#include "zan_test/include/zan_test_types.h"

#include <memory>
#include <tuple>
#include <utility>

using namespace NHashBench;
using namespace NZanTestUtils;
using NZanCatch2::EqualsMultiSet;

namespace
{
using CNumberSet = CZanUnorderedSet<int32>;
using CPlainSet = CZanUnorderedSet<TKey<SMovable>>;
template <int32 N>
using THybridSet = CZanHybridUnorderedSet<TKey<SMovable>, N>;
using TSetPairings = std::tuple<std::pair<CPlainSet, CPlainSet>, std::pair<CPlainSet, THybridSet<8>>,
    std::pair<THybridSet<8>, CPlainSet>, std::pair<THybridSet<8>, THybridSet<8>>,
    std::pair<THybridSet<20>, THybridSet<1>>, std::pair<CNumberSet, CZanHybridUnorderedSet<int32, 8>>>;
template <typename TKey, typename THash = SZanHash<TKey>>
using TPlainAndHybrid = std::pair<CZanUnorderedSet<TKey, THash>, CZanHybridUnorderedSet<TKey, 8, THash>>;
using TRandomPairs = std::tuple<std::pair<CNumberSet, CNumberSet>, std::pair<THybridSet<20>, THybridSet<1>>,
    TPlainAndHybrid<int64>, TPlainAndHybrid<TKey<SMoveOnly>>, TPlainAndHybrid<CString>,
    TPlainAndHybrid<int32, SPoorHash>, TPlainAndHybrid<TKey<SMovable>, SPoorHash>>;
} // namespace

TEST_CASE( "CZanUnorderedSet constructor", "[unordered_set]" )
{
    SMemory Memory;
    const CNumberSet Set( &Memory );
    REQUIRE( ( Set.IsEmpty() && Holds( Set, 0, 0 ) ) );
    REQUIRE( ( Set.GetInfo()._Buckets == 0 && Memory._AllocationCount == 0 ) );
}

TEST_CASE( "CZanUnorderedSet iterators", "[unordered_set]" )
{
    CNumberSet Set;
    REQUIRE( begin( Set ) == end( Set ) );
    Set.Insert( 1 );
    const auto Two = Set.Insert( 2 );
    REQUIRE( ( Two._bInserted && *Two._Iterator == 2 ) );
    const auto Again = Set.InsertOrSet( 2 );
    REQUIRE( ( !Again && Again._Iterator == Set.Find( 2 ) && *Set.Find( 2 ).operator->() == 2 ) );
    REQUIRE( ( !Set.Find( 3 ) && Set.Find( 3 ) == Set.end() ) );
    REQUIRE_THAT( Set, EqualsMultiSet<CNumberSet>( 1, 2 ) );
}

TEST_CASE( "CZanHybridUnorderedSet with a custom parent allocator", "[unordered_set]" )
{
    CheckInlineRoom<THybridSet<8>>();
}

TEST_CASE( "CZanUnorderedSet::ReleaseValue", "[unordered_set]" )
{
    CheckReleaseValue<CZanUnorderedSet<TKey<SCopyable>>>( SCopyable::CopyConstructed );
    CheckReleaseValue<CZanUnorderedSet<TKey<SMovable>>>( SMovable::MoveConstructed );
    CheckReleaseValue<CZanUnorderedSet<TKey<SMoveOnly>>>( SMoveOnly::MoveConstructed );
}

TEST_CASE( "CZanUnorderedSet std::initializer_list constructor", "[unordered_set]" )
{
    REQUIRE_THAT( ( CNumberSet{ 3, 5, -3 } ), EqualsMultiSet<CNumberSet>( 3, 5, -3 ) );
    const CNumberSet Collapsed = { 1, 2, 1, 1, 2, 2, 1, 2, 1, 1, 1, 2, 2, 2, 1, 2, 1, 2, 1, 1, 2, 1, 2, 2 };
    REQUIRE( ( Collapsed.GetSize() == 2 && Collapsed.GetInfo()._Buckets == 8 ) );
}

TEST_CASE( "CZanUnorderedSet primitive iterator", "[unordered_set]" )
{
    const int32 Keys[] = { 7, 7, -1, 0, 7 };
    REQUIRE_THAT( CNumberSet( Keys, Keys + 5 ), EqualsMultiSet<CNumberSet>( 7, -1, 0 ) );
}

TEST_CASE( "CZanUnorderedSet CZanArray constructor", "[unordered_set]" )
{
    const CZanArray<int32> Keys = { 4, 2, 4, 9 };
    REQUIRE_THAT( CNumberSet( Keys ), EqualsMultiSet<CNumberSet>( 2, 4, 9 ) );
    REQUIRE_THAT( ( CZanHybridUnorderedSet<int32, 8>( Keys ) ), EqualsMultiSet<CNumberSet>( 2, 4, 9 ) );
}

EXCHANGE_FAMILIES( "CZanUnorderedSet", TSetPairings )

TEST_CASE( "CZanHybridUnorderedSet constructor", "[hybrid_unordered_set]" )
{
    SBench Bench;
    THybridSet<20> Set( &Bench._Memory );
    Fill( &Bench, &Set, 0, 20 );
    REQUIRE( ( Holds( Set, 0, 20 ) && Set.GetInfo()._Buckets == 64 && Bench._Memory._AllocationCount == 0 ) );
    REQUIRE( ( THybridSet<8>().GetInfo()._Buckets == 32 && THybridSet<1>().GetInfo()._Buckets == 8 ) );
}

TEST_CASE( "CZanUnorderedSet of pointers that it owns", "[unordered_set]" )
{
    CZanUnorderedSet<std::unique_ptr<int32>> Set;
    int32 Sum = 0;
    for ( int32 i = 0; i < 100; ++i )
    {
        Set.Insert( std::make_unique<int32>( i ) );
    }
    for ( ; !Set.IsEmpty(); Sum += *Set.ReleaseValue( Set.begin() ) )
    {}
    REQUIRE( Sum == 4950 );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedSet random steps against a model", "[unordered_set]", TRandomPairs )
{
    for ( const bool bOneMemory : { false, true } )
    {
        SRandomSteps<TestType> S( bOneMemory );
        const auto Add = [ & ] { return S._Model.emplace( S._Key, 10 * S._Key ).second; };
        S.Run( { [ & ] { return S._Left.Insert( S.Key() )._bInserted == Add(); },
            [ & ] { return S._Left.InsertOrSet( S.Key() )._bInserted == Add(); } } );
    }
}
