#include "zan_core/tasks/zan_graph_job.h"

#include "zan_core/tasks/zan_task_schedulers.h"
#include "zan_core/zan_assert.h"
#include "zan_core/zan_platform.h"

#include <boost/function.hpp>

CZanGraphJob::CZanGraphJob( CZanTaskScheduler* pScheduler )
    : _pScheduler( pScheduler != nullptr ? pScheduler : GetGraphTaskScheduler() )
{}

CZanGraphJob::~CZanGraphJob() { Clear(); }

// --- Building

auto CZanGraphJob::AddNode( CZanStringView Name, std::function<void()> Function ) -> CTaskNode*
{
    const bool bExecuting = _bExecuting.load();
    zan_assert_text( !bExecuting, "CZanGraphJob tasks cannot be added once the job has begun executing." );
    return bExecuting ? nullptr
                      : &_Graph.AddNode( NZanGraphJob::STaskInfo::CContent( Name, std::move( Function ) ) );
}

void CZanGraphJob::Add( CTaskNode* pTask, const SDependentOn& Prerequisites )
{
    for ( CTaskNode* const pPrerequisite : Prerequisites._Tasks )
    {
        AddEdge( pTask, pPrerequisite );
    }
}

void CZanGraphJob::Add( CTaskNode* pTask, const SRequiredBy& Dependents )
{
    for ( CTaskNode* const pDependent : Dependents._Tasks )
    {
        AddEdge( pDependent, pTask );
    }
}

void CZanGraphJob::AddEdge( CTaskNode* pDependent, CTaskNode* pPrerequisite )
{
    const bool bExecuting = _bExecuting.load();
    zan_assert_text(
        !bExecuting, "CZanGraphJob tasks dependencies cannot be added once the job has begun executing." );
    if ( !bExecuting && pDependent != nullptr && pPrerequisite != nullptr )
    {
        _Graph.AddEdge( *pDependent, *pPrerequisite );
        pDependent->AccessData()._PrerequisiteCount.fetch_add( 1, std::memory_order_relaxed );
    }
}

// --- Executing

void CZanGraphJob::Execute()
{
    const bool bWasExecuting = _bExecuting.exchange( true );
    zan_assert_text( !bWasExecuting, "!WasExecuting" );
    zan_assert_text( _pScheduler != nullptr, "A graph job needs a scheduler" );
    if ( bWasExecuting || _pScheduler == nullptr )
    {
        return;
    }
    for ( CTaskNode& Node : _Graph.GetNodes() )
    {
        if ( Node.GetTargetEdges().IsEmpty() )
        {
            ScheduleNode( Node );
        }
    }
    while ( _RemainingScheduledTasks.load() >= 1 )
    {
        if ( !Help() && !WaitForScheduled() )
        {
            NZanPlatform::YieldThread(); // a worker is about to tell what it has scheduled
        }
    }
    Clear();
}

/// Counts the task before anybody can run it. A worker may have done so before its handle is told.
void CZanGraphJob::ScheduleNode( CTaskNode& Node )
{
    const int32 PreviousRemainingScheduledTasks = _RemainingScheduledTasks.fetch_add( 1 );
    zan_assert( PreviousRemainingScheduledTasks >= 0 );
    const CZanPtr<CTask> Task = _pScheduler->ScheduleOrDefer(
        [ this, pNode = &Node ]() { RunNode( *pNode ); }, Node.GetData()._Name.GetCharPtr() );
    Task->AddReference();
    Node.AccessData()._Task.store( Task.GetPtr(), std::memory_order_release );
}

/// On any thread. Schedules what has waited for this task only, which on a worker stays there.
void CZanGraphJob::RunNode( CTaskNode& Node )
{
    Node.GetData()._Function();
    for ( auto& Edge : Node.GetSourceEdges() )
    {
        CTaskNode& Waiting = Edge.GetSource();
        const int32 PreviousRemainingPrerequisiteCount =
            Waiting.AccessData()._PrerequisiteCount.fetch_sub( 1, std::memory_order_acq_rel );
        zan_assert( PreviousRemainingPrerequisiteCount > 0 );
        if ( PreviousRemainingPrerequisiteCount == 1 )
        {
            ScheduleNode( Waiting );
        }
    }
    const bool bWasExecuted = Node.AccessData()._bExecuted.exchange( true, std::memory_order_acq_rel );
    zan_assert_text( !bWasExecuted, "Task was executed more than once." );
}

/// For the executing thread, which alone takes handles away.
void CZanGraphJob::Account( CTaskNode& Node )
{
    Node.AccessData()._Task.exchange( nullptr, std::memory_order_acq_rel )->ReleaseReference();
    const int32 PreviousRemainingScheduledTasks = _RemainingScheduledTasks.fetch_sub( 1 );
    zan_assert( PreviousRemainingScheduledTasks > 0 );
}

/// Runs what nobody has started. Gives whether there was any.
bool CZanGraphJob::Help()
{
    bool bHelped = false;
    for ( CTaskNode& Node : _Graph.GetNodes() )
    {
        CTask* const pTask = Node.GetData()._Task.load( std::memory_order_acquire );
        if ( pTask != nullptr && pTask->TryRun() )
        {
            Account( Node );
            bHelped = true;
        }
    }
    return bHelped;
}

/// Accounts for all tasks that are scheduled, as they end. Gives whether there was any.
bool CZanGraphJob::WaitForScheduled()
{
    bool bFound = false;
    for ( CTaskNode& Node : _Graph.GetNodes() )
    {
        if ( CTask* const pTask = Node.GetData()._Task.load( std::memory_order_acquire ) )
        {
            pTask->Wait();
            Account( Node );
            bFound = true;
        }
    }
    return bFound;
}

void CZanGraphJob::Clear()
{
    const int32 Remaining = _RemainingScheduledTasks.load();
    zan_assert_text(
        Remaining == 0, "The graph job was cleared without all scheduled tasks being completed." );
    for ( const CTaskNode& Node : _Graph.GetNodes() )
    {
        const NZanGraphJob::STaskInfo& Info = Node.GetData();
        zan_assert_text( Info._bExecuted.load() && Info._Task.load() == nullptr,
            "The graph job was cleared without all task nodes being scheduled and completed." );
    }
    while ( WaitForScheduled() ) // what runs may schedule more
    {}
    _RemainingScheduledTasks.store( 0 );
    _Graph = NZanGraphJob::CGraph(); // gives the pools' memory back
    _bExecuting.store( false );
}
