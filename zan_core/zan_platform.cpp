#include "zan_core/zan_platform.h"

#include <atomic>

#if defined( __unix__ ) || defined( __APPLE__ )
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
