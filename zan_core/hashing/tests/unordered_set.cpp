#include "zan_core/hashing/zan_unordered_set.h"

#include "zan_core/containers/zan_array.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_matchers.h"
#include "zan_test/include/zan_test_types.h"

#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <tuple>
#include <unordered_set>
#include <utility>

using namespace NZanTestUtils;
using NZanCatch2::EqualsMultiSet;

namespace
{
template <typename TBase>
struct TKey : TBase
{
    using TBase::TBase;

    friend uint32 ZanHash( const TKey& Key ) { return ::ZanHash( Key.GetValue() ); }
};
using CKey = TKey<SMovable>;

/// What a case works with: memory and lives that have to balance once its sets are gone.
struct SBench
{
    ~SBench()
    {
        CHECK( _Life.GetLiveCount() == 0 );
        CHECK( _Memory.GetTotalAllocationCount() == _Memory.GetTotalDeallocationCount() );
        CHECK( _OtherMemory.GetTotalAllocationCount() == _OtherMemory.GetTotalDeallocationCount() );
    }

    template <typename TSet>
    void Fill( TSet& Set, int32 First, int32 Count )
    {
        for ( int32 i = First; i < First + Count; ++i )
        {
            Set.Insert( CKey( i, &_Life ) );
        }
    }

    SLifeCounters _Life;
    CZanTestAllocator _Memory;
    CZanTestAllocator _OtherMemory;
};

/// True when the set is sound and holds what Fill gives to an empty one, and nothing else.
template <typename TSet>
bool Holds( const TSet& Set, int32 First, int32 Count )
{
    int32 Matches = 0;
    for ( const auto& Key : Set )
    {
        Matches += *Set.Find( Key ) == Key && First <= Key.GetValue() && Key.GetValue() < First + Count;
    }
    return Set.CheckInvariants() && Set.GetSize() == Count && Matches == Count;
}

using CPlainSet = CZanUnorderedSet<CKey>;
template <int32 N>
using THybridSet = CZanHybridUnorderedSet<CKey, N>;
using TSetPairings = std::tuple<std::pair<CPlainSet, CPlainSet>, std::pair<CPlainSet, THybridSet<8>>,
    std::pair<THybridSet<8>, CPlainSet>, std::pair<THybridSet<8>, THybridSet<8>>,
    std::pair<THybridSet<20>, THybridSet<1>>>;

/// Runs Check( Bench, Left, LeftCount, Right, RightCount ) on sets that are empty, small enough for most
/// inline buffers, or too large for any, with one memory and with two. The keys of the right one start at
/// 1000.
template <typename TPair, typename TCheck>
void ForEachPair( const TCheck& Check )
{
    for ( int32 Case = 0; Case < 18; ++Case )
    {
        CAPTURE( Case );
        const int32 Counts[] = { 0, 3, 99 };
        const int32 LeftCount = Counts[ Case % 3 ];
        const int32 RightCount = Counts[ Case / 3 % 3 ];
        SBench Bench;
        typename TPair::first_type Left( &Bench._Memory );
        typename TPair::second_type Right( Case < 9 ? &Bench._Memory : &Bench._OtherMemory );
        Bench.Fill( Left, 0, LeftCount );
        Bench.Fill( Right, 1000, RightCount );
        Check( Bench, Left, LeftCount, Right, RightCount );
    }
}
} // namespace

TEST_CASE( "CZanUnorderedSet constructor", "[unordered_set]" )
{
    SBench Bench;
    const CPlainSet Set( &Bench._Memory );
    REQUIRE( Set.IsEmpty() );
    REQUIRE( Holds( Set, 0, 0 ) );
    REQUIRE( Set.GetInfo()._Buckets == 0 );
    REQUIRE_FALSE( Set.Contains( CKey( 0 ) ) );
    REQUIRE( Bench._Memory.GetTotalAllocationCount() == 0 );
}

TEST_CASE( "CZanUnorderedSet iterators", "[unordered_set]" )
{
    CZanUnorderedSet<int32> Set;
    REQUIRE( begin( Set ) == end( Set ) );
    Set.Insert( 1 );
    const auto Two = Set.Insert( 2 );
    REQUIRE( Two._bInserted );
    REQUIRE( *Two._Iterator == 2 );
    const auto Again = Set.InsertOrSet( 2 );
    REQUIRE_FALSE( static_cast<bool>( Again ) );
    REQUIRE( Again._Iterator == Set.Find( 2 ) );
    REQUIRE( *Set.Find( 2 ).operator->() == 2 );
    REQUIRE_FALSE( static_cast<bool>( Set.Find( 3 ) ) );
    REQUIRE( Set.Find( 3 ) == Set.end() );
    REQUIRE_THAT( Set, EqualsMultiSet<CZanUnorderedSet<int32>>( 1, 2 ) );
}

TEST_CASE( "CZanHybridUnorderedSet with a custom parent allocator", "[unordered_set]" )
{
    SBench Bench;
    THybridSet<8> Set( &Bench._Memory );
    int32 Count = 0;
    while ( Set.GetInfo()._Buckets == 32 )
    {
        REQUIRE( Bench._Memory.GetTotalAllocationCount() == 0 );
        Bench.Fill( Set, Count++, 1 );
    }
    REQUIRE( Bench._Memory.GetTotalAllocationCount() == 1 );
    REQUIRE( Count == 28 );
    REQUIRE( Holds( Set, 0, 28 ) );
}

namespace
{
template <typename TBase>
void CheckReleaseValue( int32 ExpectedOperation )
{
    using CTestKey = TKey<TBase>;
    CZanUnorderedSet<CTestKey> Set;
    for ( const int32 i : { 1, 2, 3, 4 } )
    {
        Set.Insert( CTestKey( i ) );
    }
    const CZanOptional<CTestKey> Third = Set.TryReleaseValue( CTestKey( 3 ) );
    REQUIRE( Third.Get() == 3 );
    REQUIRE( Third.Get().GetLastOperation() == ExpectedOperation );
    const CTestKey Second = Set.ReleaseValue( Set.Find( CTestKey( 2 ) ) );
    REQUIRE( Second == 2 );
    REQUIRE( Second.GetLastOperation() == ExpectedOperation );
    REQUIRE_FALSE( Set.TryReleaseValue( CTestKey( 3 ) ).IsSet() );
    REQUIRE_THAT( Set, EqualsMultiSet<CZanUnorderedSet<CTestKey>>( 1, 4 ) );
}
} // namespace

TEST_CASE( "CZanUnorderedSet::ReleaseValue", "[unordered_set]" )
{
    CheckReleaseValue<SCopyable>( SCopyable::CopyConstructed );
    CheckReleaseValue<SMovable>( SMovable::MoveConstructed );
    CheckReleaseValue<SMoveOnly>( SMoveOnly::MoveConstructed );
}

TEST_CASE( "CZanUnorderedSet std::initializer_list constructor", "[unordered_set]" )
{
    const CZanUnorderedSet<int32> Set = { 3, 5, -3 };
    REQUIRE_THAT( Set, EqualsMultiSet<CZanUnorderedSet<int32>>( 3, 5, -3 ) );
    const CZanUnorderedSet<int32> Collapsed = { 1, 2, 1, 1, 2, 2, 1, 2, 1, 1, 1, 2, 2, 2, 1, 2, 1, 2, 1, 1, 2,
        1, 2, 2, 1, 2, 1, 1, 2 };
    REQUIRE( Collapsed.GetSize() == 2 );
    REQUIRE( Collapsed.GetInfo()._Buckets == 8 );
}

TEST_CASE( "CZanUnorderedSet primitive iterator", "[unordered_set]" )
{
    const int32 Keys[] = { 7, 7, -1, 0, 7 };
    const CZanUnorderedSet<int32> Set( std::begin( Keys ), std::end( Keys ) );
    REQUIRE_THAT( Set, EqualsMultiSet<CZanUnorderedSet<int32>>( 7, -1, 0 ) );
}

TEST_CASE( "CZanUnorderedSet CZanArray constructor", "[unordered_set]" )
{
    const CZanArray<int32> Keys = { 4, 2, 4, 9 };
    const CZanUnorderedSet<int32> Set( Keys );
    REQUIRE_THAT( Set, EqualsMultiSet<CZanUnorderedSet<int32>>( 2, 4, 9 ) );
    REQUIRE( Keys.GetSize() == 4 );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedSet swap", "[unordered_set]", TSetPairings )
{
    ForEachPair<TestType>( []( SBench& Bench, auto& Left, int32 LeftCount, auto& Right, int32 RightCount ) {
        Left.Swap( Right );
        REQUIRE( Holds( Left, 1000, RightCount ) );
        REQUIRE( Holds( Right, 0, LeftCount ) );
        Bench.Fill( Left, 1000, 50 + RightCount );
        REQUIRE( Holds( Left, 1000, 50 + RightCount ) );
    } );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedSet move assign", "[unordered_set]", TSetPairings )
{
    ForEachPair<TestType>( []( SBench& Bench, auto& Left, int32, auto& Right, int32 RightCount ) {
        Left = std::move( Right );
        REQUIRE( Holds( Left, 1000, RightCount ) );
        REQUIRE( Holds( Right, 0, 0 ) );
        REQUIRE( Bench._Life._CopyConstructions + Bench._Life._CopyAssignments == 0 );
        Bench.Fill( Right, 0, 50 );
        REQUIRE( Holds( Right, 0, 50 ) );
    } );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedSet copy assign", "[unordered_set]", TSetPairings )
{
    ForEachPair<TestType>( []( SBench& Bench, auto& Left, int32, auto& Right, int32 RightCount ) {
        Left = std::as_const( Right );
        REQUIRE( Left == Right );
        REQUIRE( Holds( Left, 1000, RightCount ) );
        REQUIRE( Holds( Right, 1000, RightCount ) );
        Bench.Fill( Right, 0, 1 );
        REQUIRE_FALSE( Left == Right );
    } );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedSet move construct", "[unordered_set]", TSetPairings )
{
    ForEachPair<TestType>( []( SBench& Bench, auto&, int32, auto& Right, int32 RightCount ) {
        const typename TestType::first_type Target( std::move( Right ) );
        REQUIRE( Holds( Target, 1000, RightCount ) );
        Bench.Fill( Right, 0, 50 );
        REQUIRE( Holds( Right, 0, 50 ) );
    } );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedSet copy construct", "[unordered_set]", TSetPairings )
{
    ForEachPair<TestType>( []( SBench&, auto&, int32, auto& Right, int32 RightCount ) {
        const typename TestType::first_type Target( std::as_const( Right ) );
        REQUIRE( Holds( Right, 1000, RightCount ) );
        Right.Clear();
        REQUIRE( Holds( Target, 1000, RightCount ) );
    } );
}

TEST_CASE( "CZanHybridUnorderedSet constructor", "[hybrid_unordered_set]" )
{
    SBench Bench;
    THybridSet<20> Set( &Bench._Memory );
    REQUIRE( Set.GetInfo()._Buckets == 64 );
    Bench.Fill( Set, 0, 20 );
    REQUIRE( Holds( Set, 0, 20 ) );
    REQUIRE( Bench._Memory.GetTotalAllocationCount() == 0 );
    REQUIRE( THybridSet<8>().GetInfo()._Buckets == 32 );
    REQUIRE( THybridSet<1>().GetInfo()._Buckets == 8 );
}

TEST_CASE( "CZanUnorderedSet of pointers that it owns", "[unordered_set]" )
{
    CZanUnorderedSet<std::unique_ptr<int32>> Set;
    for ( int32 i = 0; i < 100; ++i )
    {
        Set.Insert( std::make_unique<int32>( i ) );
    }
    int32 Sum = 0;
    while ( Set.GetSize() > 50 )
    {
        Sum += *Set.ReleaseValue( Set.begin() );
    }
    CZanHybridUnorderedSet<std::unique_ptr<int32>, 8> Rest( std::move( Set ) );
    for ( const auto& pNumber : Rest )
    {
        Sum += *pNumber;
    }
    REQUIRE( Sum == 4950 );
    REQUIRE( Rest.GetSize() == 50 );
}

namespace
{
/// Few homes, in pairs of neighbours that crowd each other out, and in a small table always the last two.
struct SPoorHash
{
    uint32 operator()( const CKey& Key ) const
    {
        return static_cast<uint32>( Key.GetValue() % 16 * 8 + 6 + Key.GetValue() / 16 % 2 );
    }
};
using CPoorSet = CZanUnorderedSet<CKey, SPoorHash>;
using TRandomPairs = std::tuple<std::pair<CPlainSet, CPlainSet>, std::pair<CPlainSet, THybridSet<8>>,
    std::pair<THybridSet<20>, THybridSet<1>>, std::pair<CPoorSet, CPoorSet>,
    std::pair<CPoorSet, CZanHybridUnorderedSet<CKey, 8, SPoorHash>>>;

using CModel = std::unordered_set<int32>;

template <typename TSet>
bool IsLike( const TSet& Set, const CModel& Model )
{
    size_t Matches = 0;
    for ( const auto& Key : Set )
    {
        Matches += Model.count( Key.GetValue() ) == 1 && Set.Contains( Key );
    }
    const size_t Size = static_cast<size_t>( Set.GetSize() );
    return Set.CheckInvariants() && Size == Model.size() && Matches == Size;
}
} // namespace

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedSet random steps against a model", "[unordered_set]", TRandomPairs )
{
    SBench Bench;
    typename TestType::first_type Left( &Bench._Memory );
    typename TestType::second_type Right( &Bench._OtherMemory );
    auto& Self = Left;
    CModel Model;
    CModel RightModel;
    int32 Number = 0;
    const auto Key = [ & ] { return CKey( Number, &Bench._Life ); };
    const auto Absent = [ & ] { return !Left.Contains( Key() ) && Model.erase( Number ) == 0; };
    const std::function<bool()> Verbs[] = {
        [ & ] { return Left.Insert( Key() )._bInserted == Model.insert( Number ).second; },
        [ & ] { return *Left.InsertOrSet( Key() )._Iterator == *Model.insert( Number ).first; },
        [ & ] { return Left.Remove( Key() ) == ( Model.erase( Number ) == 1 ); },
        [ & ] { return Absent() || ( Left.Remove( Left.Find( Key() ) ), Model.erase( Number ) == 1 ); },
        [ & ] {
            return Absent() || Left.ReleaseValue( Left.Find( Key() ) ) == Model.extract( Number ).value();
        },
        [ & ] { return Left.TryReleaseValue( Key() ).IsSet() == ( Model.erase( Number ) == 1 ); },
    };
    const std::function<void()> Others[] = {
        [ & ] { Left.Reserve( Number ); },
        [ & ] { Left.ShrinkToFit(); },
        [ & ] { Left.Clear(), Model.clear(); },
        [ & ] { Left.Swap( Self ); },
        [ & ] { Left = std::move( Self ); },
        [ & ] { Left = std::as_const( Self ); },
        [ & ] { Left = std::as_const( Right ), Model = RightModel; },
        [ & ] { Right = std::move( Left ), RightModel = std::exchange( Model, {} ); },
        [ & ] { Left.Swap( Right ), Model.swap( RightModel ); },
        [ & ] { Right.Swap( Left ), Model.swap( RightModel ); },
    };
    std::mt19937 Random( 4711 );
    for ( int32 Step = 0; Step < 4000; ++Step )
    {
        Number = static_cast<int32>( Random() % 96 );
        if ( Random() % 24 == 0 )
        {
            Others[ Random() % std::size( Others ) ]();
        }
        else // grows first, then shrinks
        {
            const bool bInsert = Random() % 64 < ( Step % 600 < 300 ? 56 : 16 );
            REQUIRE( Verbs[ bInsert ? Random() % 2 : 2 + Random() % 4 ]() );
        }
        REQUIRE( ( IsLike( Left, Model ) && IsLike( Right, RightModel ) ) );
        REQUIRE( ( Left == Right ) == ( Model == RightModel ) );
        REQUIRE( static_cast<size_t>( Bench._Life.GetLiveCount() ) == Model.size() + RightModel.size() );
    }
}
