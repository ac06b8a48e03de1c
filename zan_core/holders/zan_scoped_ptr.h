#pragma once

#include "zan_core/hashing/zan_hash.h"
#include "zan_core/zan_expects.h"
#include "zan_core/zan_types.h"

#include <compare>
#include <cstddef>
#include <new>
#include <type_traits>
#include <utility>

/// The one owner of an object or of an array on the heap, which it deletes: by delete, or by delete[]. It is
/// a pointer and costs no more. It moves and is not copied; for owners who share, see CZanPtr. T may be
/// incomplete where a member is declared, but not where an owner lets go of its object. Not synchronised.
///
///     CZanScopedPtr<CShape> Shape = ZanMakeScopedPtr<CCircle>( Radius );
///     CZanScopedArray<float> Weights = ZanMakeScopedArray<float>( Count );
template <typename T, int32 Form>
class CZanScopedPtrImpl;

namespace NZanScopedPtr
{
constexpr int32 ObjectForm = 0;
constexpr int32 ArrayForm = 1;
} // namespace NZanScopedPtr

template <typename T>
using CZanScopedPtr = CZanScopedPtrImpl<T, NZanScopedPtr::ObjectForm>;
template <typename T>
using CZanScopedArray = CZanScopedPtrImpl<T, NZanScopedPtr::ArrayForm>;

namespace NZanScopedPtr
{
/// What an owner of T takes over: a T, less const perhaps, or an object of a derived class. An array of a
/// derived class is no array of T, as its elements are larger.
template <typename TOther, typename T, int32 Form>
concept COwnableAs = ( std::is_same_v<std::remove_cv_t<TOther>, std::remove_cv_t<T>> ||
                         Form == ObjectForm ) &&
                     std::is_convertible_v<TOther*, T*>;
} // namespace NZanScopedPtr

template <typename T, int32 Form>
class CZanScopedPtrImpl
{
    static_assert( !std::is_array_v<T>, "name the element: CZanScopedArray<T> owns a T[]" );
    static_assert( std::is_object_v<T>, "only objects can be owned" );
    static_assert( Form == NZanScopedPtr::ObjectForm || Form == NZanScopedPtr::ArrayForm );

public:
    using ValueType = T;

    CZanScopedPtrImpl() = default;
    CZanScopedPtrImpl( std::nullptr_t ) {}

    /// Takes ownership of what new, or new[] for an array, has made.
    template <NZanScopedPtr::COwnableAs<T, Form> TOther>
    explicit CZanScopedPtrImpl( TOther* pObject ) : _pObject( pObject )
    {
        CheckDeletable<TOther>();
    }

    /// Other is empty afterwards. An assignment deletes the former object last; one to itself does nothing.
    CZanScopedPtrImpl( CZanScopedPtrImpl&& Other ) noexcept : _pObject( Other.Release() ) {}
    template <NZanScopedPtr::COwnableAs<T, Form> TOther>
    CZanScopedPtrImpl( CZanScopedPtrImpl<TOther, Form>&& Other ) noexcept : _pObject( Other.Release() )
    {
        CheckDeletable<TOther>();
    }
    CZanScopedPtrImpl& operator=( CZanScopedPtrImpl&& Other ) noexcept;
    template <NZanScopedPtr::COwnableAs<T, Form> TOther>
    CZanScopedPtrImpl& operator=( CZanScopedPtrImpl<TOther, Form>&& Other ) noexcept;
    CZanScopedPtrImpl& operator=( std::nullptr_t ) noexcept;
    ~CZanScopedPtrImpl() { Delete( _pObject ); }

    T* GetPtr() const { return _pObject; }
    explicit operator bool() const { return _pObject != nullptr; }
    bool operator!() const { return _pObject == nullptr; }

    /// The object, or the first element. Both require one.
    T& operator*() const { return *GetExpected(); }
    T* operator->() const { return GetExpected(); }

    /// Requires an index below the count of the array.
    T& operator[]( std::ptrdiff_t Index ) const requires( Form == NZanScopedPtr::ArrayForm )
    {
        return GetExpected()[ Index ];
    }

    /// The object, which is the caller's to delete from now on.
    [[nodiscard]] T* Release() noexcept { return std::exchange( _pObject, nullptr ); }

    /// Deletes the object and takes another, or none. Resetting to the object that it has does nothing.
    void Reset() noexcept;
    template <NZanScopedPtr::COwnableAs<T, Form> TOther>
    void Reset( TOther* pObject ) noexcept;
    void Reset( std::nullptr_t ) noexcept { Reset(); }
    template <NZanScopedPtr::COwnableAs<T, Form> TOther>
    void Reset( CZanScopedPtrImpl<TOther, Form>&& Source ) noexcept;

    void Swap( CZanScopedPtrImpl& Other ) noexcept { std::swap( _pObject, Other._pObject ); }

private:
    static void Delete( T* pObject );

    template <typename TOther>
    static constexpr void CheckDeletable();

    T* GetExpected() const;
    void Set( T* pObject ) noexcept;

    T* _pObject = nullptr; // owned
};

/// A new T( Args... ), which without arguments is value-initialised.
template <typename T, typename... TArgs>
inline CZanScopedPtr<T> ZanMakeScopedPtr( TArgs&&... Args )
{
    return CZanScopedPtr<T>( new T( std::forward<TArgs>( Args )... ) );
}

/// Count value-initialised elements. A negative count throws std::bad_array_new_length.
template <typename T>
inline CZanScopedArray<T> ZanMakeScopedArray( int32 Count )
{
    if ( Count < 0 )
    {
        throw std::bad_array_new_length(); // here, for compilers leave out arrays that nobody uses
    }
    return CZanScopedArray<T>( new T[ static_cast<size_t>( Count ) ]() );
}

// Owners compare and hash as the pointers that they hold.

template <typename T, typename TOther, int32 Form>
inline bool operator==( const CZanScopedPtrImpl<T, Form>& Left, const CZanScopedPtrImpl<TOther, Form>& Right )
{
    return Left.GetPtr() == Right.GetPtr();
}
template <typename T, int32 Form>
inline bool operator==( const CZanScopedPtrImpl<T, Form>& Left, std::nullptr_t )
{
    return Left.GetPtr() == nullptr;
}
template <typename T, int32 Form>
inline std::strong_ordering operator<=>(
    const CZanScopedPtrImpl<T, Form>& Left, const CZanScopedPtrImpl<T, Form>& Right )
{
    return std::compare_three_way()( Left.GetPtr(), Right.GetPtr() );
}

template <typename T, int32 Form>
inline void swap( CZanScopedPtrImpl<T, Form>& Left, CZanScopedPtrImpl<T, Form>& Right ) noexcept
{
    Left.Swap( Right );
}

template <typename T, int32 Form>
inline uint32 ZanHash( const CZanScopedPtrImpl<T, Form>& Owner )
{
    return NZanHash::NDetail::HashObject( Owner.GetPtr() );
}
template <typename T, int32 Form>
struct std::hash<CZanScopedPtrImpl<T, Form>>
{
    size_t operator()( const CZanScopedPtrImpl<T, Form>& Owner ) const { return ZanHash( Owner ); }
};

// --- Bodies --------------------------------------------------------------------------------------------

template <typename T, int32 Form>
inline void CZanScopedPtrImpl<T, Form>::Delete( T* pObject )
{
    static_assert(
        requires { sizeof( T ); }, "include the type's definition where its owner lets go of it: "
                                   "an incomplete type cannot be deleted" );
    if constexpr ( Form == NZanScopedPtr::ArrayForm )
    {
        delete[] pObject;
    }
    else
    {
        delete pObject;
    }
}

template <typename T, int32 Form>
template <typename TOther>
constexpr void CZanScopedPtrImpl<T, Form>::CheckDeletable()
{
    if constexpr ( !std::is_same_v<std::remove_cv_t<TOther>, std::remove_cv_t<T>> )
    {
        static_assert( std::has_virtual_destructor_v<T>,
            "give the base class a virtual destructor: objects of the derived class are deleted through it" );
    }
}

template <typename T, int32 Form>
inline T* CZanScopedPtrImpl<T, Form>::GetExpected() const
{
    static_cast<void>( zan_expects( _pObject != nullptr, "access through an empty scoped pointer" ) );
    return _pObject;
}

/// What the destructor of the former object finds here is the new one.
template <typename T, int32 Form>
inline void CZanScopedPtrImpl<T, Form>::Set( T* pObject ) noexcept
{
    Delete( std::exchange( _pObject, pObject ) );
}

template <typename T, int32 Form>
inline auto CZanScopedPtrImpl<T, Form>::operator=( CZanScopedPtrImpl&& Other ) noexcept -> CZanScopedPtrImpl&
{
    Set( Other.Release() );
    return *this;
}

template <typename T, int32 Form>
template <NZanScopedPtr::COwnableAs<T, Form> TOther>
inline auto CZanScopedPtrImpl<T, Form>::operator=( CZanScopedPtrImpl<TOther, Form>&& Other ) noexcept
    -> CZanScopedPtrImpl&
{
    CheckDeletable<TOther>();
    Set( Other.Release() );
    return *this;
}

template <typename T, int32 Form>
inline auto CZanScopedPtrImpl<T, Form>::operator=( std::nullptr_t ) noexcept -> CZanScopedPtrImpl&
{
    Set( nullptr );
    return *this;
}

template <typename T, int32 Form>
inline void CZanScopedPtrImpl<T, Form>::Reset() noexcept
{
    Set( nullptr );
}

template <typename T, int32 Form>
template <NZanScopedPtr::COwnableAs<T, Form> TOther>
inline void CZanScopedPtrImpl<T, Form>::Reset( TOther* pObject ) noexcept
{
    CheckDeletable<TOther>();
    if ( pObject != _pObject )
    {
        Set( pObject );
    }
}

template <typename T, int32 Form>
template <NZanScopedPtr::COwnableAs<T, Form> TOther>
inline void CZanScopedPtrImpl<T, Form>::Reset( CZanScopedPtrImpl<TOther, Form>&& Source ) noexcept
{
    *this = std::move( Source );
}
