#pragma once

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/holders/zan_ptr.h"
#include "zan_core/tasks/zan_task_scheduler.h"

/// Tasks to wait for. Waiting runs those that nobody has started, and so ends on a scheduler without workers
/// too; only for tasks that run elsewhere it yields. Up to 32 tasks take no allocation. Not synchronised.
///
///     CJob Job;
///     Job.Add( Scheduler.Schedule( [ & ]() { Cook( Mesh ); }, "Cook" ) );
///     Job.WaitAndClear();
class CJob
{
public:
    CJob() = default;
    CJob( const CJob& ) = delete;
    CJob& operator=( const CJob& ) = delete;

    /// Asserts that all tasks are done, and ends their handles, which wait.
    virtual ~CJob();

    /// A null handle adds nothing.
    void Add( CZanPtr<CTask>&& Task );

    /// Returns when all tasks are done. An exception of a task that runs here passes through.
    void Wait();
    void WaitAndClear();
    bool IsDone() const;

private:
    CZanInlineBufArray<CZanPtr<CTask>, 32> _Tasks; // none is null
};
