#pragma once

#include "zan_core/zan_expects.h"
#include "zan_core/zan_types.h"

#include <cstddef>
#include <type_traits>
#include <utility>

namespace NZanSpan::NDetail
{
/// Has its elements in one run, each exactly a T, less const perhaps. One that is about to end can only be
/// looked at.
template <typename TContainer, typename T>
concept CRunOf = requires( TContainer& Container )
{
    static_cast<int32>( Container.GetSize() );
    requires std::is_convertible_v < std::remove_pointer_t<decltype( Container.GetData() )>( * )
    [], T( * )[] > ;
    requires std::is_lvalue_reference_v<TContainer> || std::is_const_v<T>;
};
} // namespace NZanSpan::NDetail

/// A run of objects that somebody else owns: what a function takes that reads a block of objects, or writes
/// to one. Pass it by value. A span of const T only reads, and is made of a span of T, and of whatever gives
/// its elements by GetData() and GetSize(). Valid as long as the elements stay where they are.
///
///     void Play( CZanSpan<const float> Samples );
///     Play( Array );
///     Play( CZanSpan( pSamples, Count ).First( 4 ) );
template <typename T>
class CZanSpan
{
    static_assert( std::is_object_v<T>, "a span views objects" );

public:
    using value_type = std::remove_cv_t<T>;
    using iterator = T*;
    using const_iterator = T*;

    constexpr CZanSpan() = default;
    constexpr CZanSpan( T* pStart, T* pEnd ) : _pStart( pStart ), _pEnd( pEnd ) {}
    constexpr CZanSpan( T* pStart, int32 Size ) : _pStart( pStart ), _pEnd( pStart + Size ) {}

    template <NZanSpan::NDetail::CRunOf<T> TContainer>
    // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): a span of T itself is copied all the same
    constexpr CZanSpan( TContainer&& Container )
        : CZanSpan( Container.GetData(), static_cast<int32>( Container.GetSize() ) )
    {}

    constexpr bool IsEmpty() const { return _pStart == _pEnd; }
    constexpr int32 GetSize() const { return static_cast<int32>( _pEnd - _pStart ); }
    constexpr std::size_t GetByteSize() const;

    constexpr T* GetData() const { return _pStart; }
    constexpr T* GetIterStart() const { return _pStart; }
    constexpr T* GetIterEnd() const { return _pEnd; }
    constexpr T* begin() const { return _pStart; }
    constexpr T* end() const { return _pEnd; }

    /// Requires 0 <= Index < GetSize().
    constexpr T& operator[]( int32 Index ) const;

    // Parts of the span. All require that they lie in it.

    constexpr CZanSpan First( int32 Count ) const { return Subspan( 0, Count ); }
    constexpr CZanSpan Last( int32 Count ) const { return Subspan( GetSize() - Count, Count ); }
    constexpr CZanSpan Subspan( int32 Offset ) const { return Subspan( Offset, GetSize() - Offset ); }
    constexpr CZanSpan Subspan( int32 Offset, int32 Count ) const;

private:
    T* _pStart = nullptr;
    T* _pEnd = nullptr; // behind the last
};

static_assert( std::is_trivially_copyable_v<CZanSpan<int32>>, "spans are passed in registers" );

template <typename TContainer>
CZanSpan( TContainer&& )
    -> CZanSpan<std::remove_pointer_t<decltype( std::declval<TContainer&>().GetData() )>>;

template <typename T>
constexpr T* begin( CZanSpan<T> Span )
{
    return Span.GetIterStart();
}

template <typename T>
constexpr T* end( CZanSpan<T> Span )
{
    return Span.GetIterEnd();
}

template <typename T, std::size_t Size>
constexpr CZanSpan<T> ZanAsSpan( T ( &Array )[ Size ] )
{
    return CZanSpan<T>( Array, static_cast<int32>( Size ) );
}

/// The bytes of the elements. Requires fewer than 2^31.
template <typename T>
inline CZanSpan<const uint8> ZanAsByteSpan( CZanSpan<T> Span )
{
    return { reinterpret_cast<const uint8*>( Span.GetIterStart() ),
        reinterpret_cast<const uint8*>( Span.GetIterEnd() ) };
}

template <typename T>
requires( !std::is_const_v<T> ) inline CZanSpan<uint8> ZanAsWritableByteSpan( CZanSpan<T> Span )
{
    return { reinterpret_cast<uint8*>( Span.GetIterStart() ), reinterpret_cast<uint8*>( Span.GetIterEnd() ) };
}

// --- Bodies ------------------------------------------------------------------------------------------------

template <typename T>
constexpr std::size_t CZanSpan<T>::GetByteSize() const
{
    return static_cast<std::size_t>( _pEnd - _pStart ) * sizeof( T );
}

template <typename T>
constexpr T& CZanSpan<T>::operator[]( int32 Index ) const
{
    static_cast<void>( zan_expects( Index >= 0 && Index < GetSize(), "A span index names no element" ) );
    return _pStart[ Index ];
}

/// Where the parts are checked, one that does not lie in the span is empty.
template <typename T>
constexpr CZanSpan<T> CZanSpan<T>::Subspan( int32 Offset, int32 Count ) const
{
    if ( !zan_expects( Offset >= 0 && Count >= 0 && Offset <= GetSize() - Count, "A part outside its span" ) )
    {
        return CZanSpan();
    }
    return CZanSpan( _pStart + Offset, Count );
}
