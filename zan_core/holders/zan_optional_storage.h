#pragma once

#include <new>
#include <type_traits>
#include <utility>

/// The storage of CZanOptional, in layers, because only a base class can make the special members of a
/// template trivial, present or deleted as its argument's are: the slot destroys, the writer constructs, the
/// copier copies, and the permit takes away the copies that the value does not have.
namespace NZanOptional::NDetail
{
struct SNothing
{};

/// A flag, and a value that is alive exactly while the flag is set.
template <typename T, bool bTriviallyDestructible = std::is_trivially_destructible_v<T>>
struct SSlot
{
    constexpr SSlot() : _Nothing() {}
    template <typename... TArgs>
    constexpr explicit SSlot( std::in_place_t, TArgs&&... Args )
        : _bIsSet( true ), _Value( std::forward<TArgs>( Args )... )
    {}

    bool _bIsSet = false;
    union
    {
        SNothing _Nothing;
        T _Value;
    };
};

template <typename T>
struct SSlot<T, false>
{
    constexpr SSlot() : _Nothing() {}
    template <typename... TArgs>
    constexpr explicit SSlot( std::in_place_t, TArgs&&... Args )
        : _bIsSet( true ), _Value( std::forward<TArgs>( Args )... )
    {}
    SSlot( const SSlot& ) = delete;
    SSlot& operator=( const SSlot& ) = delete;
    constexpr ~SSlot()
    {
        if ( _bIsSet )
        {
            _Value.~T();
        }
    }

    bool _bIsSet = false;
    union
    {
        SNothing _Nothing;
        T _Value;
    };
};

template <typename T>
struct SWriter : SSlot<T>
{
    using SSlot<T>::SSlot;

    constexpr void Clear()
    {
        if constexpr ( !std::is_trivially_destructible_v<T> )
        {
            if ( this->_bIsSet )
            {
                this->_bIsSet = false;
                this->_Value.~T();
            }
        }
        this->_bIsSet = false;
    }

    /// Leaves the slot not set when the construction throws.
    template <typename... TArgs>
    constexpr T& Emplace( TArgs&&... Args )
    {
        Clear();
        Construct( std::forward<TArgs>( Args )... );
        this->_bIsSet = true;
        return this->_Value;
    }

    /// An object that is given its own value keeps it.
    template <typename TValue>
    constexpr void Set( TValue&& Value )
    {
        if constexpr ( std::is_same_v<std::remove_cvref_t<TValue>, T> )
        {
            if ( std::addressof( Value ) == std::addressof( this->_Value ) )
            {
                return;
            }
        }
        Emplace( std::forward<TValue>( Value ) );
    }

private:
    template <typename... TArgs>
    constexpr void Construct( TArgs&&... Args )
    {
        // Placement new is not for constant expressions; there a trivial assignment begins a member's life.
        if constexpr ( std::is_trivially_move_assignable_v<T> && std::is_trivially_destructible_v<T> )
        {
            if ( std::is_constant_evaluated() )
            {
                this->_Value = T( std::forward<TArgs>( Args )... );
                return;
            }
        }
        ::new ( static_cast<void*>( std::addressof( this->_Value ) ) ) T( std::forward<TArgs>( Args )... );
    }
};

/// True when copying the storage byte by byte copies the value, by construction and by assignment alike.
template <typename T>
constexpr bool IsPlain()
{
    constexpr bool bCopiesAlike = std::is_copy_constructible_v<T> == std::is_trivially_copy_assignable_v<T>;
    constexpr bool bMovesAlike = std::is_move_constructible_v<T> == std::is_trivially_move_assignable_v<T>;
    return std::is_trivially_copyable_v<T> && bCopiesAlike && bMovesAlike;
}

template <typename T, bool bPlain = IsPlain<T>()>
struct SCopier : SWriter<T>
{
    using SWriter<T>::SWriter;
};

/// Assigns by destruction and construction, so that T needs no assignment of its own.
template <typename T>
struct SCopier<T, false> : SWriter<T>
{
    using SWriter<T>::SWriter;

    constexpr SCopier() = default;
    constexpr SCopier( const SCopier& Other ) : SWriter<T>() { Assign( Other ); }
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): it is for values whose own move is
    constexpr SCopier( SCopier&& Other ) noexcept( std::is_nothrow_move_constructible_v<T> ) : SWriter<T>()
    {
        Assign( std::move( Other ) );
    }
    constexpr SCopier& operator=( const SCopier& Other )
    {
        Assign( Other );
        return *this;
    }
    // NOLINTNEXTLINE(performance-noexcept-move-constructor): it is for values whose own move is
    constexpr SCopier& operator=( SCopier&& Other ) noexcept( std::is_nothrow_move_constructible_v<T> )
    {
        Assign( std::move( Other ) );
        return *this;
    }

private:
    template <typename TOther>
    constexpr void Assign( TOther&& Other )
    {
        if ( Other._bIsSet )
        {
            this->Set( std::forward<TOther>( Other )._Value );
        }
        else
        {
            this->Clear();
        }
    }
};

template <bool bCopy, bool bMove>
struct SPermit
{};

template <>
struct SPermit<false, true>
{
    SPermit() = default;
    SPermit( const SPermit& ) = delete;
    SPermit( SPermit&& ) = default;
    SPermit& operator=( const SPermit& ) = delete;
    SPermit& operator=( SPermit&& ) = default;
};

template <>
struct SPermit<false, false>
{
    SPermit() = default;
    SPermit( const SPermit& ) = delete;
    SPermit& operator=( const SPermit& ) = delete;
};

template <typename T>
using TPermit = SPermit<std::is_copy_constructible_v<T> && std::is_move_constructible_v<T>,
    std::is_move_constructible_v<T>>;

/// What sets a holder of T: not another holder, and not the tag that selects a constructor.
template <typename TValue, typename THolder, typename T>
concept CValueFor =
    !std::is_same_v<std::remove_cvref_t<TValue>, THolder> &&
    !std::is_same_v<std::remove_cvref_t<TValue>, std::in_place_t> && std::is_constructible_v<T, TValue>;

template <typename TValue, typename THolder, typename T>
concept CImplicitValueFor = CValueFor<TValue, THolder, T> && std::is_convertible_v<TValue, T>;

template <typename T>
concept CComparable = requires( const T& Value )
{
    static_cast<bool>( Value == Value );
};
} // namespace NZanOptional::NDetail
