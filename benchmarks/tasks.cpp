#include "benchmarks/zan_bench.h"
#include "zan_core/containers/zan_deque.h"
#include "zan_core/zan_types.h"

#include <atomic>
#include <deque>
#include <mutex>
#include <thread>
#include <vector>

namespace
{
// --- Work-stealing deque -----------------------------------------------------------------------------------

class CLockedDeque
{
public:
    explicit CLockedDeque( uint64 ) {}

    void Push( int32* pItem )
    {
        const std::scoped_lock Lock( _Mutex );
        _Items.push_back( pItem );
    }

    int32* Pop()
    {
        const std::scoped_lock Lock( _Mutex );
        if ( _Items.empty() )
        {
            return nullptr;
        }
        int32* const pItem = _Items.back();
        _Items.pop_back();
        return pItem;
    }

    int32* Steal()
    {
        const std::scoped_lock Lock( _Mutex );
        if ( _Items.empty() )
        {
            return nullptr;
        }
        int32* const pItem = _Items.front();
        _Items.pop_front();
        return pItem;
    }

private:
    std::mutex _Mutex;
    std::deque<int32*> _Items;
};

/// A second thread, which steals until the measurement ends, or only exists: a mutex is cheaper in a process
/// that has but one.
template <typename TDeque>
class CThief
{
public:
    CThief( TDeque& Deque, bool bSteals )
        : _Thread( [ this, &Deque, bSteals ] {
              if ( !bSteals )
              {
                  _bEnds.wait( false );
              }
              while ( !_bEnds.load( std::memory_order_relaxed ) )
              {
                  if ( Deque.Steal() != nullptr )
                  {
                      _StolenCount.fetch_add( 1, std::memory_order_relaxed );
                  }
              }
          } )
    {}

    ~CThief()
    {
        _bEnds = true;
        _bEnds.notify_one();
        _Thread.join();
    }

    int64 GetStolenCount() const { return _StolenCount.load( std::memory_order_relaxed ); }

private:
    std::atomic<bool> _bEnds = false;
    std::atomic<int64> _StolenCount = 0;
    std::thread _Thread; // last, as it uses the others
};

/// The owner pushes the items and pops so many of them; the thief has to take the rest, so that a round in
/// which it does not run is none.
template <typename TDeque>
void PushAndPop( benchmark::State& State, int32 ItemCount, int32 PopCount )
{
    TDeque Deque( 1024 );
    CThief<TDeque> Thief( Deque, PopCount < ItemCount );
    std::vector<int32> Items( static_cast<size_t>( ItemCount ) );
    int64 LeftCount = 0, Sum = 0;
    for ( auto _ : State )
    {
        for ( int32& Item : Items )
        {
            Deque.Push( &Item );
        }
        LeftCount += ItemCount;
        for ( int32 i = 0; i < PopCount; ++i )
        {
            if ( const int32* const pItem = Deque.Pop() )
            {
                Sum += *pItem;
                --LeftCount;
            }
        }
        while ( Thief.GetStolenCount() < LeftCount )
        {}
    }
    benchmark::DoNotOptimize( Sum );
}

void AddDequeRows()
{
    const auto Ours = []( benchmark::State& State ) { PushAndPop<CZanDeque<int32>>( State, 100, 100 ); };
    ZanBench( "deque, 100 pushes and pops by the owner",
        { { "ours", Ours },
            { "std::deque under a mutex",
                []( benchmark::State& State ) { PushAndPop<CLockedDeque>( State, 100, 100 ); } } },
        0.25 );
    ZanBench( "deque, 1,000 pushes, 500 pops, the rest to one thief",
        { { "ours", []( benchmark::State& State ) { PushAndPop<CZanDeque<int32>>( State, 1000, 500 ); } },
            { "std::deque under a mutex",
                []( benchmark::State& State ) { PushAndPop<CLockedDeque>( State, 1000, 500 ); } } },
        0.25 );
    // What each Pop cannot do without.
    ZanBench( "deque, 100 pushes and pops by the owner",
        { { "ours", Ours }, { "100 atomic exchanges", []( benchmark::State& State ) {
                                 std::atomic<int64> Value = 0;
                                 for ( auto _ : State )
                                 {
                                     for ( int64 i = 0; i < 100; ++i )
                                     {
                                         benchmark::DoNotOptimize( Value.exchange( i ) );
                                     }
                                 }
                             } } } );
}
} // namespace

#include "benchmarks/tasks_scheduler.inc"

void RegisterRows()
{
    AddDequeRows();
    AddSchedulerRows();
}
