#include "zan_core/zan_platform.h"

#include <atomic>

#if defined( __unix__ ) || defined( __APPLE__ )
#include <sched.h>
#include <syslog.h>
#else
#error "zan_platform: this system's services are not written yet"
#endif

namespace
{
constinit std::atomic<NZanPlatform::FDebugOutput> GDebugOutput = nullptr;

void WriteSystemDebugOutput( const char* pText ) { syslog( LOG_USER | LOG_DEBUG, "%s", pText ); }
} // namespace

void NZanPlatform::WriteDebugOutput( const char* pText )
{
    if ( pText == nullptr )
    {
        return;
    }
    const FDebugOutput pSink = GDebugOutput.load( std::memory_order_acquire );
    ( pSink != nullptr ? pSink : &WriteSystemDebugOutput )( pText );
}

NZanPlatform::FDebugOutput NZanPlatform::SetDebugOutput( FDebugOutput pSink )
{
    return GDebugOutput.exchange( pSink, std::memory_order_acq_rel );
}

void NZanPlatform::YieldThread() { sched_yield(); }

// None of these calls can fail on a mutex of the default kind that is used as the class asks.

NZanPlatform::CSlimLock::~CSlimLock() { pthread_mutex_destroy( &_Mutex ); }

void NZanPlatform::CSlimLock::lock() { pthread_mutex_lock( &_Mutex ); }

bool NZanPlatform::CSlimLock::try_lock() { return pthread_mutex_trylock( &_Mutex ) == 0; }

void NZanPlatform::CSlimLock::unlock() { pthread_mutex_unlock( &_Mutex ); }
