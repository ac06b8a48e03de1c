#pragma once

#include "zan_test/include/zan_test_catch.h"

#include <array>
#include <cstddef>
#include <string>
#include <tuple>
#include <utility>

/// Matchers over anything that a range-based for walks, for REQUIRE_THAT and CHECK_THAT. They hold the
/// expected values, which need not be of the element's type as long as an element compares equal to them.
///
///     REQUIRE_THAT( Array, NZanCatch2::EqualsSequence<CZanArray<int32>>( 1, 2, 3 ) );
///     REQUIRE_THAT( Map, NZanCatch2::EqualsMultiMap<CMap>( "one", 1, "two", 2 ) );
namespace NZanCatch2
{
namespace NDetail
{
template <typename... TValues>
std::string DescribeValues( const char* pPrefix, const std::tuple<TValues...>& Values )
{
    std::string Text = pPrefix;
    Text += ": { ";
    const char* pSeparator = "";
    const auto Add = [ & ]( const auto& Value ) {
        Text += pSeparator + Catch::Detail::stringify( Value );
        pSeparator = ", ";
    };
    std::apply( [ & ]( const auto&... Value ) { ( Add( Value ), ... ); }, Values );
    return Text + " }";
}

/// Which expected entries an element has claimed already. Each entry is claimed once, the last one first.
template <std::size_t Count>
class CClaims
{
public:
    /// Claims the last unclaimed entry for which bEqual( std::integral_constant<std::size_t, Entry> ) holds.
    template <typename TEqual>
    bool TryClaim( const TEqual& bEqual )
    {
        return TryClaim( bEqual, std::make_index_sequence<Count>() );
    }

    bool IsAllClaimed() const
    {
        for ( const bool bClaimed : _bClaimed )
        {
            if ( !bClaimed )
            {
                return false;
            }
        }
        return true;
    }

private:
    template <typename TEqual, std::size_t... Indices>
    bool TryClaim( const TEqual& bEqual, std::index_sequence<Indices...> )
    {
        return ( TryClaimEntry<Count - 1 - Indices>( bEqual ) || ... );
    }

    template <std::size_t Entry, typename TEqual>
    bool TryClaimEntry( const TEqual& bEqual )
    {
        if ( _bClaimed[ Entry ] || !bEqual( std::integral_constant<std::size_t, Entry>() ) )
        {
            return false;
        }
        _bClaimed[ Entry ] = true;
        return true;
    }

    std::array<bool, Count> _bClaimed = {};
};
} // namespace NDetail

template <typename TContainer, typename... TValues>
class SequenceEqualityMatcher : public Catch::MatcherBase<TContainer>
{
public:
    explicit SequenceEqualityMatcher( TValues... Values ) : _Values( std::move( Values )... ) {}

    bool match( const TContainer& Container ) const override
    {
        return std::apply(
            [ & ]( const TValues&... Values ) {
                auto Element = begin( Container );
                const auto End = end( Container );
                [[maybe_unused]] const auto IsNext = [ & ]( const auto& Value ) {
                    if ( !( Element != End ) || !( *Element == Value ) )
                    {
                        return false;
                    }
                    ++Element;
                    return true;
                };
                return ( IsNext( Values ) && ... ) && !( Element != End );
            },
            _Values );
    }

    std::string describe() const override { return NDetail::DescribeValues( "Equals", _Values ); }

private:
    std::tuple<TValues...> _Values;
};

template <typename TContainer, typename... TValues>
class MultiSetEqualityMatcher : public Catch::MatcherBase<TContainer>
{
public:
    explicit MultiSetEqualityMatcher( TValues... Values ) : _Values( std::move( Values )... ) {}

    bool match( const TContainer& Container ) const override
    {
        NDetail::CClaims<sizeof...( TValues )> Claims;
        for ( const auto& Element : Container )
        {
            if ( !Claims.TryClaim( [ & ]( auto Entry ) { return Element == std::get<Entry>( _Values ); } ) )
            {
                return false;
            }
        }
        return Claims.IsAllClaimed();
    }

    std::string describe() const override { return NDetail::DescribeValues( "Equals (unordered)", _Values ); }

private:
    std::tuple<TValues...> _Values;
};

/// The map's elements are taken apart by a structured binding into key and value.
template <typename TMap, typename... TKeysAndValues>
class MultiMapEqualityMatcher : public Catch::MatcherBase<TMap>
{
    static_assert( sizeof...( TKeysAndValues ) % 2 == 0, "every key needs a value behind it" );

public:
    explicit MultiMapEqualityMatcher( TKeysAndValues... KeysAndValues )
        : _KeysAndValues( std::move( KeysAndValues )... )
    {}

    bool match( const TMap& Map ) const override
    {
        NDetail::CClaims<sizeof...( TKeysAndValues ) / 2> Claims;
        for ( const auto& Element : Map )
        {
            const auto& [ Key, Value ] = Element;
            const auto& ElementKey = Key; // a structured binding cannot be captured
            const auto& ElementValue = Value;
            const auto IsEqual = [ & ]( auto Pair ) {
                return ElementKey == std::get<2 * Pair>( _KeysAndValues ) &&
                       ElementValue == std::get<2 * Pair + 1>( _KeysAndValues );
            };
            if ( !Claims.TryClaim( IsEqual ) )
            {
                return false;
            }
        }
        return Claims.IsAllClaimed();
    }

    std::string describe() const override
    {
        return NDetail::DescribeValues( "Equals (unordered)", _KeysAndValues );
    }

private:
    std::tuple<TKeysAndValues...> _KeysAndValues;
};

/// Exactly these values in this order.
template <typename TContainer, typename... TValues>
SequenceEqualityMatcher<TContainer, TValues...> EqualsSequence( TValues... Values )
{
    return SequenceEqualityMatcher<TContainer, TValues...>( std::move( Values )... );
}

/// Exactly these values in any order.
template <typename TContainer, typename... TValues>
MultiSetEqualityMatcher<TContainer, TValues...> EqualsMultiSet( TValues... Values )
{
    return MultiSetEqualityMatcher<TContainer, TValues...>( std::move( Values )... );
}

/// Exactly these pairs, given as key, value, key, value, in any order.
template <typename TMap, typename... TKeysAndValues>
MultiMapEqualityMatcher<TMap, TKeysAndValues...> EqualsMultiMap( TKeysAndValues... KeysAndValues )
{
    return MultiMapEqualityMatcher<TMap, TKeysAndValues...>( std::move( KeysAndValues )... );
}
} // namespace NZanCatch2
