#pragma once

#include "zan_core/hashing/zan_robin_hood_table.h"
#include "zan_core/holders/zan_any.h"
#include "zan_core/holders/zan_optional.h"

#include <utility>

/// At most one value of each type: data that several users attach to one object, each by a type of its own.
/// For values by name choose a map. Values of up to Size bytes lie in the slots of a hash table, larger ones
/// in blocks of the heap; without values there is no memory. Setting and removing invalidate the pointers to
/// all values. Lookups compare addresses. Not synchronised; what is not changed may be read by several
/// threads.
///
///     CZanMultiAny<40, false> Data;
///     Data.SetValue( SPosition{ 1, 2 } );
///     if ( const SPosition* pPosition = Data.GetValue<SPosition>() ) { Use( *pPosition ); }
template <int32 Size, bool bCopyable>
class CZanMultiAny
{
public:
    CZanMultiAny() = default;
    CZanMultiAny( const CZanMultiAny& Other ) requires bCopyable : _Table( Other._Table ) {}
    CZanMultiAny( CZanMultiAny&& Other ) noexcept = default; ///< Takes the table; Other is empty afterwards.
    CZanMultiAny& operator=( const CZanMultiAny& Other ) requires bCopyable;
    CZanMultiAny& operator=( CZanMultiAny&& Other ) noexcept = default;
    void Swap( CZanMultiAny& Other ) { _Table.Swap( Other._Table ); }

    bool IsEmpty() const { return _Table.GetSize() == 0; }

    /// Stores a copy of an lvalue, or what an rvalue moves, in place of an earlier value of the type. Gives
    /// the stored value. The argument may be one of the stored values.
    template <typename TValue>
    std::decay_t<TValue>* SetValue( TValue&& Value );

    template <typename T>
    bool HasValue() const
    {
        return FindValue<T>() != nullptr;
    }

    /// The value, or null.
    template <typename T>
    const T* GetValue() const;
    template <typename T>
    T* AccessValue()
    {
        return const_cast<T*>( GetValue<T>() );
    }

    /// Copies the value to Out. False, and Out as it was, when there is none.
    template <typename T>
    bool GetValue( T& Out ) const;

    /// Whether there was something to remove.
    template <typename T>
    bool RemoveValue();

    /// Moves the value out and removes it. Not set when there was none.
    template <typename T>
    CZanOptional<T> TryReleaseValue();

    void Clear() { _Table.Clear(); }

    bool CheckInvariants() const { return _Table.CheckInvariants(); } ///< For self-checks.

private:
    using CAny = CZanAny<Size, bCopyable>;

    /// Entries are found by their types, whatever the values.
    static CZanAnyTypeHandle GetHandle( const CAny& Entry ) { return Entry.GetTypeHandle(); }
    static CZanAnyTypeHandle GetHandle( CZanAnyTypeHandle Handle ) { return Handle; }

    struct STypeHash
    {
        uint32 operator()( const auto& Key ) const { return ZanHash( GetHandle( Key ) ); }
    };
    struct STypeEqual
    {
        bool operator()( const CAny& Entry, const auto& Key ) const
        {
            return Entry.GetTypeHandle() == GetHandle( Key );
        }
    };
    using CTable = CZanRobinHoodTable<CAny, NZanRobinHoodTable::SPayloadIsKey, STypeHash, STypeEqual>;

    template <typename T>
    const CAny* FindValue() const
    {
        return _Table.GetPayload( CZanAnyTypeHandle::Make<T, Size>() );
    }

    CTable _Table; // at most one entry of each type, and none that is empty
};

template <int32 Size, bool bCopyable>
inline void swap( CZanMultiAny<Size, bCopyable>& Left, CZanMultiAny<Size, bCopyable>& Right )
{
    Left.Swap( Right );
}

// --- Bodies --------------------------------------------------------------------------------------------

template <int32 Size, bool bCopyable>
auto CZanMultiAny<Size, bCopyable>::operator=( const CZanMultiAny& Other ) -> CZanMultiAny& requires bCopyable
{
    _Table = Other._Table;
    return *this;
}

template <int32 Size, bool bCopyable>
template <typename TValue>
std::decay_t<TValue>* CZanMultiAny<Size, bCopyable>::SetValue( TValue&& Value )
{
    CAny Any( std::forward<TValue>( Value ) ); // before the table changes, which Value may lie in
    const CZanAnyTypeHandle Handle = Any.GetTypeHandle();
    const auto Result = _Table.EmplaceBuilt(
        CTable::CalcHash( Handle ), Handle, [ & ]() -> CAny { return CAny( std::move( Any ) ); } );
    if ( !Result )
    {
        *Result._Iterator = std::move( Any );
    }
    return Result._Iterator->template AccessValue<std::decay_t<TValue>>();
}

template <int32 Size, bool bCopyable>
template <typename T>
inline const T* CZanMultiAny<Size, bCopyable>::GetValue() const
{
    const CAny* const pAny = FindValue<T>();
    return pAny != nullptr ? pAny->template GetValue<T>() : nullptr;
}

template <int32 Size, bool bCopyable>
template <typename T>
bool CZanMultiAny<Size, bCopyable>::GetValue( T& Out ) const
{
    const T* const pValue = GetValue<T>();
    if ( pValue == nullptr )
    {
        return false;
    }
    Out = *pValue;
    return true;
}

template <int32 Size, bool bCopyable>
template <typename T>
bool CZanMultiAny<Size, bCopyable>::RemoveValue()
{
    const auto Found = _Table.Find( CZanAnyTypeHandle::Make<T, Size>() );
    if ( !Found )
    {
        return false;
    }
    _Table.Remove( Found );
    return true;
}

template <int32 Size, bool bCopyable>
template <typename T>
CZanOptional<T> CZanMultiAny<Size, bCopyable>::TryReleaseValue()
{
    CZanOptional<T> Released;
    const auto Found = _Table.Find( CZanAnyTypeHandle::Make<T, Size>() );
    if ( Found )
    {
        Released.Emplace( std::move( *Found->template AccessValue<T>() ) );
        _Table.Remove( Found );
    }
    return Released;
}
