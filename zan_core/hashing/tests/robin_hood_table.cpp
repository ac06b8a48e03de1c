#include "zan_core/hashing/zan_robin_hood_table.h"

#include "zan_core/hashing/zan_hash.h"
#include "zan_core/text/zan_string.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <algorithm>
#include <functional>
#include <random>
#include <unordered_set>
#include <utility>

using NZanTestUtils::SMoveOnly;

namespace
{
// Places a key where the test wants it.
struct SHashIsKey
{
    uint32 operator()( int64 Key ) const { return static_cast<uint32>( Key ); }
    uint32 operator()( const CString& Key ) const { return static_cast<uint32>( Key[ 0 ] - 'a' ); }
    uint32 operator()( const SMoveOnly& Key ) const { return static_cast<uint32>( Key.GetValue() ); }
};

template <typename T, typename THash = SZanHash<T>>
struct TKeyTable : CZanRobinHoodTable<T, NZanRobinHoodTable::SPayloadIsKey, THash, std::equal_to<T>>
{
    bool Insert( const T& Key ) { return this->Emplace( this->CalcHash( Key ), Key ); }
    bool TryRemove( const T& Key )
    {
        const auto Found = this->Find( Key );
        return Found && ( this->Remove( Found ), true );
    }
    int32 GetBuckets() const { return this->GetInfo()._Buckets; }
    bool IsSound( int32 Size ) const { return this->CheckInvariants() && this->GetSize() == Size; }
};
using CPlacedTable = TKeyTable<int64, SHashIsKey>;
} // namespace

TEST_CASE( "CZanRobinHoodTable constructor", "[robin_hood_table]" )
{
    TKeyTable<int32> Table;
    REQUIRE( ( Table.IsSound( 0 ) && Table.GetInfo()._MemoryUsage == sizeof( Table ) ) );
    REQUIRE( ( Table.begin() == Table.end() && !Table.Find( 0 ) && Table.Find( 0 ) == Table.end() ) );
    REQUIRE( ( Table.Insert( 3 ) && !Table.Insert( 3 ) && *Table.Find( 3 ) == 3 && !Table.Find( 0 ) ) );
    REQUIRE( ( Table.IsSound( 1 ) && Table.GetBuckets() == 8 ) );
    REQUIRE( Table.GetInfo()._MemoryUsage == sizeof( Table ) + 14 * sizeof( decltype( Table )::SEntry ) );
}

TEST_CASE( "CZanRobinHoodTable stress test", "[robin_hood_table]" )
{
    for ( uint32 Round = 0; Round < 10; ++Round )
    {
        std::mt19937 Random( Round );
        TKeyTable<int64> Table;
        std::unordered_set<int64> Model;
        for ( int64 i = 1; i < 10000; ++i )
        {
            const int64 Key = static_cast<int64>( Random() ) % i;
            REQUIRE(
                ( i > 10 && Random() % 3 != 0 ? Table.Insert( i ) && Model.insert( i ).second
                                              : Table.TryRemove( Key ) == ( Model.erase( Key ) == 1 ) ) );
        }
        REQUIRE( Table.IsSound( static_cast<int32>( Model.size() ) ) );
        const auto IsErased = [ & ]( int64 Key ) { return Model.erase( Key ) == 1; };
        REQUIRE( ( std::all_of( Table.begin(), Table.end(), IsErased ) && Model.empty() ) );
    }
}

TEST_CASE( "CZanRobinHoodTable load limits", "[robin_hood_table]" )
{
    TKeyTable<int32, SHashIsKey> Table;
    int32 Bits = 3;
    for ( const int32 Limit : { 6, 13, 27, 56, 114, 229, 459, 920 } )
    {
        while ( Table.GetSize() < Limit )
        {
            Table.Insert( Table.GetSize() );
        }
        const size_t SlotCount = ( size_t( 1 ) << Bits ) + static_cast<size_t>( Bits ) + 3;
        REQUIRE( Table.GetBuckets() == 1 << Bits );
        REQUIRE( static_cast<size_t>( Table.GetInfo()._MemoryUsage ) == sizeof( Table ) + SlotCount * 8 );
        Table.Insert( Limit );
        REQUIRE( ( Table.GetBuckets() == 2 << Bits && Table.IsSound( Limit + 1 ) ) );
        ++Bits;
    }
}

TEST_CASE(
    "CZanRobinHoodTable keeps entries of one home in order when others are pushed", "[robin_hood_table]" )
{
    CPlacedTable Table;
    for ( const int64 Key : { 1, 9, 2, 10, 17 } ) // the last one pushes 2, which passes 10 as its equal
    {
        Table.Insert( Key );
    }
    const int64 Order[] = { 1, 9, 17, 10, 2 };
    REQUIRE( ( Table.IsSound( 5 ) && std::equal( Table.begin(), Table.end(), Order ) ) );
}

TEST_CASE(
    "CZanRobinHoodTable takes the new entry back when a pushed one finds no place", "[robin_hood_table]" )
{
    NZanTestUtils::SLifeCounters Life;
    {
        // Homes 0, and five times 1, whose last stands at the bound; another 0 would push it further.
        TKeyTable<SMoveOnly, SHashIsKey> Table;
        Table.SetMaxLoadFactor( 1.0f ); // so that it is not the load that makes it grow
        for ( const int32 Key : { 0, 1, 17, 33, 49, 65, 16 } )
        {
            REQUIRE( Table.GetBuckets() == ( Key == 0 ? 0 : 8 ) );
            const auto Added = Table.Emplace( static_cast<uint32>( Key ), SMoveOnly( Key, &Life ) );
            REQUIRE( Added._Iterator->GetValue() == Key );
        }
        REQUIRE( ( Table.GetBuckets() == 16 && Table.IsSound( 7 ) && Life.GetLiveCount() == 7 ) );
    }
    REQUIRE( Life.GetLiveCount() == 0 );
}

TEST_CASE( "CZanRobinHoodTable grows in the middle of a rebuild", "[robin_hood_table]" )
{
    // The low six bits are the same for all: 8, 16 and 32 buckets pass by without parting them.
    CPlacedTable Table;
    for ( int32 i = 0; i < 12; ++i )
    {
        REQUIRE( ( Table.Insert( i * 64 ) && Table.IsSound( i + 1 ) ) );
    }
    // In 16 buckets those from 7 reach into those from 8, which have no room left; in 32 they are apart.
    CPlacedTable Crowded;
    Crowded.SetMaxLoadFactor( 2.0f );
    for ( const int64 Key : { 7, 23, 39, 55, 15, 8, 24, 40, 56, 72, 88 } )
    {
        REQUIRE( ( Crowded.GetBuckets() <= 8 && Crowded.Insert( Key ) && Crowded.CheckInvariants() ) );
    }
    REQUIRE( ( Crowded.GetBuckets() == 32 && Crowded.IsSound( 11 ) ) );

    const int32 Buckets = Table.GetBuckets();
    for ( const int32 Bits : { 2, 0, 31 } ) // too few for what the table holds, and none that can be
    {
        Table.Rehash( Bits );
        REQUIRE( ( Table.IsSound( 12 ) && Table.GetBuckets() == Buckets ) );
    }
}

TEST_CASE( "CZanRobinHoodTable arguments may lie in the table", "[robin_hood_table]" )
{
    TKeyTable<CString, SHashIsKey> Table;
    const CString Long = "bc: too long to stand inside the string object";
    Table.Insert( Long );
    // At the home of what it is made of, and so often that the block grows as well.
    for ( const char* pKey : { "a", "a ", "b", "c", "d", "e", "f" } )
    {
        const CString& Stored = *Table.Find( Long );
        Table.EmplaceBuilt(
            Table.CalcHash( CString( pKey ) ), CString( pKey ), [ & ] { return CString( pKey ) + Stored; } );
        REQUIRE( ( Table.Find( CString( pKey ) + Long ) && Table.CheckInvariants() ) );
    }
}

TEST_CASE( "CZanRobinHoodTable::Reserve and ShrinkToFit", "[robin_hood_table]" )
{
    TKeyTable<int32> Table;
    Table.ShrinkToFit();
    REQUIRE( Table.GetBuckets() == 0 );
    const std::pair<int32, int32> Rooms[] = { { 0, 8 }, { 4, 8 }, { 5, 16 }, { 2, 16 }, { 8, 16 } };
    for ( const auto& [ Count, Buckets ] : Rooms )
    {
        Table.Reserve( Count );
        REQUIRE( ( Table.GetBuckets() == Buckets && Table.IsSound( 0 ) ) );
    }
    Table.Insert( 1 );
    Table.ShrinkToFit();
    REQUIRE( ( Table.GetBuckets() == 8 && Table.Find( 1 ) && Table.IsSound( 1 ) ) );
    Table.Clear();
    Table.ShrinkToFit();
    REQUIRE( ( Table.GetBuckets() == 0 && Table.IsSound( 0 ) ) );
}

TEST_CASE( "CZanRobinHoodTable copies and moves its load factor with the contents", "[robin_hood_table]" )
{
    TKeyTable<int32> Table;
    Table.SetMaxLoadFactor( 0.25f );
    Table.Reserve( 4 ); // four times that and one more
    Table.Insert( 1 );
    const TKeyTable<int32> Copy( Table ), Moved( std::move( Table ) );
    REQUIRE( ( Copy.GetMaxLoadFactor() == 0.25f && Copy.GetBuckets() == 8 ) );
    REQUIRE( ( Moved.GetMaxLoadFactor() == 0.25f && Moved.GetBuckets() == 32 ) );
}
