#include "zan_core/hashing/zan_hash.h"
#include "zan_core/hashing/zan_robin_hood_table.h"
#include "zan_core/text/zan_string.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <functional>
#include <random>
#include <unordered_set>
#include <utility>
#include <vector>

namespace
{
template <typename T, typename THash = SZanHash<T>>
using TKeyTable = CZanRobinHoodTable<T, NZanRobinHoodTable::SPayloadIsKey, THash, std::equal_to<T>>;

// Places a key where the test wants it.
struct SHashIsKey
{
    uint32 operator()( int64 Key ) const { return static_cast<uint32>( Key ); }
    uint32 operator()( int32 Key ) const { return static_cast<uint32>( Key ); }
    uint32 operator()( const CString& Key ) const { return static_cast<uint32>( Key[ 0 ] - 'a' ); }
    uint32 operator()( const NZanTestUtils::CLifeObserver& Key ) const
    {
        return static_cast<uint32>( Key.GetValue() );
    }
};

// Few homes for many keys, so that runs are long and bounds are met; not so many that only huge blocks part
// them.
struct SCrowdingHash
{
    uint32 operator()( int64 Key ) const { return static_cast<uint32>( Key ) % 64 * 3; }
};

template <typename TTable, typename TKey>
bool Insert( TTable* pTable, const TKey& Key )
{
    return pTable->Emplace( TTable::CalcHash( Key ), Key );
}

template <typename TTable, typename TKey>
bool Remove( TTable* pTable, const TKey& Key )
{
    const auto Found = pTable->Find( Key );
    if ( !Found )
    {
        return false;
    }
    pTable->Remove( Found );
    return true;
}

// Distances of the first slots of a table of 8 buckets.
template <typename TTable>
std::vector<int32> GetDistances( TTable* pTable, int32 Count )
{
    std::vector<int32> Distances;
    const auto* pEntry = pTable->end().GetEntry() - 13;
    for ( int32 i = 0; i < Count; ++i )
    {
        Distances.push_back( pEntry[ i ]._Distance );
    }
    return Distances;
}
} // namespace

TEST_CASE( "CZanRobinHoodTable constructor", "[robin_hood_table]" )
{
    TKeyTable<int32> Table;
    REQUIRE( Table.GetInfo()._Size == 0 );
    REQUIRE( Table.GetInfo()._Buckets == 0 );
    REQUIRE( Table.GetInfo()._MemoryUsage == sizeof( Table ) );
    REQUIRE( Table.begin() == Table.end() );
    REQUIRE_FALSE( Table.Find( 0 ) );
    REQUIRE( Table.Find( 0 ) == Table.end() );
    REQUIRE( Table.CheckInvariants() );

    REQUIRE( Insert( &Table, 3 ) );
    REQUIRE_FALSE( Insert( &Table, 3 ) );
    REQUIRE( Table.GetInfo()._Size == 1 );
    REQUIRE( Table.GetInfo()._Buckets == 8 );
    REQUIRE( Table.GetInfo()._MemoryUsage == sizeof( Table ) + 14 * sizeof( decltype( Table )::SEntry ) );
    REQUIRE( *Table.Find( 3 ) == 3 );
}

TEST_CASE( "CZanRobinHoodTable stress test", "[robin_hood_table]" )
{
    for ( uint32 Round = 0; Round < 10; ++Round )
    {
        std::mt19937 Random( Round );
        TKeyTable<int64> Table;
        std::unordered_set<int64> Model;
        for ( int64 i = 0; i < 10000; ++i )
        {
            if ( i > 10 && Random() % 3 != 0 )
            {
                REQUIRE( Insert( &Table, i ) );
                Model.insert( i );
            }
            else if ( i > 0 )
            {
                const int64 Key = static_cast<int64>( Random() ) % i;
                REQUIRE( Remove( &Table, Key ) == ( Model.erase( Key ) == 1 ) );
            }
        }
        REQUIRE( Table.CheckInvariants() );
        REQUIRE( Table.GetInfo()._Size == static_cast<int32>( Model.size() ) );
        int32 Count = 0;
        for ( const int64 Key : Table )
        {
            REQUIRE( Model.count( Key ) == 1 );
            ++Count;
        }
        REQUIRE( Count == Table.GetSize() );
    }
}

TEST_CASE( "CZanRobinHoodTable with crowded homes against a model", "[robin_hood_table]" )
{
    TKeyTable<int64, SCrowdingHash> Table;
    std::unordered_set<int64> Model;
    std::mt19937 Random( 5 );
    for ( int32 i = 0; i < 4000; ++i )
    {
        const int64 Key = static_cast<int64>( Random() % 160 );
        if ( Random() % 8 < 5 )
        {
            REQUIRE( Insert( &Table, Key ) == Model.insert( Key ).second );
        }
        else
        {
            REQUIRE( Remove( &Table, Key ) == ( Model.erase( Key ) == 1 ) );
        }
        if ( i % 500 == 499 )
        {
            Table.ShrinkToFit();
        }
        REQUIRE( Table.CheckInvariants() );
        REQUIRE( Table.GetSize() == static_cast<int32>( Model.size() ) );
        REQUIRE( static_cast<bool>( Table.Find( Key ) ) == ( Model.count( Key ) == 1 ) );
    }
}

TEST_CASE( "CZanRobinHoodTable slots keep the hash where it is free", "[robin_hood_table]" )
{
    using NZanRobinHoodTable::SEntry;
    STATIC_REQUIRE( sizeof( SEntry<uint8> ) == 2 );
    STATIC_REQUIRE( sizeof( SEntry<int32> ) == 8 );
    STATIC_REQUIRE( sizeof( SEntry<std::pair<int32, int32>> ) == 12 );
    STATIC_REQUIRE( sizeof( SEntry<int64> ) == 16 );
    STATIC_REQUIRE( offsetof( SEntry<int64>, _Distance ) == 4 );
    STATIC_REQUIRE( offsetof( SEntry<int32>, _Distance ) == 0 );
}

TEST_CASE( "CZanRobinHoodTable load limits", "[robin_hood_table]" )
{
    const std::pair<int32, int32> Limits[] = { { 8, 6 }, { 16, 13 }, { 32, 27 }, { 64, 56 }, { 128, 114 },
        { 256, 229 }, { 512, 459 }, { 1024, 920 } };
    TKeyTable<int32, SHashIsKey> Table;
    int32 Bits = 3;
    for ( const auto& [ Buckets, Limit ] : Limits )
    {
        while ( Table.GetSize() < Limit )
        {
            Insert( &Table, Table.GetSize() );
        }
        const int32 SlotCount = Buckets + Bits + 3;
        REQUIRE( Table.GetInfo()._Buckets == Buckets );
        REQUIRE( Table.GetInfo()._MemoryUsage == static_cast<int32>( sizeof( Table ) ) + SlotCount * 8 );
        Insert( &Table, Table.GetSize() );
        REQUIRE( Table.GetInfo()._Buckets == Buckets * 2 );
        REQUIRE( Table.CheckInvariants() );
        ++Bits;
    }
}

TEST_CASE( "CZanRobinHoodTable grows at the bound of the distance", "[robin_hood_table]" )
{
    TKeyTable<int64, SHashIsKey> Table;
    for ( int64 i = 0; i < 5; ++i )
    {
        Insert( &Table, 7 + i * 16 ); // all at home in the last bucket, so in the overflow run
    }
    REQUIRE( Table.GetInfo()._Buckets == 8 );
    REQUIRE( GetDistances( &Table, 14 ) == std::vector<int32>{ 0, 0, 0, 0, 0, 0, 0, 1, 2, 3, 4, 5, 0, 255 } );
    Insert( &Table, int64( 7 + 5 * 16 ) );
    REQUIRE( Table.GetInfo()._Buckets == 16 );
    REQUIRE( Table.CheckInvariants() );
}

TEST_CASE( "CZanRobinHoodTable pushes entries on", "[robin_hood_table]" )
{
    TKeyTable<int64, SHashIsKey> Table;
    for ( const int64 Key : { 1, 2, 3, 9 } ) // 9 is at home in 1
    {
        Insert( &Table, Key );
    }
    REQUIRE( GetDistances( &Table, 6 ) == std::vector<int32>{ 0, 1, 2, 2, 2, 0 } );
    REQUIRE( Table.CheckInvariants() );

    // A removal shifts the displaced back, and stops at an entry in its home bucket.
    Insert( &Table, int64( 5 ) );
    const auto Next = Table.Remove( Table.Find( int64( 1 ) ) );
    REQUIRE( *Next == 9 );
    REQUIRE( GetDistances( &Table, 6 ) == std::vector<int32>{ 0, 1, 1, 1, 0, 1 } );
    Table.Remove( Table.Find( int64( 2 ) ) );
    REQUIRE( GetDistances( &Table, 6 ) == std::vector<int32>{ 0, 1, 0, 1, 0, 1 } );
}

TEST_CASE(
    "CZanRobinHoodTable takes the new entry back when a pushed one finds no place", "[robin_hood_table]" )
{
    // Homes 0, and five times 1, whose last stands at the bound; another 0 would push it further.
    using NZanTestUtils::SMoveOnly;
    NZanTestUtils::SLifeCounters Life;
    {
        TKeyTable<SMoveOnly, SHashIsKey> Table;
        for ( const int32 Key : { 0, 1, 17, 33, 49 } )
        {
            Table.Emplace( static_cast<uint32>( Key ), SMoveOnly( Key, &Life ) );
        }
        Table.Emplace( 65, SMoveOnly( 65, &Life ) );
        REQUIRE( Table.GetInfo()._Buckets == 8 );
        REQUIRE( Table.Emplace( 16, SMoveOnly( 16, &Life ) )._Iterator->GetValue() == 16 );
        REQUIRE( Table.GetInfo()._Buckets == 16 );
        REQUIRE( Table.CheckInvariants() );
        for ( const int32 Key : { 0, 1, 17, 33, 49, 65, 16 } )
        {
            REQUIRE( Table.Find( SMoveOnly( Key ) ) );
        }
        REQUIRE( Life.GetLiveCount() == 7 );
    }
    REQUIRE( Life.GetLiveCount() == 0 );
}

TEST_CASE( "CZanRobinHoodTable grows in the middle of a rebuild", "[robin_hood_table]" )
{
    // The low six bits are the same for all: 8, 16 and 32 buckets pass by without parting them.
    TKeyTable<int64, SHashIsKey> Table;
    for ( int64 i = 0; i < 12; ++i )
    {
        Insert( &Table, i * 64 );
        REQUIRE( Table.CheckInvariants() );
    }
    Table.Rehash( 2 ); // too few for what the table holds
    REQUIRE( Table.CheckInvariants() );
    REQUIRE( Table.GetSize() == 12 );
    for ( int64 i = 0; i < 12; ++i )
    {
        REQUIRE( Table.Find( i * 64 ) );
    }
    const int32 Buckets = Table.GetInfo()._Buckets;
    Table.Rehash( 0 );
    Table.Rehash( 31 );
    REQUIRE( Table.GetInfo()._Buckets == Buckets );
}

TEST_CASE( "CZanRobinHoodTable arguments may lie in the table", "[robin_hood_table]" )
{
    TKeyTable<CString, SHashIsKey> Table;
    const CString Long = "bc: too long to stand inside the string object";
    Insert( &Table, Long );
    // At the home of what it is made of, and so often that the block grows as well.
    for ( const char* pKey : { "a", "a ", "b", "c", "d", "e", "f" } )
    {
        const CString& Stored = *Table.Find( Long );
        Table.EmplaceBuilt( TKeyTable<CString, SHashIsKey>::CalcHash( CString( pKey ) ), CString( pKey ),
            [ & ] { return CString( pKey ) + Stored; } );
        REQUIRE( Table.Find( CString( pKey ) + Long ) );
        REQUIRE( Table.CheckInvariants() );
    }
}

TEST_CASE( "CZanRobinHoodTable::Reserve and ShrinkToFit", "[robin_hood_table]" )
{
    TKeyTable<int32> Table;
    Table.ShrinkToFit();
    REQUIRE( Table.GetInfo()._Buckets == 0 );
    Table.Reserve( 5 );
    REQUIRE( Table.GetInfo()._Buckets == 16 );
    Table.Reserve( 2 );
    REQUIRE( Table.GetInfo()._Buckets == 16 );
    Table.ShrinkToFit();
    REQUIRE( Table.GetInfo()._Buckets == 0 );

    for ( int32 i = 0; i < 1000; ++i )
    {
        Insert( &Table, i );
    }
    REQUIRE( Table.GetInfo()._Buckets >= 2048 );
    for ( int32 i = 1; i < 1000; ++i )
    {
        REQUIRE( Remove( &Table, i ) );
    }
    Table.ShrinkToFit();
    REQUIRE( Table.GetInfo()._Buckets == 8 );
    REQUIRE( Table.Find( 0 ) );
    Table.Clear();
    REQUIRE( Table.GetInfo()._Buckets == 8 );
    REQUIRE( Table.CheckInvariants() );
    Table.ShrinkToFit();
    REQUIRE( Table.GetInfo()._Buckets == 0 );
}

TEST_CASE( "CZanRobinHoodTable copies and moves its load factor with the contents", "[robin_hood_table]" )
{
    TKeyTable<int32> Table;
    Table.SetMaxLoadFactor( 0.25f );
    Table.Reserve( 4 ); // four times that and one more
    REQUIRE( Table.GetInfo()._Buckets == 32 );
    Insert( &Table, 1 );
    TKeyTable<int32> Copy( Table );
    REQUIRE( Copy.GetMaxLoadFactor() == 0.25f );
    REQUIRE( Copy.GetInfo()._Buckets == 8 );
    TKeyTable<int32> Moved( std::move( Table ) );
    REQUIRE( Moved.GetMaxLoadFactor() == 0.25f );
    REQUIRE( Moved.GetInfo()._Buckets == 32 );
}
