#include "benchmarks/zan_bench_data.h"
#include "zan_core/hashing/zan_hash.h"
#include "zan_core/hashing/zan_unordered_map.h"
#include "zan_core/hashing/zan_unordered_set.h"
#include "zan_core/text/zan_string.h"

#include <absl/container/flat_hash_map.h>
#include <absl/container/flat_hash_set.h>
#include <boost/unordered/unordered_flat_map.hpp>
#include <boost/unordered/unordered_flat_set.hpp>
#include <tsl/robin_map.h>
#include <tsl/robin_set.h>

#include <algorithm>
#include <bit>
#include <cstdlib>
#include <cstring>
#include <random>
#include <string>
#include <type_traits>
#include <unordered_map>
#include <unordered_set>
#include <utility>
#include <vector>

namespace
{
// --- Contenders --------------------------------------------------------------------------------------------

/// The peers with our hash. Only that of text may throw, because std::unordered_map goes by this when it
/// decides whether to keep the hashes, and with its own hashes keeps those of text only.
template <typename TKey>
struct SSameHash
{
    size_t operator()( const TKey& Key ) const noexcept( std::is_integral_v<TKey> ) { return ZanHash( Key ); }
};

template <typename TText, template <typename...> typename TMapOf, template <typename...> typename TSetOf>
struct SContender
{
    /// Texts are of the contender's own type.
    template <typename TKey>
    using CKey = std::conditional_t<std::is_integral_v<TKey>, TKey, TText>;

    template <typename TKey, bool bSameHash>
    using CMap = std::conditional_t<bSameHash, TMapOf<CKey<TKey>, int32, SSameHash<CKey<TKey>>>,
        TMapOf<CKey<TKey>, int32>>;
    template <typename TKey, bool bSameHash>
    using CSet = std::conditional_t<bSameHash, TSetOf<CKey<TKey>, SSameHash<CKey<TKey>>>, TSetOf<CKey<TKey>>>;
};

// Template parameters have to match in kind and number; and ours has the same hash anyway.
template <typename TKey, typename TValue, typename...>
using COurMap = CZanUnorderedMap<TKey, TValue>;
template <typename TKey, typename TValue, typename...>
using COurHybridMap = CZanHybridUnorderedMap<TKey, TValue, 8>;
template <typename TKey, typename...>
using COurSet = CZanUnorderedSet<TKey>;
template <typename... T>
using CRobinMap = tsl::robin_map<T...>;
template <typename... T>
using CRobinSet = tsl::robin_set<T...>;

using COurs = SContender<CString, COurMap, COurSet>;
using COurHybrid = SContender<CString, COurHybridMap, COurSet>;
using CRobin = SContender<std::string, CRobinMap, CRobinSet>;
using CBoost = SContender<std::string, boost::unordered_flat_map, boost::unordered_flat_set>;
using CAbsl = SContender<std::string, absl::flat_hash_map, absl::flat_hash_set>;
using CStd = SContender<std::string, std::unordered_map, std::unordered_set>;

template <typename T>
concept COurTable = requires( T& Table )
{
    Table.GetSize();
};
template <typename T>
concept COurValues = COurTable<T> && requires
{
    typename T::SMapEntry;
};
template <typename T>
concept CTheirValues = requires
{
    typename T::mapped_type;
};

void Insert( COurValues auto& Map, const auto& Key, int32 Value ) { Map.TrySet( Key, Value ); }
void Insert( CTheirValues auto& Map, const auto& Key, int32 Value ) { Map.try_emplace( Key, Value ); }
void Insert( COurTable auto& Set, const auto& Key, int32 ) { Set.Insert( Key ); }
void Insert( auto& Set, const auto& Key, int32 ) { Set.insert( Key ); }

int64 Find( const COurTable auto& Set, const auto& Key ) { return Set.Contains( Key ) ? 1 : 0; }
int64 Find( const auto& Set, const auto& Key ) { return Set.find( Key ) != Set.end() ? 1 : 0; }
int64 Find( const COurValues auto& Map, const auto& Key )
{
    const int32* const pValue = Map.GetValue( Key );
    return pValue != nullptr ? *pValue : 0;
}
int64 Find( const CTheirValues auto& Map, const auto& Key )
{
    const auto Found = Map.find( Key );
    return Found != Map.end() ? Found->second : 0;
}

int64 Remove( COurTable auto& Table, const auto& Key ) { return Table.Remove( Key ) ? 1 : 0; }
int64 Remove( auto& Table, const auto& Key ) { return static_cast<int64>( Table.erase( Key ) ); }

void Reserve( COurTable auto& Table, int32 Count ) { Table.Reserve( Count ); }
void Reserve( auto& Table, int32 Count ) { Table.reserve( static_cast<size_t>( Count ) ); }

int64 GetSize( const COurTable auto& Table ) { return Table.GetSize(); }
int64 GetSize( const auto& Table ) { return static_cast<int64>( Table.size() ); }

// --- Data --------------------------------------------------------------------------------------------------

template <typename TKey>
TKey MakeKey( uint32 Index )
{
    if constexpr ( sizeof( TKey ) == 4 )
    {
        return static_cast<TKey>( NZanBench::Scramble( Index ) );
    }
    else if constexpr ( sizeof( TKey ) == 8 )
    {
        return static_cast<TKey>(
            static_cast<uint64>( NZanBench::Scramble( Index ) ) << 32 | NZanBench::Scramble( ~Index ) );
    }
    else
    {
        return TKey( NZanBench::MakeText( Index ) );
    }
}

/// Keys of a table, and such as are not in it. Those of different seeds differ.
template <typename TKey>
struct SKeys
{
    SKeys( int32 Count, uint32 Seed )
    {
        const uint32 PresentCount = static_cast<uint32>( Count );
        const uint32 AbsentCount = std::min( PresentCount, 50000u );
        const uint32 First = Seed * ( PresentCount + AbsentCount );
        for ( uint32 i = 0; i < PresentCount + AbsentCount; ++i )
        {
            ( i < PresentCount ? Present : Absent ).push_back( MakeKey<TKey>( First + i ) );
        }
        std::minstd_rand Random( Seed + 1 );
        Leaving = Present;
        std::shuffle( Leaving.begin(), Leaving.end(), Random );
        Leaving.resize( AbsentCount );
    }

    std::vector<TKey> Present, Absent;
    std::vector<TKey> Leaving; // some of those present, or all
};

void FillFrom( auto& Table, const auto& Keys )
{
    int32 Value = 0;
    for ( const auto& Key : Keys )
    {
        Insert( Table, Key, ++Value );
    }
}

template <typename TTable, typename TKey>
struct SFilledTable
{
    SFilledTable( int32 Count, uint32 Seed ) : Keys( Count, Seed )
    {
        FillFrom( Table, Keys.Present ); // not copied, which could leave more room than insertions do
    }

    SKeys<TKey> Keys;
    TTable Table;
};

/// What the work of a contender goes on. Small tables are many, each with keys of its own, and the keys to
/// look up are many as well: else the processor would learn by heart which branches the few of them take.
template <typename TTable, typename TKey>
struct STables
{
    explicit STables( int32 Count )
    {
        for ( uint32 i = 0; i < static_cast<uint32>( std::max( 50000 / Count, 1 ) ); ++i )
        {
            Filled.emplace_back( Count, i );
        }
        std::minstd_rand Random( 1 );
        const SKeys<TKey>& Keys = Filled[ 0 ].Keys;
        for ( uint32 i = 0; i < 100000; ++i )
        {
            Hits.push_back( Keys.Present[ Random() % Keys.Present.size() ] );
            Misses.push_back( Keys.Absent[ Random() % Keys.Absent.size() ] );
        }
    }

    std::vector<SFilledTable<TTable, TKey>> Filled;
    std::vector<TKey> Hits, Misses; // of the first one
};

// --- Rows --------------------------------------------------------------------------------------------------

template <typename TKey, bool bSameHash>
struct SMaps
{
    static constexpr const char* pName = "map";
    template <typename TContender>
    using CTables = STables<typename TContender::template CMap<TKey, bSameHash>,
        typename TContender::template CKey<TKey>>;
};

template <typename TKey, bool bSameHash>
struct SSets
{
    static constexpr const char* pName = "set";
    template <typename TContender>
    using CTables = STables<typename TContender::template CSet<TKey, bSameHash>,
        typename TContender::template CKey<TKey>>;
};

template <typename TKind, typename TOurs = COurs, typename TWork>
void AddRow( const std::string& Row, int32 Count, TWork Work, double Limit = 0 )
{
    const NZanBench::CRowMaker Maker( Count, Work );
    const auto Make = [ & ]<typename T>( T*, const std::string& Name ) {
        return Maker.template Make<T, typename TKind::template CTables<T>>( Name );
    };
    const std::string Kind = TKind::pName;
    ZanBench( Row,
        { Make( static_cast<TOurs*>( nullptr ), "ours" ),
            Make( static_cast<CRobin*>( nullptr ), "tsl::robin_" + Kind ),
            Make( static_cast<CBoost*>( nullptr ), "boost::unordered_flat_" + Kind ),
            Make( static_cast<CAbsl*>( nullptr ), "absl::flat_hash_" + Kind ),
            Make( static_cast<CStd*>( nullptr ), "std::unordered_" + Kind ) },
        Limit );
}

int64 FindAll( const auto& Table, const auto& Keys )
{
    int64 Sum = 0;
    for ( const auto& Key : Keys )
    {
        Sum += Find( Table, Key );
    }
    return Sum;
}

template <bool bReserve>
constexpr auto InsertAll = []<typename TTable, typename TKey>( STables<TTable, TKey>& Tables ) {
    int64 Size = 0;
    for ( const auto& Filled : Tables.Filled )
    {
        TTable Table;
        if constexpr ( bReserve )
        {
            Reserve( Table, static_cast<int32>( Filled.Keys.Present.size() ) );
        }
        FillFrom( Table, Filled.Keys.Present );
        Size += GetSize( Table );
    }
    return Size;
};

constexpr auto FindHits = []( auto& Tables ) { return FindAll( Tables.Filled[ 0 ].Table, Tables.Hits ); };
constexpr auto FindMisses = []( auto& Tables ) { return FindAll( Tables.Filled[ 0 ].Table, Tables.Misses ); };

constexpr auto Iterate = []( auto& Tables ) {
    int64 Sum = 0;
    for ( const auto& Filled : Tables.Filled )
    {
        for ( const auto& [ Key, Value ] : Filled.Table )
        {
            Sum += Value;
        }
    }
    return Sum;
};

constexpr auto Copy = []<typename TTable, typename TKey>( STables<TTable, TKey>& Tables ) {
    int64 Size = 0;
    for ( const auto& Filled : Tables.Filled )
    {
        TTable Copied( Filled.Table );
        benchmark::DoNotOptimize( Copied );
        Size += GetSize( Copied );
    }
    return Size;
};

constexpr auto EraseKeys = []( auto& Tables, benchmark::State& State ) {
    int64 ErasedCount = 0;
    for ( auto _ : State )
    {
        ErasedCount = 0;
        for ( auto& Filled : Tables.Filled )
        {
            for ( const auto& Key : Filled.Keys.Leaving )
            {
                ErasedCount += Remove( Filled.Table, Key );
            }
        }
        State.PauseTiming();
        for ( auto& Filled : Tables.Filled )
        {
            FillFrom( Filled.Table, Filled.Keys.Leaving );
        }
        State.ResumeTiming();
    }
    return ErasedCount;
};

/// One of each, over and over: a hit, a miss, an erased and an inserted key. Ends with the keys it began
/// with.
constexpr auto Mix = []( auto& Tables ) {
    int64 Sum = 0, Size = 0;
    for ( auto& [ Keys, Table ] : Tables.Filled )
    {
        const auto Replace = [ & ]( const auto& Former, const auto& Newer ) {
            for ( size_t i = 0; i < Former.size(); ++i )
            {
                Sum += Find( Table, Keys.Present[ i ] );
                Sum += Find( Table, Keys.Absent[ i ] );
                Sum += Remove( Table, Former[ i ] );
                Insert( Table, Newer[ i ], 1 );
            }
        };
        Replace( Keys.Leaving, Keys.Absent );
        Replace( Keys.Absent, Keys.Leaving );
        Size += GetSize( Table );
    }
    return Size + ( Sum != 0 ? 1 : 0 ); // what is found depends on what came before
};

/// The whole life of small tables, a different one each time.
constexpr auto BuildSmall = []<typename TTable, typename TKey>( STables<TTable, TKey>& Tables ) {
    constexpr size_t Count = 8;
    const std::vector<TKey>& Keys = Tables.Filled[ 0 ].Keys.Present;
    int64 Sum = 0;
    for ( size_t First = 0; First + Count <= Keys.size(); First += Count )
    {
        TTable Table;
        for ( size_t i = First; i < First + Count; ++i )
        {
            Insert( Table, Keys[ i ], static_cast<int32>( i ) );
        }
        for ( size_t i = First; i < First + Count; ++i )
        {
            Sum += Find( Table, Keys[ i ] );
        }
    }
    return Sum;
};

template <typename TKey, bool bSameHash>
void AddMaps( const std::string& Hash, const std::string& Key )
{
    using CMaps = SMaps<TKey, bSameHash>;
    for ( const int32 Count : { 100, 10000, 1000000 } )
    {
        const std::string Behind = ", " + Key + ", " + std::to_string( Count );
        AddRow<CMaps>( Hash + "insert" + Behind, Count, InsertAll<false> );
        AddRow<CMaps>( Hash + "insert reserved" + Behind, Count, InsertAll<true> );
        AddRow<CMaps>( Hash + "hit" + Behind, Count, FindHits );
        AddRow<CMaps>( Hash + "miss" + Behind, Count, FindMisses );
        AddRow<CMaps>( Hash + "iterate" + Behind, Count, Iterate );
        AddRow<CMaps>( Hash + "copy" + Behind, Count, Copy );
        AddRow<CMaps>( Hash + "erase" + Behind, Count, EraseKeys );
        AddRow<CMaps>( Hash + "mixed" + Behind, Count, Mix );
    }
}

template <typename TKey>
void AddSetsAndHybrids( const std::string& Key )
{
    const int32 Count = 10000;
    AddRow<SSets<TKey, true>>( "set, same hash, insert, " + Key, Count, InsertAll<false> );
    AddRow<SSets<TKey, true>>( "set, same hash, hit, " + Key, Count, FindHits );
    AddRow<SSets<TKey, true>>( "set, same hash, miss, " + Key, Count, FindMisses );
    AddRow<SMaps<TKey, false>, COurHybrid>( "hybrid of 8, " + Key, 4096, BuildSmall, 0.5 );
}

// --- Hashes of bytes ---------------------------------------------------------------------------------------

/// MurmurHash3 x86_32 as it is published. Not inlined, as ours is not, which would learn its length.
[[gnu::noinline]] uint32 HashPlainly( const void* pData, int32 Length )
{
    const unsigned char* const pBytes = static_cast<const unsigned char*>( pData );
    const auto Scrambled = []( uint32 Block ) { return std::rotl( Block * 0xCC9E2D51, 15 ) * 0x1B873593; };
    const int32 BlockCount = Length / 4;
    uint32 Hash = 0;
    for ( int32 i = 0; i < BlockCount; ++i )
    {
        uint32 Block;
        std::memcpy( &Block, pBytes + 4 * i, 4 );
        Hash = std::rotl( Hash ^ Scrambled( Block ), 13 ) * 5 + 0xE6546B64;
    }
    const unsigned char* const pTail = pBytes + 4 * BlockCount;
    uint32 Tail = 0;
    switch ( Length & 3 )
    {
    case 3:
        Tail ^= static_cast<uint32>( pTail[ 2 ] ) << 16;
        [[fallthrough]];
    case 2:
        Tail ^= static_cast<uint32>( pTail[ 1 ] ) << 8;
        [[fallthrough]];
    case 1:
        Hash ^= Scrambled( Tail ^ pTail[ 0 ] );
    }
    Hash ^= static_cast<uint32>( Length );
    Hash = ( Hash ^ ( Hash >> 16 ) ) * 0x85EBCA6B;
    Hash = ( Hash ^ ( Hash >> 13 ) ) * 0xC2B2AE35;
    return Hash ^ ( Hash >> 16 );
}

void AddHashes( int32 Length )
{
    const int32 Total = 65536;
    std::vector<uint8> Bytes;
    for ( uint32 i = 0; i < Total; ++i )
    {
        Bytes.push_back( static_cast<uint8>( NZanBench::Scramble( i ) ) );
    }
    const auto Over = [ & ]( auto Hash ) {
        return [ Bytes, Length, Hash ] {
            uint32 Sum = 0;
            for ( int32 i = 0, Left = std::min( Total / Length, 1024 ); i < Left; ++i )
            {
                Sum += Hash( Bytes.data() + i * Length, Length );
            }
            return Sum;
        };
    };
    const auto Ours = Over( []( const void* pData, int32 Size ) { return ZanHash( pData, Size ); } );
    const auto Theirs = Over( HashPlainly );
    if ( Ours() != Theirs() )
    {
        std::abort();
    }
    ZanBench( "ZanHash, " + std::to_string( Length ) + " B", { { "ours", Ours }, { "plain", Theirs } }, 1.0 );
}
} // namespace

void RegisterRows()
{
    AddMaps<int32, true>( "map, same hash, ", "int32" );
    AddMaps<int64, true>( "map, same hash, ", "int64" );
    AddMaps<CString, true>( "map, same hash, ", "text" );
    AddMaps<int32, false>( "map, own hash, ", "int32" );
    AddMaps<int64, false>( "map, own hash, ", "int64" );
    AddMaps<CString, false>( "map, own hash, ", "text" );
    AddSetsAndHybrids<int32>( "int32" );
    AddSetsAndHybrids<CString>( "text" );
    for ( const int32 Length : { 4, 16, 64, 1024, 65536 } )
    {
        AddHashes( Length );
    }
    for ( const std::string Maps : { "map, same hash", "map, own hash", "map" } )
    {
        ZanBenchMean( Maps + ", geometric mean", Maps + ", ", "tsl::robin_map", 1.0 );
        ZanBenchMean( Maps + ", geometric mean", Maps + ", ", "std::unordered_map", 0.5 );
        ZanBenchMean( Maps + ", geometric mean", Maps + ", ", "boost::unordered_flat_map", 1.25 );
        ZanBenchMean( Maps + ", geometric mean", Maps + ", ", "absl::flat_hash_map", 1.25 );
    }
}
