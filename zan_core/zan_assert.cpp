#include "zan_core/zan_assert.h"

#include "zan_core/zan_log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace
{
// One site for all failures: a filter on file and line catches every assertion of the process.
constexpr const char* LogFile = "zan_core/zan_assert";
constexpr int32 LogLine = 607;

constinit std::atomic<NZanAssert::FFailureHook> GFailureHook = nullptr;

// The flags are plain bytes, so that a site costs no more; threads that fail together meet here only.
bool IsReported( bool* pReported )
{
    return std::atomic_ref<bool>( *pReported ).load( std::memory_order_relaxed );
}

/// True when a failure of the site goes unseen: it has been logged, and nobody else wants to know.
bool IsSilent( bool* pReported )
{
    return IsReported( pReported ) && GFailureHook.load( std::memory_order_relaxed ) == nullptr;
}

void Report( bool* pReported, const char* pText )
{
    const bool bLogged = !IsReported( pReported );
    if ( const NZanAssert::FFailureHook pHook = GFailureHook.load( std::memory_order_acquire ) )
    {
        pHook( pText, LogFile, LogLine, bLogged );
    }
    if ( bLogged )
    {
        std::atomic_ref<bool>( *pReported ).store( true, std::memory_order_relaxed );
        ZanLog( SLogSite{ LogFile, LogLine, LogCategoryError }, "Assertion failed: %s", pText );
    }
}
} // namespace

bool ZanAssertFailed( const char*, int32, int32, bool* pReported, const char* pFormat, ... )
{
    if ( IsSilent( pReported ) )
    {
        return false;
    }

    char Buffer[ 2048 ];
    std::va_list Arguments;
    va_start( Arguments, pFormat );
    const int Length = std::vsnprintf( Buffer, sizeof( Buffer ), pFormat, Arguments );
    va_end( Arguments );

    // Looks at the flag again: another thread may have reported this site while this one was formatting.
    Report( pReported, Length < 0 ? pFormat : Buffer );
    return false;
}

NZanAssert::FFailureHook NZanAssert::SetFailureHook( FFailureHook pHook )
{
    return GFailureHook.exchange( pHook, std::memory_order_acq_rel );
}

void NZanAssert::NDetail::ReportFailure( bool* pReported, const char* pText )
{
    if ( !IsSilent( pReported ) )
    {
        Report( pReported, pText );
    }
}
