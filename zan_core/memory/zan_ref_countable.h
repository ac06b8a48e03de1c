#pragma once

#include "zan_core/memory/zan_allocator.h"
#include "zan_core/zan_expects.h"

#include <atomic>
#include <new>
#include <utility>

/// Base of objects that count the references to themselves, and end with the last one. A new object has none:
/// the first reference is its owner's, who keeps it in a CZanPtr. The count may be changed by any thread;
/// that does not make the object itself safe to share.
///
/// This one is made by new and ended by delete.
class CZanRefCountable
{
public:
    void AddReference() const { _ReferenceCount.fetch_add( 1, std::memory_order_relaxed ); }

    /// Deletes the object when this was its last reference. Requires one.
    void ReleaseReference() const
    {
        if ( RemoveReference() )
        {
            delete this;
        }
    }

    /// What the count was a moment ago, where other threads change it.
    int32 GetReferenceCount() const { return _ReferenceCount.load( std::memory_order_relaxed ); }

protected:
    CZanRefCountable() = default;
    CZanRefCountable( const CZanRefCountable& ) {} // a copy is a new object, with references of its own
    CZanRefCountable& operator=( const CZanRefCountable& ) { return *this; }
    virtual ~CZanRefCountable() = default;

    /// True when that was the last one. All that other threads did with the object is then done.
    bool RemoveReference() const;

private:
    mutable std::atomic<int32> _ReferenceCount = 0; // never negative
};

/// A counted object in a block of an allocator, which gets the block back when the last reference goes. The
/// allocator has to outlive it. Release it through this type or a derived one, not through CZanRefCountable,
/// which would delete it.
///
///     class CMessage : public CZanAllocatedRefCountable
///     {
///     public:
///         CMessage( CZanAllocator& Allocator, int32 Id );
///     };
///     CMessage* const pMessage = ZanNewAllocated<CMessage>( Allocator, 7 );
class CZanAllocatedRefCountable : public CZanRefCountable
{
public:
    /// Ends the object when this was its last reference, and frees the block that it was built in. Requires
    /// one.
    void ReleaseReference() const
    {
        if ( RemoveReference() )
        {
            End();
        }
    }

protected:
    /// Allocator is where the object is being built.
    explicit CZanAllocatedRefCountable( CZanAllocator& Allocator ) : _pAllocator( &Allocator ) {}
    CZanAllocatedRefCountable( const CZanAllocatedRefCountable& ) = delete;
    CZanAllocatedRefCountable& operator=( const CZanAllocatedRefCountable& ) = delete;
    ~CZanAllocatedRefCountable() override = default;

private:
    void End() const;

    CZanAllocator* _pAllocator; // not owned, never null
};

inline bool CZanRefCountable::RemoveReference() const
{
    if ( !zan_expects( GetReferenceCount() > 0, "ReleaseReference of an object without references" ) )
    {
        return false;
    }
    return _ReferenceCount.fetch_sub( 1, std::memory_order_acq_rel ) == 1;
}

/// A new T( Allocator, Args... ) in a block of that allocator, without references. An exception of the
/// constructor passes through, with the block given back.
template <typename T, typename... TArgs>
T* ZanNewAllocated( CZanAllocator& Allocator, TArgs&&... Args )
{
    void* const pBlock = Allocator.Allocate( sizeof( T ), alignof( T ) );
    try
    {
        return ::new ( pBlock ) T( Allocator, std::forward<TArgs>( Args )... );
    }
    catch ( ... )
    {
        Allocator.Free( pBlock );
        throw;
    }
}
