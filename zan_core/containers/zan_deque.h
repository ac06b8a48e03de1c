#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/views/zan_bit.h"
#include "zan_core/zan_expects.h"
#include "zan_core/zan_types.h"

#include <atomic>
#include <memory>

/// A work-stealing deque of pointers: one owner pushes and pops at the bottom, any threads steal from the
/// top, and nobody waits for anybody. Made for task queues; it does not own the items. The rings in which
/// they lie grow and never shrink, and come from the global heap. Push and Pop are for the owner's thread
/// alone, Steal, GetSize and GetCapacity for any; making and ending it excludes all others.
///
///     CZanDeque<CTask> Tasks( 1024 );
///     Tasks.Push( &First );  Tasks.Push( &Second );
///     Tasks.Pop();    // &Second
///     Tasks.Steal();  // &First, on any thread
///
/// The protocol is that of Chase and Lev, "Dynamic Circular Work-Stealing Deque" (2005), its memory order
/// that of Lê, Pop, Cohen and Zappa Nardelli, "Correct and Efficient Work-Stealing for Weak Memory Models"
/// (2013).
///
///      indices   _Top            _Bottom
///                  v                v
///      slots   . . a  b  c  d  e  f . . .      an index lies at slot ( Index & Mask )
///                  ^ thieves     ^ the owner
///
/// 1. _Top only rises, one index at a time, and only by compare-and-swap: who raises it from T to T + 1 has
///    item T, and nobody else ever has.
/// 2. The owner takes item B without that only after it has lowered _Bottom to B and then seen _Top below B.
///    A thief that is to take B reads _Top == B first and _Bottom behind. Both orders are sequentially
///    consistent, so that one of the two sees the other: if the owner's read of _Top misses the thief's
///    predecessor, that comes later in the one order of all such operations, the thief's read of _Bottom
///    later still, and it finds _Bottom at B.
/// 3. For the last item, _Top == B, the owner competes by compare-and-swap as the thieves do.
///
/// The paper puts a sequentially consistent fence between the two accesses in Pop and in Steal. Here the
/// accesses themselves are sequentially consistent, which orders them as the fence would: on x86-64 that is
/// one interlocked subtraction in Pop and nothing in Steal, where the fence costs both an instruction, and
/// the thread sanitizer understands it. The rest is as weak as it can be:
///
/// - _Bottom is stored with release and read by thieves with acquire (or more): who sees it above an index
///   sees the item, and a ring that has it. In Pop too, where the paper's fence has the release's effect.
/// - _Top is raised with release (or more), and read by Push with acquire: when it frees a slot for the next
///   item, the thief's read of the slot is over. As it only rises, Push reads it only when the ring is full
///   by what it was the last time.
/// - _pRing is stored with release and read by thieves with acquire: they find the slots filled. A thief may
///   still read from a ring that was replaced, in which the items that it may claim stay as they were; so
///   replaced rings live as long as the deque.
/// - Slots are atomic, as a thief that comes too late may read one while it is written; relaxed, as the
///   above orders them. What the owner alone writes, it reads relaxed.
template <typename T>
class CZanDeque
{
public:
    /// Capacity is a power of two; others are rounded up.
    explicit CZanDeque( uint64 Capacity );
    ~CZanDeque();
    CZanDeque( const CZanDeque& ) = delete;
    CZanDeque& operator=( const CZanDeque& ) = delete;

    /// Adds at the bottom. Requires an item that is not null, which would look like an empty deque. Allocates
    /// when the ring is full, throwing std::bad_alloc with nothing changed. Owner only.
    void Push( T* pItem );

    /// The newest item, or null when there is none, or a thief got the last one. Owner only.
    T* Pop();

    /// The oldest item, or null when there is none, or another thread got it: then another try may succeed.
    T* Steal();

    /// How it was a moment ago. Orders nothing.
    int32 GetSize() const;
    int32 GetCapacity() const
    {
        return static_cast<int32>( _pRing.load( std::memory_order_acquire )->_Capacity );
    }

private:
    struct SRing
    {
        explicit SRing( uint64 Capacity )
            : _Capacity( Capacity ), _Mask( Capacity - 1 ),
              _Slots( std::make_unique<std::atomic<T*>[]>( Capacity ) )
        {}

        T* Get( int64 Index ) const { return AccessSlot( Index ).load( std::memory_order_relaxed ); }
        void Set( int64 Index, T* pItem ) { AccessSlot( Index ).store( pItem, std::memory_order_relaxed ); }
        std::atomic<T*>& AccessSlot( int64 Index ) const
        {
            return _Slots[ static_cast<uint64>( Index ) & _Mask ];
        }

        const uint64 _Capacity;                          // a power of two
        const uint64 _Mask;                              // _Capacity - 1
        const std::unique_ptr<std::atomic<T*>[]> _Slots; // null at first
    };

    static constexpr uint64 LineSize = 64; // of the cache

    static uint64 CalcRingCapacity( uint64 Capacity );
    [[gnu::cold, gnu::noinline]] SRing* MakeRoom( SRing* pRing, int64 Bottom );

    // The thieves' line and the owner's. Indices run on for ever, and are reduced only to find a slot.
    alignas( LineSize ) std::atomic<int64> _Top = 0;    // of the oldest item
    alignas( LineSize ) std::atomic<int64> _Bottom = 0; // one past the newest item
    std::atomic<SRing*> _pRing;                         // never null
    CZanArray<SRing*> _RetiredRings;                    // those replaced; the owner's
    int64 _KnownTop = 0; // at most _Top; the owner's, so that Push seldom reads what the thieves write
};

template <typename T>
CZanDeque<T>::CZanDeque( uint64 Capacity ) : _pRing( nullptr )
{
    _RetiredRings.Reserve( 4 );
    _pRing.store( new SRing( CalcRingCapacity( Capacity ) ), std::memory_order_relaxed );
}

template <typename T>
CZanDeque<T>::~CZanDeque()
{
    delete _pRing.load( std::memory_order_relaxed );
    for ( SRing* const pRing : _RetiredRings )
    {
        delete pRing;
    }
}

template <typename T>
uint64 CZanDeque<T>::CalcRingCapacity( uint64 Capacity )
{
    static_cast<void>(
        zan_expects( ZanStd::has_single_bit( Capacity ), "A deque's capacity has to be a power of two" ) );
    constexpr uint64 Largest = uint64{ 1 } << 63; // which no heap has
    return Capacity < Largest ? ZanStd::bit_ceil( Capacity ) : Largest;
}

template <typename T>
inline void CZanDeque<T>::Push( T* pItem )
{
    const int64 Bottom = _Bottom.load( std::memory_order_relaxed );
    SRing* pRing = _pRing.load( std::memory_order_relaxed );
    if ( Bottom - _KnownTop > static_cast<int64>( pRing->_Mask ) ) [[unlikely]]
    {
        pRing = MakeRoom( pRing, Bottom );
    }
    pRing->Set( Bottom, pItem );
    _Bottom.store( Bottom + 1, std::memory_order_release );
}

template <typename T>
typename CZanDeque<T>::SRing* CZanDeque<T>::MakeRoom( SRing* pRing, int64 Bottom )
{
    _KnownTop = _Top.load( std::memory_order_acquire );
    if ( Bottom - _KnownTop <= static_cast<int64>( pRing->_Mask ) )
    {
        return pRing; // the thieves have made it
    }
    auto pNewRing = std::make_unique<SRing>( pRing->_Capacity * 2 );
    for ( int64 i = _KnownTop; i < Bottom; ++i )
    {
        pNewRing->Set( i, pRing->Get( i ) );
    }
    _RetiredRings.Append( pRing );
    _pRing.store( pNewRing.get(), std::memory_order_release );
    return pNewRing.release();
}

template <typename T>
inline T* CZanDeque<T>::Pop()
{
    const int64 Bottom = _Bottom.fetch_sub( 1, std::memory_order_seq_cst ) - 1;
    int64 Top = _Top.load( std::memory_order_seq_cst );
    T* pItem = _pRing.load( std::memory_order_relaxed )->Get( Bottom );
    if ( Top >= Bottom )
    {
        if ( Top > Bottom || !_Top.compare_exchange_strong(
                                 Top, Top + 1, std::memory_order_seq_cst, std::memory_order_relaxed ) )
        {
            pItem = nullptr;
        }
        _Bottom.store( Bottom + 1, std::memory_order_release );
    }
    return pItem;
}

template <typename T>
inline T* CZanDeque<T>::Steal()
{
    int64 Top = _Top.load( std::memory_order_seq_cst );
    const int64 Bottom = _Bottom.load( std::memory_order_seq_cst );
    if ( Top >= Bottom )
    {
        return nullptr;
    }
    T* const pItem = _pRing.load( std::memory_order_acquire )->Get( Top );
    const bool bClaimed =
        _Top.compare_exchange_strong( Top, Top + 1, std::memory_order_seq_cst, std::memory_order_relaxed );
    return bClaimed ? pItem : nullptr;
}

template <typename T>
int32 CZanDeque<T>::GetSize() const
{
    const int64 Bottom = _Bottom.load( std::memory_order_relaxed );
    const int64 Size = Bottom - _Top.load( std::memory_order_relaxed );
    return static_cast<int32>( Size > 0 ? Size : 0 );
}
