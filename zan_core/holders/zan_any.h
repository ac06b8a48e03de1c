#pragma once

#include "zan_core/holders/zan_any_type.h"

#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

/// One value of any type, or nothing. Values of up to Size bytes live inside the holder, larger ones and
/// those aligned to more than a pointer in a block of the heap. Where the types are known, a variant is
/// faster; to hold one value of each type, see CZanMultiAny. Not synchronised.
///
///     CZanAny<32, true> Setting = CString( "dark" );
///     Setting = 12;
///     if ( const int32* pPercent = Setting.GetValue<int32>() ) { Use( *pPercent ); }
///
/// bCopyable says whether the holder is copied. One that is takes values that are not only by a move from a
/// holder that is not, and its copies are then empty. Holders of one size convert between both kinds.
///
/// A move leaves the source with a value that was moved from: only Reset() empties it. Writing another type
/// invalidates references to the value; writing the same type assigns to it, in the block that it has. When
/// the construction of a value throws, the holder is empty.
///
/// What is given must not lie inside the value that is held, unless it is that value.
template <int32 Size, bool bCopyable>
class CZanAny
{
    static_assert( Size >= static_cast<int32>( sizeof( void* ) ),
        "take a Size of 8 or more: the address of a large value has to fit" );

    using SAnyType = ZanAnyImpl::SAnyType;
    using COther = CZanAny<Size, !bCopyable>;

    static constexpr bool bMoveOnly = !bCopyable;

public:
    /// Empty.
    CZanAny() : _pType( GetEmptyType() ), _Storage{} {}

    /// A copy of an lvalue, or what an rvalue moves. Of an array it is a pointer to the first element.
    template <ZanAnyImpl::CValueFor<Size> TValue>
    // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): the constraint leaves out the class itself
    CZanAny( TValue&& Value ) : _pType( GetEmptyType() ), _Storage{}
    {
        Construct<std::decay_t<TValue>>( std::forward<TValue>( Value ) );
    }

    CZanAny( const CZanAny& Other ) requires bCopyable : CZanAny( SRaw() ) { Begin( Other ); }
    CZanAny( const COther& Other ) requires( !bCopyable ) : CZanAny( SRaw() ) { Begin( Other ); } // NOLINT
    CZanAny( CZanAny&& Other ) : CZanAny( SRaw() ) { Begin( Other ); }                            // NOLINT
    CZanAny( COther&& Other ) : CZanAny( SRaw() ) { Begin( Other ); }                             // NOLINT
    ~CZanAny() { DestroyValue(); }

    // Compilers show these lines.
    CZanAny( const CZanAny& ) requires bMoveOnly = delete; // move it: this kind of CZanAny is not copied
    CZanAny( const COther& ) requires bCopyable = delete;  // move it: this kind of CZanAny is not copied
    CZanAny& operator=( const CZanAny& ) requires bMoveOnly = delete; // move it: this kind is not copied
    CZanAny& operator=( const COther& ) requires bCopyable = delete;  // move it: this kind is not copied

    template <ZanAnyImpl::CValueFor<Size> TValue>
    CZanAny& operator=( TValue&& Value );
    // NOLINTNEXTLINE(bugprone-unhandled-self-assignment): CopyAssign does
    CZanAny& operator=( const CZanAny& Other ) requires bCopyable { return Assign( Other ); }
    CZanAny& operator=( const COther& Other ) requires bMoveOnly { return Assign( Other ); }
    CZanAny& operator=( CZanAny&& Other ) { return Assign( Other ); }
    CZanAny& operator=( COther&& Other ) { return Assign( Other ); }

    bool IsEmpty() const { return _pType == GetEmptyType(); }

    template <typename T>
    bool IsType() const
    {
        return _pType == ZanAnyImpl::GetType<T, Size>();
    }

    /// The value, or null if it is not exactly a T. Compares addresses only.
    template <typename T>
    const T* GetValue() const
    {
        return IsType<T>() ? ZanAnyImpl::TForm<T, Size>::Get( _Storage ) : nullptr;
    }
    template <typename T>
    T* AccessValue()
    {
        return IsType<T>() ? ZanAnyImpl::TForm<T, Size>::Access( _Storage ) : nullptr;
    }

    /// Calls the visitor with the value. False when it does not handle the type, SZanAnyEmpty for nothing.
    bool Visit( CZanAnyVisitor& Visitor ) const { return _pType->Accept( _Storage, Visitor ); }

    void Reset();

    /// Exchanges the values; without allocation, if they are bytes or have blocks of their own.
    void Swap( CZanAny& Other );

    /// ZanHash of the value, or 0 where its type has none or nothing is held.
    uint32 CalcValueHash() const { return _pType->CalcValueHash( _Storage ); }

    /// What ZanHash gives for a holder of this value.
    template <typename T>
    static uint32 CalcHash( const T& Value );

    SZanTypeIndex GetTypeIndex() const { return _pType->GetTypeIndex(); }
    CZanAnyTypeHandle GetTypeHandle() const { return CZanAnyTypeHandle( _pType ); }

    /// False for another type, and for a type without operator==. Of two empty holders true.
    template <bool bOtherCopyable>
    bool IsEqual( const CZanAny<Size, bOtherCopyable>& Other ) const;
    template <typename TValue>
    bool IsEqualToValue( const TValue& Value ) const;

private:
    friend class CZanAny<Size, !bCopyable>;

    static const SAnyType* GetEmptyType() { return ZanAnyImpl::GetType<ZanAnyImpl::SZanAnyEmpty, Size>(); }

    template <typename T, typename TValue>
    static constexpr void CheckValue();
    template <typename T>
    void StoreWord( const T& Value );
    template <typename T, typename TValue>
    void Construct( TValue&& Value );
    void DestroyValue();
    void MakeEmpty();

    /// For Begin to fill, and called by name: g++ 12 leaves members of constrained constructors without their
    /// initialisers.
    struct SRaw
    {};
    explicit CZanAny( SRaw ) : _pType( GetEmptyType() ) {}

    // These copy from a const holder, and move from another one.
    template <typename TOther>
    void Begin( TOther& Other );
    template <typename TOther>
    CZanAny& Assign( TOther& Other );
    template <typename TOther>
    void TakeValue( TOther& Other );

    template <typename TOther>
    void TakeBytes( const TOther& Other );

    void SetCopy( const SAnyType* pType, const void* pOtherStorage );
    void SetMoved( const SAnyType* pType, void* pOtherStorage );

    const SAnyType* _pType; // never null

    // The value in place, or the address of its block. Where no value reaches, it is zero.
    alignas( void* ) unsigned char _Storage[ Size ];
};

/// Holders of one size compare, whichever kind they are of, and with bare values.
template <int32 Size, bool bLeftCopyable, bool bRightCopyable>
inline bool operator==( const CZanAny<Size, bLeftCopyable>& Left, const CZanAny<Size, bRightCopyable>& Right )
{
    return Left.IsEqual( Right );
}
template <int32 Size, bool bCopyable, typename TValue>
requires( !ZanAnyImpl::CAnAny<TValue> ) inline bool operator==(
    const CZanAny<Size, bCopyable>& Any, const TValue& Value )
{
    return Any.IsEqualToValue( Value );
}

template <int32 Size, bool bCopyable>
inline void swap( CZanAny<Size, bCopyable>& Left, CZanAny<Size, bCopyable>& Right )
{
    Left.Swap( Right );
}

/// Of the value and its type, so that equal numbers of different types hash differently. For one process
/// only.
template <int32 Size, bool bCopyable>
inline uint32 ZanHash( const CZanAny<Size, bCopyable>& Any )
{
    return NZanHash::NDetail::Combine( Any.CalcValueHash(), ZanHash( Any.GetTypeHandle() ) );
}
template <int32 Size, bool bCopyable>
struct std::hash<CZanAny<Size, bCopyable>>
{
    size_t operator()( const CZanAny<Size, bCopyable>& Any ) const { return ZanHash( Any ); }
};

/// The name of the type that is held, to any stream that takes text.
template <typename TStream, int32 Size, bool bCopyable>
TStream& operator<<( TStream& Stream, const CZanAny<Size, bCopyable>& Any )
{
    Stream << ( Any.IsEmpty() ? "(empty)" : ZanAnyImpl::CTypeName( Any.GetTypeIndex() ).GetText() );
    return Stream;
}

// --- Bodies --------------------------------------------------------------------------------------------

template <int32 Size, bool bCopyable>
template <typename T, typename TValue>
constexpr void CZanAny<Size, bCopyable>::CheckValue()
{
    static_assert( !bCopyable || ZanAnyImpl::IsCopyable<T>(),
        "hold the value in a CZanAny<Size, false>: what cannot be "
        "copied cannot be given to a copyable holder" );
    static_assert(
        std::is_constructible_v<T, TValue>, "move the value into the holder: it cannot be copied" );
}

/// Bytes that are fewer than a word are stored with the zeros behind them: they are loaded with those when
/// the holder is copied, and a load that is wider than the store before it has to wait.
template <int32 Size, bool bCopyable>
template <typename T>
inline void CZanAny<Size, bCopyable>::StoreWord( const T& Value )
{
    std::uintptr_t Word = 0;
    std::memcpy( &Word, std::addressof( Value ), sizeof( T ) );
    std::memcpy( _Storage, &Word, sizeof( Word ) );
}

/// Into an empty holder.
template <int32 Size, bool bCopyable>
template <typename T, typename TValue>
inline void CZanAny<Size, bCopyable>::Construct( TValue&& Value )
{
    const SAnyType* const pType = ZanAnyImpl::GetType<T, Size>();
    CheckValue<T, TValue>();
    if constexpr ( ZanAnyImpl::bIsWord<T> )
    {
        StoreWord<T>( Value );
    }
    else
    {
        ZanAnyImpl::TForm<T, Size>::Construct( _Storage, std::forward<TValue>( Value ) );
    }
    _pType = pType;
}

/// Leaves storage that nothing may look at.
template <int32 Size, bool bCopyable>
inline void CZanAny<Size, bCopyable>::DestroyValue()
{
    if ( !_pType->_Traits._bIsBytes )
    {
        _pType->Destroy( _Storage );
    }
}

template <int32 Size, bool bCopyable>
inline void CZanAny<Size, bCopyable>::MakeEmpty()
{
    _pType = GetEmptyType();
    std::memset( _Storage, 0, sizeof( _Storage ) );
}

template <int32 Size, bool bCopyable>
inline void CZanAny<Size, bCopyable>::Reset()
{
    DestroyValue();
    MakeEmpty();
}

template <int32 Size, bool bCopyable>
template <ZanAnyImpl::CValueFor<Size> TValue>
inline auto CZanAny<Size, bCopyable>::operator=( TValue&& Value ) -> CZanAny&
{
    using T = std::decay_t<TValue>;
    CheckValue<T, TValue>();
    if ( IsType<T>() )
    {
        T* const pHeld = ZanAnyImpl::TForm<T, Size>::Access( _Storage );
        if ( static_cast<const void*>( pHeld ) == static_cast<const void*>( std::addressof( Value ) ) )
        {
            return *this;
        }
        if constexpr ( ZanAnyImpl::bIsWord<T> )
        {
            StoreWord<T>( Value );
            return *this;
        }
        else if constexpr ( std::is_assignable_v<T&, TValue> )
        {
            *pHeld = std::forward<TValue>( Value );
            return *this;
        }
    }
    Reset();
    Construct<T>( std::forward<TValue>( Value ) );
    return *this;
}

/// Takes over a value that is bytes, and with it the zeros behind it.
template <int32 Size, bool bCopyable>
template <typename TOther>
inline void CZanAny<Size, bCopyable>::TakeBytes( const TOther& Other )
{
    std::memcpy( _Storage, Other._Storage, sizeof( _Storage ) );
    _pType = Other._pType;
}

/// Takes over a value that is no bytes, in place of its own.
template <int32 Size, bool bCopyable>
template <typename TOther>
inline void CZanAny<Size, bCopyable>::TakeValue( TOther& Other )
{
    if constexpr ( std::is_const_v<TOther> )
    {
        SetCopy( Other._pType, Other._Storage );
    }
    else
    {
        SetMoved( Other._pType, Other._Storage );
    }
}

template <int32 Size, bool bCopyable>
template <typename TOther>
inline void CZanAny<Size, bCopyable>::Begin( TOther& Other )
{
    if ( Other._pType->_Traits._bIsBytes )
    {
        TakeBytes( Other );
    }
    else
    {
        MakeEmpty();
        TakeValue( Other );
    }
}

template <int32 Size, bool bCopyable>
template <typename TOther>
inline auto CZanAny<Size, bCopyable>::Assign( TOther& Other ) -> CZanAny&
{
    if ( static_cast<const void*>( this ) == static_cast<const void*>( &Other ) )
    {
        return *this;
    }
    if ( Other._pType->_Traits._bIsBytes )
    {
        DestroyValue();
        TakeBytes( Other );
    }
    else
    {
        TakeValue( Other );
    }
    return *this;
}

template <int32 Size, bool bCopyable>
void CZanAny<Size, bCopyable>::SetCopy( const SAnyType* pType, const void* pOtherStorage )
{
    if ( _pType == pType && pType->_Traits._bCopyAssigns )
    {
        pType->CopyAssign( pType->GetValuePtr( pOtherStorage ), _Storage );
        return;
    }
    Reset();
    if ( pType->_Traits._bIsCopyable )
    {
        pType->CopyConstruct( pType->GetValuePtr( pOtherStorage ), _Storage );
        _pType = pType;
    }
}

template <int32 Size, bool bCopyable>
void CZanAny<Size, bCopyable>::SetMoved( const SAnyType* pType, void* pOtherStorage )
{
    if ( _pType == pType && pType->_Traits._bMoveAssigns )
    {
        pType->MoveAssign( pType->AccessValuePtr( pOtherStorage ), _Storage );
        return;
    }
    Reset();
    pType->MoveConstruct( pType->AccessValuePtr( pOtherStorage ), _Storage );
    _pType = pType;
}

template <int32 Size, bool bCopyable>
void CZanAny<Size, bCopyable>::Swap( CZanAny& Other )
{
    if ( this == &Other )
    {
        return;
    }
    if ( _pType->_Traits._bIsRelocated && Other._pType->_Traits._bIsRelocated )
    {
        unsigned char Bytes[ Size ];
        std::memcpy( Bytes, _Storage, sizeof( Bytes ) );
        std::memcpy( _Storage, Other._Storage, sizeof( Bytes ) );
        std::memcpy( Other._Storage, Bytes, sizeof( Bytes ) );
        std::swap( _pType, Other._pType );
        return;
    }
    CZanAny Parked( std::move( *this ) );
    *this = std::move( Other );
    Other = std::move( Parked );
}

template <int32 Size, bool bCopyable>
template <typename T>
uint32 CZanAny<Size, bCopyable>::CalcHash( const T& Value )
{
    using THeld = std::decay_t<const T&>;
    const THeld& Held = Value;
    return NZanHash::NDetail::Combine(
        ZanAnyImpl::CalcValueHash( Held ), ZanHash( CZanAnyTypeHandle::Make<THeld, Size>() ) );
}

template <int32 Size, bool bCopyable>
template <bool bOtherCopyable>
inline bool CZanAny<Size, bCopyable>::IsEqual( const CZanAny<Size, bOtherCopyable>& Other ) const
{
    return _pType == Other._pType && _pType->IsEqual( _Storage, Other._Storage );
}

template <int32 Size, bool bCopyable>
template <typename TValue>
inline bool CZanAny<Size, bCopyable>::IsEqualToValue( const TValue& Value ) const
{
    using T = std::decay_t<const TValue&>;
    const T& Bare = Value;
    return IsType<T>() && _pType->IsEqualToValue( _Storage, std::addressof( Bare ) );
}
