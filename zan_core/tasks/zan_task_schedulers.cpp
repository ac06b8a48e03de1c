#include "zan_core/tasks/zan_task_schedulers.h"

#include "zan_core/runtime/zan_tweakable.h"
#include "zan_core/text/zan_charconv.h"

#include <algorithm>
#include <atomic>
#include <utility>

namespace
{
constinit bool GbEnableTaskThreads = true;
[[maybe_unused]] const CTweakableBool& GEnableTaskThreadsTweakable =
    NTweakable::Declare( "Threading.EnableTaskThreads", "", GbEnableTaskThreads );

int32 GTaskThreadCount = 0;
[[maybe_unused]] const bool GbCommandDeclared = []() {
    SConsoleCommand Command;
    Command._Name = "Threading.TaskThreadCount";
    Command._Description = "Set or get the number of task threads";
    Command._pHandler = &SetTaskThreadCount;
    Command._ArgumentCount = 1;
    Command._ArgumentDocs[ 0 ] = "The number of task threads";
    return GetCommandRegistry().Register( Command );
}();

/// General tasks, and graph jobs.
CZanScopedPtr<CZanTaskScheduler> ( &AccessSchedulers() )[ 2 ]
{
    static CZanScopedPtr<CZanTaskScheduler> Schedulers[ 2 ];
    return Schedulers;
}

/// All but the hardware's last thread, which is that of the caller.
int32 CalcUsualCount()
{
    const int32 Concurrency = NZanPlatform::GetHardwareConcurrency();
    return ( Concurrency > 0 ? Concurrency : 4 ) - 1;
}

/// Brings both schedulers to a count, and stores the lower of what they have then: 0 without any.
void SetBoth( int32 Count )
{
    int32 Lowest = -1;
    for ( const auto& pScheduler : AccessSchedulers() )
    {
        if ( pScheduler )
        {
            pScheduler->SetNumThreads( Count );
            const int32 Threads = pScheduler->GetNumThreads();
            Lowest = Lowest < 0 ? Threads : std::min( Lowest, Threads );
        }
    }
    GTaskThreadCount = std::max( Lowest, 0 );
}
} // namespace

CZanTaskScheduler* GetTaskScheduler() { return AccessSchedulers()[ 0 ].GetPtr(); }
CZanTaskScheduler* GetGraphTaskScheduler() { return AccessSchedulers()[ 1 ].GetPtr(); }

void SetTaskScheduler( CZanScopedPtr<CZanTaskScheduler> pScheduler )
{
    AccessSchedulers()[ 0 ] = std::move( pScheduler );
}

void SetGraphTaskScheduler( CZanScopedPtr<CZanTaskScheduler> pScheduler )
{
    AccessSchedulers()[ 1 ] = std::move( pScheduler );
}

void MakeTaskSchedulers( int32 OptionCount )
{
    SetTaskScheduler( ZanMakeScopedPtr<CZanTaskScheduler>( "Task" ) );
    SetGraphTaskScheduler( ZanMakeScopedPtr<CZanTaskScheduler>( "Graph" ) );
    const int32 Count = OptionCount < 0 ? CalcUsualCount() : OptionCount;
    SetBoth( AreTaskThreadsEnabled() ? std::min( Count, GetTaskScheduler()->GetMaxThreads() ) : 0 );
}

/// Reads the variable, which is there before any static object is built.
bool AreTaskThreadsEnabled()
{
    return std::atomic_ref<bool>( GbEnableTaskThreads ).load( std::memory_order_relaxed );
}

void SetTaskThreadCount( SCommandResult& Result, const CZanArray<CString>& Args )
{
    Result = { 0, "Use Threading.TaskThreadCount [count]." };
    if ( Args.GetSize() > 1 )
    {
        return;
    }
    if ( !Args.IsEmpty() )
    {
        const CZanStringView Text = Args[ 0 ];
        const int32 Count = NConsole::ReadInteger( Args[ 0 ] );
        const bool bDigits = !Text.IsEmpty() && std::all_of( Text.GetIterStart(), Text.GetIterEnd(),
                                                    []( char Char ) { return Char >= '0' && Char <= '9'; } );
        if ( Count == 0 && !bDigits )
        {
            return;
        }
        SetBoth( Count == -1 ? CalcUsualCount() : Count );
    }
    char Buffer[ 12 ];
    Result = { 1,
        CString( NZanStringUtils::ToString( Buffer, Buffer + sizeof( Buffer ), GTaskThreadCount ) ) };
}
