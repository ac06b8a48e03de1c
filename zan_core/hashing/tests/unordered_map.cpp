#include "zan_core/hashing/zan_unordered_map.h"

#include "zan_core/hashing/tests/hash_container_bench.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_matchers.h"
#include "zan_test/include/zan_test_types.h"

#include <algorithm>
#include <memory>
#include <tuple>
#include <utility>

using namespace NHashBench;
using namespace NZanTestUtils;
using NZanCatch2::EqualsMultiMap;

namespace
{
/// Finds a key, and cannot become one.
struct SProbe
{
    int32 _Value;
};
uint32 ZanHash( SProbe Probe ) { return ::ZanHash( Probe._Value ); }
bool operator==( const CLifeObserver& Key, SProbe Probe ) { return Key.GetValue() == Probe._Value; }

template <typename TMap>
struct SMapBench : SBench
{
    explicit SMapBench( int32 First = 0, int32 Count = 0 ) { Fill( First, Count ); }

    auto Key( int32 Number = 1 ) { return Make<TKeyOf<TMap>>( Number, &_Life ); }
    auto Value( int32 Number ) { return Make<TValueOf<TMap>>( Number, &_Life ); }
    auto Value() { return Value( _Number ); }
    auto Lazy()
    {
        return [ this ] { return ++_LazyCount, Value(); };
    }
    void Fill( int32 First, int32 Count ) { NHashBench::Fill( this, &_Map, First, Count ); }
    bool Holds( int32 First, int32 Count ) const { return NHashBench::Holds( _Map, First, Count ); }
    int32 GetBuckets() const { return _Map.GetInfo()._Buckets; }
    int32 GetBlocks() const { return static_cast<int32>( _Memory._Blocks.size() ); }
    int32 GetAllocations() const { return _Memory._AllocationCount; }

    TMap _Map{ &_Memory };
    int32 _Number = 10, _LazyCount = 0;
};

using CPlainMap = CZanUnorderedMap<int32, SMovable>;
template <int32 N>
using THybridMap = CZanHybridUnorderedMap<int32, SMovable, N>;
using CMoveOnlyMap = CZanUnorderedMap<TKey<SMoveOnly>, SMoveOnly>;
using CMoveOnlyHybridMap = CZanHybridUnorderedMap<TKey<SMoveOnly>, SMoveOnly, 8>;

// Entries aligned to less than 8 do not store the hash, the others do.
using TMapTypes = std::tuple<CPlainMap, CZanUnorderedMap<int32, int32>, CZanUnorderedMap<CString, SMovable>,
    CMoveOnlyMap, THybridMap<8>, CZanHybridUnorderedMap<int32, int32, 1>,
    CZanHybridUnorderedMap<CString, CString, 20>, CMoveOnlyHybridMap>;
using THybridMapTypes = std::tuple<CZanHybridUnorderedMap<int32, int32, 1>, THybridMap<8>,
    CZanHybridUnorderedMap<CString, CString, 20>, CMoveOnlyHybridMap>;
using TMapPairings = std::tuple<std::pair<CPlainMap, CPlainMap>, std::pair<CPlainMap, THybridMap<8>>,
    std::pair<THybridMap<8>, CPlainMap>, std::pair<THybridMap<8>, THybridMap<8>>,
    std::pair<THybridMap<8>, THybridMap<20>>, std::pair<THybridMap<20>, THybridMap<1>>,
    std::pair<CZanUnorderedMap<int32, int32>, CZanHybridUnorderedMap<int32, int32, 8>>>;
template <typename TKey, typename TValue, typename THash = SZanHash<TKey>>
using TPlainAndHybrid =
    std::pair<CZanUnorderedMap<TKey, TValue, THash>, CZanHybridUnorderedMap<TKey, TValue, 8, THash>>;
using TRandomPairs = std::tuple<std::pair<CZanUnorderedMap<int32, int32>, CZanUnorderedMap<int32, int32>>,
    std::pair<CZanHybridUnorderedMap<int32, int32, 20>, CZanHybridUnorderedMap<int32, int32, 1>>,
    TPlainAndHybrid<int64, int64>, TPlainAndHybrid<int32, SMovable>, TPlainAndHybrid<CString, CString>,
    TPlainAndHybrid<TKey<SMoveOnly>, SMoveOnly>, TPlainAndHybrid<int32, SAligned>,
    TPlainAndHybrid<int32, int32, SPoorHash>, TPlainAndHybrid<int64, int64, SPoorHash>,
    TPlainAndHybrid<int32, SMovable, SPoorHash>>;

/// Verb( Bench ) gives key 1 a value if it has none, and gives the result of that or the value's address.
template <typename TMap, typename TVerb>
void CheckKeeps( const TVerb& Verb )
{
    SMapBench<TMap> Bench;
    for ( Bench._Number = 10; Bench._Number <= 20; Bench._Number += 10 )
    {
        const auto Result = Verb( Bench );
        if constexpr ( std::is_pointer_v<decltype( Result )> )
        {
            REQUIRE( Result == Bench._Map.AccessValue( Bench.Key() ) );
        }
        else
        {
            const bool bNew = Bench._Number == 10;
            REQUIRE( ( Result == bNew && Result._bInserted == bNew ) );
            REQUIRE( Result._Iterator == Bench._Map.Find( Bench.Key() ) );
        }
        REQUIRE( ( Bench.Holds( 1, 1 ) && Bench._LazyCount <= 1 ) );
    }
}
} // namespace

// The registrations of families over all maps.
#define FAMILY( Name ) TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap" Name, "[unordered_map]", TMapTypes )
#define HYBRID_FAMILY( Name )                                                                                \
    TEMPLATE_LIST_TEST_CASE( "CZanHybridUnorderedMap" Name, "[hybrid_unordered_map]", THybridMapTypes )
#define KEEPS( Name, ... )                                                                                   \
    FAMILY( "::" Name )                                                                                      \
    {                                                                                                        \
        CheckKeeps<TestType>( []( auto& B ) { return __VA_ARGS__; } );                                       \
    }
#define SETS( Name, Verb )                                                                                   \
    FAMILY( "::" Name )                                                                                      \
    {                                                                                                        \
        SMapBench<TestType> B( 1, 1 );                                                                       \
        const auto Iterator = B._Map.Verb( B.Key(), B.Value( 5 ) );                                          \
        REQUIRE( ( Iterator == B._Map.Find( B.Key() ) && IsLike( B._Map, { { 1, 5 } } ) ) );                 \
    }

FAMILY( " Default Constructor" )
{
    const SMapBench<TestType> Bench;
    REQUIRE( ( Bench._Map.IsEmpty() && Bench.Holds( 0, 0 ) && begin( Bench._Map ) == end( Bench._Map ) ) );
    REQUIRE( ( ( Bench.GetBuckets() != 0 ) == bIsHybrid<TestType> && Bench.GetAllocations() == 0 ) );
}

SETS( "Set", Set )
SETS( "SetEmplace", SetEmplace )

FAMILY( " GetValue from Key" )
{
    SMapBench<TestType> Empty, Bench( 1, 3 );
    REQUIRE( ( !Empty._Map.GetValue( Empty.Key( 0 ) ) && !Bench._Map.GetValue( Bench.Key( 4 ) ) ) );
    REQUIRE( *std::as_const( Bench._Map ).GetValue( Bench.Key( 2 ) ) == Bench.Value( 20 ) );
}

FAMILY( " AccessValue from Key" )
{
    SMapBench<TestType> Bench( 1, 1 );
    REQUIRE( Bench._Map.AccessValue( Bench.Key( 2 ) ) == nullptr );
    *Bench._Map.AccessValue( Bench.Key() ) = Bench.Value( 7 );
    REQUIRE( IsLike( Bench._Map, { { 1, 7 } } ) );
}

FAMILY( " Remove from Key" )
{
    SMapBench<TestType> Bench( 0, 43 ), Empty;
    REQUIRE( ( !Empty._Map.Remove( Empty.Key( 42 ) ) && Bench._Map.Remove( Bench.Key( 42 ) ) ) );
    REQUIRE( ( !Bench._Map.Remove( Bench.Key( 42 ) ) && Bench.Holds( 0, 42 ) ) );
}

FAMILY( " Remove from Iterator" )
{
    SMapBench<TestType> Bench( 0, 20 );
    for ( int32 Left = 19; Left >= 0; --Left )
    {
        const auto Iterator = Bench._Map.Find( Bench.Key( Left ) );
        REQUIRE( ( Bench._Map.Remove( Iterator ) == Iterator && Bench.Holds( 0, Left ) ) );
    }
}

FAMILY( "::Clear" )
{
    SMapBench<TestType> Bench( 0, 100 );
    const int32 Buckets = Bench.GetBuckets();
    Bench._Map.Clear();
    REQUIRE( ( Bench.Holds( 0, 0 ) && Bench._Life.GetLiveCount() == 0 && Bench.GetBuckets() == Buckets ) );
    Bench.Fill( 50, 100 );
    REQUIRE( ( Bench.Holds( 50, 100 ) && Bench.GetBuckets() == Buckets ) );
}

FAMILY( "::Reserve" )
{
    SMapBench<TestType> Bench( 0, 2 );
    Bench._Map.Reserve( 5 );
    REQUIRE( ( Bench.GetBuckets() >= 5 && Bench.Holds( 0, 2 ) ) );
    Bench._Map.Reserve( 1000 );
    const int32 Allocations = Bench.GetAllocations();
    Bench._Map.Reserve( 10 );
    Bench.Fill( 2, 998 );
    REQUIRE( ( Bench.Holds( 0, 1000 ) && Bench.GetAllocations() == Allocations ) );
}

FAMILY( "::ShrinkToFit doesn't remove items" )
{
    for ( const int32 Count : { 0, 1, 6, 7, 100 } )
    {
        SMapBench<TestType> Bench( 0, Count );
        Bench._Map.Reserve( 1000 * ( Count % 2 ) );
        Bench._Map.ShrinkToFit();
        REQUIRE( Bench.Holds( 0, Count ) );
    }
}

FAMILY( "::ShrinkToFit actually shrinks" )
{
    SMapBench<TestType> Bench( 0, 1 );
    Bench._Map.Reserve( 1000 );
    Bench._Map.ShrinkToFit();
    REQUIRE( ( Bench.GetBuckets() == 8 && Bench.GetBlocks() == 1 && Bench.Holds( 0, 1 ) ) );
    Bench._Map.Clear();
    Bench._Map.ShrinkToFit();
    REQUIRE( ( Bench.GetBuckets() == 0 && Bench.GetBlocks() == 0 ) );
}

FAMILY( " operator==" )
{
    SMapBench<TestType> Bench( 0, 50 );
    TestType Other( &Bench._OtherMemory );
    Other.Reserve( 500 ); // another order
    Fill( &Bench, &Other, 0, 50 );
    const auto Are = [ & ]( bool bEqual ) {
        return ( Bench._Map == Other ) == bEqual && ( Other == Bench._Map ) == bEqual;
    };
    REQUIRE( ( Are( true ) && Other.Set( Bench.Key( 7 ), Bench.Value( 71 ) ) && Are( false ) ) );
    REQUIRE( ( Other.Remove( Bench.Key( 7 ) ) && Are( false ) ) );
    Fill( &Bench, &Other, 77, 1 );
    REQUIRE( Are( false ) );
}

KEEPS( "TrySet", B._Map.TrySet( B.Key(), B.Value() ) )
KEEPS( "TrySetEmplace", B._Map.TrySetEmplace( B.Key(), B.Value() ) )
KEEPS( "TrySetLazy", B._Map.TrySetLazy( B.Key(), B.Lazy() ) )
KEEPS( "FindOrSet", B._Map.FindOrSet( B.Key(), B.Value() ) )
KEEPS( "FindOrSetEmplace", B._Map.FindOrSetEmplace( B.Key(), B.Value() ) )
KEEPS( "FindOrSetLazy", B._Map.FindOrSetLazy( B.Key(), B.Lazy() ) )
KEEPS( "AccessOrSet", &B._Map.AccessOrSet( B.Key(), B.Value() ) )
KEEPS( "AccessOrSetEmplace", &B._Map.AccessOrSetEmplace( B.Key(), B.Value() ) )
KEEPS( "AccessOrSetLazy", &B._Map.AccessOrSetLazy( B.Key(), B.Lazy() ) )

TEST_CASE( "CZanHybridUnorderedMap with a custom parent allocator", "[unordered_map]" )
{
    CheckInlineRoom<THybridMap<8>>();
}

TEST_CASE( "CZanUnorderedMap Ranged For", "[unordered_map]" )
{
    SMapBench<CZanUnorderedMap<int32, int32>> Bench( 1, 2 );
    for ( auto& Entry : Bench._Map )
    {
        Entry._Value += Entry._Key;
    }
    REQUIRE_THAT( Bench._Map, ( EqualsMultiMap<CZanUnorderedMap<int32, int32>>( 1, 11, 2, 22 ) ) );
}

TEST_CASE( "CZanUnorderedMap internal move", "[unordered_map]" )
{
    CZanUnorderedMap<std::unique_ptr<int32>, int32> Map;
    for ( int32 i = 0; i < 100; ++i )
    {
        Map.Set( std::make_unique<int32>( i ), i );
    }
    const auto IsWhole = []( const auto& Entry ) { return *Entry._Key == Entry._Value; };
    REQUIRE( ( Map.GetSize() == 100 && std::all_of( Map.begin(), Map.end(), IsWhole ) ) );
}

HYBRID_FAMILY( " Default Constructor" ) { REQUIRE( SMapBench<TestType>().GetBuckets() >= 8 ); }

HYBRID_FAMILY( "::Clear" )
{
    SMapBench<TestType> Bench( 0, 1 );
    Bench._Map.Clear();
    REQUIRE( ( Bench.Holds( 0, 0 ) && Bench.GetBuckets() >= 8 && Bench.GetAllocations() == 0 ) );
}

HYBRID_FAMILY( "::Reserve" )
{
    SMapBench<TestType> Bench( 0, 1 );
    for ( const int32 Count : { 1, 2 * 20 } )
    {
        Bench._Map.Reserve( Count );
        REQUIRE(
            ( Bench.Holds( 0, 1 ) && Bench.GetBuckets() >= Count && Bench.GetAllocations() == Count / 40 ) );
    }
}

HYBRID_FAMILY( "::ShrinkToFit" )
{
    SMapBench<TestType> Bench( 0, 1 );
    Bench._Map.ShrinkToFit();
    REQUIRE( ( Bench.GetBuckets() >= 8 && Bench.GetAllocations() == 0 ) );
    Bench._Map.Reserve( 100 );
    Bench._Map.ShrinkToFit(); // within the parent's memory
    REQUIRE( ( Bench.Holds( 0, 1 ) && Bench.GetAllocations() == 2 && Bench.GetBlocks() == 1 ) );
}

TEST_CASE( "CZanHybridUnorderedMap block reallocation", "[hybrid_unordered_map]" )
{
    SMapBench<THybridMap<20>> Bench( 0, 80 );
    REQUIRE( Bench.GetBuckets() == 128 );
    for ( int32 i = 20; i < 80; ++i )
    {
        REQUIRE( Bench._Map.Remove( i ) );
    }
    Bench._Map.ShrinkToFit();
    REQUIRE( ( Bench.Holds( 0, 20 ) && Bench.GetBuckets() == 64 && Bench.GetBlocks() == 1 ) );
}

// On the default allocator, where CheckExchange passes one.
TEST_CASE( "CZanHybridUnorderedMap copy and move to other maps", "[hybrid_unordered_map]" )
{
    SMapBench<THybridMap<8>> Bench( 0, 8 );
    const THybridMap<20> Copy( Bench._Map );
    const CPlainMap Target( std::move( Bench._Map ) );
    REQUIRE( ( Holds( Copy, 0, 8 ) && Bench.Holds( 0, 0 ) && Holds( Target, 0, 8 ) &&
               Bench.GetAllocations() == 0 ) );
}

TEST_CASE( "CZanHybridUnorderedMap copy and move from other maps", "[hybrid_unordered_map]" )
{
    SMapBench<CPlainMap> Bench( 0, 8 );
    const int32 Allocations = Bench.GetAllocations();
    const THybridMap<8> Copy( Bench._Map ), Target( std::move( Bench._Map ) );
    REQUIRE( ( Holds( Copy, 0, 8 ) && Bench.Holds( 0, 0 ) && Holds( Target, 0, 8 ) ) );
    REQUIRE( ( Bench.GetAllocations() == Allocations && Bench.GetBlocks() == 0 ) );
}

TEST_CASE( "CZanUnorderedMap::ReleaseValue", "[unordered_set]" )
{
    CheckReleaseValue<CZanUnorderedMap<int32, SCopyable>>( SCopyable::CopyConstructed );
    CheckReleaseValue<CZanUnorderedMap<int32, SMovable>>( SMovable::MoveConstructed );
    CheckReleaseValue<CZanUnorderedMap<int32, SMoveOnly>>( SMoveOnly::MoveConstructed );
}

EXCHANGE_FAMILIES( "CZanUnorderedMap", TMapPairings )

TEST_CASE( "CZanUnorderedMap is searched without making a key", "[unordered_map]" )
{
    SMapBench<CZanUnorderedMap<TKey<SMoveOnly>, int32>> Bench;
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

TEMPLATE_LIST_TEST_CASE( "CZanUnorderedMap random steps against a model", "[unordered_map]", TRandomPairs )
{
    for ( const bool bOneMemory : { false, true } )
    {
        SRandomSteps<TestType> S( bOneMemory );
        const auto Is = []( const auto& Value, int32 Number ) { return NumberOf( Value ) == Number; };
        const auto Make = [ & ] { return S.Value(); };
        const auto Set = [ & ] { return S._Model[ S._Key ] = S._Step; };
        const auto Add = [ & ] { return S._Model.emplace( S._Key, S._Step ).second; };
        const auto Access = [ & ] { return S._Model.emplace( S._Key, S._Step ).first->second; };
        S.Run( {
            [ & ] { return Is( S._Left.Set( S.Key(), Make() )->_Value, Set() ); },
            [ & ] { return Is( S._Left.SetEmplace( S.Key(), Make() )->_Value, Set() ); },
            [ & ] { return S._Left.TrySet( S.Key(), Make() )._bInserted == Add(); },
            [ & ] { return S._Left.TrySetEmplace( S.Key(), Make() )._bInserted == Add(); },
            [ & ] { return S._Left.TrySetLazy( S.Key(), Make )._bInserted == Add(); },
            [ & ] { return Is( S._Left.AccessOrSet( S.Key(), Make() ), Access() ); },
            [ & ] { return Is( S._Left.AccessOrSetLazy( S.Key(), Make ), Access() ); },
            [ & ] { return Is( S._Left.AccessOrSetEmplace( S.Key(), Make() ) = Make(), Set() ); },
        } );
    }
}
