#include "zan_core/zan_types.h"
#include "zan_test/include/zan_test_catch.h"

#include <array>
#include <set>
#include <utility>
#include <vector>

// A model of how workers go to sleep, submitters wake them, and one who removes threads ends them, run
// through in every order of its steps. A step is one access to what threads share, or one section of a lock.

namespace
{
enum EStep : uint8
{
    StartSearch, // ++Searching
    Search,      // steals from the shared queue
    HandOn,      // --Searching with a task; as the last, goes to wake
    LookAtStop,
    StopSearch, // --Searching, to end
    EndSearch,  // --Searching without a task
    LookAtActive,
    Announce,
    LookAtStopAgain, // announcing may have wiped out the mark that came with the request
    LookAtActiveAgain,
    LookAtSearching,
    LookAtQueue, // under the submit lock
    FallAsleep,  // under the slot's lock
    Asleep,
    Submit,   // pushes under the submit lock
    ScanSlot, // looks for a sleeper, without lock
    WakeSlot,
    MarkSlot,
    StartRun, // ++Active
    LookForSearchers,
    Run,
    EndRun, // --Active
    RequestStop,
    AwaitEnd, // of the worker whose slot it is, to clear that
    Ended
};
enum ESlot : uint8
{
    Awake,
    Sleeping,
    Woken
};
enum EFault
{
    NoFault,
    NoLookAgain,
    NoWakeAfterPush,
    NoMarks,
    NoAnnouncement,
    NoLookAtStop,
    NoWakeAtStop
};

struct SThread
{
    uint8 _Step = StartSearch;
    uint8 _Slot = 0; // of the scan
    uint8 _Next = 0; // the step behind the scan
    auto operator<=>( const SThread& ) const = default;
};

constexpr uint8 TaskCount = 2;

struct SState
{
    std::array<SThread, 4> _Threads; // workers, who submits, and who removes workers
    std::array<uint8, 2> _Slots = {};
    std::array<bool, 2> _StopRequests = {};
    uint8 _Unsubmitted = TaskCount;
    uint8 _Queued = 0;
    uint8 _Ran = 0;
    uint8 _Searching = 0;
    uint8 _Active = 0;
    auto operator<=>( const SState& ) const = default;
};

struct SModel
{
    size_t _WorkerCount;
    size_t _StayingCount; // of the workers; the others are to end
    EFault _Fault;

    /// One step of a thread. False when it has to wait for another one, or is through.
    bool Step( SState& State, size_t Index ) const
    {
        SThread& Thread = State._Threads[ Index ];
        const SThread Former = Thread;
        const size_t Worker = Index < 2 ? Index : 0; // the others take no step of a worker
        uint8& Slot = State._Slots[ Worker ];
        uint8& Scanned = State._Slots[ Former._Slot ];
        const auto Go = [ & ]( uint8 Next, uint8 BehindScan = Ended ) {
            Thread = { Next, 0, BehindScan };
            return true;
        };
        const auto GoToNextSlot = [ & ]( uint8 AtEnd ) {
            const bool bEnd = ++Thread._Slot == _WorkerCount;
            Thread._Slot = bEnd ? 0 : Thread._Slot;
            Thread._Step = bEnd ? AtEnd : Thread._Step;
            return true;
        };
        switch ( Former._Step )
        {
        case StartSearch:
            ++State._Searching;
            return Go( Search );
        case Search:
            if ( State._Queued == 0 )
            {
                return Go( LookAtStop );
            }
            --State._Queued;
            return Go( HandOn );
        case HandOn:
            return --State._Searching == 0 ? Go( ScanSlot, StartRun ) : Go( StartRun );
        case LookAtStop:
            return Go( State._StopRequests[ Worker ] ? StopSearch : EndSearch );
        case StopSearch:
            --State._Searching;
            return Go( MarkSlot, Ended );
        case EndSearch:
            return Go( --State._Searching == 0 ? LookAtActive : Announce );
        case LookAtActive:
            return Go( State._Active > 0 ? StartSearch : Announce );
        case Announce:
            Slot = _Fault == NoAnnouncement ? Slot : uint8( Awake );
            return Go( _Fault == NoLookAgain ? FallAsleep : LookAtStopAgain );
        case LookAtStopAgain:
            return Go(
                State._StopRequests[ Worker ] && _Fault != NoLookAtStop ? StartSearch : LookAtActiveAgain );
        case LookAtActiveAgain:
            return Go( State._Active > 0 ? LookAtSearching : LookAtQueue );
        case LookAtSearching:
            return Go( State._Searching == 0 ? StartSearch : LookAtQueue );
        case LookAtQueue: // waits for who submits, who has the lock until it has woken
            return State._Threads[ 2 ]._Step == Submit && Go( State._Queued > 0 ? StartSearch : FallAsleep );
        case FallAsleep:
            Slot = Slot == Woken ? Slot : uint8( Sleeping );
            return Go( Asleep );
        case Asleep:
            return Slot == Woken && Go( StartSearch );
        case Submit:
            if ( State._Unsubmitted == 0 )
            {
                return false;
            }
            --State._Unsubmitted;
            ++State._Queued;
            return _Fault == NoWakeAfterPush ? Go( Submit ) : Go( ScanSlot, Submit );
        case ScanSlot:
            if ( Scanned != Sleeping )
            {
                return GoToNextSlot( MarkSlot );
            }
            Thread._Step = WakeSlot;
            return true;
        case WakeSlot:
            Scanned = Woken;
            return Go( Former._Next );
        case MarkSlot:
            Scanned = _Fault == NoMarks ? Scanned : uint8( Woken );
            return GoToNextSlot( Former._Next );
        case StartRun:
            return Go( ++State._Active == 1 ? LookForSearchers : Run );
        case LookForSearchers:
            return State._Searching == 0 ? Go( ScanSlot, Run ) : Go( Run );
        case Run:
            ++State._Ran;
            return Go( EndRun );
        case EndRun:
            --State._Active;
            return Go( StartSearch );
        case RequestStop:
            State._StopRequests[ Former._Slot ] = true;
            return GoToNextSlot( _Fault == NoWakeAtStop ? AwaitEnd : MarkSlot );
        case AwaitEnd:
            if ( State._StopRequests[ Former._Slot ] )
            {
                if ( State._Threads[ Former._Slot ]._Step != Ended )
                {
                    return false;
                }
                Scanned = Awake;
            }
            return GoToNextSlot( Ended );
        default: // has ended
            return false;
        }
    }

    /// Whether some order of steps ends, with nobody able to go on, before all workers that are to end have
    /// done so, or before all tasks have run although workers stay. That no order ends is a fault too: then
    /// nobody ever sleeps.
    bool FindsFault() const
    {
        const uint8 FirstStep = _StayingCount < _WorkerCount ? RequestStop : Ended;
        SState Start;
        Start._Threads[ 2 ]._Step = Submit;
        Start._Threads[ 3 ] = { FirstStep, static_cast<uint8>( _StayingCount ), AwaitEnd };
        std::set<SState> Seen = { Start };
        std::vector<SState> Open( Seen.begin(), Seen.end() );
        bool bEnds = false;
        while ( !Open.empty() )
        {
            const SState State = Open.back();
            Open.pop_back();
            bool bGoesOn = false;
            for ( const size_t Thread : { size_t( 0 ), _WorkerCount - 1, size_t( 2 ), size_t( 3 ) } )
            {
                SState Next = State;
                if ( Step( Next, Thread ) )
                {
                    bGoesOn = true;
                    if ( Seen.insert( Next ).second )
                    {
                        Open.push_back( Next );
                    }
                }
            }
            const bool bAllRan = State._Ran == TaskCount || _StayingCount == 0;
            if ( !bGoesOn && !( bAllRan && State._Threads[ 3 ]._Step == Ended ) )
            {
                return true;
            }
            bEnds = bEnds || !bGoesOn;
        }
        return !bEnds;
    }
};
} // namespace

TEST_CASE( "No order of steps leaves work queued while all workers sleep", "[thread_model]" )
{
    for ( const auto& [ Workers, Staying ] : { std::pair( 1u, 1u ), { 2, 2 }, { 1, 0 }, { 2, 1 }, { 2, 0 } } )
    {
        CAPTURE( Workers, Staying );
        REQUIRE_FALSE( SModel{ Workers, Staying, NoFault }.FindsFault() );
        const std::vector<EFault> WakeFaults = { NoLookAgain, NoWakeAfterPush, NoMarks, NoAnnouncement };
        const std::vector<EFault> StopFaults = { NoLookAtStop, NoWakeAtStop, NoMarks };
        for ( const EFault Fault : Staying == Workers ? WakeFaults : StopFaults )
        {
            CAPTURE( Fault );
            REQUIRE( SModel{ Workers, Staying, Fault }.FindsFault() );
        }
    }
}
