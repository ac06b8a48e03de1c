#include "zan_core/zan_types.h"
#include "zan_test/include/zan_test_catch.h"

#include <array>
#include <set>
#include <vector>

// A model of how workers go to sleep and submitters wake them, run through in every order of its steps. A
// step is one access to what threads share, or one section of a lock.

namespace
{
enum EStep : uint8
{
    StartSearch, // ++Searching; of the submitter: push under the submit lock
    Search,      // steals from the shared queue
    HandOn,      // --Searching with a task; as the last, goes to wake
    EndSearch,   // --Searching without one
    LookAtActive,
    Announce,
    LookAtActiveAgain,
    LookAtSearching,
    LookAtQueue, // under the submit lock
    FallAsleep,  // under the slot's lock
    Asleep,
    ScanSlot, // looks for a sleeper, without lock
    WakeSlot,
    MarkSlot,
    StartRun, // ++Active
    LookForSearchers,
    Run,
    EndRun // --Active
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
    NoAnnouncement
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
    std::array<SThread, 3> _Threads; // workers, and last who submits
    std::array<uint8, 2> _Slots = {};
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
    EFault _Fault;

    /// One step of a thread. False when it has to wait for another one, or is through.
    bool Step( SState& State, size_t Index ) const
    {
        SThread& Thread = State._Threads[ Index ];
        const SThread Former = Thread;
        const bool bSubmits = Index == 2;
        uint8& Slot = State._Slots[ bSubmits ? 0 : Index ];
        uint8& Scanned = State._Slots[ Former._Slot ];
        const auto Go = [ & ]( uint8 Next ) { Thread = { Next, 0, 0 }; };
        const auto GoToWake = [ & ]( uint8 Next ) { Thread = { ScanSlot, 0, Next }; };
        const auto GoToNextSlot = [ & ]( uint8 AtEnd ) {
            const bool bEnd = ++Thread._Slot == _WorkerCount;
            Thread._Slot = bEnd ? 0 : Thread._Slot;
            Thread._Step = bEnd ? AtEnd : Thread._Step;
        };
        switch ( Former._Step )
        {
        case StartSearch:
            if ( !bSubmits )
            {
                ++State._Searching;
                Go( Search );
                break;
            }
            if ( State._Unsubmitted == 0 )
            {
                return false;
            }
            --State._Unsubmitted;
            ++State._Queued;
            _Fault == NoWakeAfterPush ? Go( StartSearch ) : GoToWake( StartSearch );
            break;
        case Search:
            Go( State._Queued > 0 ? HandOn : EndSearch );
            State._Queued = uint8( State._Queued - ( State._Queued > 0 ) );
            break;
        case HandOn:
            --State._Searching == 0 ? GoToWake( StartRun ) : Go( StartRun );
            break;
        case EndSearch:
            Go( --State._Searching == 0 ? LookAtActive : Announce );
            break;
        case LookAtActive:
            Go( State._Active > 0 ? StartSearch : Announce );
            break;
        case Announce:
            Slot = _Fault == NoAnnouncement ? Slot : uint8( Awake );
            Go( _Fault == NoLookAgain ? FallAsleep : LookAtActiveAgain );
            break;
        case LookAtActiveAgain:
            Go( State._Active > 0 ? LookAtSearching : LookAtQueue );
            break;
        case LookAtSearching:
            Go( State._Searching == 0 ? StartSearch : LookAtQueue );
            break;
        case LookAtQueue:
            if ( State._Threads[ 2 ]._Step != StartSearch )
            {
                return false; // who submits has the lock until it has woken
            }
            Go( State._Queued > 0 ? StartSearch : FallAsleep );
            break;
        case FallAsleep:
            Slot = Slot == Woken ? Slot : uint8( Sleeping );
            Go( Slot == Woken ? StartSearch : Asleep );
            break;
        case Asleep:
            Go( Slot == Woken ? StartSearch : Asleep );
            return Slot == Woken;
        case ScanSlot:
            Scanned == Sleeping ? void( Thread._Step = WakeSlot ) : GoToNextSlot( MarkSlot );
            break;
        case WakeSlot:
            Scanned = Woken;
            Go( Former._Next );
            break;
        case MarkSlot:
            Scanned = _Fault == NoMarks ? Scanned : uint8( Woken );
            GoToNextSlot( Former._Next );
            break;
        case StartRun:
            Go( ++State._Active == 1 ? LookForSearchers : Run );
            break;
        case LookForSearchers:
            State._Searching == 0 ? GoToWake( Run ) : Go( Run );
            break;
        case Run:
            ++State._Ran;
            Go( EndRun );
            break;
        case EndRun:
            --State._Active;
            Go( StartSearch );
            break;
        }
        return true;
    }

    /// Whether some order of steps ends, with nobody able to go on, before all tasks have run. That no order
    /// ends is a fault too: then nobody ever sleeps.
    bool FindsFault() const
    {
        std::set<SState> Seen = { SState() };
        std::vector<SState> Open( Seen.begin(), Seen.end() );
        bool bEnds = false;
        while ( !Open.empty() )
        {
            const SState State = Open.back();
            Open.pop_back();
            bool bGoesOn = false;
            for ( const size_t Thread : { size_t( 0 ), _WorkerCount - 1, size_t( 2 ) } )
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
            if ( !bGoesOn && State._Ran != TaskCount )
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
    for ( const size_t Workers : { size_t( 1 ), size_t( 2 ) } )
    {
        CAPTURE( Workers );
        REQUIRE_FALSE( SModel{ Workers, NoFault }.FindsFault() );
        for ( const EFault Fault : { NoLookAgain, NoWakeAfterPush, NoMarks, NoAnnouncement } )
        {
            CAPTURE( Fault );
            REQUIRE( SModel{ Workers, Fault }.FindsFault() );
        }
    }
}
