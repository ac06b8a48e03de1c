#include "zan_core/hashing/zan_unordered_map.h"

#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_matchers.h"
#include "zan_test/include/zan_test_types.h"

#include <cstdlib>
#include <functional>
#include <iterator>
#include <memory>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <unordered_map>
#include <utility>

using namespace NZanTestUtils;
using NZanCatch2::EqualsMultiMap;

namespace
{
struct SMoveOnlyKey : SMoveOnly
{
    using SMoveOnly::SMoveOnly;
};
uint32 ZanHash( const SMoveOnlyKey& Key ) { return ::ZanHash( Key.GetValue() ); }

/// Finds a key, and cannot become one.
struct SProbe
{
    int32 _Value;
};
uint32 ZanHash( SProbe Probe ) { return ::ZanHash( Probe._Value ); }
bool operator==( const SMoveOnlyKey& Key, SProbe Probe ) { return Key.GetValue() == Probe._Value; }

/// What a case works with: memory and lives that have to balance once its maps are gone.
struct SBench
{
    ~SBench()
    {
        CHECK( _Life.GetLiveCount() == 0 );
        CHECK( _Memory.GetTotalAllocationCount() == _Memory.GetTotalDeallocationCount() );
        CHECK( _OtherMemory.GetTotalAllocationCount() == _OtherMemory.GetTotalDeallocationCount() );
    }

    template <typename T>
    T Make( int32 Number )
    {
        if constexpr ( std::is_integral_v<T> )
        {
            return Number;
        }
        else if constexpr ( std::is_same_v<T, CString> )
        {
            return CString( "too long to stand in the string itself: " + std::to_string( Number ) );
        }
        else
        {
            return T( Number, &_Life );
        }
    }

    uint64 GetAllocationCount() const { return _Memory.GetTotalAllocationCount(); }
    uint64 GetBlockCount() const { return GetAllocationCount() - _Memory.GetTotalDeallocationCount(); }

    SLifeCounters _Life;
    CZanTestAllocator _Memory;
    CZanTestAllocator _OtherMemory;
};

template <typename TMap>
using TKeyOf = std::remove_cvref_t<decltype( std::declval<TMap&>().begin()->_Key )>;
template <typename TMap>
using TValueOf = std::remove_cvref_t<decltype( std::declval<TMap&>().begin()->_Value )>;

/// Count consecutive keys, each with ten times its number as its value.
template <typename TMap>
void Fill( SBench& Bench, TMap& Map, int32 First, int32 Count )
{
    for ( int32 i = First; i < First + Count; ++i )
    {
        Map.Set( Bench.Make<TKeyOf<TMap>>( i ), Bench.Make<TValueOf<TMap>>( 10 * i ) );
    }
}

/// True when the map is sound and holds what Fill gives to an empty one, and nothing else.
template <typename TMap>
bool Holds( SBench& Bench, const TMap& Map, int32 First, int32 Count )
{
    for ( int32 i = First; i < First + Count; ++i )
    {
        const auto* pValue = Map.GetValue( Bench.Make<TKeyOf<TMap>>( i ) );
        if ( pValue == nullptr || !( *pValue == Bench.Make<TValueOf<TMap>>( 10 * i ) ) )
        {
            return false;
        }
    }
    int32 Seen = 0;
    for ( const auto& Entry : Map )
    {
        Seen += Map.Find( Entry._Key )->_Key == Entry._Key;
    }
    return Map.CheckInvariants() && Map.GetSize() == Count && Seen == Count;
}

template <typename TMap>
struct SMapBench : SBench
{
    auto Key( int32 Number ) { return Make<TKeyOf<TMap>>( Number ); }
    auto Value( int32 Number ) { return Make<TValueOf<TMap>>( Number ); }
    void Fill( int32 First, int32 Count ) { ::Fill( *this, _Map, First, Count ); }
    bool Holds( int32 First, int32 Count ) { return ::Holds( *this, _Map, First, Count ); }
    int32 GetBucketCount() const { return _Map.GetInfo()._Buckets; }

    TMap _Map{ &_Memory };
};

template <typename TMap>
constexpr bool bIsHybrid = false;
template <typename TKey, typename TValue, int32 N, typename THash, typename TEqual>
constexpr bool bIsHybrid<CZanHybridUnorderedMap<TKey, TValue, N, THash, TEqual>> = true;

using CPlainMap = CZanUnorderedMap<int32, SMovable>;
template <int32 N>
using THybridMap = CZanHybridUnorderedMap<int32, SMovable, N>;

// Entries aligned to less than 8 do not store the hash, the others do.
using TMapTypes = std::tuple<CPlainMap, CZanUnorderedMap<int32, int32>, CZanUnorderedMap<CString, SMovable>,
    CZanUnorderedMap<SMoveOnlyKey, SMoveOnly>, THybridMap<8>, CZanHybridUnorderedMap<int32, int32, 1>,
    CZanHybridUnorderedMap<CString, CString, 20>, CZanHybridUnorderedMap<SMoveOnlyKey, SMoveOnly, 8>>;
using THybridMapTypes = std::tuple<CZanHybridUnorderedMap<int32, int32, 1>, THybridMap<8>,
    CZanHybridUnorderedMap<CString, CString, 20>, CZanHybridUnorderedMap<SMoveOnlyKey, SMoveOnly, 8>>;
using TMapPairings = std::tuple<std::pair<CPlainMap, CPlainMap>, std::pair<CPlainMap, THybridMap<8>>,
    std::pair<THybridMap<8>, CPlainMap>, std::pair<THybridMap<8>, THybridMap<8>>,
    std::pair<THybridMap<8>, THybridMap<20>>, std::pair<THybridMap<20>, THybridMap<1>>>;

/// Runs Check( Bench, Left, LeftCount, Right, RightCount ) on maps that are empty, small enough for most
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
        Fill( Bench, Left, 0, LeftCount );
        Fill( Bench, Right, 1000, RightCount );
        Check( Bench, Left, LeftCount, Right, RightCount );
    }
}

/// Verb( Bench, Value ) gives key 1 a value if it has none, and gives a result.
template <typename TMap, typename TVerb>
void CheckKeeps( const TVerb& Verb )
{
    SMapBench<TMap> Bench;
    const auto Added = Verb( Bench, 10 );
    REQUIRE( ( Added && Added._bInserted && Added._Iterator->_Value == Bench.Value( 10 ) ) );
    const auto Kept = Verb( Bench, 20 );
    REQUIRE_FALSE( ( Kept || Kept._bInserted ) );
    REQUIRE( Kept._Iterator->_Key == Bench.Key( 1 ) );
    REQUIRE( Bench.Holds( 1, 1 ) );
}

/// Verb( Bench, Value ) gives key 1 a value if it has none, and gives a pointer to the value.
template <typename TMap, typename TVerb>
void CheckAccess( const TVerb& Verb )
{
    SMapBench<TMap> Bench;
    REQUIRE( *Verb( Bench, 10 ) == Bench.Value( 10 ) );
    auto* pValue = Verb( Bench, 20 );
    REQUIRE( Bench.Holds( 1, 1 ) );
    *pValue = Bench.Value( 30 );
    REQUIRE( *Bench._Map.GetValue( Bench.Key( 1 ) ) == Bench.Value( 30 ) );
}
} // namespace

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap Default Constructor", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    REQUIRE( Bench._Map.IsEmpty() );
    REQUIRE( Bench.Holds( 0, 0 ) );
    REQUIRE( begin( Bench._Map ) == end( Bench._Map ) );
    REQUIRE( ( Bench.GetBucketCount() != 0 ) == bIsHybrid<TestType> );
    REQUIRE( Bench.GetAllocationCount() == 0 );
    REQUIRE( TestType().IsEmpty() );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::Set", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    REQUIRE( Bench._Map.Set( Bench.Key( 1 ), Bench.Value( 5 ) )->_Value == Bench.Value( 5 ) );
    const auto Iterator = Bench._Map.Set( Bench.Key( 1 ), Bench.Value( 10 ) );
    REQUIRE( Iterator == Bench._Map.Find( Bench.Key( 1 ) ) );
    REQUIRE( Iterator->_Value == Bench.Value( 10 ) );
    REQUIRE( Bench.Holds( 1, 1 ) );
    Bench.Fill( 0, 200 );
    REQUIRE( Bench.Holds( 0, 200 ) );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::SetEmplace", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    REQUIRE( Bench._Map.SetEmplace( Bench.Key( 1 ), Bench.Value( 5 ) )->_Value == Bench.Value( 5 ) );
    REQUIRE( Bench._Map.SetEmplace( Bench.Key( 1 ), Bench.Value( 10 ) )->_Value == Bench.Value( 10 ) );
    REQUIRE( Bench.Holds( 1, 1 ) );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap GetValue from Key", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    const TestType& Map = Bench._Map;
    REQUIRE( Map.GetValue( Bench.Key( 1 ) ) == nullptr );
    Bench.Fill( 1, 3 );
    REQUIRE( *Map.GetValue( Bench.Key( 2 ) ) == Bench.Value( 20 ) );
    REQUIRE( Map.GetValue( Bench.Key( 2 ) ) == &Map.Find( Bench.Key( 2 ) )->_Value );
    REQUIRE( Map.GetValue( Bench.Key( 4 ) ) == nullptr );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap AccessValue from Key", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    REQUIRE( Bench._Map.AccessValue( Bench.Key( 1 ) ) == nullptr );
    Bench.Fill( 1, 3 );
    *Bench._Map.AccessValue( Bench.Key( 2 ) ) = Bench.Value( 7 );
    REQUIRE( Bench._Map.Find( Bench.Key( 2 ) )->_Value == Bench.Value( 7 ) );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap Remove from Key", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    REQUIRE_FALSE( Bench._Map.Remove( Bench.Key( 42 ) ) );
    Bench.Fill( 0, 43 );
    REQUIRE( Bench._Map.Remove( Bench.Key( 42 ) ) );
    REQUIRE_FALSE( Bench._Map.Contains( Bench.Key( 42 ) ) );
    REQUIRE_FALSE( Bench._Map.Remove( Bench.Key( 42 ) ) );
    REQUIRE( Bench.Holds( 0, 42 ) );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap Remove from Iterator", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    Bench.Fill( 0, 100 );
    for ( int32 Left = 99; Left >= 0; --Left )
    {
        const auto Iterator = Bench._Map.Find( Bench.Key( Left ) );
        REQUIRE( Bench._Map.Remove( Iterator ) == Iterator );
        REQUIRE( Bench.Holds( 0, Left ) );
    }
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::Clear", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    Bench.Fill( 0, 100 );
    const int32 BucketCount = Bench.GetBucketCount();
    const uint64 AllocationCount = Bench.GetAllocationCount();
    Bench._Map.Clear();
    REQUIRE( Bench._Life.GetLiveCount() == 0 );
    REQUIRE( Bench.Holds( 0, 0 ) );
    Bench.Fill( 50, 100 );
    REQUIRE( Bench.Holds( 50, 100 ) );
    REQUIRE( Bench.GetBucketCount() == BucketCount );
    REQUIRE( Bench.GetAllocationCount() == AllocationCount );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::Reserve", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    Bench.Fill( 0, 2 );
    Bench._Map.Reserve( 5 );
    REQUIRE( Bench.GetBucketCount() >= 5 );
    REQUIRE( Bench.Holds( 0, 2 ) );
    Bench._Map.Reserve( 1000 );
    const uint64 AllocationCount = Bench.GetAllocationCount();
    Bench._Map.Reserve( 1000 );
    Bench._Map.Reserve( 10 );
    Bench.Fill( 2, 998 );
    REQUIRE( Bench.Holds( 0, 1000 ) );
    REQUIRE( Bench.GetAllocationCount() == AllocationCount );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::ShrinkToFit doesn't remove items", "[unordered_map]", TMapTypes )
{
    for ( const int32 Count : { 0, 1, 6, 7, 100 } )
    {
        SMapBench<TestType> Bench;
        Bench.Fill( 0, Count );
        Bench._Map.ShrinkToFit();
        REQUIRE( Bench.Holds( 0, Count ) );
        Bench._Map.Reserve( 1000 );
        Bench._Map.ShrinkToFit();
        REQUIRE( Bench.Holds( 0, Count ) );
    }
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::ShrinkToFit actually shrinks", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    Bench.Fill( 0, 1000 );
    Bench._Map.Clear();
    Bench.Fill( 0, 1 );
    Bench._Map.ShrinkToFit();
    REQUIRE( Bench.Holds( 0, 1 ) );
    REQUIRE( Bench.GetBucketCount() == 8 );
    REQUIRE( Bench.GetBlockCount() == 1 );
    Bench._Map.Clear();
    Bench._Map.ShrinkToFit();
    REQUIRE( Bench.GetBucketCount() == 0 );
    REQUIRE( Bench.GetBlockCount() == 0 );
    Bench.Fill( 0, 1 );
    REQUIRE( Bench.GetBucketCount() == 8 );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap operator==", "[unordered_map]", TMapTypes )
{
    SMapBench<TestType> Bench;
    TestType Other( &Bench._OtherMemory );
    REQUIRE( Bench._Map == Other );
    for ( int32 i = 0; i < 50; ++i )
    {
        Bench.Fill( i, 1 );
        REQUIRE_FALSE( Bench._Map == Other );
        Fill( Bench, Other, 49 - i, 1 );
    }
    REQUIRE( Bench._Map == Other );
    Other.Reserve( 500 );
    REQUIRE( ( Bench._Map == Other && Other == Bench._Map ) );
    Other.Set( Bench.Key( 7 ), Bench.Value( 71 ) );
    REQUIRE_FALSE( ( Bench._Map == Other || Other == Bench._Map ) );
    Other.Remove( Bench.Key( 7 ) );
    Other.Set( Bench.Key( 77 ), Bench.Value( 70 ) );
    REQUIRE_FALSE( ( Bench._Map == Other || Other == Bench._Map ) );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::TrySet", "[unordered_map]", TMapTypes )
{
    const auto Verb = []( auto& B, int32 I ) { return B._Map.TrySet( B.Key( 1 ), B.Value( I ) ); };
    CheckKeeps<TestType>( Verb );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::TrySetEmplace", "[unordered_map]", TMapTypes )
{
    const auto Verb = []( auto& B, int32 I ) { return B._Map.TrySetEmplace( B.Key( 1 ), B.Value( I ) ); };
    CheckKeeps<TestType>( Verb );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::TrySetLazy", "[unordered_map]", TMapTypes )
{
    int32 CallCount = 0;
    const auto Verb = [ & ]( auto& B, int32 I ) {
        return B._Map.TrySetLazy( B.Key( 1 ), [ & ] { return ++CallCount, B.Value( I ); } );
    };
    CheckKeeps<TestType>( Verb );
    REQUIRE( CallCount == 1 );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::FindOrSet", "[unordered_map]", TMapTypes )
{
    const auto Verb = []( auto& B, int32 I ) { return B._Map.FindOrSet( B.Key( 1 ), B.Value( I ) ); };
    CheckKeeps<TestType>( Verb );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::FindOrSetEmplace", "[unordered_map]", TMapTypes )
{
    const auto Verb = []( auto& B, int32 I ) { return B._Map.FindOrSetEmplace( B.Key( 1 ), B.Value( I ) ); };
    CheckKeeps<TestType>( Verb );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::FindOrSetLazy", "[unordered_map]", TMapTypes )
{
    int32 CallCount = 0;
    const auto Verb = [ & ]( auto& B, int32 I ) {
        return B._Map.FindOrSetLazy( B.Key( 1 ), [ & ] { return ++CallCount, B.Value( I ); } );
    };
    CheckKeeps<TestType>( Verb );
    REQUIRE( CallCount == 1 );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::AccessOrSet", "[unordered_map]", TMapTypes )
{
    const auto Verb = []( auto& B, int32 I ) { return &B._Map.AccessOrSet( B.Key( 1 ), B.Value( I ) ); };
    CheckAccess<TestType>( Verb );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::AccessOrSetEmplace", "[unordered_map]", TMapTypes )
{
    const auto Verb = []( auto& B, int32 I ) {
        return &B._Map.AccessOrSetEmplace( B.Key( 1 ), B.Value( I ) );
    };
    CheckAccess<TestType>( Verb );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap::AccessOrSetLazy", "[unordered_map]", TMapTypes )
{
    int32 CallCount = 0;
    const auto Verb = [ & ]( auto& B, int32 I ) {
        return &B._Map.AccessOrSetLazy( B.Key( 1 ), [ & ] { return ++CallCount, B.Value( I ); } );
    };
    CheckAccess<TestType>( Verb );
    REQUIRE( CallCount == 1 );
}

TEST_CASE( "CZanHybridUnorderedMap with a custom parent allocator", "[unordered_map]" )
{
    SMapBench<THybridMap<8>> Bench;
    int32 Count = 0;
    while ( Bench.GetBucketCount() == 32 )
    {
        REQUIRE( Bench.GetAllocationCount() == 0 );
        Bench.Fill( Count++, 1 );
    }
    REQUIRE( Bench.GetAllocationCount() == 1 );
    REQUIRE( Count == 28 );
    REQUIRE( Bench.Holds( 0, Count ) );
}

TEST_CASE( "CZanUnorderedMap Ranged For", "[unordered_map]" )
{
    CZanUnorderedMap<int32, CString> Map;
    Map.Set( 1, CString( "one" ) );
    Map.Set( 2, CString( "two" ) );
    for ( auto& Entry : Map )
    {
        Entry._Value = CString( Entry._Key == 1 ? "eins" : "zwei" );
    }
    REQUIRE_THAT( Map,
        ( EqualsMultiMap<CZanUnorderedMap<int32, CString>>( 1, CString( "eins" ), 2, CString( "zwei" ) ) ) );
}

TEST_CASE( "CZanUnorderedMap internal move", "[unordered_map]" )
{
    CZanUnorderedMap<std::unique_ptr<CString>, int32> Map;
    for ( const char* pText : { "Lorem", "Ipsum", "Dolor", "Sit", "Amet" } )
    {
        Map.Set( std::make_unique<CString>( pText ), 1 );
    }
    std::string Texts;
    for ( const auto& Entry : Map )
    {
        REQUIRE( Entry._Key != nullptr );
        Texts += Entry._Key->GetString();
    }
    REQUIRE( Map.GetSize() == 5 );
    REQUIRE( Texts.size() == 22 );
}

TEMPLATE_LIST_TEST_CASE(
    "CZanHybridUnorderedMap Default Constructor", "[hybrid_unordered_map]", THybridMapTypes )
{
    SMapBench<TestType> Bench;
    REQUIRE( Bench.GetBucketCount() >= 8 );
    REQUIRE( Bench.Holds( 0, 0 ) );
    const TestType OnDefault;
    REQUIRE( OnDefault.GetSize() == 0 );
    REQUIRE( OnDefault.GetInfo()._Buckets == Bench.GetBucketCount() );
}

TEMPLATE_LIST_TEST_CASE( "CZanHybridUnorderedMap::Clear", "[hybrid_unordered_map]", THybridMapTypes )
{
    SMapBench<TestType> Bench;
    const int32 BucketCount = Bench.GetBucketCount();
    Bench.Fill( 0, 1 );
    Bench._Map.Clear();
    REQUIRE( Bench.Holds( 0, 0 ) );
    REQUIRE( Bench._Life.GetLiveCount() == 0 );
    REQUIRE( Bench.GetBucketCount() == BucketCount );
    REQUIRE( Bench.GetAllocationCount() == 0 );
}

TEMPLATE_LIST_TEST_CASE( "CZanHybridUnorderedMap::Reserve", "[hybrid_unordered_map]", THybridMapTypes )
{
    SMapBench<TestType> Bench;
    Bench.Fill( 0, 1 );
    Bench._Map.Reserve( 1 );
    REQUIRE( Bench.GetAllocationCount() == 0 );
    Bench._Map.Reserve( 2 * 20 );
    REQUIRE( Bench.GetBucketCount() >= 2 * 20 );
    REQUIRE( Bench.GetAllocationCount() == 1 );
    REQUIRE( Bench.Holds( 0, 1 ) );
}

TEMPLATE_LIST_TEST_CASE( "CZanHybridUnorderedMap::ShrinkToFit", "[hybrid_unordered_map]", THybridMapTypes )
{
    SMapBench<TestType> Bench;
    const int32 BucketCount = Bench.GetBucketCount();
    Bench._Map.ShrinkToFit();
    Bench.Fill( 0, 1 );
    Bench._Map.ShrinkToFit();
    REQUIRE( Bench.GetBucketCount() == BucketCount );
    REQUIRE( Bench.GetAllocationCount() == 0 );
    Bench._Map.Reserve( 100 );
    Bench._Map.ShrinkToFit();
    REQUIRE( Bench.GetAllocationCount() == 2 );
    REQUIRE( Bench.GetBlockCount() == 1 );
    REQUIRE( Bench.Holds( 0, 1 ) );
    Bench._Map.Clear();
    Bench._Map.ShrinkToFit();
    REQUIRE( Bench.GetBucketCount() == 0 );
    REQUIRE( Bench.GetBlockCount() == 0 );
}

TEST_CASE( "CZanHybridUnorderedMap block reallocation", "[hybrid_unordered_map]" )
{
    SMapBench<THybridMap<20>> Bench;
    REQUIRE( Bench.GetBucketCount() == 64 );
    Bench.Fill( 0, 80 );
    REQUIRE( Bench.GetBucketCount() == 128 );
    for ( int32 i = 20; i < 80; ++i )
    {
        REQUIRE( Bench._Map.Remove( i ) );
    }
    Bench._Map.ShrinkToFit();
    REQUIRE( Bench._Map.GetSize() == 20 );
    REQUIRE( Bench.Holds( 0, 20 ) );
    REQUIRE( Bench.GetBucketCount() == 64 );
    REQUIRE( Bench.GetBlockCount() == 1 );
}

TEST_CASE( "CZanHybridUnorderedMap copy and move to other maps", "[hybrid_unordered_map]" )
{
    for ( const int32 Count : { 0, 8, 50 } )
    {
        SMapBench<THybridMap<8>> Bench;
        Bench.Fill( 0, Count );
        const CPlainMap Plain( Bench._Map );
        const THybridMap<20> Hybrid( Bench._Map );
        REQUIRE( ( Plain == Bench._Map && Hybrid == Plain && Bench._Map == Hybrid ) );
        REQUIRE( Bench.Holds( 0, Count ) );
        CPlainMap Target( std::move( Bench._Map ) );
        REQUIRE( Bench.Holds( 0, 0 ) );
        REQUIRE( Holds( Bench, Target, 0, Count ) );
        Bench.Fill( 5, 3 );
        REQUIRE( Bench.Holds( 5, 3 ) );
    }
}

TEST_CASE( "CZanHybridUnorderedMap copy and move from other maps", "[hybrid_unordered_map]" )
{
    for ( const int32 Count : { 0, 8, 50 } )
    {
        SMapBench<CPlainMap> Bench;
        Bench.Fill( 0, Count );
        THybridMap<8> Copy( Bench._Map );
        REQUIRE( Bench.Holds( 0, Count ) );
        REQUIRE( Holds( Bench, Copy, 0, Count ) );
        Copy = THybridMap<20>( std::move( Bench._Map ) );
        REQUIRE( Bench.Holds( 0, 0 ) );
        REQUIRE( Holds( Bench, Copy, 0, Count ) );
    }
}

namespace
{
template <typename TValue>
void CheckReleaseValue( int32 ExpectedOperation )
{
    SMapBench<CZanUnorderedMap<int32, TValue>> Bench;
    Bench.Fill( 1, 4 );
    const CZanOptional<TValue> Third = Bench._Map.TryReleaseValue( 3 );
    REQUIRE( Third.IsSet() );
    REQUIRE( Third.Get() == 30 );
    REQUIRE( Third.Get().GetLastOperation() == ExpectedOperation );
    REQUIRE_FALSE( Bench._Map.Contains( 3 ) );
    const TValue Second = Bench._Map.ReleaseValue( Bench._Map.Find( 2 ) );
    REQUIRE( Second == 20 );
    REQUIRE( Second.GetLastOperation() == ExpectedOperation );
    REQUIRE_FALSE( Bench._Map.TryReleaseValue( 3 ).IsSet() );
    REQUIRE_THAT( Bench._Map, ( EqualsMultiMap<CZanUnorderedMap<int32, TValue>>( 1, 10, 4, 40 ) ) );
    REQUIRE( Bench._Life.GetLiveCount() == 4 );
}
} // namespace

TEST_CASE( "CZanUnorderedMap::ReleaseValue", "[unordered_set]" )
{
    CheckReleaseValue<SCopyable>( SCopyable::CopyConstructed );
    CheckReleaseValue<SMovable>( SMovable::MoveConstructed );
    CheckReleaseValue<SMoveOnly>( SMoveOnly::MoveConstructed );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap swap", "[unordered_set]", TMapPairings )
{
    ForEachPair<TestType>( []( SBench& Bench, auto& Left, int32 LeftCount, auto& Right, int32 RightCount ) {
        Left.Swap( Right );
        REQUIRE( Holds( Bench, Left, 1000, RightCount ) );
        REQUIRE( Holds( Bench, Right, 0, LeftCount ) );
        Fill( Bench, Left, 1000 + RightCount, 50 );
        Fill( Bench, Right, LeftCount, 50 );
        REQUIRE( Holds( Bench, Left, 1000, RightCount + 50 ) );
        REQUIRE( Holds( Bench, Right, 0, LeftCount + 50 ) );
    } );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap move assign", "[unordered_set]", TMapPairings )
{
    ForEachPair<TestType>( []( SBench& Bench, auto& Left, int32, auto& Right, int32 RightCount ) {
        const int32 CopyCount = Bench._Life._CopyConstructions + Bench._Life._CopyAssignments;
        Left = std::move( Right );
        REQUIRE( Holds( Bench, Left, 1000, RightCount ) );
        REQUIRE( Holds( Bench, Right, 0, 0 ) );
        REQUIRE( Bench._Life.GetLiveCount() == RightCount );
        REQUIRE( Bench._Life._CopyConstructions + Bench._Life._CopyAssignments == CopyCount );
        Fill( Bench, Right, 0, 50 );
        REQUIRE( Holds( Bench, Right, 0, 50 ) );
    } );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap copy assign", "[unordered_set]", TMapPairings )
{
    ForEachPair<TestType>( []( SBench& Bench, auto& Left, int32, auto& Right, int32 RightCount ) {
        Left = std::as_const( Right );
        REQUIRE( Holds( Bench, Left, 1000, RightCount ) );
        REQUIRE( Holds( Bench, Right, 1000, RightCount ) );
        REQUIRE( Bench._Life.GetLiveCount() == 2 * RightCount );
    } );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap move construct", "[unordered_set]", TMapPairings )
{
    ForEachPair<TestType>( []( SBench& Bench, auto&, int32 LeftCount, auto& Right, int32 RightCount ) {
        typename TestType::first_type Target( std::move( Right ) );
        REQUIRE( Holds( Bench, Target, 1000, RightCount ) );
        REQUIRE( Holds( Bench, Right, 0, 0 ) );
        REQUIRE( Bench._Life.GetLiveCount() == LeftCount + RightCount );
        Fill( Bench, Right, 0, 50 );
        REQUIRE( Holds( Bench, Right, 0, 50 ) );
    } );
}

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap copy construct", "[unordered_set]", TMapPairings )
{
    ForEachPair<TestType>( []( SBench& Bench, auto&, int32, auto& Right, int32 RightCount ) {
        const uint64 AllocationCount = Bench.GetAllocationCount();
        typename TestType::first_type Target( std::as_const( Right ) );
        REQUIRE( Holds( Bench, Right, 1000, RightCount ) );
        Right.Clear();
        REQUIRE( Holds( Bench, Target, 1000, RightCount ) );
        REQUIRE( Bench.GetAllocationCount() == AllocationCount );
    } );
}

TEST_CASE( "CZanUnorderedMap hands its block over within one allocator only", "[unordered_map]" )
{
    SMapBench<CPlainMap> Bench;
    CPlainMap Near( &Bench._Memory );
    CPlainMap Far( &Bench._OtherMemory );
    Bench.Fill( 0, 100 );
    const auto* pValue = Bench._Map.GetValue( 7 );
    const uint64 AllocationCount = Bench.GetAllocationCount();
    Near.Swap( Bench._Map );
    REQUIRE( Near.GetValue( 7 ) == pValue );
    Bench._Map = std::move( Near );
    REQUIRE( Bench._Map.GetValue( 7 ) == pValue );
    REQUIRE( Bench.GetAllocationCount() == AllocationCount );
    Far = std::move( Bench._Map );
    REQUIRE( Bench.GetBucketCount() == 0 );
    REQUIRE( Bench.GetBlockCount() == 0 );
    REQUIRE( Bench._OtherMemory.GetTotalAllocationCount() == 1 );
    Far.Swap( Bench._Map );
    REQUIRE( Bench.Holds( 0, 100 ) );
    REQUIRE( Bench.GetBlockCount() == 1 );
}

TEST_CASE( "CZanUnorderedMap is searched without making a key", "[unordered_map]" )
{
    SMapBench<CZanUnorderedMap<SMoveOnlyKey, int32>> Bench;
    Bench.Fill( 0, 10 );
    REQUIRE( ( *Bench._Map.GetValue( SProbe{ 3 } ) == 30 && *Bench._Map.AccessValue( SProbe{ 4 } ) == 40 ) );
    REQUIRE( ( Bench._Map.Contains( SProbe{ 5 } ) && !Bench._Map.Find( SProbe{ 10 } ) ) );
    REQUIRE( ( Bench._Map.Remove( SProbe{ 9 } ) && Bench._Map.TryReleaseValue( SProbe{ 8 } ).Get() == 80 ) );
    REQUIRE( Bench.Holds( 0, 8 ) );
    CZanUnorderedMap<CString, int32> Texts;
    Texts.Set( "root", 1 );
    const CZanStringView Path = "root/child";
    REQUIRE( *Texts.GetValue( Path.GetSubstring( 0, 4 ) ) == 1 );
    REQUIRE( ( Texts.Contains( "root" ) && !Texts.Contains( Path ) && Texts.Remove( "root" ) ) );
}

TEST_CASE( "CZanUnorderedMap copies follow the count, not the buckets", "[unordered_map]" )
{
    SMapBench<CPlainMap> Bench;
    Bench.Fill( 0, 3 );
    Bench._Map.Reserve( 500 );
    CPlainMap Copy( Bench._Map );
    REQUIRE( Copy.GetInfo()._Buckets == 8 );
    Copy.Reserve( 500 );
    Copy = Bench._Map;
    REQUIRE( Copy.GetInfo()._Buckets == 8 );
    REQUIRE( Copy == Bench._Map );
}

TEST_CASE( "CZanUnorderedMap builds values in place and takes no argument in vain", "[unordered_map]" )
{
    SMapBench<CPlainMap> Bench;
    Bench._Map.Reserve( 100 ); // room enough that no entry has to make way
    Bench._Map.SetEmplace( 1, 10, &Bench._Life );
    Bench._Map.TrySetEmplace( 2, 20, &Bench._Life );
    Bench._Map.AccessOrSetLazy( 3, [ & ] { return SMovable( 30, &Bench._Life ); } );
    REQUIRE( Bench._Life._Constructions == 3 );
    SMovable Value( 40, &Bench._Life );
    Bench._Map.TrySet( 1, std::move( Value ) );
    Bench._Map.FindOrSetEmplace( 1, std::move( Value ) );
    Bench._Map.AccessOrSet( 1, std::move( Value ) );
    REQUIRE( Value.GetLastOperation() == SMovable::ValueConstructed ); // NOLINT(bugprone-use-after-move)
    Bench._Map.SetEmplace( 1, 50, &Bench._Life );
    REQUIRE( Bench._Map.Find( 1 )->_Value.GetLastOperation() == SMovable::MoveAssigned );
    Bench._Map.Set( 1, std::as_const( Value ) );
    REQUIRE( Bench._Map.Find( 1 )->_Value.GetLastOperation() == SMovable::CopyAssigned );
}

namespace
{
struct SAligningAllocator final : CZanAllocator
{
    void* Allocate( uint64 Size, uint32 Alignment ) override
    {
        return std::aligned_alloc( Alignment, ( Size + Alignment - 1 ) / Alignment * Alignment );
    }
    void Free( void* pData ) override { std::free( pData ); }
};

struct alignas( 64 ) SAligned
{
    explicit SAligned( int32 Value ) : _Value( Value ) {}
    bool IsAligned() const { return reinterpret_cast<std::uintptr_t>( this ) % alignof( SAligned ) == 0; }

    int32 _Value;
};
} // namespace

TEST_CASE( "CZanUnorderedMap honours the alignment of its values", "[unordered_map]" )
{
    SAligningAllocator Memory;
    CZanUnorderedMap<int32, SAligned> Map( &Memory );
    CZanHybridUnorderedMap<int32, SAligned, 8> Hybrid( &Memory );
    for ( int32 i = 0; i < 100; ++i )
    {
        REQUIRE( Map.SetEmplace( i, i )->_Value.IsAligned() );
        REQUIRE( Hybrid.SetEmplace( i, i )->_Value.IsAligned() );
    }
    REQUIRE( Map.GetValue( 50 )->_Value == 50 );
}

namespace
{
/// Few homes, in pairs of neighbours that crowd each other out, and in a small table always the last two.
struct SPoorHash
{
    uint32 operator()( int32 Key ) const { return static_cast<uint32>( Key % 16 * 8 + 6 + Key / 16 % 2 ); }
};

template <typename TValue>
using TPoorMap = CZanUnorderedMap<int32, TValue, SPoorHash>;
using TRandomPairs = std::tuple<std::pair<CPlainMap, CPlainMap>, std::pair<CPlainMap, THybridMap<8>>,
    std::pair<THybridMap<20>, THybridMap<1>>, std::pair<TPoorMap<int32>, TPoorMap<int32>>,
    std::pair<TPoorMap<SMovable>, CZanHybridUnorderedMap<int32, SMovable, 8, SPoorHash>>>;

using CModel = std::unordered_map<int32, int32>;

template <typename TMap>
bool IsLike( const TMap& Map, const CModel& Model )
{
    size_t Matches = 0;
    for ( const auto& Entry : Map )
    {
        const auto Expected = Model.find( Entry._Key );
        Matches += Expected != Model.end() && Entry._Value == Expected->second && Map.Contains( Entry._Key );
    }
    const size_t Size = static_cast<size_t>( Map.GetSize() );
    return Map.CheckInvariants() && Size == Model.size() && Matches == Size;
}
} // namespace

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap random steps against a model", "[unordered_map]", TRandomPairs )
{
    using CValue = TValueOf<typename TestType::first_type>;
    SBench Bench;
    typename TestType::first_type Left( &Bench._Memory );
    typename TestType::second_type Right( &Bench._OtherMemory );
    auto& Self = Left;
    CModel Model;
    CModel RightModel;
    int32 Key = 0;
    int32 Step = 0;
    const auto Make = [ & ] { return Bench.Make<CValue>( Step ); };
    const std::function<bool()> Inserts[] = {
        [ & ] { return Left.Set( Key, Make() )->_Value == ( Model[ Key ] = Step ); },
        [ & ] { return Left.SetEmplace( Key, Make() )->_Value == ( Model[ Key ] = Step ); },
        [ & ] { return Left.TrySet( Key, Make() )._bInserted == Model.emplace( Key, Step ).second; },
        [ & ] { return Left.TrySetEmplace( Key, Make() )._bInserted == Model.emplace( Key, Step ).second; },
        [ & ] { return Left.TrySetLazy( Key, Make )._bInserted == Model.emplace( Key, Step ).second; },
        [ & ] { return Left.AccessOrSet( Key, Make() ) == Model.emplace( Key, Step ).first->second; },
        [ & ] { return ( Left.AccessOrSetLazy( Key, Make ) = Make() ) == ( Model[ Key ] = Step ); },
        [ & ] { return ( Left.AccessOrSetEmplace( Key, Make() ) = Make() ) == ( Model[ Key ] = Step ); },
    };
    const auto Absent = [ & ] {
        return !Left.Contains( Key ) && !Left.Find( Key ) && Model.erase( Key ) == 0;
    };
    const auto Take = [ & ] { return Model.extract( Key ).mapped(); };
    const std::function<bool()> Removals[] = {
        [ & ] { return Left.Remove( Key ) == ( Model.erase( Key ) == 1 ); },
        [ & ] { return Absent() || ( Left.Remove( Left.Find( Key ) ), Model.erase( Key ) == 1 ); },
        [ & ] { return Absent() || Left.ReleaseValue( Left.Find( Key ) ) == Take(); },
        [ & ] { return Absent() || Left.TryReleaseValue( Key ).Get() == Take(); },
    };
    const std::function<void()> Others[] = {
        [ & ] { Left.Reserve( Key ); },
        [ & ] { Left.ShrinkToFit(); },
        [ & ] { Left.Clear(), Model.clear(); },
        [ & ] { Left.Swap( Self ); },
        [ & ] { Left = std::move( Self ); },
        [ & ] { Left = std::as_const( Self ); },
        [ & ] { Left = std::as_const( Right ), Model = RightModel; },
        [ & ] { Left = std::move( Right ), Model = std::exchange( RightModel, {} ); },
        [ & ] { Right = std::as_const( Left ), RightModel = Model; },
        [ & ] { Right = std::move( Left ), RightModel = std::exchange( Model, {} ); },
        [ & ] { Left.Swap( Right ), Model.swap( RightModel ); },
        [ & ] { Right.Swap( Left ), Model.swap( RightModel ); },
    };
    std::mt19937 Random( 4711 );
    while ( ++Step <= 4000 )
    {
        Key = static_cast<int32>( Random() % 96 );
        if ( Random() % 24 == 0 )
        {
            Others[ Random() % std::size( Others ) ]();
        }
        else if ( Random() % 64 < ( Step % 600 < 300 ? 56 : 16 ) ) // grows first, then shrinks
        {
            REQUIRE( Inserts[ Random() % std::size( Inserts ) ]() );
        }
        else
        {
            REQUIRE( Removals[ Random() % std::size( Removals ) ]() );
        }
        REQUIRE( ( IsLike( Left, Model ) && IsLike( Right, RightModel ) ) );
        REQUIRE( ( Left == Right ) == ( Model == RightModel ) );
        const size_t LiveCount = std::is_integral_v<CValue> ? 0 : Model.size() + RightModel.size();
        REQUIRE( static_cast<size_t>( Bench._Life.GetLiveCount() ) == LiveCount );
    }
}
