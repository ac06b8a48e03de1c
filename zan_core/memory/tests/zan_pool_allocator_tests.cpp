#include "zan_core/memory/zan_pool_allocator.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"
#include "zan_test/include/zan_test_types.h"

#include <algorithm>
#include <atomic>
#include <memory>
#include <random>
#include <thread>
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
using TPoolAllocatorForms =
    std::tuple<CZanSynchronizedPoolAllocator<int32>, CZanUnsynchronizedPoolAllocator<int32>>;

static_assert( !std::is_copy_constructible_v<CZanSynchronizedPoolAllocator<int32>> );
static_assert( !std::is_copy_assignable_v<CZanUnsynchronizedPoolAllocator<int32>> );

template <typename TPool>
struct SItemOf;
template <typename T, bool bSynchronized>
struct SItemOf<CZanPoolAllocator<T, bSynchronized>>
{
    using TItem = T;
    static constexpr size_t Stride = std::max( sizeof( T ), sizeof( void* ) );
};

constexpr uint64 PoolSize = 4;

template <typename TPool>
void* Allocate( TPool& Pool )
{
    using TItem = typename SItemOf<TPool>::TItem;
    return Pool.Allocate( sizeof( TItem ), alignof( TItem ) );
}

using CItems = std::vector<void*>;

template <typename TPool>
CItems Allocate( TPool& Pool, uint64 Count )
{
    CItems Items;
    while ( Items.size() < Count )
    {
        Items.push_back( Allocate( Pool ) );
    }
    return Items;
}

template <typename TPool>
void Free( TPool& Pool, const CItems& Items )
{
    for ( void* const pItem : Items )
    {
        Pool.Free( pItem );
    }
}

/// The items of a block, by address.
template <typename TPool>
CItems GetBlock( void* pFirst, uint64 Count = PoolSize )
{
    CItems Items;
    for ( uint64 i = 0; i < Count; ++i )
    {
        Items.push_back( static_cast<char*>( pFirst ) + i * SItemOf<TPool>::Stride );
    }
    return Items;
}

CItems Sorted( CItems Items )
{
    std::sort( Items.begin(), Items.end() );
    return Items;
}

bool HasDuplicates( const CItems& Items )
{
    const CItems InOrder = Sorted( Items );
    return std::adjacent_find( InOrder.begin(), InOrder.end() ) != InOrder.end();
}
} // namespace

TEMPLATE_LIST_TEST_CASE( "CZanPoolAllocator allocate once", "[allocator][pool_allocator]", TPoolAllocators )
{
    CZanTestAllocator Allocator;
    TestType Pool( PoolSize, Allocator );
    REQUIRE( Pool.GetCapacity() == 0 );
    void* const pItem = Allocate( Pool );
    REQUIRE( pItem != nullptr );
    REQUIRE( Pool.GetCapacity() == PoolSize );
    REQUIRE( Pool.CheckInvariants() );
    REQUIRE( Pool.CalcFreeCount() == PoolSize - 1 );
    REQUIRE_FALSE( Pool.IsInternalMemory( pItem ) );
    REQUIRE( &Pool.GetAllocator() == &Allocator );
    REQUIRE( Allocator.GetTotalAllocationCount() == 0 );
}

TEMPLATE_LIST_TEST_CASE( "CZanPoolAllocator allocate twice", "[allocator][pool_allocator]", TPoolAllocators )
{
    TestType Pool( PoolSize );
    const CItems Items = Allocate( Pool, 2 );
    REQUIRE( Items == GetBlock<TestType>( Items[ 0 ], 2 ) );
    REQUIRE( Pool.GetCapacity() == PoolSize );
}

TEMPLATE_LIST_TEST_CASE(
    "CZanPoolAllocator allocate from free list", "[allocator][pool_allocator]", TPoolAllocators )
{
    TestType Pool( PoolSize );
    void* const pFirstItem = Allocate( Pool );
    Pool.Free( pFirstItem );
    Pool.Free( nullptr );
    REQUIRE( Pool.CheckInvariants() );
    REQUIRE( Pool.CalcFreeCount() == PoolSize );
    void* const pSecondItem = Allocate( Pool );
    REQUIRE( pSecondItem == pFirstItem );
}

TEMPLATE_LIST_TEST_CASE(
    "CZanPoolAllocator allocate one full block", "[allocator][pool_allocator]", TPoolAllocators )
{
    TestType Pool( PoolSize );
    const CItems Items = Allocate( Pool, PoolSize );
    REQUIRE( Sorted( Items ) == GetBlock<TestType>( Items[ 0 ] ) );
    REQUIRE( Pool.CalcFreeCount() == 0 );
    REQUIRE( Pool.GetCapacity() == PoolSize );
}

TEMPLATE_LIST_TEST_CASE(
    "CZanPoolAllocator allocate two full blocks", "[allocator][pool_allocator]", TPoolAllocators )
{
    TestType Pool( PoolSize );
    for ( const uint64 Capacity : { PoolSize, 2 * PoolSize } )
    {
        const CItems Items = Allocate( Pool, PoolSize );
        REQUIRE( Sorted( Items ) == GetBlock<TestType>( Items[ 0 ] ) );
        REQUIRE( Pool.GetCapacity() == Capacity );
    }
}

TEMPLATE_LIST_TEST_CASE(
    "CZanPoolAllocator free and reuse first block", "[allocator][pool_allocator]", TPoolAllocators )
{
    TestType Pool( PoolSize );
    const CItems First = Allocate( Pool, PoolSize );
    Allocate( Pool, PoolSize );
    Free( Pool, First );
    REQUIRE( Pool.CheckInvariants() );
    CItems Again = Allocate( Pool, PoolSize );
    std::reverse( Again.begin(), Again.end() );
    REQUIRE( Again == First );
    REQUIRE( Pool.GetCapacity() == 2 * PoolSize );
}

TEMPLATE_LIST_TEST_CASE( "CZanPoolAllocator allocate from new block after exhausting free list",
    "[allocator][pool_allocator]", TPoolAllocators )
{
    TestType Pool( PoolSize );
    CItems Items = Allocate( Pool, PoolSize );
    Pool.Free( Items[ 1 ] );
    REQUIRE( Allocate( Pool ) == Items[ 1 ] );
    Items.push_back( Allocate( Pool ) );
    REQUIRE_FALSE( HasDuplicates( Items ) );
    REQUIRE( Pool.GetCapacity() == 2 * PoolSize );
}

TEMPLATE_LIST_TEST_CASE( "CZanPoolAllocator move constructor and assignment operator",
    "[allocator][pool_allocator]", TPoolAllocators )
{
    using TItem = typename SItemOf<TestType>::TItem;
    CZanTestAllocator Allocator;
    TestType Source( PoolSize, Allocator );
    const TItem* const pFirst = new ( Allocate( Source ) ) TItem{ { 11 } };
    const CItems Items = Allocate( Source, PoolSize );
    Source.Free( Items[ 1 ] );

    TestType Target( std::move( Source ) );
    TestType Assigned( 2 * PoolSize );
    Allocate( Assigned );
    for ( TestType* const pPool : { &Target, &Assigned } )
    {
        if ( pPool == &Assigned )
        {
            Assigned = std::move( Target ); // NOLINT(bugprone-use-after-move)
            TestType& Self = Assigned;
            Assigned = std::move( Self );
        }
        REQUIRE( pFirst->_Values[ 0 ] == 11 );
        REQUIRE( pPool->GetPoolSize() == PoolSize );
        REQUIRE( &pPool->GetAllocator() == &Allocator );
        REQUIRE( pPool->GetCapacity() == 2 * PoolSize );
        REQUIRE( pPool->CalcFreeCount() == PoolSize );
        REQUIRE( pPool->CheckInvariants() );
    }
    REQUIRE( Allocate( Assigned ) == Items[ 1 ] );
    REQUIRE_FALSE( HasDuplicates( Allocate( Assigned, PoolSize ) ) );
    REQUIRE( Assigned.GetCapacity() == 3 * PoolSize );
    REQUIRE( Source.GetCapacity() == 0 ); // NOLINT(bugprone-use-after-move)
    REQUIRE( Target.CalcFreeCount() == 0 );
    Allocate( Source, 2 );
    REQUIRE( Source.GetCapacity() == PoolSize );
}

TEMPLATE_LIST_TEST_CASE(
    "CZanPoolAllocator reserve and capacity", "[allocator][pool_allocator]", TPoolAllocators )
{
    struct SStep
    {
        uint64 _Count;
        uint64 _Capacity;
    };
    TestType Pool( PoolSize );
    REQUIRE( Pool.GetPoolSize() == PoolSize );
    REQUIRE( Pool.GetCapacity() == 0 );
    for ( const SStep& Step : { SStep{ 0, 0 }, { 6, 8 }, { 8, 8 }, { 1, 8 }, { 9, 12 }, { 20, 20 } } )
    {
        Pool.Reserve( Step._Count );
        REQUIRE( Pool.GetCapacity() == Step._Capacity );
        REQUIRE( Pool.CalcFreeCount() == Step._Capacity );
        REQUIRE( Pool.CheckInvariants() );
    }
    REQUIRE_FALSE( HasDuplicates( Allocate( Pool, 20 ) ) );
    REQUIRE( Pool.GetCapacity() == 20 );
    Pool.Reserve( 21 );
    REQUIRE( Pool.CalcFreeCount() == PoolSize );
}

TEST_CASE( "CZanPoolAllocator destroy without destroying elements", "[allocator][pool_allocator]" )
{
    SLifeCounters Counters;
    {
        CZanUnsynchronizedPoolAllocator<SMovable> Pool( PoolSize );
        CZanSynchronizedPoolAllocator<SMovable> Synchronized( PoolSize );
        new ( Allocate( Pool ) ) SMovable( 1, &Counters );
        new ( Allocate( Synchronized ) ) SMovable( 2, &Counters );
        Pool = CZanUnsynchronizedPoolAllocator<SMovable>( PoolSize );
    }
    REQUIRE( Counters.GetLiveCount() == 2 );
}

TEMPLATE_LIST_TEST_CASE(
    "CZanPoolAllocator hands out items as a stack does", "[allocator][pool_allocator]", TPoolAllocators )
{
    std::mt19937 Random( 5 );
    for ( const uint64 BlockSize : { 1u, 2u, 7u } )
    {
        TestType Pool( BlockSize );
        CItems Used;
        CItems Stack;
        bool bAllRight = true;
        for ( int32 i = 0; i < 2000 && bAllRight; ++i )
        {
            if ( Used.empty() || Random() % 100 < 52 )
            {
                Used.push_back( Allocate( Pool ) );
                if ( Stack.empty() )
                {
                    Stack = GetBlock<TestType>( Used.back(), BlockSize );
                    std::reverse( Stack.begin(), Stack.end() );
                }
                bAllRight = Used.back() == Stack.back();
                Stack.pop_back();
            }
            else
            {
                std::swap( Used[ Random() % Used.size() ], Used.back() );
                Stack.push_back( Used.back() );
                Pool.Free( Used.back() );
                Used.pop_back();
            }
            bAllRight = bAllRight && Pool.CheckInvariants() && Pool.CalcFreeCount() == Stack.size() &&
                        Pool.GetCapacity() == Stack.size() + Used.size();
        }
        CAPTURE( BlockSize );
        REQUIRE( bAllRight );
        REQUIRE_FALSE( HasDuplicates( Used ) );
    }
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
    using TPool = CZanSynchronizedPoolAllocator<SFixedSize<12>>;
    constexpr size_t HeldCount = 6;
    for ( const uint64 BlockSize : { 1u, 4u } )
    {
        TPool Pool( BlockSize );
        std::atomic<int32> FaultCount = 0;
        std::atomic<void*> pHandedOver = nullptr;
        const auto Use = [ & ]( int32 Mark ) {
            for ( int32 i = 0; i < 1000; ++i )
            {
                const CItems Items = Allocate( Pool, HeldCount );
                for ( void* const pItem : Items )
                {
                    new ( pItem ) SFixedSize<12>{ { Mark, Mark, Mark } };
                }
                Pool.Reserve( HeldCount );
                for ( void* const pItem : Items )
                {
                    const auto* const pValue = static_cast<const SFixedSize<12>*>( pItem );
                    FaultCount += pValue->_Values[ 0 ] != Mark || pValue->_Values[ 2 ] != Mark;
                }
                FaultCount += Pool.GetCapacity() < HeldCount;
                // The last one is freed by whichever thread comes by next.
                Free( Pool, CItems( Items.begin(), Items.end() - 1 ) );
                Pool.Free( pHandedOver.exchange( Items.back() ) );
            }
        };
        std::thread Other( Use, 1 );
        Use( 2 );
        Other.join();
        Pool.Free( pHandedOver );
        REQUIRE( FaultCount == 0 );
        REQUIRE( Pool.CheckInvariants() );
        REQUIRE( Pool.CalcFreeCount() == Pool.GetCapacity() );
        REQUIRE_FALSE( HasDuplicates( Allocate( Pool, Pool.GetCapacity() ) ) );
    }
}

TEST_CASE( "CZanSynchronizedPoolAllocator keeps what is freed while it grows", "[allocator][pool_allocator]" )
{
    for ( int32 i = 0; i < 500; ++i )
    {
        CZanSynchronizedPoolAllocator<int32> Pool( 2 );
        const CItems Items = Allocate( Pool, 2 );
        std::atomic<bool> bStarted = false;
        std::thread Other( [ & ]() {
            bStarted = true;
            Free( Pool, Items );
        } );
        while ( !bStarted )
        {}
        Allocate( Pool );
        Other.join();
        REQUIRE( Pool.CheckInvariants() );
        REQUIRE( Pool.CalcFreeCount() == Pool.GetCapacity() - 1 );
    }
}

#if defined( ZAN_CHECK_PRECONDITIONS )

TEMPLATE_LIST_TEST_CASE(
    "CZanPoolAllocator reports what it cannot free", "[allocator][pool_allocator]", TPoolAllocatorForms )
{
    CLogCapture Log;
    TestType Pool( PoolSize );
    TestType Other( PoolSize );
    const CItems Items = Allocate( Pool, 2 );
    Pool.Free( Items[ 0 ] );
    Pool.Free( Items[ 1 ] );
    Pool.Free( Items[ 0 ] );
    REQUIRE( Log.GetOnlyMessage() == "Assertion failed: Free of an item that is free already\n" );

    Log.Clear();
    void* const pItem = Allocate( Pool );
    int32 Local = 0;
    for ( void* const pForeign : { Allocate( Other ), static_cast<void*>( &Local ),
              static_cast<void*>( static_cast<char*>( pItem ) + 4 ) } )
    {
        Pool.Free( pForeign );
    }
    REQUIRE( Log.GetOnlyMessage() == "Assertion failed: Free of a pointer that is no item of this pool\n" );
    REQUIRE( Pool.CheckInvariants() );
    REQUIRE( Pool.CalcFreeCount() == PoolSize - 1 );
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
