#pragma once

#include "zan_core/holders/zan_scoped_ptr.h"
#include "zan_core/runtime/zan_console_command.h"
#include "zan_core/tasks/zan_task_scheduler.h"
#include "zan_core/zan_types.h"

// The process's two schedulers, which the application makes: one for tasks in general, and one that graph
// jobs run on unless told another. Both are destroyed at the end of the process, or when they are replaced.
// Set them while no other thread uses them.

/// The scheduler, or null.
CZanTaskScheduler* GetTaskScheduler();
CZanTaskScheduler* GetGraphTaskScheduler();

void SetTaskScheduler( CZanScopedPtr<CZanTaskScheduler> pScheduler );
void SetGraphTaskScheduler( CZanScopedPtr<CZanTaskScheduler> pScheduler );

/// Makes both, for an application that wants the usual. OptionCount is the value of the option taskthreads;
/// negative, as when it is not given, it stands for the hardware's threads less one. No thread is started
/// while Threading.EnableTaskThreads is off. A count above the schedulers' limit is cut to it.
void MakeTaskSchedulers( int32 OptionCount = -1 );

/// The variable of the tweakable Threading.EnableTaskThreads: whether tasks go to workers at all.
bool AreTaskThreadsEnabled();

/// The handler of the command Threading.TaskThreadCount. Sets the threads of both schedulers, if there is an
/// argument, and tells the lower of their counts. Not from a task.
void SetTaskThreadCount( SCommandResult& Result, const CZanArray<CString>& Args );
