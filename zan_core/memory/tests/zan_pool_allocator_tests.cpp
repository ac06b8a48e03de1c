#include "zan_core/memory/zan_pool_allocator.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"
#include "zan_test/include/zan_test_threads.h"
#include "zan_test/include/zan_test_types.h"

#include <algorithm>
#include <atomic>
#include <random>
#include <string>
#include <tuple>
#include <vector>

using namespace NZanTestUtils;
using NZanPoolAllocatorInternal::CZanPoolAllocator;

namespace
{
template <size_t Size>
struct SFixedSize
{
    int32 _Values[ Size / sizeof( int32 ) ];
};
static_assert( sizeof( SFixedSize<12> ) == 12, "an item of one and a half pointers" );

using TPoolAllocators =
    std::tuple<CZanSynchronizedPoolAllocator<SFixedSize<4>>, CZanSynchronizedPoolAllocator<SFixedSize<8>>,
        CZanSynchronizedPoolAllocator<SFixedSize<12>>, CZanUnsynchronizedPoolAllocator<SFixedSize<4>>,
        CZanUnsynchronizedPoolAllocator<SFixedSize<8>>, CZanUnsynchronizedPoolAllocator<SFixedSize<12>>>;

static_assert( !std::is_copy_constructible_v<CZanSynchronizedPoolAllocator<int32>> );
static_assert( !std::is_copy_assignable_v<CZanUnsynchronizedPoolAllocator<int32>> );

constexpr uint64 PoolSize = 4;
using CItems = std::vector<void*>;

CItems Allocate( CZanAllocator& Pool, uint64 Count )
{
    CItems Items( Count );
    std::generate( Items.begin(), Items.end(), [ & ]() { return Pool.Allocate( 1, 1 ); } );
    return Items;
}

void Free( CZanAllocator& Pool, const CItems& Items )
{
    std::for_each( Items.begin(), Items.end(), [ & ]( void* pItem ) { Pool.Free( pItem ); } );
}

bool HasDuplicates( CItems Items )
{
    std::sort( Items.begin(), Items.end() );
    return std::adjacent_find( Items.begin(), Items.end() ) != Items.end();
}

/// Whether the pool is sound and has so many items, and so many free ones.
template <typename TPool>
bool Has( const TPool& Pool, uint64 Capacity, uint64 FreeCount )
{
    return Pool.CheckInvariants() && Pool.GetCapacity() == Capacity && Pool.CalcFreeCount() == FreeCount;
}

/// Takes an item for each '+', frees the one that a digit counts among those in use, and null for an 'n'.
/// True when the pool hands out what was freed last, and then its blocks in the order of their addresses.
template <typename T, bool bSynchronized>
bool IsStack( CZanPoolAllocator<T, bSynchronized> Pool, const std::string& Steps )
{
    CItems Used, Stack;
    bool bRight = true;
    for ( size_t i = 0; i < Steps.size() && bRight; ++i )
    {
        if ( Steps[ i ] == '+' )
        {
            Used.push_back( Pool.Allocate( 1, 1 ) );
            for ( uint64 Item = Stack.empty() ? Pool.GetPoolSize() : 0; Item-- > 0; )
            {
                const size_t Size = std::max( sizeof( T ), sizeof( void* ) );
                Stack.push_back( static_cast<char*>( Used.back() ) + Item * Size );
            }
            bRight = Used.back() == Stack.back();
            Stack.pop_back();
        }
        else if ( Steps[ i ] == 'n' || Used.empty() )
        {
            Pool.Free( nullptr );
        }
        else
        {
            std::swap( Used[ size_t( Steps[ i ] - '0' ) % Used.size() ], Used.back() );
            Pool.Free( Stack.emplace_back( Used.back() ) );
            Used.pop_back();
        }
        bRight = bRight && Has( Pool, Stack.size() + Used.size(), Stack.size() );
    }
    return bRight && !HasDuplicates( Used );
}
} // namespace

// The registrations of families over all pools.
#define POOL_FAMILY( Name ) TEMPLATE_LIST_TEST_CASE( Name, "[allocator][pool_allocator]", TPoolAllocators )
#define STACK_FAMILY( Name, Steps )                                                                          \
    POOL_FAMILY( "CZanPoolAllocator " Name ) { REQUIRE( IsStack( TestType( PoolSize ), Steps ) ); }

POOL_FAMILY( "CZanPoolAllocator allocate once" )
{
    CZanTestAllocator Allocator;
    TestType Pool( PoolSize, Allocator );
    REQUIRE( Has( Pool, 0, 0 ) );
    void* const pItem = Pool.Allocate( 1, 1 );
    REQUIRE( ( pItem != nullptr && Has( Pool, PoolSize, PoolSize - 1 ) && !Pool.IsInternalMemory( pItem ) ) );
    REQUIRE( ( &Pool.GetAllocator() == &Allocator && Allocator.GetTotalAllocationCount() == 0 ) );
}

STACK_FAMILY( "allocate twice", "++" )
STACK_FAMILY( "allocate from free list", "+0n+" )
STACK_FAMILY( "allocate one full block", "++++" )
STACK_FAMILY( "allocate two full blocks", "++++++++" )
STACK_FAMILY( "free and reuse first block", "++++++++0123++++" )
STACK_FAMILY( "allocate from new block after exhausting free list", "++++1++" )

POOL_FAMILY( "CZanPoolAllocator move constructor and assignment operator" )
{
    CZanTestAllocator Allocator;
    TestType Source( PoolSize, Allocator );
    const CItems Items = Allocate( Source, PoolSize + 1 );
    const int32* const pFirst = new ( Items[ 0 ] ) int32( 11 );
    Source.Free( Items[ 1 ] );

    TestType Target( std::move( Source ) );
    REQUIRE( ( Has( Target, 2 * PoolSize, PoolSize ) && Target.GetPoolSize() == PoolSize ) );
    TestType Assigned( 2 * PoolSize );
    Allocate( Assigned, 1 );
    Assigned = std::move( Target );
    TestType& Self = Assigned;
    Assigned = std::move( Self );
    REQUIRE( ( Has( Assigned, 2 * PoolSize, PoolSize ) && Assigned.GetPoolSize() == PoolSize ) );
    REQUIRE( ( *pFirst == 11 && &Assigned.GetAllocator() == &Allocator ) );
    REQUIRE( Allocate( Assigned, PoolSize + 1 )[ 0 ] == Items[ 1 ] );
    REQUIRE( Has( Assigned, 3 * PoolSize, PoolSize - 1 ) );
    REQUIRE( ( Has( Source, 0, 0 ) && Has( Target, 0, 0 ) ) ); // NOLINT(bugprone-use-after-move)
    Allocate( Source, 2 );
    REQUIRE( Has( Source, PoolSize, PoolSize - 2 ) );
}

POOL_FAMILY( "CZanPoolAllocator reserve and capacity" )
{
    TestType Pool( PoolSize );
    for ( const auto& [ Count, Capacity ] :
        { std::pair{ 0u, 0u }, { 6, 8 }, { 8, 8 }, { 1, 8 }, { 9, 12 }, { 20, 20 } } )
    {
        Pool.Reserve( Count );
        REQUIRE( Has( Pool, Capacity, Capacity ) );
    }
    REQUIRE( ( !HasDuplicates( Allocate( Pool, 20 ) ) && Has( Pool, 20, 0 ) ) );
    Pool.Reserve( 21 );
    REQUIRE( Has( Pool, 24, PoolSize ) );
}

TEST_CASE( "CZanPoolAllocator destroy without destroying elements", "[allocator][pool_allocator]" )
{
    SLifeCounters Counters;
    {
        CZanUnsynchronizedPoolAllocator<SMovable> Pool( PoolSize );
        CZanSynchronizedPoolAllocator<SMovable> Synchronized( PoolSize );
        new ( Pool.Allocate( 1, 1 ) ) SMovable( 1, &Counters );
        new ( Synchronized.Allocate( 1, 1 ) ) SMovable( 2, &Counters );
        Pool = CZanUnsynchronizedPoolAllocator<SMovable>( PoolSize );
    }
    REQUIRE( Counters.GetLiveCount() == 2 );
}

POOL_FAMILY( "CZanPoolAllocator hands out items as a stack does" )
{
    std::mt19937 Random( 5 );
    std::string Steps( 2000, '+' );
    for ( char& Step : Steps )
    {
        Step = Random() % 100 < 52 ? '+' : static_cast<char>( '0' + Random() % 70 );
    }
    REQUIRE( IsStack( TestType( GENERATE( 1u, 2u, 7u ) ), Steps ) );
}

TEST_CASE( "CZanPoolAllocator honours the alignment of its items", "[allocator][pool_allocator]" )
{
    struct alignas( 64 ) SAligned
    {
        int32 _Value;
    };
    CZanUnsynchronizedPoolAllocator<SAligned> Pool( 3 );
    for ( void* const pItem : Allocate( Pool, 7 ) )
    {
        REQUIRE( reinterpret_cast<uintptr_t>( pItem ) % alignof( SAligned ) == 0 );
    }
}

TEST_CASE( "CZanSynchronizedPoolAllocator serves several threads", "[allocator][pool_allocator]" )
{
    using CItem = SFixedSize<12>;
    CZanSynchronizedPoolAllocator<CItem> Pool( GENERATE( 1u, 4u ) );
    std::atomic<int32> FaultCount = 0;
    std::atomic<void*> pHandedOver = nullptr;
    RunOnTwoThreads( [ & ]( int32 Mark ) {
        for ( int32 i = 0; i < 1000; ++i )
        {
            const CItems Items = Allocate( Pool, 6 );
            std::for_each( Items.begin(), Items.end(), [ & ]( void* pItem ) {
                new ( pItem ) CItem{ { Mark, Mark, Mark } };
            } );
            Pool.Reserve( 6 );
            FaultCount += Pool.GetCapacity() < 6;
            std::for_each( Items.begin(), Items.end(), [ & ]( void* pItem ) {
                const auto& Values = static_cast<const CItem*>( pItem )->_Values;
                FaultCount += Values[ 0 ] != Mark || Values[ 2 ] != Mark;
            } );
            // The last one is freed by whichever thread comes by next.
            Free( Pool, CItems( Items.begin(), Items.end() - 1 ) );
            Pool.Free( pHandedOver.exchange( Items.back() ) );
        }
    } );
    Pool.Free( pHandedOver );
    REQUIRE( ( FaultCount == 0 && Has( Pool, Pool.GetCapacity(), Pool.GetCapacity() ) ) );
    REQUIRE_FALSE( HasDuplicates( Allocate( Pool, Pool.GetCapacity() ) ) );
}

TEST_CASE( "CZanSynchronizedPoolAllocator keeps what is freed while it grows", "[allocator][pool_allocator]" )
{
    for ( int32 i = 0; i < 500; ++i )
    {
        CZanSynchronizedPoolAllocator<int32> Pool( 2 );
        const CItems Items = Allocate( Pool, 2 );
        RunOnTwoThreads( [ & ]( int32 Number ) {
            Number == 0 ? Free( Pool, Items ) : static_cast<void>( Allocate( Pool, 1 ) );
        } );
        REQUIRE( Has( Pool, Pool.GetCapacity(), Pool.GetCapacity() - 1 ) );
    }
}

#if defined( ZAN_CHECK_PRECONDITIONS )

TEMPLATE_TEST_CASE( "CZanPoolAllocator reports what it cannot free", "[allocator][pool_allocator]",
    CZanSynchronizedPoolAllocator<int32>, CZanUnsynchronizedPoolAllocator<int32> )
{
    CLogCapture Log;
    TestType Pool( PoolSize ), Other( PoolSize );
    const CItems Items = Allocate( Pool, 2 );
    Free( Pool, { Items[ 0 ], Items[ 1 ], Items[ 0 ] } );
    REQUIRE( Log.GetOnlyMessage() == "Assertion failed: Free of an item that is free already\n" );

    Log.Clear();
    void* const pItem = Pool.Allocate( 1, 1 );
    Free( Pool, { Other.Allocate( 1, 1 ), &Log, static_cast<char*>( pItem ) + 4 } );
    REQUIRE( Log.GetOnlyMessage() == "Assertion failed: Free of a pointer that is no item of this pool\n" );
    REQUIRE( Has( Pool, PoolSize, PoolSize - 1 ) );
}

TEST_CASE( "CZanPoolAllocator reports blocks of no items", "[allocator][pool_allocator]" )
{
    CLogCapture Log;
    CZanUnsynchronizedPoolAllocator<int32> Pool( 0 );
    Allocate( Pool, 2 );
    REQUIRE( Pool.GetCapacity() == 2 );
    REQUIRE( Log.GetOnlyMessage() == "Assertion failed: A pool's blocks need at least one item\n" );
}

#endif
