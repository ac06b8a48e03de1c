#include "zan_core/tasks/zan_job.h"

#include "zan_core/zan_assert.h"

#include <utility>

CJob::~CJob()
{
    zan_assert_text( IsDone(), "Every task should be done before the job is destroyed, did you forget to "
                               "call WaitAndClear on the job?" );
}

void CJob::Add( CZanPtr<CTask>&& Task )
{
    if ( Task )
    {
        _Tasks.Append( std::move( Task ) );
    }
}

/// Workers steal the oldest tasks, so this thread starts with the newest.
void CJob::Wait()
{
    int64 NowNs = 0;
    for ( int32 i = _Tasks.GetSize(); i-- > 0; )
    {
        _Tasks[ i ]->TryRunBehind( NowNs );
    }
    for ( const CZanPtr<CTask>& Task : _Tasks )
    {
        Task->Wait();
    }
}

void CJob::WaitAndClear()
{
    Wait();
    _Tasks.RemoveAll();
}

bool CJob::IsDone() const
{
    return !_Tasks.ContainsIf( []( const CZanPtr<CTask>& Task ) { return !Task->IsDone(); } );
}
