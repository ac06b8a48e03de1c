#include "benchmarks/zan_bench_data.h"
#include "zan_core/memory/zan_fixed_allocator.h"
#include "zan_core/memory/zan_linear_allocator.h"
#include "zan_core/memory/zan_pool_allocator.h"
#include "zan_core/zan_types.h"

#include <boost/pool/pool.hpp>
#include <boost/pool/singleton_pool.hpp>
#include <dlfcn.h>

#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <memory_resource>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace
{
// --- Contenders --------------------------------------------------------------------------------------------

template <size_t Size>
struct SItem
{
    unsigned char Bytes[ Size ];
};

constexpr uint64 BlockSize = 256; // items per block of the pools

template <size_t Size, typename TPool>
struct SOurs
{
    void* Allocate() { return Pool.Allocate( Size, alignof( SItem<Size> ) ); }
    void Free( void* pItem ) { Pool.Free( pItem ); }

    TPool Pool = TPool( BlockSize );
};

template <size_t Size>
struct SMalloc
{
    void* Allocate() { return std::malloc( Size ); }
    void Free( void* pItem ) { std::free( pItem ); }
};

/// Loaded instead of linked, as a program that is linked with mimalloc gets its malloc too.
template <typename TFunction>
TFunction FindInMimalloc( const char* pName )
{
    void* const pLibrary = dlopen( ZAN_BENCH_MIMALLOC, RTLD_NOW | RTLD_LOCAL );
    void* const pFunction = pLibrary != nullptr ? dlsym( pLibrary, pName ) : nullptr;
    if ( pFunction == nullptr )
    {
        std::fprintf( stderr, "%s has no %s\n", ZAN_BENCH_MIMALLOC, pName );
        std::exit( 1 );
    }
    return reinterpret_cast<TFunction>( pFunction );
}

const auto pMimalloc = FindInMimalloc<void* (*)( size_t )>( "mi_malloc" );
const auto pMimallocFree = FindInMimalloc<void ( * )( void* )>( "mi_free" );

template <size_t Size>
struct SMimalloc
{
    void* Allocate() { return pMimalloc( Size ); }
    void Free( void* pItem ) { pMimallocFree( pItem ); }
};

template <size_t Size>
struct SBoostPool
{
    void* Allocate() { return Pool.malloc(); }
    void Free( void* pItem ) { Pool.free( pItem ); }

    boost::pool<> Pool = boost::pool<>( Size, BlockSize );
};

template <size_t Size>
struct SBoostSingletonPool
{
    struct STag
    {};
    using CPool = boost::singleton_pool<STag, Size, boost::default_user_allocator_new_delete,
        boost::details::pool::default_mutex, BlockSize>;

    void* Allocate() { return CPool::malloc(); }
    void Free( void* pItem ) { CPool::free( pItem ); }
};

// --- Rows --------------------------------------------------------------------------------------------------

constexpr size_t ItemCount = 1000; // that live at once, in each thread

/// The order in which items are given back, as the numbers of their allocations.
std::vector<size_t> MakeOrder( bool bRandom )
{
    std::vector<size_t> Order( ItemCount );
    for ( size_t i = 0; i < ItemCount; ++i )
    {
        Order[ i ] = ItemCount - 1 - i;
    }
    for ( size_t i = ItemCount - 1; bRandom && i > 0; --i )
    {
        std::swap( Order[ i ], Order[ NZanBench::Scramble( static_cast<uint32>( i ) ) % ( i + 1 ) ] );
    }
    return Order;
}

/// Each item is written to, as nobody allocates one to leave it alone.
template <typename TContender>
void AllocateAndFree( TContender& Contender, const std::vector<size_t>& Order, std::vector<void*>& Items )
{
    for ( void*& pItem : Items )
    {
        pItem = Contender.Allocate();
        std::memcpy( pItem, &pItem, sizeof( pItem ) );
    }
    benchmark::ClobberMemory();
    for ( const size_t Index : Order )
    {
        Contender.Free( Items[ Index ] );
    }
}

template <typename TContender>
SZanBenchContender OnOneThread( const char* pName, const std::vector<size_t>& Order )
{
    return { pName, [ Order ]( benchmark::State& State ) {
                static TContender Contender; // its blocks are made once
                std::vector<void*> Items( ItemCount );
                for ( auto _ : State )
                {
                    AllocateAndFree( Contender, Order, Items );
                }
            } };
}

/// A second thread, which does the same rounds as the first: both meet before each.
class CPartner
{
public:
    explicit CPartner( std::function<void()> Round )
        : _Thread( [ this, Round = std::move( Round ) ] {
              for ( uint32 Seen = 0; WaitForRound( &Seen ); )
              {
                  Round();
                  _Finished.store( Seen, std::memory_order_release );
              }
          } )
    {}

    ~CPartner()
    {
        _bEnds.store( true, std::memory_order_release );
        Start();
        _Thread.join();
    }

    void Start() { _Started.fetch_add( 1, std::memory_order_release ); }
    void WaitForEnd() const
    {
        while ( _Finished.load( std::memory_order_acquire ) != _Started.load( std::memory_order_relaxed ) )
        {
            std::this_thread::yield();
        }
    }

private:
    bool WaitForRound( uint32* pSeen ) const
    {
        while ( _Started.load( std::memory_order_acquire ) == *pSeen )
        {
            std::this_thread::yield();
        }
        ++*pSeen;
        return !_bEnds.load( std::memory_order_acquire );
    }

    std::atomic<uint32> _Started = 0, _Finished = 0; // rounds
    std::atomic<bool> _bEnds = false;
    std::thread _Thread; // last, as it uses the others
};

template <typename TContender>
SZanBenchContender OnTwoThreads( const char* pName, const std::vector<size_t>& Order )
{
    return { pName, [ Order ]( benchmark::State& State ) {
                static TContender Contender;
                const auto Round = [ & ]( std::vector<void*>& Items ) {
                    for ( int32 i = 0; i < 10; ++i ) // longer than it takes to meet
                    {
                        AllocateAndFree( Contender, Order, Items );
                    }
                };
                std::vector<void*> Items( ItemCount ), PartnerItems( ItemCount );
                CPartner Partner( [ & ] { Round( PartnerItems ); } );
                for ( auto _ : State )
                {
                    Partner.Start();
                    Round( Items );
                    Partner.WaitForEnd();
                }
            } };
}

/// A frame's worth of objects, in memory that is there before. Not inlined, as a program has its allocator by
/// reference too.
template <typename TAllocate, typename TReset>
[[gnu::noinline]] void FillFrames( benchmark::State& State, TAllocate Allocate, TReset Reset )
{
    for ( auto _ : State )
    {
        for ( size_t i = 0; i < ItemCount; ++i )
        {
            void* const pItem = Allocate();
            std::memcpy( pItem, &pItem, sizeof( pItem ) );
        }
        benchmark::ClobberMemory();
        Reset();
    }
}

template <size_t Size>
void AddLinearRow()
{
    constexpr size_t BufferSize = ItemCount * Size + 64;
    ZanBench( "linear, " + std::to_string( Size ) + " B",
        { { "ours",
              []( benchmark::State& State ) {
                  CZanLinearAllocator Allocator( BufferSize );
                  FillFrames(
                      State, [ & ] { return Allocator.Allocate( Size, 8 ); }, [ & ] { Allocator.Reset(); } );
              } },
            { "pmr::monotonic_buffer_resource",
                []( benchmark::State& State ) {
                    std::vector<std::byte> Buffer( BufferSize );
                    std::pmr::monotonic_buffer_resource Resource( Buffer.data(), BufferSize );
                    FillFrames(
                        State, [ & ] { return Resource.allocate( Size, 8 ); },
                        [ & ] { Resource.release(); } );
                } } },
        0.6 );
}

/// Frees a random one of the live blocks and allocates another size for it, again and again.
template <typename TAllocate, typename TFree>
void ReplaceBlocks( benchmark::State& State, TAllocate Allocate, TFree Free )
{
    const auto CalcSize = []( uint32 Index ) { return 16 + NZanBench::Scramble( Index ) % 113; };
    std::vector<void*> Blocks( ItemCount );
    uint32 Index = 0;
    std::generate( Blocks.begin(), Blocks.end(), [ & ] { return Allocate( CalcSize( Index++ ) ); } );
    for ( auto _ : State )
    {
        void*& pBlock = Blocks[ NZanBench::Scramble( ++Index ) % ItemCount ];
        Free( pBlock );
        pBlock = Allocate( CalcSize( ~Index ) );
        std::memcpy( pBlock, &pBlock, sizeof( pBlock ) );
    }
    std::for_each( Blocks.begin(), Blocks.end(), Free );
}

void AddFixedRow()
{
    ZanBench( "fixed, 1,000 live blocks of 16 to 128 B, random free",
        { { "ours",
              []( benchmark::State& State ) {
                  CZanFixedAllocator Allocator( ItemCount * 256 );
                  ReplaceBlocks(
                      State, [ & ]( uint64 Size ) { return Allocator.Allocate( Size, 8 ); },
                      [ & ]( void* pBlock ) { Allocator.Free( pBlock ); } );
              } },
            { "malloc",
                []( benchmark::State& State ) { ReplaceBlocks( State, &std::malloc, &std::free ); } } } );
}

template <size_t Size>
void AddRows()
{
    using CUnsynchronized = SOurs<Size, CZanUnsynchronizedPoolAllocator<SItem<Size>>>;
    using CSynchronized = SOurs<Size, CZanSynchronizedPoolAllocator<SItem<Size>>>;
    for ( const bool bRandom : { false, true } )
    {
        const std::vector<size_t> Order = MakeOrder( bRandom );
        const std::string Behind = std::string( bRandom ? "random" : "LIFO" ) + ", " + std::to_string( Size );
        const auto Ours = OnOneThread<CUnsynchronized>( "ours", Order );
        const auto OurTwo = OnTwoThreads<CSynchronized>( "ours", Order );
        ZanBench( "pool, one thread, " + Behind + " B",
            { Ours, OnOneThread<SMalloc<Size>>( "malloc", Order ) }, 0.5 );
        ZanBench( "pool, one thread, " + Behind + " B",
            { Ours, OnOneThread<SMimalloc<Size>>( "mimalloc", Order ),
                OnOneThread<SBoostPool<Size>>( "boost::pool", Order ) } );
        ZanBench( "pool, two threads, " + Behind + " B",
            { OurTwo, OnTwoThreads<SMalloc<Size>>( "malloc", Order ) }, 0.5 );
        ZanBench( "pool, two threads, " + Behind + " B",
            { OurTwo, OnTwoThreads<SMimalloc<Size>>( "mimalloc", Order ),
                OnTwoThreads<SBoostSingletonPool<Size>>( "boost::singleton_pool", Order ) } );
    }
}
} // namespace

void RegisterRows()
{
    AddRows<16>();
    AddRows<64>();
    AddRows<256>();
    AddLinearRow<16>();
    AddLinearRow<32>();
    AddLinearRow<64>();
    AddLinearRow<128>();
    AddFixedRow();
}
