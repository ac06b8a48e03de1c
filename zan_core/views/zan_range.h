#pragma once

#include "zan_core/zan_expects.h"
#include "zan_core/zan_types.h"

#include <concepts>
#include <cstddef>
#include <iterator>
#include <type_traits>
#include <utility>

/// Views of the elements of something else, for parameters and results that are walked and not kept. They are
/// plain values, allocate nothing and own nothing: the container has to outlive them, and what invalidates
/// its iterators invalidates the range. Thread rules are those of the container. Where the elements lie side
/// by side and nothing else is wanted, a span is simpler.
///
///     for ( const int32 Prime : ZanMakeRange( Primes, NZanRange::StartPlus( 2 ), NZanRange::EndMinus( 1 ) )
///     )
///
/// Steps cost one addition over random-access iterators, and one increment each over others.
namespace NZanRange
{
/// What a CZanMappedMembersRangeRef gives access to.
struct SConstElementsTag
{};
struct SMutableElementsTag
{};

enum class EAnchor
{
    Start,
    End,
    Other, // the other position of the same subrange
};

/// One end of a subrange.
template <EAnchor Anchor>
struct SPosition
{
    std::ptrdiff_t _Count;
};

constexpr SPosition<EAnchor::Start> StartPlus( std::ptrdiff_t Count ) { return { Count }; }
constexpr SPosition<EAnchor::End> EndMinus( std::ptrdiff_t Count ) { return { Count }; }

/// Count elements from the first position, or, as the first position, up to the second.
constexpr SPosition<EAnchor::Other> RangeSize( std::ptrdiff_t Count ) { return { Count }; }

namespace NDetail
{
/// The free functions of a class that has them as members.
template <typename TRange>
struct SFreeFunctions
{
    friend constexpr auto begin( const TRange& Range ) { return Range.begin(); }
    friend constexpr auto end( const TRange& Range ) { return Range.end(); }
    friend constexpr auto cbegin( const TRange& Range ) { return Range.cbegin(); }
    friend constexpr auto cend( const TRange& Range ) { return Range.cend(); }
};

// As a range-based for finds them, also from within classes that have members of these names.

template <typename TContainer>
constexpr auto GetBegin( TContainer& Container )
{
    using std::begin;
    return begin( Container );
}

template <typename TContainer>
constexpr auto GetEnd( TContainer& Container )
{
    using std::end;
    return end( Container );
}

template <typename TIterator>
using TCategoryOf = typename std::iterator_traits<TIterator>::iterator_category;

/// Position, Count steps on, or Position itself where a check finds that Limit is nearer.
template <typename TCategory, typename TIterator, typename TLimit>
constexpr TIterator StepOn( TIterator Position, std::ptrdiff_t Count, [[maybe_unused]] const TLimit& Limit )
{
    if constexpr ( std::derived_from<TCategory, std::random_access_iterator_tag> )
    {
        const bool bInside = zan_expects( Count >= 0 && Count <= Limit - Position, "a step out of a range" );
        return bInside ? Position + Count : Position;
    }
    else
    {
        TIterator Result = Position;
        for ( ; Count > 0; --Count, ++Result )
        {
            if ( !zan_expects( Result != Limit, "a step out of a range" ) )
            {
                return Position;
            }
        }
        static_cast<void>( zan_expects( Count == 0, "a step out of a range" ) );
        return Result;
    }
}

/// The same backwards.
template <typename TCategory, typename TIterator>
constexpr TIterator StepBack(
    TIterator Position, std::ptrdiff_t Count, [[maybe_unused]] const TIterator& Limit )
{
    static_assert( std::derived_from<TCategory, std::bidirectional_iterator_tag>,
        "what counts backwards takes an iterator that goes backwards" );
    return StepOn<TCategory>(
        std::make_reverse_iterator( Position ), Count, std::make_reverse_iterator( Limit ) )
        .base();
}
} // namespace NDetail
} // namespace NZanRange

/// A pair of iterators. TCategory is the standard tag whose operations the range offers.
template <typename TStart, typename TEnd = TStart,
    typename TCategory = NZanRange::NDetail::TCategoryOf<TStart>>
class CZanRange : public NZanRange::NDetail::SFreeFunctions<CZanRange<TStart, TEnd, TCategory>>
{
    static_assert(
        std::derived_from<TCategory, std::forward_iterator_tag>, "a range may be walked more than once" );

    static constexpr bool bBidirectional = std::derived_from<TCategory, std::bidirectional_iterator_tag>;
    static constexpr bool bRandomAccess = std::derived_from<TCategory, std::random_access_iterator_tag>;

public:
    using TCategoryTag = TCategory;
    using TDistance = std::ptrdiff_t;

    constexpr CZanRange( TStart Start, TEnd End ) : _Start( Start ), _End( End ) {}

    /// All of a container.
    template <typename TContainer>
    requires( !std::is_same_v<std::remove_cvref_t<TContainer>, CZanRange> )
        // NOLINTNEXTLINE(bugprone-forwarding-reference-overload): the constraint leaves out the class itself
        constexpr explicit CZanRange( TContainer&& Container )
        : CZanRange( NZanRange::NDetail::GetBegin( Container ), NZanRange::NDetail::GetEnd( Container ) )
    {}

    /// Of elements that become const, for one.
    template <std::convertible_to<TStart> TOtherStart, std::convertible_to<TEnd> TOtherEnd>
    constexpr CZanRange( const CZanRange<TOtherStart, TOtherEnd, TCategory>& Other )
        : CZanRange( Other.begin(), Other.end() )
    {}

    constexpr TStart begin() const { return _Start; }
    constexpr TEnd end() const { return _End; }
    constexpr TStart cbegin() const { return _Start; }
    constexpr TEnd cend() const { return _End; }

    constexpr const TStart& GetIterStart() const { return _Start; }
    constexpr const TEnd& GetIterEnd() const { return _End; }
    constexpr TStart& AccessIterStart() { return _Start; }
    constexpr TEnd& AccessIterEnd() { return _End; }

    constexpr bool IsEmpty() const { return _Start == _End; }

    /// Moves the start on. Requires 0 <= Count and that many elements.
    constexpr void Advance( TDistance Count )
    {
        _Start = NZanRange::NDetail::StepOn<TCategory>( _Start, Count, _End );
    }

    /// The range that starts Count elements later. Requires 0 <= Count and that many elements.
    constexpr CZanRange Next( TDistance Count ) const
    {
        CZanRange Result = *this;
        Result.Advance( Count );
        return Result;
    }

    /// The range that starts Count elements earlier. Requires 0 <= Count and that the range, or one from
    /// which it was stepped, came by these elements.
    constexpr CZanRange Prev( TDistance Count ) const requires( bBidirectional )
    {
        CZanRange Result = *this;
        Result._Start = NZanRange::NDetail::StepBack<TCategory>( _Start, Count, GetOrigin() );
        return Result;
    }

    constexpr TDistance GetSize() const requires( bRandomAccess ) { return _End - _Start; }

    /// Requires 0 <= Index < GetSize().
    constexpr decltype( auto ) operator[]( TDistance Index ) const requires( bRandomAccess )
    {
        static_cast<void>( zan_expects( Index >= 0 && Index < GetSize(), "a range index names no element" ) );
        return _Start[ Index ];
    }

private:
    TStart _Start;
    TEnd _End;
#if defined( ZAN_CHECK_PRECONDITIONS )
    constexpr const TStart& GetOrigin() const { return _Origin; }
    TStart _Origin = _Start; // how far back Prev may go
#else
    constexpr const TStart& GetOrigin() const { return _Start; }
#endif
};

/// A member of Source that TTraits knows to walk, as if it were a range: TTraits has the type CSource, and
/// GetStart and GetEnd for a source that is const and for one that is not. With GetSize it also counts faster
/// than by steps. TElementsTag says whether the elements may be changed. Made by whoever owns the member.
template <typename TTraits, typename TElementsTag = NZanRange::SConstElementsTag>
class CZanMappedMembersRangeRef
    : public NZanRange::NDetail::SFreeFunctions<CZanMappedMembersRangeRef<TTraits, TElementsTag>>
{
    static constexpr bool bMutable = std::is_same_v<TElementsTag, NZanRange::SMutableElementsTag>;

public:
    using CSource = std::conditional_t<bMutable, typename TTraits::CSource, const typename TTraits::CSource>;

    constexpr explicit CZanMappedMembersRangeRef( CSource& Source ) : _pSource( &Source ) {}
    constexpr CZanMappedMembersRangeRef(
        const CZanMappedMembersRangeRef<TTraits, NZanRange::SMutableElementsTag>&
            Other ) requires( !bMutable )
        : _pSource( &Other.GetSource() )
    {}

    constexpr CSource& GetSource() const { return *_pSource; }

    constexpr auto begin() const { return TTraits::GetStart( *_pSource ); }
    constexpr auto end() const { return TTraits::GetEnd( *_pSource ); }
    constexpr auto cbegin() const { return TTraits::GetStart( std::as_const( *_pSource ) ); }
    constexpr auto cend() const { return TTraits::GetEnd( std::as_const( *_pSource ) ); }

    constexpr bool IsEmpty() const { return begin() == end(); }
    constexpr int32 GetSize() const
    {
        if constexpr ( requires { TTraits::GetSize( *_pSource ); } )
        {
            return TTraits::GetSize( *_pSource );
        }
        else
        {
            return static_cast<int32>( std::distance( begin(), end() ) );
        }
    }

private:
    CSource* _pSource; // never null
};

/// A range back to front. Its iterators stand behind the elements that they yield.
template <typename TRange>
struct SZanReversionWrapper : NZanRange::NDetail::SFreeFunctions<SZanReversionWrapper<TRange>>
{
    constexpr explicit SZanReversionWrapper( const TRange& Range ) : _Range( Range ) {}

    constexpr auto begin() const
    {
        return std::make_reverse_iterator( NZanRange::NDetail::GetEnd( _Range ) );
    }
    constexpr auto end() const
    {
        return std::make_reverse_iterator( NZanRange::NDetail::GetBegin( _Range ) );
    }
    constexpr auto cbegin() const { return begin(); }
    constexpr auto cend() const { return end(); }

    TRange _Range;
};

namespace NZanRange::NDetail
{
template <typename TContainer>
struct SRangeOver
{
    using TRange = CZanRange<decltype( GetBegin( std::declval<TContainer&>() ) ),
        decltype( GetEnd( std::declval<TContainer&>() ) )>;
};
template <typename TStart, typename TEnd, typename TCategory>
struct SRangeOver<CZanRange<TStart, TEnd, TCategory>>
{
    using TRange = CZanRange<TStart, TEnd, TCategory>; // the category need not be that of the iterators
};
template <typename TStart, typename TEnd, typename TCategory>
struct SRangeOver<const CZanRange<TStart, TEnd, TCategory>> : SRangeOver<CZanRange<TStart, TEnd, TCategory>>
{};

template <typename TRange>
constexpr auto Find( const TRange& Whole, SPosition<EAnchor::Start> Position )
{
    return StepOn<typename TRange::TCategoryTag>( Whole.begin(), Position._Count, Whole.end() );
}

template <typename TRange>
constexpr auto Find( const TRange& Whole, SPosition<EAnchor::End> Position )
{
    return StepBack<typename TRange::TCategoryTag>( Whole.end(), Position._Count, Whole.begin() );
}

template <typename TRange, EAnchor FromAnchor, EAnchor ToAnchor>
constexpr TRange MakeSubrange( const TRange& Whole, SPosition<FromAnchor> From, SPosition<ToAnchor> To )
{
    using TCategory = typename TRange::TCategoryTag;
    static_assert( std::is_same_v<decltype( Whole.begin() ), decltype( Whole.end() )>,
        "a subrange may end in the middle" );
    static_assert( FromAnchor != EAnchor::Other || ToAnchor != EAnchor::Other,
        "a size takes another position to count from" );
    if constexpr ( FromAnchor == EAnchor::Other )
    {
        const auto Last = Find( Whole, To );
        return TRange( StepBack<TCategory>( Last, From._Count, Whole.begin() ), Last );
    }
    else if constexpr ( ToAnchor == EAnchor::Other )
    {
        const auto First = Find( Whole, From );
        return TRange( First, StepOn<TCategory>( First, To._Count, Whole.end() ) );
    }
    else
    {
        const auto First = Find( Whole, From );
        const auto Last = Find( Whole, To );
        if constexpr ( std::derived_from<TCategory, std::random_access_iterator_tag> )
        {
            if ( !zan_expects( First <= Last, "a subrange that ends before it starts" ) )
            {
                return TRange( First, First );
            }
        }
        return TRange( First, Last );
    }
}
} // namespace NZanRange::NDetail

/// All of a container, with its iterator category. A temporary has to be a range or a view.
template <typename TContainer>
constexpr auto ZanMakeRange( TContainer&& Container )
{
    return typename NZanRange::NDetail::SRangeOver<std::remove_reference_t<TContainer>>::TRange( Container );
}

template <typename TIterator>
constexpr CZanRange<TIterator> ZanMakeRange( TIterator First, TIterator Last )
{
    return CZanRange<TIterator>( First, Last );
}

/// The elements between two positions, of which one may be a size. What counts from the end, or back from the
/// second position, takes a bidirectional iterator. Requires that the positions exist, in this order.
template <typename TContainer, NZanRange::EAnchor FromAnchor, NZanRange::EAnchor ToAnchor>
constexpr auto ZanMakeRange(
    TContainer&& Container, NZanRange::SPosition<FromAnchor> From, NZanRange::SPosition<ToAnchor> To )
{
    return NZanRange::NDetail::MakeSubrange( ZanMakeRange( Container ), From, To );
}

/// What lies before a position, or the first RangeSize( n ) elements. Requires that they exist.
template <typename TContainer, NZanRange::EAnchor Anchor>
constexpr auto ZanMakeHeadRange( TContainer&& Container, NZanRange::SPosition<Anchor> To )
{
    return ZanMakeRange( Container, NZanRange::StartPlus( 0 ), To );
}

/// What lies from a position on, or the last RangeSize( n ) elements. Requires that they exist.
template <typename TContainer, NZanRange::EAnchor Anchor>
constexpr auto ZanMakeTailRange( TContainer&& Container, NZanRange::SPosition<Anchor> From )
{
    const auto Whole = ZanMakeRange( Container );
    if constexpr ( Anchor == NZanRange::EAnchor::Start )
    {
        return Whole.Next( From._Count ); // also where there is no way back from the end
    }
    else
    {
        return NZanRange::NDetail::MakeSubrange( Whole, From, NZanRange::EndMinus( 0 ) );
    }
}

/// Takes a bidirectional iterator.
template <typename TContainer>
constexpr auto ZanMakeReversed( TContainer&& Container )
{
    return SZanReversionWrapper( ZanMakeRange( Container ) );
}
