#pragma once

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/graphs/zan_directed_graph.h"
#include "zan_core/tasks/zan_task_scheduler.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

#include <atomic>
#include <functional>
#include <utility>

namespace NZanGraphJob
{
struct STaskInfo
{
    using CContent = std::pair<CZanStringView, std::function<void()>>;

    explicit STaskInfo( CContent&& Content )
        : _Name( Content.first ), _Function( std::move( Content.second ) )
    {}

    CString _Name;
    std::atomic<bool> _bExecuted = false;
    std::atomic<int32> _PrerequisiteCount = 0; // tasks that this one waits for
    std::function<void()> _Function;
    std::atomic<CTask*> _Task = nullptr; // with a reference, from scheduling to accounting
};

/// An edge runs from the task that waits to its prerequisite.
using CGraph = CZanGenericDirectedGraph<STaskInfo, void>;
using CTaskNode = CGraph::CNode;

struct STaskList
{
    template <typename... TTasks>
    explicit STaskList( TTasks... pTasks ) : _Tasks( { static_cast<CTaskNode*>( pTasks )... } )
    {}

    CZanInlineBufArray<CTaskNode*, 4> _Tasks;
};
} // namespace NZanGraphJob

/// The tasks that a task waits for, and those that wait for it: SDependentOn( A, B ). Null is passed over.
struct SDependentOn : NZanGraphJob::STaskList
{
    using STaskList::STaskList;
};
struct SRequiredBy : NZanGraphJob::STaskList
{
    using STaskList::STaskList;
};

/// Named tasks that depend on each other, run once each, in parallel as far as their dependencies allow.
/// Fill it, execute it, fill it again. For one thread, which runs tasks too while it executes; without
/// workers it runs them all. What a task wrote is seen by those that depend on it, and by the caller.
///
///     CZanGraphJob Job( &Scheduler );
///     auto* const pLoad = Job.AddTask( "load", [ & ]() { Text = Load(); } );
///     Job.AddTask( "parse", [ & ]() { Parse( Text ); }, SDependentOn( pLoad ) );
///     Job.Execute();
///
/// An exception of a task passes through Execute if it ran there, and leaves the job for Clear, and ends the
/// program otherwise.
class CZanGraphJob
{
public:
    using CTaskNode = NZanGraphJob::CTaskNode;

    /// Null is the scheduler that GetGraphTaskScheduler() gives now. It has to outlive the job.
    explicit CZanGraphJob( CZanTaskScheduler* pScheduler = nullptr );
    ~CZanGraphJob();
    CZanGraphJob( const CZanGraphJob& ) = delete;
    CZanGraphJob& operator=( const CZanGraphJob& ) = delete;

    /// Adds a task and gives its handle, which ends with Execute. Any number of SDependentOn and SRequiredBy
    /// follow, with handles of this job; a dependency that is told twice counts twice. While the job executes
    /// asserts, and gives null.
    template <typename... TDependencies>
    CTaskNode* AddTask(
        CZanStringView Name, std::function<void()> Function, const TDependencies&... Dependencies );

    /// Adds dependencies of a task. While the job executes asserts, and adds none.
    template <typename... TDependencies>
    void AddDependencies( CTaskNode* pTask, const TDependencies&... Dependencies );

    /// Runs all tasks and clears the job. Tasks on a cycle, and those that depend on them, do not run, which
    /// Clear reports. Requires a scheduler.
    void Execute();

    /// Removes all tasks. Asserts that they have run, and waits for those that still do.
    void Clear();

    /// For a picture of the job, see ZanGraphToDot.
    const NZanGraphJob::CGraph& GetGraph() const { return _Graph; }

private:
    CTaskNode* AddNode( CZanStringView Name, std::function<void()> Function );
    void Add( CTaskNode* pTask, const SDependentOn& Prerequisites );
    void Add( CTaskNode* pTask, const SRequiredBy& Dependents );
    void AddEdge( CTaskNode* pDependent, CTaskNode* pPrerequisite );

    void ScheduleNode( CTaskNode& Node );
    void RunNode( CTaskNode& Node );
    void Account( CTaskNode& Node );
    bool Help();
    bool WaitForScheduled();

    CZanTaskScheduler* _pScheduler; // not owned
    NZanGraphJob::CGraph _Graph;
    std::atomic<int32> _RemainingScheduledTasks = 0; // scheduled, and not accounted for
    std::atomic<bool> _bExecuting = false;
};

// --- Bodies --------------------------------------------------------------------------------------------

template <typename... TDependencies>
auto CZanGraphJob::AddTask(
    CZanStringView Name, std::function<void()> Function, const TDependencies&... Dependencies ) -> CTaskNode*
{
    CTaskNode* const pTask = AddNode( Name, std::move( Function ) );
    AddDependencies( pTask, Dependencies... );
    return pTask;
}

template <typename... TDependencies>
void CZanGraphJob::AddDependencies( [[maybe_unused]] CTaskNode* pTask, const TDependencies&... Dependencies )
{
    ( Add( pTask, Dependencies ), ... );
}
