#pragma once

#include "zan_core/holders/zan_optional_storage.h"
#include "zan_core/zan_expects.h"

#include <initializer_list>
#include <type_traits>
#include <utility>

/// A value or nothing, inside the object and without allocation: what a function returns whose result may be
/// absent. Where the reason of the absence matters, choose CZanResult. It is trivially destructible, and
/// copied as bytes, when T is; writes are constant expressions for values that are assigned as bytes. Writing
/// invalidates references to the value. Not synchronised.
///
/// Every write, assignments included, destroys the old value and constructs the new one, so T needs no
/// assignment. A move leaves the source set, with a moved-from value: only Clear() ends that.
///
///     CZanOptional<int32> Port = ParsePort( Text );
///     Connect( Port.Get( DefaultPort ) );
template <typename T>
class CZanOptional : private NZanOptional::NDetail::TPermit<T>
{
    static_assert( std::is_object_v<T> && !std::is_array_v<T>, "the value is an object of its own" );
    static_assert( !std::is_const_v<T> && !std::is_volatile_v<T>, "make the holder const, not its value" );
    static_assert( !std::is_same_v<T, std::in_place_t>, "std::in_place selects a constructor" );

public:
    using ValueType = T;

    /// Not set.
    constexpr CZanOptional() = default;

    /// Set, to a copy of an lvalue, or to what an rvalue moves.
    template <NZanOptional::NDetail::CValueFor<CZanOptional<T>, T> TValue = T>
    // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): the constraint leaves out the class itself
    constexpr explicit( !std::is_convertible_v<TValue, T> ) CZanOptional( TValue&& Value )
        : _Storage( std::in_place, std::forward<TValue>( Value ) )
    {}

    /// Set, to T( Args... ).
    template <typename... TArgs>
    constexpr explicit CZanOptional( std::in_place_t, TArgs&&... Args )
        : _Storage( std::in_place, std::forward<TArgs>( Args )... )
    {}
    template <typename TElement, typename... TArgs>
    constexpr explicit CZanOptional(
        std::in_place_t, std::initializer_list<TElement> Elements, TArgs&&... Args )
        : _Storage( std::in_place, Elements, std::forward<TArgs>( Args )... )
    {}

    // Copies and moves are those of T, by construction. A source that is set stays so.

    /// As Set.
    template <NZanOptional::NDetail::CImplicitValueFor<CZanOptional<T>, T> TValue>
    constexpr CZanOptional& operator=( TValue&& Value )
    {
        _Storage.Set( std::forward<TValue>( Value ) );
        return *this;
    }

    constexpr bool IsSet() const { return _Storage._bIsSet; }
    constexpr explicit operator bool() const { return IsSet(); } ///< Says nothing about the value.

    /// The value. Requires IsSet().
    constexpr const T& Get() const& { return ExpectSet(), _Storage._Value; }
    constexpr T& Get() & { return ExpectSet(), _Storage._Value; }
    constexpr T&& Get() && { return ExpectSet(), std::move( _Storage._Value ); }

    /// The value if there is one, and otherwise Default itself: a reference, so neither may end before it.
    constexpr const T& Get( const T& Default ) const { return IsSet() ? _Storage._Value : Default; }

    // The writes. When the construction of a value throws, nothing is set.

    /// Copies an lvalue, moves an rvalue. Setting the value to itself does nothing.
    template <typename TValue = T>
    constexpr void Set( TValue&& Value )
    {
        _Storage.Set( std::forward<TValue>( Value ) );
    }

    /// Constructs T( Args... ) where the old value was. Requires arguments that do not refer into it.
    template <typename... TArgs>
    constexpr void SetEmplace( TArgs&&... Args )
    {
        _Storage.Emplace( std::forward<TArgs>( Args )... );
    }
    template <typename... TArgs>
    constexpr T& Emplace( TArgs&&... Args )
    {
        return _Storage.Emplace( std::forward<TArgs>( Args )... );
    }

    constexpr void Clear() { _Storage.Clear(); }

private:
    constexpr void ExpectSet() const
    {
        static_cast<void>( zan_expects( IsSet(), "Get of an optional that is not set" ) );
    }

    NZanOptional::NDetail::SCopier<T> _Storage;
};

/// True when neither is set, or both are and their values are equal.
template <NZanOptional::NDetail::CComparable T>
constexpr bool operator==( const CZanOptional<T>& Left, const CZanOptional<T>& Right )
{
    return Left.IsSet() == Right.IsSet() && ( !Left.IsSet() || Left.Get() == Right.Get() );
}
