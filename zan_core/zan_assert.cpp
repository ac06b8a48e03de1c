#include "zan_core/zan_assert.h"

#include "zan_core/zan_log.h"

#include <atomic>
#include <cstdarg>
#include <cstdio>

namespace
{
// The flags are plain bytes, so that a site costs no more; threads that fail together meet here only.
bool IsReported( bool* pReported )
{
    return std::atomic_ref<bool>( *pReported ).load( std::memory_order_relaxed );
}

void LogFailure( bool* pReported, const char* pText )
{
    std::atomic_ref<bool>( *pReported ).store( true, std::memory_order_relaxed );

    // One site for all failures: a filter on file and line catches every assertion of the process.
    ZanLog( SLogSite{ "zan_core/zan_assert", 607, LogCategoryError }, "Assertion failed: %s", pText );
}
} // namespace

bool ZanAssertFailed( const char*, int32, int32, bool* pReported, const char* pFormat, ... )
{
    if ( IsReported( pReported ) )
    {
        return false;
    }

    char Buffer[ 2048 ];
    std::va_list Arguments;
    va_start( Arguments, pFormat );
    const int Length = std::vsnprintf( Buffer, sizeof( Buffer ), pFormat, Arguments );
    va_end( Arguments );

    // Another thread may have reported this site while this one was formatting.
    if ( !IsReported( pReported ) )
    {
        LogFailure( pReported, Length < 0 ? pFormat : Buffer );
    }
    return false;
}

void NZanAssert::NDetail::ReportFailure( bool* pReported, const char* pText )
{
    if ( !IsReported( pReported ) )
    {
        LogFailure( pReported, pText );
    }
}
