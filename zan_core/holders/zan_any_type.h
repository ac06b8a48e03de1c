#pragma once

#include "zan_core/hashing/zan_hash.h"
#include "zan_core/zan_types.h"

#include <cstddef>
#include <new>
#include <type_traits>
#include <typeinfo>
#include <utility>

/// What CZanAny is made of: the identity of types, the visitors, and the type objects that know how to treat
/// the storage of a holder.

/// Which type. Equal in all modules of a process, as the name decides.
struct SZanTypeIndex
{
    SZanTypeIndex( const std::type_info& TypeInfo ) : _pTypeInfo( &TypeInfo ) {}
    template <typename T>
    static SZanTypeIndex Make()
    {
        return typeid( T );
    }

    friend bool operator==( SZanTypeIndex Left, SZanTypeIndex Right )
    {
        return *Left._pTypeInfo == *Right._pTypeInfo;
    }
    friend uint32 ZanHash( SZanTypeIndex Index )
    {
        return NZanHash::NDetail::HashObject( Index._pTypeInfo->hash_code() );
    }

    const std::type_info* _pTypeInfo; // never null
};

/// A visitor derives from this one, and from a CZanAnyTypedVisitor for each type that it handles.
class CZanAnyVisitor
{
public:
    virtual ~CZanAnyVisitor() = default;
};

template <typename T>
class CZanAnyTypedVisitor
{
public:
    virtual ~CZanAnyTypedVisitor() = default;
    virtual void Visit( const T& Value ) = 0;
};

template <int32 Size, bool bCopyable>
class CZanAny;

namespace ZanAnyImpl
{
template <int32 Size, bool bCopyable>
void ProbeAny( const CZanAny<Size, bCopyable>* );

/// A CZanAny of whatever kind, or derived from one.
template <typename T>
concept CAnAny = requires( const T* pValue )
{
    ProbeAny( pValue );
};

/// All but what is itself a holder of that Size.
template <typename TValue, int32 Size>
concept CValueFor = !std::is_base_of_v<CZanAny<Size, true>, std::remove_cvref_t<TValue>> &&
                    !std::is_base_of_v<CZanAny<Size, false>, std::remove_cvref_t<TValue>>;

/// Whether the value copies and compares, and its elements too if it is a range: those of the standard
/// library say they do whatever their elements say.
template <typename T>
consteval bool IsCopyable();
template <typename T>
consteval bool IsComparable();

template <typename T, int32 Size>
constexpr bool bFitsInPlace = sizeof( T ) <= size_t( Size ) && alignof( T ) <= alignof( void* );

/// Bytes that are fewer than a word.
template <typename T>
constexpr bool bIsWord = std::is_trivially_copyable_v<T>&& IsCopyable<T>() && sizeof( T ) < sizeof( void* ) &&
                         !std::is_empty_v<T>;

/// What a holder has to know of a type before it calls its object.
struct SAnyTraits
{
    bool _bIsBytes;     // in place; copying the storage copies and moves the value, and nothing destroys it
    bool _bIsRelocated; // copying the storage moves the value elsewhere
    bool _bIsCopyable;
    bool _bCopyAssigns;
    bool _bMoveAssigns;
};

/// The type object: all holders of one size that hold a T point to the same one. Storage is the address of a
/// holder's storage, and a value the address of a T. Immutable, so any thread may use it.
struct SAnyType
{
    constexpr explicit SAnyType( SAnyTraits Traits ) : _Traits( Traits ) {}
    SAnyType( const SAnyType& ) = delete;
    SAnyType& operator=( const SAnyType& ) = delete;
    constexpr virtual ~SAnyType() = default;

    virtual SZanTypeIndex GetTypeIndex() const = 0;
    virtual void MoveConstruct( void* pValue, void* pStorage ) const = 0;
    virtual void Destroy( void* pStorage ) const = 0;
    virtual void MoveAssign( void* pValue, void* pStorage ) const = 0;
    virtual const void* GetValuePtr( const void* pStorage ) const = 0;
    virtual void* AccessValuePtr( void* pStorage ) const = 0;
    virtual bool IsEqual( const void* pStorageA, const void* pStorageB ) const = 0;
    virtual bool IsEqualToValue( const void* pStorage, const void* pValue ) const = 0;
    virtual uint32 CalcValueHash( const void* pStorage ) const = 0;
    virtual bool Accept( const void* pStorage, CZanAnyVisitor& Visitor ) const = 0;
    virtual void CopyConstruct( const void* pValue, void* pStorage ) const = 0;
    virtual void CopyAssign( const void* pValue, void* pStorage ) const = 0;

    const SAnyTraits _Traits;
};

/// Spares the callers' tests for null, as a type of its own means that there is a value.
template <typename T>
inline T* AsNotNull( T* pValue )
{
    if ( pValue == nullptr )
    {
        __builtin_unreachable();
    }
    return pValue;
}

/// The value in the storage itself.
template <typename T>
struct SInPlace
{
    static T* Access( void* pStorage ) { return AsNotNull( std::launder( static_cast<T*>( pStorage ) ) ); }
    static const T* Get( const void* pStorage )
    {
        return AsNotNull( std::launder( static_cast<const T*>( pStorage ) ) );
    }

    template <typename... TArgs>
    static void Construct( void* pStorage, TArgs&&... Args )
    {
        ::new ( pStorage ) T( std::forward<TArgs>( Args )... );
    }
    static void Destroy( void* pStorage ) { Access( pStorage )->~T(); }
};

/// The value in a block of its own, and the block's address in the storage.
template <typename T>
struct SAllocated
{
    static T*& AccessBlock( void* pStorage ) { return *std::launder( static_cast<T**>( pStorage ) ); }
    static T* Access( void* pStorage ) { return AsNotNull( AccessBlock( pStorage ) ); }
    static const T* Get( const void* pStorage )
    {
        return AsNotNull<const T>( *std::launder( static_cast<T* const*>( pStorage ) ) );
    }

    template <typename... TArgs>
    static void Construct( void* pStorage, TArgs&&... Args )
    {
        T* const pBlock = new T( std::forward<TArgs>( Args )... );
        ::new ( pStorage ) T*( pBlock );
    }
    static void Destroy( void* pStorage )
    {
        T*& pBlock = AccessBlock( pStorage );
        if ( pBlock != nullptr )
        {
            delete pBlock;
            pBlock = nullptr;
        }
    }
};

template <typename T, int32 Size>
using TForm = std::conditional_t<bFitsInPlace<T, Size>, SInPlace<T>, SAllocated<T>>;

template <typename T, int32 Size>
consteval SAnyTraits MakeTraits();

template <typename T>
bool AreEqual( const T& Left, const T& Right );

/// 0 where there is no ZanHash.
template <typename T>
uint32 CalcValueHash( const T& Value );

/// All but the copies, for both forms.
template <typename T, int32 Size>
struct SAnyTypeOf : SAnyType
{
    constexpr explicit SAnyTypeOf() : SAnyType( MakeTraits<T, Size>() ) {}

    SZanTypeIndex GetTypeIndex() const final { return typeid( T ); }
    void MoveConstruct( void* pValue, void* pStorage ) const final;
    void Destroy( void* pStorage ) const final { TForm<T, Size>::Destroy( pStorage ); }
    void MoveAssign( void* pValue, void* pStorage ) const final;
    const void* GetValuePtr( const void* pStorage ) const final { return TForm<T, Size>::Get( pStorage ); }
    void* AccessValuePtr( void* pStorage ) const final { return TForm<T, Size>::Access( pStorage ); }
    bool IsEqual( const void* pStorageA, const void* pStorageB ) const final;
    bool IsEqualToValue( const void* pStorage, const void* pValue ) const final;
    uint32 CalcValueHash( const void* pStorage ) const final;
    bool Accept( const void* pStorage, CZanAnyVisitor& Visitor ) const final;
    void CopyConstruct( const void*, void* ) const override {}
    void CopyAssign( const void*, void* ) const override {}
};

template <typename T, int32 Size>
struct SAnyTypeInPlace : SAnyTypeOf<T, Size>
{};

template <typename T, int32 Size>
struct SAnyTypeAllocated : SAnyTypeOf<T, Size>
{};

template <typename T, int32 Size, typename TBase>
struct SCopyableAnyTypeOf : TBase
{
    void CopyConstruct( const void* pValue, void* pStorage ) const final;
    void CopyAssign( const void* pValue, void* pStorage ) const final;
};

template <typename T, int32 Size>
struct SCopyableAnyTypeInPlace final : SCopyableAnyTypeOf<T, Size, SAnyTypeInPlace<T, Size>>
{};

template <typename T, int32 Size>
struct SCopyableAnyTypeAllocated final : SCopyableAnyTypeOf<T, Size, SAnyTypeAllocated<T, Size>>
{};

/// What an empty holder holds.
struct SZanAnyEmpty
{
    friend bool operator==( SZanAnyEmpty, SZanAnyEmpty ) { return true; }
};

/// The one type object of T in holders of Size. It is a constant: there is no first use to guard, and no end
/// that a static holder could outlive.
template <typename T, int32 Size>
const SAnyType* GetType();

/// The readable name of a type, for messages.
class CTypeName
{
public:
    explicit CTypeName( SZanTypeIndex Index );
    CTypeName( const CTypeName& ) = delete;
    CTypeName& operator=( const CTypeName& ) = delete;
    ~CTypeName();

    const char* GetText() const;

private:
    const char* _pRawName;
    char* _pReadableName; // from malloc, or null where there is none
};
} // namespace ZanAnyImpl

/// The type that a holder holds, together with the holder's size. Compares and hashes by an address, so its
/// hash is for one process only.
class CZanAnyTypeHandle
{
public:
    explicit CZanAnyTypeHandle( const ZanAnyImpl::SAnyType* pType ) : _pType( pType ) {}
    template <typename T, int32 Size>
    static CZanAnyTypeHandle Make()
    {
        return CZanAnyTypeHandle( ZanAnyImpl::GetType<T, Size>() );
    }

    friend bool operator==( CZanAnyTypeHandle Left, CZanAnyTypeHandle Right ) = default;
    friend uint32 ZanHash( CZanAnyTypeHandle Handle )
    {
        return NZanHash::NDetail::HashObject( Handle._pType );
    }

private:
    const ZanAnyImpl::SAnyType* _pType; // never null
};

template <>
struct std::hash<SZanTypeIndex>
{
    size_t operator()( SZanTypeIndex Index ) const { return ZanHash( Index ); }
};
template <>
struct std::hash<CZanAnyTypeHandle>
{
    size_t operator()( CZanAnyTypeHandle Handle ) const { return ZanHash( Handle ); }
};

// --- Bodies --------------------------------------------------------------------------------------------

template <typename T>
consteval bool ZanAnyImpl::IsCopyable()
{
    if constexpr ( !std::is_copy_constructible_v<T> )
    {
        return false;
    }
    else if constexpr ( requires { typename T::value_type; } )
    {
        if constexpr ( std::is_object_v<typename T::value_type> &&
                       !std::is_same_v<typename T::value_type, T> )
        {
            return IsCopyable<std::remove_cv_t<typename T::value_type>>();
        }
    }
    return std::is_copy_constructible_v<T>;
}

template <typename T>
consteval bool ZanAnyImpl::IsComparable()
{
    constexpr bool bCompares = requires( const T& Left, const T& Right )
    {
        static_cast<bool>( Left == Right );
    };
    if constexpr ( bCompares && requires { typename T::value_type; } )
    {
        if constexpr ( std::is_object_v<typename T::value_type> &&
                       !std::is_same_v<typename T::value_type, T> )
        {
            return IsComparable<std::remove_cv_t<typename T::value_type>>();
        }
    }
    return bCompares;
}

template <typename T, int32 Size>
consteval auto ZanAnyImpl::MakeTraits() -> SAnyTraits
{
    constexpr bool bIsCopyable = IsCopyable<T>();
    return { bFitsInPlace<T, Size> && bIsCopyable && std::is_trivially_copyable_v<T>,
        !bFitsInPlace<T, Size> || std::is_trivially_copyable_v<T>, bIsCopyable,
        bIsCopyable && std::is_copy_assignable_v<T>, std::is_move_assignable_v<T> };
}

template <typename T>
inline bool ZanAnyImpl::AreEqual( const T& Left, const T& Right )
{
    if constexpr ( IsComparable<T>() )
    {
        return static_cast<bool>( Left == Right );
    }
    else
    {
        return false;
    }
}

template <typename T>
inline uint32 ZanAnyImpl::CalcValueHash( const T& Value )
{
    if constexpr ( CZanHashable<T> )
    {
        return ZanHash( Value );
    }
    else
    {
        return 0;
    }
}

template <typename T, int32 Size>
void ZanAnyImpl::SAnyTypeOf<T, Size>::MoveConstruct( void* pValue, void* pStorage ) const
{
    TForm<T, Size>::Construct( pStorage, std::move( *static_cast<T*>( pValue ) ) );
}

template <typename T, int32 Size>
void ZanAnyImpl::SAnyTypeOf<T, Size>::MoveAssign( void* pValue, void* pStorage ) const
{
    if constexpr ( std::is_move_assignable_v<T> )
    {
        T* const pHeld = TForm<T, Size>::Access( pStorage );
        if ( pHeld != pValue )
        {
            *pHeld = std::move( *static_cast<T*>( pValue ) );
        }
    }
}

template <typename T, int32 Size>
bool ZanAnyImpl::SAnyTypeOf<T, Size>::IsEqual( const void* pStorageA, const void* pStorageB ) const
{
    return AreEqual( *TForm<T, Size>::Get( pStorageA ), *TForm<T, Size>::Get( pStorageB ) );
}

template <typename T, int32 Size>
bool ZanAnyImpl::SAnyTypeOf<T, Size>::IsEqualToValue( const void* pStorage, const void* pValue ) const
{
    return AreEqual( *TForm<T, Size>::Get( pStorage ), *static_cast<const T*>( pValue ) );
}

template <typename T, int32 Size>
uint32 ZanAnyImpl::SAnyTypeOf<T, Size>::CalcValueHash( const void* pStorage ) const
{
    return ZanAnyImpl::CalcValueHash( *TForm<T, Size>::Get( pStorage ) );
}

template <typename T, int32 Size>
bool ZanAnyImpl::SAnyTypeOf<T, Size>::Accept( const void* pStorage, CZanAnyVisitor& Visitor ) const
{
    CZanAnyTypedVisitor<T>* const pVisitor = dynamic_cast<CZanAnyTypedVisitor<T>*>( &Visitor );
    if ( pVisitor == nullptr )
    {
        return false;
    }
    pVisitor->Visit( *TForm<T, Size>::Get( pStorage ) );
    return true;
}

template <typename T, int32 Size, typename TBase>
void ZanAnyImpl::SCopyableAnyTypeOf<T, Size, TBase>::CopyConstruct( const void* pValue, void* pStorage ) const
{
    TForm<T, Size>::Construct( pStorage, *static_cast<const T*>( pValue ) );
}

template <typename T, int32 Size, typename TBase>
void ZanAnyImpl::SCopyableAnyTypeOf<T, Size, TBase>::CopyAssign( const void* pValue, void* pStorage ) const
{
    if constexpr ( std::is_copy_assignable_v<T> )
    {
        T* const pHeld = TForm<T, Size>::Access( pStorage );
        if ( pHeld != pValue )
        {
            *pHeld = *static_cast<const T*>( pValue );
        }
    }
}

template <typename T, int32 Size>
inline auto ZanAnyImpl::GetType() -> const SAnyType*
{
    static_assert( std::is_same_v<T, std::decay_t<T>>,
        "name the plain type: what is held is neither const nor a reference nor an array" );
    static_assert( !CAnAny<T>,
        "a CZanAny cannot be held in a CZanAny: give it the value inside, or use holders of one size" );
    static_assert( std::is_move_constructible_v<T>, "hold a pointer to it: a value has to be movable" );

    using TCopyable = std::conditional_t<bFitsInPlace<T, Size>, SCopyableAnyTypeInPlace<T, Size>,
        SCopyableAnyTypeAllocated<T, Size>>;
    using TMovable =
        std::conditional_t<bFitsInPlace<T, Size>, SAnyTypeInPlace<T, Size>, SAnyTypeAllocated<T, Size>>;
    static constexpr std::conditional_t<IsCopyable<T>(), TCopyable, TMovable> Type;
    return &Type;
}
