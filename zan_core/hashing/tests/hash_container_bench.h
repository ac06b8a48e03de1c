#pragma once

#include "zan_core/hashing/zan_unordered_map.h"
#include "zan_core/text/zan_string.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <optional>
#include <random>
#include <set>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <utility>
#include <vector>

/// What the suites of the hash containers share: contents and memory that have to balance, exchanges between
/// two containers, and random steps against a standard map. A set counts as a map that gives each key ten
/// times its number as its value.
namespace NHashBench
{
using NZanTestUtils::CLifeObserver;
using NZanTestUtils::SLifeCounters;
using NZanUnorderedMap::NDetail::SMapEntry;

/// A lifecycle type that can be a key.
template <typename TBase>
struct TKey : TBase
{
    using TBase::TBase;

    friend uint32 ZanHash( const TKey& Key ) { return ::ZanHash( Key.GetValue() ); }
};

struct alignas( 64 ) SAligned
{
    explicit SAligned( int32 Value ) : _Value( Value ) {}
    friend bool operator==( const SAligned& Left, const SAligned& Right ) = default;

    int32 _Value;
};

/// Few homes, in pairs of neighbours that crowd each other out, and in a small table always the last two.
struct SPoorHash
{
    uint32 operator()( int64 Key ) const { return static_cast<uint32>( Key % 16 * 8 + 6 + Key / 16 % 2 ); }
    uint32 operator()( const CLifeObserver& Key ) const { return ( *this )( Key.GetValue() ); }
};

template <typename T>
T Make( int32 Number, [[maybe_unused]] SLifeCounters* pLife = nullptr )
{
    if constexpr ( std::is_base_of_v<CLifeObserver, T> )
    {
        return T( Number, pLife );
    }
    else if constexpr ( std::is_same_v<T, CString> )
    {
        return CString( std::to_string( Number ) + " in a text too long for the string object" );
    }
    else
    {
        return T( Number );
    }
}

// The number that something was made of.
inline int32 NumberOf( int64 Number ) { return static_cast<int32>( Number ); }
inline int32 NumberOf( const CLifeObserver& Object ) { return Object.GetValue(); }
inline int32 NumberOf( const CString& Text ) { return std::atoi( Text.GetCharPtr() ); }
inline int32 NumberOf( const SAligned& Object )
{
    return reinterpret_cast<std::uintptr_t>( &Object ) % alignof( SAligned ) == 0 ? Object._Value : -1;
}

// What the entry of a map, or a key as the entry of a set, has.
template <typename T>
const T& KeyOf( const T& Key )
{
    return Key;
}
template <typename T, typename TValue>
const T& KeyOf( const SMapEntry<T, TValue>& Entry )
{
    return Entry._Key;
}
template <typename T>
int32 ValueOf( const T& Key )
{
    return 10 * NumberOf( Key );
}
template <typename T, typename TValue>
const TValue& ValueOf( const SMapEntry<T, TValue>& Entry )
{
    return Entry._Value;
}

template <typename TContainer>
using TEntryOf = std::remove_cvref_t<decltype( *std::declval<TContainer&>().begin() )>;
template <typename TContainer>
using TKeyOf = std::remove_cvref_t<decltype( KeyOf( std::declval<TEntryOf<TContainer>>() ) )>;
template <typename TContainer>
using TValueOf = std::remove_cvref_t<decltype( ValueOf( std::declval<TEntryOf<TContainer>>() ) )>;
template <typename TContainer>
constexpr bool bIsSet = std::is_same_v<TEntryOf<TContainer>, TKeyOf<TContainer>>;
template <typename TContainer>
constexpr bool bIsHybrid = sizeof( TContainer ) > sizeof( typename TContainer::CTable );
template <typename TContainer>
constexpr int32 LivesPerEntry = std::is_base_of_v<CLifeObserver, TKeyOf<TContainer>> +
                                std::is_base_of_v<CLifeObserver, TValueOf<TContainer>>;

/// Honours every alignment, and fills what it hands out with ones, so that nothing is zero by luck.
struct SMemory final : CZanAllocator
{
    ~SMemory() override { CHECK( _Blocks.empty() ); }

    void* Allocate( uint64 Size, uint32 Alignment ) override
    {
        ++_AllocationCount;
        const size_t Room = ( Size + Alignment - 1 ) / Alignment * Alignment;
        void* const pBlock = std::aligned_alloc( Alignment, Room );
        return *_Blocks.insert( std::memset( pBlock, 1, Room ) ).first;
    }
    void Free( void* pData ) override
    {
        const bool bKnown = _Blocks.erase( pData ) == 1;
        CHECK( bKnown );
        std::free( bKnown ? pData : nullptr );
    }

    std::set<void*> _Blocks;
    int32 _AllocationCount = 0;
};

/// What a case works with. Memory and lives have to balance once its containers are gone.
struct SBench
{
    ~SBench() { CHECK( _Life.GetLiveCount() == 0 ); }
    int32 GetCopyCount() const { return _Life._CopyConstructions + _Life._CopyAssignments; }

    SLifeCounters _Life;
    SMemory _Memory, _OtherMemory;
};

/// Count consecutive keys, each with ten times its number as its value.
template <typename TContainer>
void Fill( SBench* pBench, TContainer* pContainer, int32 First, int32 Count )
{
    for ( int32 i = First; i < First + Count; ++i )
    {
        auto Key = Make<TKeyOf<TContainer>>( i, &pBench->_Life );
        if constexpr ( bIsSet<TContainer> )
        {
            pContainer->Insert( std::move( Key ) );
        }
        else
        {
            pContainer->Set( std::move( Key ), Make<TValueOf<TContainer>>( 10 * i, &pBench->_Life ) );
        }
    }
}

using CModel = std::unordered_map<int32, int32>;

/// True when the container is sound, holds what the model does and nothing else, and finds all of it and no
/// other key below 128.
template <typename TContainer>
bool IsLike( const TContainer& Container, const CModel& Model )
{
    bool bMatches = Container.CheckInvariants() && Container.GetSize() == static_cast<int32>( Model.size() );
    int32 Unseen = Container.GetSize();
    for ( const auto& Entry : Container )
    {
        const auto Expected = Model.find( NumberOf( KeyOf( Entry ) ) );
        bMatches &= Expected != Model.end() && NumberOf( ValueOf( Entry ) ) == Expected->second &&
                    &*Container.Find( KeyOf( Entry ) ) == &Entry && --Unseen >= 0;
    }
    for ( int32 i = 0; i < 128; ++i )
    {
        bMatches &= Container.Contains( Make<TKeyOf<TContainer>>( i ) ) == Model.contains( i );
    }
    return bMatches && Unseen == 0;
}

/// True when the container holds what Fill gives to an empty one, and nothing else.
template <typename TContainer>
bool Holds( const TContainer& Container, int32 First, int32 Count )
{
    CModel Model;
    for ( int32 i = First; i < First + Count; Model[ i ] = 10 * i, ++i )
    {}
    return IsLike( Container, Model );
}

/// A hybrid of room for 8 leaves its own memory with the entry that goes beyond the load limit, and not
/// before.
template <typename TContainer>
void CheckInlineRoom()
{
    SBench Bench;
    TContainer Container( &Bench._Memory );
    for ( int32 Count = 0; Count < 40; Fill( &Bench, &Container, Count++, 1 ) )
    {
        const bool bInside = Count <= 27;
        REQUIRE( ( Container.GetInfo()._Buckets == ( bInside ? 32 : 64 ) && Holds( Container, 0, Count ) ) );
        REQUIRE( Bench._Memory._AllocationCount == !bInside );
    }
}

template <typename TContainer>
void CheckReleaseValue( int32 ExpectedOperation )
{
    const int32 Factor = bIsSet<TContainer> ? 1 : 10;
    SBench Bench;
    TContainer Container( &Bench._Memory );
    Fill( &Bench, &Container, 1, 4 );
    const auto Third = Container.TryReleaseValue( 3 );
    const auto Second = Container.ReleaseValue( Container.Find( 2 ) );
    REQUIRE( ( Third.Get() == 3 * Factor && Third.Get().GetLastOperation() == ExpectedOperation ) );
    REQUIRE( ( Second == 2 * Factor && Second.GetLastOperation() == ExpectedOperation ) );
    REQUIRE( ( !Container.TryReleaseValue( 3 ).IsSet() && IsLike( Container, { { 1, 10 }, { 4, 40 } } ) ) );
}

enum EExchange
{
    Copies,
    Moves,
    Swaps
};

/// The registration of the families that exchange what the pairs of a list hold.
#define EXCHANGE_FAMILY( Name, List, Kind, ... )                                                             \
    TEMPLATE_LIST_TEST_CASE( Name, "[unordered_set]", List )                                                 \
    {                                                                                                        \
        const auto Run = []( auto& L, auto& R, [[maybe_unused]] auto* pMemory ) { __VA_ARGS__; };            \
        NHashBench::CheckExchange<TestType>( NHashBench::Kind, Run );                                        \
    }
#define EXCHANGE_FAMILIES( Name, List )                                                                      \
    EXCHANGE_FAMILY( Name " swap", List, Swaps, L->Swap( R ) )                                               \
    EXCHANGE_FAMILY( Name " move assign", List, Moves, *L = std::move( R ) )                                 \
    EXCHANGE_FAMILY( Name " copy assign", List, Copies, *L = std::as_const( R ) )                            \
    EXCHANGE_FAMILY( Name " move construct", List, Moves, L.emplace( std::move( R ), pMemory ) )             \
    EXCHANGE_FAMILY( Name " copy construct", List, Copies, L.emplace( std::as_const( R ), pMemory ) )

/// Exchange( Left, Right, pMemory ) gives Left, a filled optional, what Right holds, or makes it anew with
/// that on the memory. Each side holds nothing, little enough for most inline buffers, or too much for any;
/// Right with and without room for much; both on one memory or on two. Plain containers on one memory hand
/// over their blocks. In all other cases a side that gets entries allocates once, on its own memory and by
/// their number, and one that has given all of its entries away is without a block.
template <typename TPair, typename TExchange>
void CheckExchange( EExchange Kind, const TExchange& Exchange )
{
    using CLeft = typename TPair::first_type;
    using CRight = typename TPair::second_type;
    const bool bCopies = Kind == Copies, bSwaps = Kind == Swaps;
    const auto BucketsFor = []( int32 Count ) { return Count == 0 ? 0 : Count == 3 ? 8 : 256; };
    for ( int32 Case = 0; Case < 36; ++Case )
    {
        CAPTURE( Case );
        constexpr int32 Counts[] = { 0, 3, 99 };
        const int32 LeftCount = Counts[ Case % 3 ], RightCount = Counts[ Case / 3 % 3 ];
        const bool bOneMemory = Case / 9 % 2 == 0;
        const bool bHandsOver = bOneMemory && !bCopies && !bIsHybrid<CLeft> && !bIsHybrid<CRight>;
        SBench Bench;
        std::optional<CLeft> Left( std::in_place, &Bench._Memory );
        CRight Right( bOneMemory ? &Bench._Memory : &Bench._OtherMemory );
        Right.Reserve( Case < 18 ? 0 : 99 );
        Fill( &Bench, &*Left, 0, LeftCount );
        Fill( &Bench, &Right, 100, RightCount );
        const void* const pFirst = Right.begin().GetEntry();
        const int32 LeftBuckets = Left->GetInfo()._Buckets, RightBuckets = Right.GetInfo()._Buckets;
        const int32 Count = Bench._Memory._AllocationCount, OtherCount = Bench._OtherMemory._AllocationCount;
        const int32 CopyCount = Bench.GetCopyCount();
        Exchange( Left, Right, &Bench._Memory );

        const int32 Added = RightCount > 0 && !bHandsOver;
        const int32 OtherAdded = bSwaps && LeftCount > 0 && !bHandsOver;
        REQUIRE( Bench._Memory._AllocationCount == Count + Added + bOneMemory * OtherAdded );
        REQUIRE( Bench._OtherMemory._AllocationCount == OtherCount + !bOneMemory * OtherAdded );
        const int32 NewBuckets = bHandsOver ? RightBuckets : BucketsFor( RightCount );
        REQUIRE( ( RightCount == 0 || Left->GetInfo()._Buckets == NewBuckets ) );
        REQUIRE( ( RightCount == 0 || !bHandsOver || Left->begin().GetEntry() == pFirst ) );
        const bool bGivesNothing = Kind == Moves && RightCount == 0 && !bHandsOver;
        const int32 Swapped = !bSwaps ? 0 : bHandsOver ? LeftBuckets : BucketsFor( LeftCount );
        REQUIRE( Right.GetInfo()._Buckets == ( bCopies || bGivesNothing ? RightBuckets : Swapped ) );
        const int32 RightFirst = bCopies ? 100 : 0;
        const int32 NewRightCount = bCopies ? RightCount : bSwaps ? LeftCount : 0;
        REQUIRE( ( Holds( *Left, 100, RightCount ) && Holds( Right, RightFirst, NewRightCount ) ) );
        REQUIRE( Bench._Life.GetLiveCount() == LivesPerEntry<CLeft> * ( RightCount + NewRightCount ) );
        REQUIRE( ( bCopies || Bench.GetCopyCount() == CopyCount ) );
        Fill( &Bench, &*Left, 100 + RightCount, 30 );
        Fill( &Bench, &Right, RightFirst + NewRightCount, 30 );
        REQUIRE( ( Holds( *Left, 100, RightCount + 30 ) && Holds( Right, RightFirst, NewRightCount + 30 ) ) );
    }
}

/// Random steps on two containers, against models. The suite says how to insert: each verb gives _Left the
/// key of number _Key, with a value of number _Step, and says whether that went as in _Model.
template <typename TPair>
struct SRandomSteps : SBench
{
    using CLeft = typename TPair::first_type;

    explicit SRandomSteps( bool bOneMemory ) : _Right( bOneMemory ? &_Memory : &_OtherMemory ) {}

    auto Key() { return Make<TKeyOf<CLeft>>( _Key, &_Life ); }
    auto Value() { return Make<TValueOf<CLeft>>( _Step, &_Life ); }
    void Run( const std::vector<std::function<bool()>>& Inserts );

    CLeft _Left{ &_Memory };
    typename TPair::second_type _Right;
    CModel _Model, _RightModel;
    int32 _Key = 0, _Step = 0;
};

template <typename TPair>
void SRandomSteps<TPair>::Run( const std::vector<std::function<bool()>>& Inserts )
{
    const auto Absent = [ & ] { return !_Left.Find( Key() ) && _Model.erase( _Key ) == 0; };
    const auto IsTaken = [ & ]( const auto& Value ) {
        return ( bIsSet<CLeft> ? 10 : 1 ) * NumberOf( Value ) == _Model.extract( _Key ).mapped();
    };
    const std::vector<std::function<bool()>> Removals = {
        [ & ] { return _Left.Remove( Key() ) == ( _Model.erase( _Key ) == 1 ); },
        [ & ] {
            const auto Found = _Left.Find( Key() );
            return Found ? _Left.Remove( Found ) == Found && _Model.erase( _Key ) == 1 : Absent();
        },
        [ & ] { return Absent() || IsTaken( _Left.ReleaseValue( _Left.Find( Key() ) ) ); },
        [ & ] {
            const auto Value = _Left.TryReleaseValue( Key() );
            return Value.IsSet() ? IsTaken( Value.Get() ) : Absent();
        },
    };
    auto& Self = _Left;
    std::vector<std::function<void()>> Others = {
        [ & ] { _Left.Reserve( _Key ); },
        [ & ] { _Left.ShrinkToFit(); },
        [ & ] { _Left.Clear(), _Model.clear(); },
        [ & ] { _Left.Swap( Self ); },
        [ & ] { _Left = std::move( Self ); },
        [ & ] { _Left = std::move( _Right ), _Model = std::exchange( _RightModel, {} ); },
        [ & ] { _Right = std::move( _Left ), _RightModel = std::exchange( _Model, {} ); },
        [ & ] { _Left.Swap( _Right ), _Model.swap( _RightModel ); },
        [ & ] { _Right.Swap( _Left ), _Model.swap( _RightModel ); },
    };
    if constexpr ( std::is_copy_constructible_v<TEntryOf<CLeft>> )
    {
        Others.push_back( [ & ] { _Left = std::as_const( Self ); } );
        Others.push_back( [ & ] { _Left = std::as_const( _Right ), _Model = _RightModel; } );
        Others.push_back( [ & ] { _Right = std::as_const( _Left ), _RightModel = _Model; } );
    }
    std::mt19937 Random( 4711 );
    while ( ++_Step <= 2000 )
    {
        _Key = static_cast<int32>( Random() % 96 );
        if ( Random() % 24 == 0 )
        {
            Others[ Random() % Others.size() ]();
        }
        else // grows first, then shrinks
        {
            const auto& Verbs = Random() % 64 < ( _Step % 600 < 300 ? 56 : 16 ) ? Inserts : Removals;
            REQUIRE( Verbs[ Random() % Verbs.size() ]() );
        }
        REQUIRE( ( IsLike( _Left, _Model ) && IsLike( _Right, _RightModel ) ) );
        REQUIRE( ( _Left == _Right ) == ( _Model == _RightModel ) );
        REQUIRE( _Life.GetLiveCount() == LivesPerEntry<CLeft> * ( _Left.GetSize() + _Right.GetSize() ) );
    }
}
} // namespace NHashBench
