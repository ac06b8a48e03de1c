#pragma once

#include "zan_core/zan_platform.h"
#include "zan_core/zan_types.h"

#include <atomic>
#include <thread>

namespace NZanTestUtils
{
/// Yields only after a while, so that two threads go on at the same time.
void SpinUntil( const auto& Condition )
{
    for ( int32 Spins = 0; !Condition(); ++Spins )
    {
        Spins < 1000 ? static_cast<void>( 0 ) : NZanPlatform::YieldThread();
    }
}

/// Calls Use on two threads, which start on it at the same time, and gives each its number, 0 or 1.
void RunOnTwoThreads( const auto& Use )
{
    std::atomic<int32> AwaitedCount = 2;
    const auto Run = [ & ]( int32 Number ) {
        --AwaitedCount;
        SpinUntil( [ & ] { return AwaitedCount == 0; } );
        Use( Number );
    };
    std::thread Other( Run, 1 );
    Run( 0 );
    Other.join();
}
} // namespace NZanTestUtils
