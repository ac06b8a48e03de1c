#pragma once

#include "zan_core/zan_platform.h"
#include "zan_core/zan_types.h"

#include <atomic>

/// A lock for many readers or one writer, for what is read all the time and hardly ever written. Neither side
/// may take it again while it has it. Meets std::shared_lock and std::scoped_lock, and is
/// constant-initialised.
///
/// A reader counts itself and then looks for a writer; a writer shows itself and then looks for readers. At
/// least one of two that meet has to see the other, which takes one order of these four accesses for all
/// threads. The writer goes first: the reader withdraws and waits.
class CZanCountingSpinLock
{
public:
    void lock_shared();
    void unlock_shared() { _Readers.fetch_sub( 1, std::memory_order_release ); }
    void lock();
    void unlock() { _WriterActive.store( 0, std::memory_order_release ); }

private:
    std::atomic<int32> _Readers = 0;      // those that read, and those that are about to withdraw
    std::atomic<int32> _WriterActive = 0; // 1 from a writer's claim to its end
};

inline void CZanCountingSpinLock::lock_shared()
{
    _Readers.fetch_add( 1, std::memory_order_seq_cst );
    while ( _WriterActive.load( std::memory_order_seq_cst ) != 0 )
    {
        _Readers.fetch_sub( 1, std::memory_order_relaxed ); // it has read nothing
        while ( _WriterActive.load( std::memory_order_relaxed ) != 0 )
        {
            NZanPlatform::YieldThread();
        }
        _Readers.fetch_add( 1, std::memory_order_seq_cst );
    }
}

inline void CZanCountingSpinLock::lock()
{
    for ( int32 NoWriter = 0; !_WriterActive.compare_exchange_weak( NoWriter, 1 ); NoWriter = 0 )
    {
        NZanPlatform::YieldThread();
    }
    while ( _Readers.load( std::memory_order_seq_cst ) != 0 )
    {
        NZanPlatform::YieldThread();
    }
}
