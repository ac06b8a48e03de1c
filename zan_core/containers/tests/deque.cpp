#include "zan_core/containers/zan_deque.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"

#include <algorithm>
#include <atomic>
#include <compare>
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
    Deque.Push( &Item );
    REQUIRE( ( Deque.GetSize() == 1 && Deque.GetCapacity() == 1024 && Deque.Pop() == &Item ) );
}

TEST_CASE( "CZanDeque operations", "[container]" )
{
    CZanDeque<int32> Deque( 4 );
    int32 Items[ 3 ];
    for ( int32 i = 0; i < 10; ++i ) // further than the ring is long
    {
        std::for_each( Items, Items + 3, [ & ]( int32& Item ) { Deque.Push( &Item ); } );
        REQUIRE( ( Deque.Steal() == Items && Deque.Pop() == Items + 2 && Deque.GetSize() == 1 ) );
        REQUIRE( ( i % 2 == 0 ? Deque.Steal() : Deque.Pop() ) == Items + 1 );
        REQUIRE( ( Deque.Pop() == nullptr && Deque.Steal() == nullptr && Deque.GetSize() == 0 ) );
    }
    REQUIRE( Deque.GetCapacity() == 4 );
}

TEST_CASE( "CZanDeque grow", "[container]" )
{
    for ( const int32 Capacity : { 1, 2, 8 } )
    {
        int32 Items[ 100 ];
        CZanDeque<int32> Deque( static_cast<uint64>( Capacity ) );
        for ( int32 i = 1; i < Capacity; ++i ) // so that the items do not begin at the first slot
        {
            Deque.Push( Items );
            Deque.Steal();
        }
        for ( int32 i = 0; i < 100; ++i )
        {
            Deque.Push( Items + i );
            REQUIRE( Deque.GetSize() == i + 1 );
            REQUIRE( ( Deque.GetCapacity() > i && Deque.GetCapacity() <= std::max( Capacity, 2 * i ) ) );
        }
        for ( int32 i = 0; i < 50; ++i )
        {
            REQUIRE( ( Deque.Steal() == Items + i && Deque.Pop() == Items + 99 - i ) );
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

struct SModelThread
{
    int32 _Step = 0, _DoneCount = 0, _Top = 0, _Bottom = 0, _Item = 0;
    auto operator<=>( const SModelThread& ) const = default;
};

/// What the threads see and remember: the owner, whose stores wait in a buffer as on x86, and two thieves,
/// who store by compare-and-swap only.
struct SModelState
{
    auto operator<=>( const SModelState& ) const = default;

    /// By the owner: its own latest store first.
    int32 Read( int32 Place ) const
    {
        int32 Value = _Memory[ Place ];
        for ( const auto& [ StorePlace, StoreValue ] : _Buffer )
        {
            Value = StorePlace == Place ? StoreValue : Value;
        }
        return Value;
    }
    bool Claim( int32 Index, bool bCompares )
    {
        const bool bWon = !bCompares || _Memory[ Top ] == Index;
        _Memory[ Top ] = bWon ? Index + 1 : _Memory[ Top ];
        return bWon;
    }

    int32 _Memory[ 6 ] = {}, _PushCount = 0;
    int32 _TakenCounts[ 5 ] = {}; // by item, from 1; a thread that finds no item in a slot takes 0
    SModelThread _Threads[ 3 ];   // the owner first
    std::vector<std::pair<int32, int32>> _Buffer; // places and values
};

/// Runs pushes and pops of the owner, "+" and "-", and two steals of each thief in every interleaving.
struct SModel
{
    void Reach( const SModelState& State )
    {
        if ( !_Seen.insert( State ).second )
        {
            return;
        }
        const size_t DoneCount = static_cast<size_t>( State._Threads[ 0 ]._DoneCount );
        bool bEnd = State._Buffer.empty() && DoneCount == _Calls.size();
        if ( !State._Buffer.empty() ) // the owner's oldest store comes through
        {
            SModelState Flushed = State;
            Flushed._Memory[ State._Buffer[ 0 ].first ] = State._Buffer[ 0 ].second;
            Flushed._Buffer.erase( Flushed._Buffer.begin() );
            Reach( Flushed );
        }
        if ( DoneCount < _Calls.size() )
        {
            _Calls[ DoneCount ] == '+' ? Push( State ) : Pop( State );
        }
        for ( const int32 Thief : { 1, 2 } )
        {
            if ( State._Threads[ Thief ]._DoneCount < 2 )
            {
                Steal( State, Thief );
                bEnd = false;
            }
        }
        _bIsSafe = _bIsSafe && ( !bEnd || IsEndRight( State ) );
    }

    /// Whether every item was taken once, or is still in the deque.
    static bool IsEndRight( SModelState State )
    {
        for ( int32 i = State._Memory[ Top ]; i < State._Memory[ Bottom ]; ++i )
        {
            ++State._TakenCounts[ State._Memory[ Slots + i ] ];
        }
        const int32* const pFirst = State._TakenCounts + 1;
        return State._TakenCounts[ 0 ] == 0 &&
               std::count( pFirst, pFirst + State._PushCount, 1 ) == State._PushCount;
    }

    /// One step, as nobody sees its stores before they leave the buffer.
    void Push( SModelState State )
    {
        const int32 Index = State.Read( Bottom );
        State._Buffer.insert(
            State._Buffer.end(), { { Slots + Index, ++State._PushCount }, { Bottom, Index + 1 } } );
        if ( _Fault == EFault::PushShowsItemFirst )
        {
            std::swap( State._Buffer.back(), State._Buffer.rbegin()[ 1 ] );
        }
        ++State._Threads[ 0 ]._DoneCount;
        Reach( State );
    }

    void Pop( SModelState State )
    {
        SModelThread& Owner = State._Threads[ 0 ];
        const bool bLast = Owner._Step == 2 && Owner._Top == Owner._Bottom;
        if ( !State._Buffer.empty() && ( bLast || ( Owner._Step == 1 && _Fault != EFault::NoFence ) ) )
        {
            return; // a fence and a compare-and-swap wait until the buffer is empty
        }
        if ( Owner._Step == 0 )
        {
            Owner._Bottom = State.Read( Bottom ) - 1;
            State._Buffer.emplace_back( Bottom, Owner._Bottom );
        }
        else if ( Owner._Step == 1 )
        {
            Owner._Top = State.Read( Top );
        }
        else
        {
            const bool bCompares = _Fault != EFault::NoClaimOfLastItem;
            if ( bLast ? State.Claim( Owner._Top, bCompares ) : Owner._Top < Owner._Bottom )
            {
                ++State._TakenCounts[ State.Read( Slots + Owner._Bottom ) ];
            }
            if ( Owner._Top >= Owner._Bottom )
            {
                State._Buffer.emplace_back( Bottom, Owner._Bottom + 1 );
            }
            Owner = { -1, Owner._DoneCount + 1 };
        }
        ++Owner._Step;
        Reach( State );
    }

    void Steal( SModelState State, int32 Thread )
    {
        SModelThread& Thief = State._Threads[ Thread ];
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

    EFault _Fault;
    std::string _Calls;
    bool _bIsSafe = true;
    std::set<SModelState> _Seen = {};
};
} // namespace

TEST_CASE( "CZanDeque protocol in every interleaving", "[container]" )
{
    const auto IsSafe = []( EFault Fault, const char* pCalls ) {
        SModel Model{ Fault, pCalls };
        Model.Reach( {} );
        return Model._bIsSafe;
    };
    for ( const char* pCalls : { "+-", "++-", "++--", "+-+-", "++-+--" } )
    {
        REQUIRE( IsSafe( EFault::None, pCalls ) );
    }
    for ( int32 i = 1; i <= static_cast<int32>( EFault::PushShowsItemFirst ); ++i )
    {
        REQUIRE_FALSE( IsSafe( static_cast<EFault>( i ), "++--" ) );
    }
}
