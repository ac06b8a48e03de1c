#include "zan_core/containers/zan_deque.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"

#include <algorithm>
#include <atomic>
#include <compare>
#include <iterator>
#include <set>
#include <string>
#include <thread>
#include <utility>
#include <vector>

using namespace NZanTestUtils;

TEST_CASE( "CZanDeque", "[container]" )
{
    CZanDeque<int32> Deque( 1024 );
    int32 Item = 42;
    REQUIRE( ( Deque.GetSize() == 0 && Deque.GetCapacity() == 1024 ) );
    Deque.Push( &Item );
    REQUIRE( Deque.GetSize() == 1 );
    REQUIRE( ( Deque.Pop() == &Item && Deque.GetSize() == 0 ) );
}

TEST_CASE( "CZanDeque operations", "[container]" )
{
    CZanDeque<int32> Deque( 4 );
    int32 Items[] = { 42, 43, 44 };
    for ( int32 i = 0; i < 10; ++i ) // further than the ring is long
    {
        for ( int32& Item : Items )
        {
            Deque.Push( &Item );
        }
        REQUIRE( ( *Deque.Steal() == 42 && *Deque.Pop() == 44 && Deque.GetSize() == 1 ) );
        REQUIRE( ( i % 2 == 0 ? Deque.Steal() : Deque.Pop() ) == &Items[ 1 ] );
        REQUIRE( ( Deque.Pop() == nullptr && Deque.Steal() == nullptr && Deque.GetSize() == 0 ) );
    }
    REQUIRE( Deque.GetCapacity() == 4 );
}

TEST_CASE( "CZanDeque grow", "[container]" )
{
    for ( const int32 Capacity : { 1, 2, 8 } )
    {
        std::vector<int32> Items( 100 );
        CZanDeque<int32> Deque( static_cast<uint64>( Capacity ) );
        for ( int32 i = 0; i < Capacity - 1; ++i ) // so that the items do not begin at the first slot
        {
            Deque.Push( Items.data() );
            Deque.Steal();
        }
        for ( int32 i = 0; i < 100; ++i )
        {
            Deque.Push( &Items[ static_cast<size_t>( i ) ] );
            REQUIRE( Deque.GetSize() == i + 1 );
            REQUIRE( ( Deque.GetCapacity() > i && Deque.GetCapacity() <= std::max( Capacity, 2 * i ) ) );
        }
        for ( size_t i = 0; i < 50; ++i )
        {
            REQUIRE( ( Deque.Steal() == &Items[ i ] && Deque.Pop() == &Items[ 99 - i ] ) );
        }
    }
}

TEST_CASE( "CZanDeque rounds its capacity up", "[container]" )
{
    CLogCapture Log;
    for ( const auto& [ Capacity, Rounded ] : { std::pair{ 0u, 1 }, { 3u, 4 }, { 1000u, 1024 } } )
    {
        REQUIRE( CZanDeque<int32>( Capacity ).GetCapacity() == Rounded );
    }
#if defined( ZAN_CHECK_PRECONDITIONS )
    REQUIRE( Log.GetOnlyMessage() == "Assertion failed: A deque's capacity has to be a power of two\n" );
#endif
}

// Whoever takes an item counts that in the item itself, unsynchronised, which the thread sanitizer watches.
TEST_CASE( "CZanDeque hands each item to one thread", "[container]" )
{
    const int32 ThiefCount = GENERATE( 1, 3 );
    [[maybe_unused]] const int32 Round = GENERATE( range( 0, 10 ) ); // in each, the ring grows anew
    const size_t Burst = GENERATE( 1u, 2u, 7u, 500u ); // the smaller, the more races for the last item
    constexpr size_t ItemCount = 5000;
    std::vector<int32> TakenCounts( ItemCount, -1 );
    CZanDeque<int32> Deque( 1 );
    std::atomic<int32> StartedCount = 0, FaultCount = 0;
    std::atomic<bool> bEnds = false;
    std::vector<std::thread> Thieves;
    for ( int32 i = 0; i < ThiefCount; ++i )
    {
        Thieves.emplace_back( [ & ] {
            const int32* pFormer = nullptr;
            for ( ++StartedCount; !bEnds; )
            {
                if ( int32* const pItem = Deque.Steal() )
                {
                    FaultCount += pFormer != nullptr && pItem <= pFormer; // the oldest first
                    ++*pItem;
                    pFormer = pItem;
                }
            }
        } );
    }
    while ( StartedCount < ThiefCount )
    {
        std::this_thread::yield();
    }
    const auto Pop = [ & ] {
        int32* const pItem = Deque.Pop();
        return pItem != nullptr && ++*pItem > 0;
    };
    for ( size_t i = 0; i < ItemCount; ++i )
    {
        TakenCounts[ i ] = 0;
        Deque.Push( &TakenCounts[ i ] );
        for ( size_t j = 0; i % Burst == 0 && j < Burst / 2 + 1; ++j )
        {
            Pop();
        }
    }
    while ( Pop() )
    {}
    bEnds = true;
    std::for_each( Thieves.begin(), Thieves.end(), []( std::thread& Thief ) { Thief.join(); } );
    REQUIRE( ( Deque.GetSize() == 0 && FaultCount == 0 ) );
    REQUIRE( std::count( TakenCounts.begin(), TakenCounts.end(), 1 ) == ItemCount );
}

// --- The protocol's model
// ------------------------------------------------------------------------------------

namespace
{
/// What can be wrong with the protocol.
enum class EFault
{
    None,
    NoFence,           // Pop reads _Top before its store is seen
    NoClaimOfLastItem, // Pop takes the last item without asking whether _Top is still there
    NoClaimByThief,    // Steal likewise
    StealReadsBottomFirst,
    PushShowsItemFirst, // before it lies in its slot
};

constexpr int32 Top = 0, Bottom = 1, Slots = 2; // places in memory; the ring has a slot for each item

/// What the threads see and remember: the owner, whose stores wait in a buffer as on x86, and two thieves,
/// who store by compare-and-swap only.
struct SModelState
{
    struct SThread
    {
        int32 _Step = 0, _DoneCount = 0, _Top = 0, _Bottom = 0, _Item = 0;
        auto operator<=>( const SThread& ) const = default;
    };
    struct SStore
    {
        int32 _Place = 0, _Value = 0;
        auto operator<=>( const SStore& ) const = default;
    };

    auto operator<=>( const SModelState& ) const = default;
    int32 Read( int32 Place ) const; // by the owner: its own latest store first
    void Write( int32 Place, int32 Value ) { _Buffer.push_back( { Place, Value } ); }
    bool Claim( int32 Index, bool bCompares );
    bool IsEndRight() const;

    int32 _Memory[ 6 ] = {};
    int32 _PushCount = 0;
    int32 _TakenCounts[ 5 ] = {}; // by item, from 1; a thread that finds no item in a slot takes 0
    SThread _Threads[ 3 ];        // the owner first
    std::vector<SStore> _Buffer;
};

int32 SModelState::Read( int32 Place ) const
{
    const auto iStore = std::find_if(
        _Buffer.rbegin(), _Buffer.rend(), [ & ]( const SStore& Store ) { return Store._Place == Place; } );
    return iStore != _Buffer.rend() ? iStore->_Value : _Memory[ Place ];
}

bool SModelState::Claim( int32 Index, bool bCompares )
{
    const bool bWon = !bCompares || _Memory[ Top ] == Index;
    _Memory[ Top ] = bWon ? Index + 1 : _Memory[ Top ];
    return bWon;
}

bool SModelState::IsEndRight() const
{
    int32 Counts[ 5 ];
    std::copy( std::begin( _TakenCounts ), std::end( _TakenCounts ), Counts );
    for ( int32 i = _Memory[ Top ]; i < _Memory[ Bottom ]; ++i )
    {
        ++Counts[ _Memory[ Slots + i ] ]; // still in the deque
    }
    return Counts[ 0 ] == 0 && std::count( Counts + 1, Counts + 1 + _PushCount, 1 ) == _PushCount;
}

/// Runs pushes and pops of the owner, "+" and "-", and TryCount steals of each thief in every interleaving.
class CModel
{
public:
    CModel( EFault Fault, std::string Calls, int32 TryCount )
        : _Fault( Fault ), _Calls( std::move( Calls ) ), _TryCount( TryCount )
    {}

    /// Whether in each one every item is taken once, or still in the deque at the end.
    bool IsSafe();

private:
    void Reach( const SModelState& State );
    void Flush( SModelState State );
    void Push( SModelState State );
    void Pop( SModelState State );
    void Steal( SModelState State, int32 Thread );

    EFault _Fault;
    std::string _Calls;
    int32 _TryCount;
    std::set<SModelState> _Seen;
    std::vector<SModelState> _Open;
};

bool CModel::IsSafe()
{
    Reach( {} );
    bool bIsSafe = true;
    while ( !_Open.empty() )
    {
        const SModelState State = std::move( _Open.back() );
        _Open.pop_back();
        const size_t DoneCount = static_cast<size_t>( State._Threads[ 0 ]._DoneCount );
        bool bEnd = State._Buffer.empty() && DoneCount == _Calls.size();
        if ( !State._Buffer.empty() )
        {
            Flush( State );
        }
        if ( DoneCount < _Calls.size() )
        {
            _Calls[ DoneCount ] == '+' ? Push( State ) : Pop( State );
        }
        for ( const int32 Thief : { 1, 2 } )
        {
            if ( State._Threads[ Thief ]._DoneCount < _TryCount )
            {
                Steal( State, Thief );
                bEnd = false;
            }
        }
        bIsSafe = bIsSafe && ( !bEnd || State.IsEndRight() );
    }
    return bIsSafe;
}

void CModel::Reach( const SModelState& State )
{
    if ( _Seen.insert( State ).second )
    {
        _Open.push_back( State );
    }
}

/// The owner's oldest store comes through.
void CModel::Flush( SModelState State )
{
    State._Memory[ State._Buffer[ 0 ]._Place ] = State._Buffer[ 0 ]._Value;
    State._Buffer.erase( State._Buffer.begin() );
    Reach( State );
}

/// One step, as nobody sees its stores before they leave the buffer.
void CModel::Push( SModelState State )
{
    const int32 Index = State.Read( Bottom );
    State.Write( Slots + Index, ++State._PushCount );
    State.Write( Bottom, Index + 1 );
    if ( _Fault == EFault::PushShowsItemFirst )
    {
        std::swap( State._Buffer.back(), State._Buffer.rbegin()[ 1 ] );
    }
    ++State._Threads[ 0 ]._DoneCount;
    Reach( State );
}

void CModel::Pop( SModelState State )
{
    SModelState::SThread& Owner = State._Threads[ 0 ];
    if ( Owner._Step == 0 )
    {
        Owner._Bottom = State.Read( Bottom ) - 1;
        State.Write( Bottom, Owner._Bottom );
    }
    else if ( Owner._Step == 1 )
    {
        if ( _Fault != EFault::NoFence && !State._Buffer.empty() )
        {
            return; // until the buffer is empty
        }
        Owner._Top = State.Read( Top );
    }
    else
    {
        const bool bLast = Owner._Top == Owner._Bottom;
        if ( bLast && !State._Buffer.empty() )
        {
            return; // a compare-and-swap waits for it too
        }
        if ( bLast ? State.Claim( Owner._Top, _Fault != EFault::NoClaimOfLastItem )
                   : Owner._Top < Owner._Bottom )
        {
            ++State._TakenCounts[ State.Read( Slots + Owner._Bottom ) ];
        }
        if ( Owner._Top >= Owner._Bottom )
        {
            State.Write( Bottom, Owner._Bottom + 1 );
        }
        Owner = { -1, Owner._DoneCount + 1 };
    }
    ++Owner._Step;
    Reach( State );
}

void CModel::Steal( SModelState State, int32 Thread )
{
    SModelState::SThread& Thief = State._Threads[ Thread ];
    if ( Thief._Step < 2 )
    {
        const bool bReadsTop = ( Thief._Step == 0 ) != ( _Fault == EFault::StealReadsBottomFirst );
        ( bReadsTop ? Thief._Top : Thief._Bottom ) = State._Memory[ bReadsTop ? Top : Bottom ];
    }
    else if ( Thief._Step == 2 && Thief._Top < Thief._Bottom )
    {
        Thief._Item = State._Memory[ Slots + Thief._Top ];
    }
    else
    {
        if ( Thief._Step == 3 && State.Claim( Thief._Top, _Fault != EFault::NoClaimByThief ) )
        {
            ++State._TakenCounts[ Thief._Item ];
        }
        Thief = { -1, Thief._DoneCount + 1 };
    }
    ++Thief._Step;
    Reach( State );
}
} // namespace

TEST_CASE( "CZanDeque protocol in every interleaving", "[container]" )
{
    for ( const char* pCalls : { "+-", "++-", "++--", "+-+-", "++-+--" } )
    {
        INFO( pCalls );
        REQUIRE( CModel( EFault::None, pCalls, 2 ).IsSafe() );
    }
    for ( const EFault Fault : { EFault::NoFence, EFault::NoClaimOfLastItem, EFault::NoClaimByThief,
              EFault::StealReadsBottomFirst, EFault::PushShowsItemFirst } )
    {
        INFO( static_cast<int32>( Fault ) );
        REQUIRE_FALSE( CModel( Fault, "++--", 2 ).IsSafe() );
    }
}
