#pragma once

#include "zan_core/zan_types.h"

#include <cstddef>

#if defined( __unix__ ) || defined( __APPLE__ )
#include <pthread.h>
#endif

/// What the library needs of the operating system, and the only place that calls it. POSIX so far; another
/// system takes its place by its own branch in the source. All functions may be called from any thread.
namespace NZanPlatform
{
/// Receives each text that is written to the debug output. Called on the writing thread.
using FDebugOutput = void ( * )( const char* pText );

/// Writes a zero-terminated text to where a developer looks for diagnostics and a user does not: the system
/// log at debug level, never the console. Null does nothing.
void WriteDebugOutput( const char* pText );

/// Sends the debug output to pSink from now on and gives the former sink, null for the system's own. A null
/// pSink restores that. A write that runs meanwhile on another thread may still reach the former sink.
FDebugOutput SetDebugOutput( FDebugOutput pSink );

/// Negative, zero or positive as the Size bytes at pLeft sort before, with or behind those at pRight, upper
/// and lower ASCII letters being one (lower), whatever the locale. Zero bytes are bytes like others. Null is
/// fine with a Size of 0.
int CompareIgnoreCase( const char* pLeft, const char* pRight, std::size_t Size );

/// Lets another thread run that waits for this processor. For spinning on what another thread is about to do.
void YieldThread();

/// Names the calling thread for debuggers and system monitors. Linux shows the first 15 bytes and the rest is
/// cut off here; null does nothing.
void SetThreadName( const char* pName );

/// The system's identifier of the calling thread. Never 0; a thread that has ended leaves its own to others.
uint32 GetThreadId();

/// How many threads run at the same time on this machine, or 0 when that is unknown.
int32 GetHardwareConcurrency();

/// Nanoseconds on the high-resolution clock, which never goes back. Its zero is the system's, so only
/// differences mean something.
int64 GetTimeNs();

/// A lock for one owner at a time, for short sections; meets std::scoped_lock. The owner may not lock it
/// again, and unlocks it on the thread that locked it. Static objects are constant-initialised, and so may
/// be locked while other static objects are built.
class CSlimLock
{
public:
    constexpr CSlimLock() = default;
    ~CSlimLock();
    CSlimLock( const CSlimLock& ) = delete;
    CSlimLock& operator=( const CSlimLock& ) = delete;

    void lock();
    bool try_lock();
    void unlock();

private:
    pthread_mutex_t _Mutex = PTHREAD_MUTEX_INITIALIZER;
};
} // namespace NZanPlatform
