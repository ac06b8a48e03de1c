#pragma once

#include "zan_core/hashing/zan_hash.h"
#include "zan_core/memory/zan_ref_countable.h"
#include "zan_core/zan_expects.h"

#include <compare>
#include <cstddef>
#include <type_traits>
#include <utility>

/// One of the owners of an object that counts its references (see CZanRefCountable): each holds one, and the
/// object ends with the last. It is a pointer and costs no more; copies change the count, moves do not. For a
/// single owner CZanScopedPtr is cheaper. T may be incomplete where a member is declared. Owners of one
/// object may be used on different threads, one owner on one at a time.
///
///     CZanPtr<CTexture> Texture = ZanMakePtr<CTexture>( Width, Height );
///     CZanPtr<CMessage> Message( ZanNewAllocated<CMessage>( Allocator, Id ) );
template <typename T>
class CZanPtr
{
    static_assert( std::is_object_v<T> && !std::is_array_v<T>, "only objects count their references" );

public:
    using ValueType = T;

    CZanPtr() = default;
    CZanPtr( std::nullptr_t ) {}

    /// Adds a reference, the first one to an object that was just made.
    template <typename TOther>
    requires std::is_convertible_v<TOther*, T*>
    explicit CZanPtr( TOther* pObject ) : _pObject( Acquire<TOther>( pObject ) ) {}

    /// Each adds a reference, unless Other is moved from, which is empty afterwards. The assignments release
    /// the former object last. Assigning an owner to itself does nothing.
    CZanPtr( const CZanPtr& Other ) : _pObject( Acquire<T>( Other._pObject ) ) {}
    template <typename TOther>
    requires std::is_convertible_v<TOther*, T*> CZanPtr( const CZanPtr<TOther>& Other )
        : _pObject( Acquire<TOther>( Other._pObject ) )
    {}
    CZanPtr( CZanPtr&& Other ) noexcept : _pObject( std::exchange( Other._pObject, nullptr ) ) {}
    template <typename TOther>
    requires std::is_convertible_v<TOther*, T*> CZanPtr( CZanPtr<TOther>&& Other )
    noexcept;

    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): adding before releasing does
    CZanPtr& operator=( const CZanPtr& Other );
    template <typename TOther>
    requires std::is_convertible_v<TOther*, T*> CZanPtr& operator=( const CZanPtr<TOther>& Other );
    CZanPtr& operator=( CZanPtr&& Other ) noexcept;
    template <typename TOther>
    requires std::is_convertible_v<TOther*, T*> CZanPtr& operator=( CZanPtr<TOther>&& Other ) noexcept;
    CZanPtr& operator=( std::nullptr_t );
    ~CZanPtr() { Release( _pObject ); }

    T* GetPtr() const { return _pObject; }
    explicit operator bool() const { return _pObject != nullptr; }
    bool operator!() const { return _pObject == nullptr; }

    /// Both require an object.
    T& operator*() const { return *GetExpected(); }
    T* operator->() const { return GetExpected(); }

    /// Releases the object, and adds a reference to another, or holds none.
    void Reset() { Set( nullptr ); }
    void Reset( std::nullptr_t ) { Set( nullptr ); }
    template <typename TOther>
    requires std::is_convertible_v<TOther*, T*>
    void Reset( TOther* pObject ) { Set( Acquire<TOther>( pObject ) ); }

    void Swap( CZanPtr& Other ) noexcept { std::swap( _pObject, Other._pObject ); }

private:
    template <typename TOther>
    friend class CZanPtr;

    template <typename TOther>
    static constexpr void CheckReleasable();
    template <typename TOther>
    static T* Acquire( TOther* pObject );
    static void Release( T* pObject );

    T* GetExpected() const;
    void Set( T* pObject );

    T* _pObject = nullptr; // one of its references is held here
};

/// A new T( Args... ) on the heap. What lives in an allocator's block is made by ZanNewAllocated.
template <typename T, typename... TArgs>
inline CZanPtr<T> ZanMakePtr( TArgs&&... Args )
{
    static_assert( !std::is_base_of_v<CZanAllocatedRefCountable, T>,
        "make the object by ZanNewAllocated<T>( Allocator, ... ): it goes back to an allocator, not to the "
        "heap" );
    return CZanPtr<T>( new T( std::forward<TArgs>( Args )... ) );
}

// Owners compare and hash as the pointers that they hold, so a plain pointer finds its owner in a hash table.

template <typename T, typename TOther>
inline bool operator==( const CZanPtr<T>& Left, const CZanPtr<TOther>& Right )
{
    return Left.GetPtr() == Right.GetPtr();
}
template <typename T, typename TOther>
inline bool operator==( const CZanPtr<T>& Left, TOther* pRight )
{
    return Left.GetPtr() == pRight;
}
template <typename T>
inline bool operator==( const CZanPtr<T>& Left, std::nullptr_t )
{
    return Left.GetPtr() == nullptr;
}
template <typename T>
inline std::strong_ordering operator<=>( const CZanPtr<T>& Left, const CZanPtr<T>& Right )
{
    return std::compare_three_way()( Left.GetPtr(), Right.GetPtr() );
}

template <typename T>
inline void swap( CZanPtr<T>& Left, CZanPtr<T>& Right ) noexcept
{
    Left.Swap( Right );
}

template <typename T>
inline uint32 ZanHash( const CZanPtr<T>& Owner )
{
    return NZanHash::NDetail::HashObject( Owner.GetPtr() );
}
template <typename T>
struct std::hash<CZanPtr<T>>
{
    size_t operator()( const CZanPtr<T>& Owner ) const { return ZanHash( Owner ); }
};

// --- Bodies --------------------------------------------------------------------------------------------

/// The last owner may know the object by any of its bases that count, and has to end it as its maker would.
template <typename T>
template <typename TOther>
constexpr void CZanPtr<T>::CheckReleasable()
{
    static_assert(
        requires { sizeof( T ); }, "include the type's definition where its owners come and go: "
                                   "an incomplete type cannot be released" );
    static_assert( std::is_base_of_v<CZanRefCountable, T>, "derive the type from CZanRefCountable" );
    static_assert( std::is_base_of_v<CZanAllocatedRefCountable, T> ==
                       std::is_base_of_v<CZanAllocatedRefCountable, TOther>,
        "own the object as a CZanAllocatedRefCountable: CZanRefCountable would delete an allocator's block" );
}

template <typename T>
template <typename TOther>
inline T* CZanPtr<T>::Acquire( TOther* pObject )
{
    CheckReleasable<TOther>();
    if ( pObject != nullptr )
    {
        pObject->AddReference();
    }
    return pObject;
}

template <typename T>
inline void CZanPtr<T>::Release( T* pObject )
{
    CheckReleasable<T>();
    if ( pObject != nullptr )
    {
        pObject->ReleaseReference();
    }
}

template <typename T>
inline T* CZanPtr<T>::GetExpected() const
{
    static_cast<void>( zan_expects( _pObject != nullptr, "access through an empty pointer" ) );
    return _pObject;
}

/// Takes over a reference. What the destructor of the former object finds here is the new one.
template <typename T>
inline void CZanPtr<T>::Set( T* pObject )
{
    Release( std::exchange( _pObject, pObject ) );
}

template <typename T>
template <typename TOther>
requires std::is_convertible_v<TOther*, T*>
inline CZanPtr<T>::CZanPtr( CZanPtr<TOther>&& Other ) noexcept
    : _pObject( std::exchange( Other._pObject, nullptr ) )
{
    CheckReleasable<TOther>();
}

template <typename T>
// NOLINTNEXTLINE(bugprone-unhandled-self-assignment)
inline auto CZanPtr<T>::operator=( const CZanPtr& Other ) -> CZanPtr&
{
    Set( Acquire<T>( Other._pObject ) );
    return *this;
}

template <typename T>
template <typename TOther>
requires std::is_convertible_v<TOther*, T*>
inline auto CZanPtr<T>::operator=( const CZanPtr<TOther>& Other ) -> CZanPtr&
{
    Set( Acquire<TOther>( Other._pObject ) );
    return *this;
}

template <typename T>
inline auto CZanPtr<T>::operator=( CZanPtr&& Other ) noexcept -> CZanPtr&
{
    Set( std::exchange( Other._pObject, nullptr ) );
    return *this;
}

template <typename T>
template <typename TOther>
requires std::is_convertible_v<TOther*, T*>
inline auto CZanPtr<T>::operator=( CZanPtr<TOther>&& Other ) noexcept -> CZanPtr&
{
    CheckReleasable<TOther>();
    Set( std::exchange( Other._pObject, nullptr ) );
    return *this;
}

template <typename T>
inline auto CZanPtr<T>::operator=( std::nullptr_t ) -> CZanPtr&
{
    Set( nullptr );
    return *this;
}
