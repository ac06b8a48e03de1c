#include "zan_core/containers/zan_array.h"
#include "zan_core/containers/zan_inline_array.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_matchers.h"
#include "zan_test/include/zan_test_types.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <initializer_list>
#include <iterator>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

using namespace NZanTestUtils;
using NZanCatch2::EqualsSequence;

namespace
{
using CHeap = CZanTestAllocator;

/// A lifecycle type whose objects all count in one place, so that arrays can make them from a number.
template <typename TBase>
struct SCounted : TBase
{
    SCounted() : TBase( &_Life ) {}
    SCounted( int32 Value ) : TBase( Value, &_Life ) {}

    static int32 CalcMoveCount() { return _Life._MoveConstructions + _Life._MoveAssignments; }
    static int32 CalcCopyCount() { return _Life._CopyConstructions + _Life._CopyAssignments; }

    static inline SLifeCounters _Life;
};
using SElement = SCounted<SMovable>;

/// Two allocators, and counters that start at zero. Whatever the body leaves alive or unfreed fails the case.
class CArrayCase
{
public:
    CArrayCase()
    {
        SCounted<SCopyable>::_Life = SLifeCounters();
        SCounted<SMovable>::_Life = SLifeCounters();
        SCounted<SMoveOnly>::_Life = SLifeCounters();
    }
    CArrayCase( const CArrayCase& ) = delete;
    CArrayCase& operator=( const CArrayCase& ) = delete;
    ~CArrayCase()
    {
        CHECK( _Heap.GetTotalAllocationCount() == _Heap.GetTotalDeallocationCount() );
        CHECK( _OtherHeap.GetTotalAllocationCount() == _OtherHeap.GetTotalDeallocationCount() );
        CHECK( SCounted<SCopyable>::_Life.GetLiveCount() == 0 );
        CHECK( SCounted<SMovable>::_Life.GetLiveCount() == 0 );
        CHECK( SCounted<SMoveOnly>::_Life.GetLiveCount() == 0 );
    }

protected:
    CHeap _Heap;
    CHeap _OtherHeap;
};
template <typename T>
class CArrayFamily : public CArrayCase
{};

template <typename T>
using TPlain = CZanArray<T>;
template <typename T>
using THybrid = CZanInlineBufArray<T, 4>;
template <typename T>
using TStatic = CZanInlineBufArray<T, 64, int32, CZanStaticInlineBufferAllocator<T, 64, int32>>;

template <typename... TTuples>
using TConcat = decltype( std::tuple_cat( std::declval<TTuples>()... ) );

template <typename TTo, typename TFrom>
struct SPairing
{
    using CTo = TTo;
    using CFrom = TFrom;
};
template <typename TTo, typename T>
using TPairingsTo =
    std::tuple<SPairing<TTo, TPlain<T>>, SPairing<TTo, THybrid<T>>, SPairing<TTo, TStatic<T>>>;
template <typename T>
using TPairings = TConcat<TPairingsTo<TPlain<T>, T>, TPairingsTo<THybrid<T>, T>, TPairingsTo<TStatic<T>, T>>;

template <typename T>
using TKinds = std::tuple<TPlain<T>, THybrid<T>, TStatic<T>>;

using TArrayTypes = TKinds<SElement>;
using TMixedArrayTypes = TConcat<TKinds<int32>, TKinds<SElement>>; // with and without block moves
using TArrayTypePairs = TConcat<TPairings<int32>, TPairings<SCounted<SCopyable>>, TPairings<SElement>>;

using CInts = CZanArray<int32>;
using CInts2 = CZanInlineBufArray<int32, 2>;
using CElements = TPlain<SElement>;

template <typename TArray>
using TElement = std::remove_reference_t<decltype( std::declval<TArray&>()[ 0 ] )>;
template <typename TArray>
constexpr int32 InlineCapacity = 0;
template <typename T, int32 N, typename TAllocator>
constexpr int32 InlineCapacity<CZanInlineBufArray<T, N, int32, TAllocator>> = N;
template <typename TArray>
constexpr bool bIsPlain = InlineCapacity<TArray> == 0;
template <typename TArray>
constexpr bool bIsStatic = InlineCapacity<TArray> == 64;
template <typename TArray, typename T>
using TSameKind = std::conditional_t<bIsPlain<TArray>, TPlain<T>,
    std::conditional_t<bIsStatic<TArray>, TStatic<T>, THybrid<T>>>;

/// What an array of this kind has when a plain one has Capacity.
template <typename TArray>
int32 CalcCapacity( int32 Capacity )
{
    return std::max( Capacity, InlineCapacity<TArray> );
}

/// Empty, on the heap given when the kind takes one.
template <typename TArray>
TArray MakeArray( CZanAllocator& Heap )
{
    if constexpr ( bIsStatic<TArray> )
    {
        return TArray();
    }
    else
    {
        return TArray( Heap );
    }
}

/// Appends First, First + 1, ...
template <typename TArray>
void Fill( TArray& Array, int32 First, int32 Count )
{
    for ( int32 i = 0; i < Count; ++i )
    {
        Array.AppendEmplace( First + i );
    }
}

/// Whether a sound array holds exactly First, First + 1, ..., in the room that its kind has when a plain
/// array has Capacity, if that is given.
template <typename TArray>
bool IsRun( const TArray& Array, int32 First, int32 Count, int32 Capacity = -1 )
{
    bool bRun = Array.CheckInvariants() && Array.GetSize() == Count && Array.IsEmpty() == ( Count == 0 );
    for ( int32 i = 0; bRun && i < Count; ++i )
    {
        bRun = Array[ i ] == First + i;
    }
    return bRun && ( Capacity < 0 || Array.GetCapacity() == CalcCapacity<TArray>( Capacity ) );
}

/// Whether a call gave the element at Index. A function, because operator== leaves open which side goes
/// first.
template <typename TArray>
bool IsAt( const TArray& Array, int32 Index, const TElement<TArray>& Element )
{
    return &Array[ Index ] == &Element;
}

template <typename TArray>
bool IsEqual( const TArray& Array, const std::vector<int32>& Model )
{
    return Array.CheckInvariants() && std::equal( begin( Array ), end( Array ), Model.begin(), Model.end() );
}

/// Calls Act for pairs of every mix of sizes around the inline capacity, on the same and on different heaps:
/// the target holds 1, 2, ..., the source 50, 51, ...
template <typename TPairing, typename TAct>
void ForPairs( CZanAllocator& Heap, CZanAllocator& OtherHeap, const TAct& Act )
{
    for ( CZanAllocator* const pHeap : { &Heap, &OtherHeap } )
    {
        for ( const int32 ToSize : { 0, 1, 3, 4, 5, 9 } )
        {
            for ( const int32 FromSize : { 0, 2, 4, 5, 6, 10 } )
            {
                auto To = MakeArray<typename TPairing::CTo>( Heap );
                auto From = MakeArray<typename TPairing::CFrom>( *pHeap );
                Fill( To, 1, ToSize );
                Fill( From, 50, FromSize );
                Act( To, From );
            }
        }
    }
}

const auto bIsNine = []( const auto& Element ) { return Element == 9; };
const auto bIsEight = []( const auto& Element ) { return Element == 8; };
const auto bIsAny = []( const auto& ) { return true; };
} // namespace

TEST_CASE( "Array copy", "[misc]" )
{
    CInts Source{ 1, 2, 3 };
    Source.Reserve( 10 );
    CInts Copy( Source );
    REQUIRE( ( Copy == Source && !( Copy != Source ) && IsRun( Copy, 1, 3, 3 ) ) );
    Copy[ 1 ] = 7;
    REQUIRE( ( Copy != Source && IsRun( Source, 1, 3, 10 ) && CInts{ 1, 2 } != Source ) );
}

TEST_CASE_METHOD( CArrayCase, "Array rvalue append", "[misc]" )
{
    CElements Source( _Heap ), Target( _Heap ), Rest( _Heap );
    Fill( Source, 1, 3 );
    Fill( Rest, 4, 2 );
    const SElement* const pSource = Source.GetData();
    Target.Append( std::move( Source ) );
    REQUIRE( ( Target.GetData() == pSource && IsRun( Target, 1, 3, 4 ) && IsRun( Source, 0, 0, 0 ) ) );
    Target.Append( std::move( Rest ) ); // to the sum, not to the double
    REQUIRE( ( IsRun( Target, 1, 5, 5 ) && IsRun( Rest, 0, 0, 2 ) && SElement::CalcCopyCount() == 0 ) );
}

TEST_CASE( "Array reserve", "[misc]" )
{
    CInts Array{ 1, 2, 3 };
    const int32* const pData = Array.GetData();
    Array.Reserve( 3 );
    REQUIRE( ( IsRun( Array, 1, 3, 3 ) && Array.GetData() == pData ) );
    Array.Reserve( 4 );
    REQUIRE( ( IsRun( Array, 1, 3, 4 ) && Array.GetData() != pData ) );
    REQUIRE( ( Array.GetByteSize() == 12 && Array.GetAllocationByteSize() == 16 ) );
}

TEST_CASE( "HybridArray Copy/Move", "[misc]" )
{
    const CZanArray<std::string> Source{ "one", "two, too long for the string's own buffer" };
    CZanInlineBufArray<std::string, 8> Wide;
    CZanInlineBufArray<std::string, 2> Narrow;
    Wide = Source;
    Narrow = Wide; // the capacity does not come along
    REQUIRE( ( Wide == Source && Wide.GetCapacity() == 8 && Wide.IsUsingInternalMemory() ) );
    REQUIRE( ( Narrow == Source && Narrow.GetCapacity() == 2 && Narrow.IsUsingInternalMemory() ) );
    const CZanInlineBufArray<std::string, 2> Moved( std::move( Narrow ) ), Copy( Moved );
    REQUIRE( ( Moved == Source && Narrow.IsEmpty() && Narrow.CheckInvariants() ) );
    REQUIRE( ( Copy == Source && Copy.GetCapacity() == 2 && Copy.GetData() != Moved.GetData() ) );
}

TEST_CASE( "Hybrid array swap", "[zanhybridarray]" )
{
    const int32 FirstCapacity = GENERATE( 2, 3 ), SecondCapacity = GENERATE( 2, 3 );
    CInts2 First{ 1, 2 }, Second{ 3, 4 }, Long{ 5, 6, 7, 8 }, Empty;
    First.Reserve( FirstCapacity );
    Second.Reserve( SecondCapacity );
    const int32 *const pFirst = First.GetData(), *const pSecond = Second.GetData();
    swap( First, Second );
    const bool bByPointer = FirstCapacity == 3 && SecondCapacity == 3; // both on the heap
    REQUIRE( ( IsRun( First, 3, 2, FirstCapacity ) && IsRun( Second, 1, 2, SecondCapacity ) ) );
    REQUIRE( ( First.GetData() == ( bByPointer ? pSecond : pFirst ) ) );
    REQUIRE( ( Second.GetData() == ( bByPointer ? pFirst : pSecond ) ) );
    REQUIRE( First.IsUsingInternalMemory() == ( FirstCapacity == 2 ) );
    First.Append( 5 );
    swap( First, Long );
    REQUIRE( ( IsRun( First, 5, 4 ) && IsRun( Long, 3, 3 ) ) );
    swap( First, Long );
    REQUIRE( ( IsRun( First, 3, 3 ) && IsRun( Long, 5, 4 ) ) );
    swap( Empty, Long );
    REQUIRE( ( IsRun( Empty, 5, 4 ) && IsRun( Long, 0, 0 ) ) );
}

TEST_CASE_METHOD( CArrayCase, "Hybrid array + array swap", "[zanhybridarray]" )
{
    CInts2 Hybrid{ 1, 2 };
    CInts Array;
    Array.Reserve( 4 );
    const bool bHybridFirst = GENERATE( true, false );
    const auto Swap = [ & ]( auto& Left, auto& Right ) {
        bHybridFirst ? swap( Left, Right ) : swap( Right, Left );
    };
    const int32 *const pArray = Array.GetData(), *const pInline = Hybrid.GetData();
    SECTION( "element by element while the hybrid is embedded and both have room" )
    {
        Fill( Array, 3, 2 );
        Swap( Hybrid, Array );
        REQUIRE( ( IsRun( Hybrid, 3, 2, 2 ) && Hybrid.GetData() == pInline ) );
        REQUIRE( ( IsRun( Array, 1, 2, 4 ) && Array.GetData() == pArray ) );
    }
    SECTION( "by pointer when the hybrid has to be forced to the heap" )
    {
        Fill( Array, 3, 4 );
        Swap( Hybrid, Array );
        REQUIRE( ( IsRun( Hybrid, 3, 4, 4 ) && Hybrid.GetData() == pArray ) );
        REQUIRE( ( IsRun( Array, 1, 2, 3 ) && !Hybrid.IsUsingInternalMemory() ) );
    }
    SECTION( "by pointer when the hybrid is on the heap" )
    {
        Hybrid.Reserve( 3 );
        const int32* const pHybrid = Hybrid.GetData();
        Swap( Hybrid, Array );
        REQUIRE( ( IsRun( Hybrid, 0, 0, 4 ) && Hybrid.GetData() == pArray ) );
        REQUIRE( ( IsRun( Array, 1, 2, 3 ) && Array.GetData() == pHybrid ) );
    }
    SECTION( "no block changes hands between allocators" )
    {
        THybrid<SElement> Here( _Heap );
        CElements There( _OtherHeap );
        Fill( Here, 1, 5 );
        Fill( There, 6, 9 );
        Swap( Here, There );
        REQUIRE( ( IsRun( Here, 6, 9, 9 ) && IsRun( There, 1, 5, 16 ) ) );
        REQUIRE( ( _Heap.GetTotalAllocationCount() == 2 && _OtherHeap.GetTotalAllocationCount() == 5 ) );
    }
}

TEST_CASE( "Hybrid array data pointer tracking", "[zanhybridarray]" )
{
    CInts2 Inline{ 1, 2 }, Heap{ 3, 4, 5, 6 };
    const int32 *const pInline = Inline.GetData(), *const pHeap = Heap.GetData();
    REQUIRE( ( Inline.IsUsingInternalMemory() && !Heap.IsUsingInternalMemory() ) );
    SECTION( "a swap forces the embedded array to the heap" )
    {
        swap( Inline, Heap );
        REQUIRE(
            ( IsRun( Inline, 3, 4, 4 ) && Inline.GetData() == pHeap && !Inline.IsUsingInternalMemory() ) );
        REQUIRE( ( IsRun( Heap, 1, 2, 3 ) && Heap.GetData() != pInline && !Heap.IsUsingInternalMemory() ) );
    }
    SECTION( "a move out of the heap takes the block, and the source asks its parent again" )
    {
        Inline = std::move( Heap );
        REQUIRE(
            ( IsRun( Inline, 3, 4, 4 ) && Inline.GetData() == pHeap && !Inline.IsUsingInternalMemory() ) );
        REQUIRE( ( IsRun( Heap, 0, 0 ) && Heap.GetData() == nullptr && Heap.GetCapacity() == 0 ) );
        Heap.Append( 7 );
        REQUIRE( ( IsRun( Heap, 7, 1 ) && Heap.GetCapacity() == 1 && !Heap.IsUsingInternalMemory() ) );
        Heap = CInts2{ 8 }; // which brings it back to its embedded buffer
        REQUIRE( ( IsRun( Heap, 8, 1, 2 ) && Heap.IsUsingInternalMemory() ) );
    }
    SECTION( "a move out of the embedded buffer leads back to the own one" )
    {
        Heap = std::move( Inline );
        REQUIRE( ( IsRun( Heap, 1, 2, 2 ) && Heap.GetData() != pHeap && Heap.IsUsingInternalMemory() ) );
        REQUIRE( ( IsRun( Inline, 0, 0, 2 ) && Inline.GetData() == pInline ) );
    }
}

TEST_CASE_METHOD( CArrayCase, "Hybrid array move from array", "[zanhybridarray]" )
{
    CElements Source( _Heap );
    THybrid<SElement> Target( _Heap ), Elsewhere( _OtherHeap );
    Source.Reserve( 6 );
    Fill( Source, 1, 5 );
    const SElement* const pSource = Source.GetData();
    SECTION( "an embedded hybrid takes the block" )
    {
        Fill( Target, 7, 2 );
        Target = std::move( Source );
        REQUIRE(
            ( IsRun( Target, 1, 5, 6 ) && Target.GetData() == pSource && !Target.IsUsingInternalMemory() ) );
        REQUIRE( ( IsRun( Source, 0, 0, 0 ) && SElement::CalcMoveCount() == 0 ) );
    }
    SECTION( "a hybrid on the heap exchanges blocks" )
    {
        Target.Reserve( 7 );
        const SElement* const pTarget = Target.GetData();
        Fill( Target, 7, 2 );
        Target = std::move( Source );
        REQUIRE(
            ( IsRun( Target, 1, 5, 6 ) && Target.GetData() == pSource && SElement::CalcMoveCount() == 0 ) );
        REQUIRE( ( IsRun( Source, 0, 0, 7 ) && Source.GetData() == pTarget ) );
    }
    SECTION( "another parent gets the elements alone" )
    {
        Fill( Elsewhere, 7, 9 );
        Elsewhere = std::move( Source );
        REQUIRE( ( IsRun( Elsewhere, 1, 5, 5 ) && SElement::CalcCopyCount() == 0 ) );
        REQUIRE( ( IsRun( Source, 0, 0, 6 ) && Source.GetData() == pSource ) );
    }
}

TEST_CASE_METHOD( CArrayCase, "Hybrid array allocating with a custom parent allocator", "[zanhybridarray]" )
{
    CZanInlineBufArray<int32, 4> Array( _Heap ), Stranger( _OtherHeap ), Friend( _Heap );
    Fill( Array, 1, 4 );
    REQUIRE( ( _Heap.GetTotalAllocationCount() == 0 && Array.IsUsingInternalMemory() ) );
    Array.Append( 5 );
    REQUIRE( ( IsRun( Array, 1, 5, 8 ) && _Heap.GetTotalAllocationCount() == 1 ) );
    REQUIRE( _Heap.GetTotalAllocationByteCount() == 8 * sizeof( int32 ) );
    Stranger = std::move( Array ); // the block stays where it can be freed
    REQUIRE( ( IsRun( Stranger, 1, 5, 5 ) && IsRun( Array, 0, 0, 8 ) ) );
    Friend.Append( 9 );
    swap( Friend, Stranger );
    REQUIRE( ( IsRun( Friend, 1, 5, 5 ) && IsRun( Stranger, 9, 1, 5 ) ) );
    REQUIRE( ( _Heap.GetTotalAllocationCount() == 2 && _OtherHeap.GetTotalAllocationCount() == 1 ) );
}

TEST_CASE( "CZanArray SetSizeNoInit", "[zan_array]" )
{
    CInts Array{ 1, 2 };
    Array.SetSizeNoInit( 5 );
    REQUIRE( ( Array.GetSize() == 5 && Array.GetCapacity() == 5 && Array[ 0 ] == 1 && Array[ 1 ] == 2 ) );
    Array.SetSizeNoInit( 1 );
    REQUIRE( IsRun( Array, 1, 1, 5 ) );
}

TEST_CASE( "CZanArray IncreaseSizeNoInit", "[zan_array]" )
{
    CInts Array{ 1, 2 };
    Array.IncreaseSizeNoInit( 3 );
    REQUIRE( ( Array.GetSize() == 5 && Array.GetCapacity() == 5 && Array[ 0 ] == 1 && Array[ 1 ] == 2 ) );
    Array.IncreaseSizeNoInit( -3 );
    REQUIRE( IsRun( Array, 1, 2, 5 ) );
}

TEST_CASE_METHOD( CArrayCase, "CZanArray AppendEmplace", "[zan_array]" )
{
    CElements Array( _Heap );
    const int32 Capacities[] = { 1, 2, 4, 4, 8, 8, 8, 8, 16 };
    for ( int32 i = 0; i < 9; ++i )
    {
        REQUIRE(
            ( IsAt( Array, i, Array.AppendEmplace( i ) ) && IsRun( Array, 0, i + 1, Capacities[ i ] ) ) );
    }
    REQUIRE( _Heap.GetTotalAllocationByteCount() == ( 1 + 2 + 4 + 8 + 16 ) * sizeof( SElement ) );
    REQUIRE( ( SElement::_Life._ValueConstructions == 9 && SElement::CalcMoveCount() == 15 ) );
}

TEST_CASE( "CZanArray Sort", "[zan_array]" )
{
    using CPair = std::pair<int32, int32>;
    CZanArray<CPair> Array{ { 2, 0 }, { 1, 1 }, { 2, 2 }, { 1, 3 } };
    Array.Sort( []( const CPair& Left, const CPair& Right ) { return Left.first > Right.first; } );
    REQUIRE( Array == CZanArray<CPair>{ { 2, 0 }, { 2, 2 }, { 1, 1 }, { 1, 3 } } ); // equals keep their order
    Array.Sort();
    REQUIRE( Array == CZanArray<CPair>{ { 1, 1 }, { 1, 3 }, { 2, 0 }, { 2, 2 } } );
}

TEST_CASE( "CZanArray InsertSorted", "[zan_array]" )
{
    using CPair = std::pair<int32, int32>;
    const auto bBefore = []( const CPair& Left, const CPair& Right ) { return Left.first < Right.first; };
    CZanArray<CPair> Pairs{ { 1, 0 }, { 3, 1 } };
    REQUIRE( Pairs.InsertSorted( { 3, 2 }, bBefore ) == 2 ); // behind its equals
    REQUIRE( Pairs == CZanArray<CPair>{ { 1, 0 }, { 3, 1 }, { 3, 2 } } );
    CInts Ascending{ 1, 3, 9 }, Descending{ 9, 5 };
    REQUIRE( ( Ascending.InsertSorted( 10 ) == 3 && Ascending.InsertSorted( 0 ) == 0 ) );
    REQUIRE_THAT( Ascending, EqualsSequence<CInts>( 0, 1, 3, 9, 10 ) );
    REQUIRE( Descending.InsertSorted( 10, std::greater<>() ) == 0 );
    REQUIRE_THAT( Descending, EqualsSequence<CInts>( 10, 9, 5 ) );
}

TEST_CASE( "CZanArray RemoveSorted", "[zan_array]" )
{
    CInts Ascending{ 1, 3, 5, 9, 9 }, Descending{ 9, 9, 5 };
    REQUIRE( ( Ascending.RemoveSorted( 9 ) == 2 && Ascending.RemoveSorted( 4 ) == 0 ) );
    REQUIRE_THAT( Ascending, EqualsSequence<CInts>( 1, 3, 5 ) );
    REQUIRE( ( Descending.RemoveSorted( 9, std::greater<>() ) == 2 && IsRun( Descending, 5, 1 ) ) );
}

TEST_CASE( "CZanArray FindIndexSorted", "[zan_array]" )
{
    const CInts Ascending{ 1, 3, 5, 9, 9 }, Descending{ 9, 9, 5, 3, 1 };
    REQUIRE( ( Ascending.FindIndexSorted( 9 ) == 3 && Ascending.FindIndexSorted( 1 ) == 0 ) );
    REQUIRE( Descending.FindIndexSorted( 9, std::greater<>() ) == 0 );
    REQUIRE( Descending.FindIndexSorted( 1, std::greater<>() ) == 4 );
    REQUIRE( ( Ascending.FindIndexSorted( 42 ) < 0 && Ascending.FindIndexSorted( 4 ) < 0 ) );
}

TEST_CASE( "CZanArray ContainsSorted", "[zan_array]" )
{
    const CInts Ascending{ 1, 3, 9 }, Descending{ 9, 3, 1 };
    for ( int32 Value = 0; Value < 11; ++Value )
    {
        const bool bIn = Value == 1 || Value == 3 || Value == 9;
        REQUIRE( Ascending.ContainsSorted( Value ) == bIn );
        REQUIRE( Descending.ContainsSorted( Value, std::greater<>() ) == bIn );
    }
}

TEST_CASE_METHOD( CArrayCase, "CZanArray AppendEmplace Moveable", "[zan_array]" )
{
    CZanArray<SCounted<SMoveOnly>> Array( _Heap );
    for ( int32 i = 1; i <= 5; ++i )
    {
        SCounted<SMoveOnly> Source( i );
        REQUIRE( ( Array.AppendEmplace( std::move( Source ) ).IsMoved() && Source == 0 ) );
    }
    REQUIRE( ( IsRun( Array, 1, 5, 8 ) && SCounted<SMoveOnly>::_Life._ValueConstructions == 5 ) );
}

TEST_CASE( "CZanArray Add self array item reference", "[zan_array]" )
{
    CZanArray<SMovable> Array;
    Array.AppendEmplace( 2147483647 );
    for ( int32 i = 0; i < 100; ++i )
    {
        i % 3 == 0 ? Array.AppendEmplace( Array.GetTailData() ) : Array.Append( Array[ i / 2 ] );
        REQUIRE( ( Array.GetTailData() == 2147483647 && Array.GetHeadData() == 2147483647 ) );
    }
    REQUIRE( ( Array.GetSize() == 101 && Array.GetCapacity() == 128 ) );
}

TEST_CASE( "CZanArray non default constructable, non copy constructable", "[zan_array]" )
{
    struct SBare
    {
        explicit SBare( int32 Value ) : _pValue( std::make_unique<int32>( Value ) ) {}
        bool operator==( int32 Value ) const { return *_pValue == Value; }
        std::unique_ptr<int32> _pValue;
    };
    CZanArray<SBare> Array;
    Fill( Array, 0, 5 );
    const CZanArray<SBare> Moved( std::move( Array ) );
    REQUIRE( ( IsRun( Moved, 0, 5, 8 ) && IsRun( Array, 0, 0, 0 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray RemoveAtIndices", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2, 3, 4, 5 };
    REQUIRE( ( Array.RemoveAtIndices( CInts() ) == 0 && Array.RemoveAtIndices( CInts{ 1, 2 } ) == 2 ) );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 4, 5 ) );
    REQUIRE( Array.RemoveAtIndices( CInts{ 2, 0 } ) == 1 ); // nothing matches behind an inversion
    REQUIRE( ( Array.RemoveAtIndices( CInts{ 0, 1 } ) == 2 && IsRun( Array, 0, 0 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray ForEach", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2, 3 };
    int32 Seen = 0;
    Array.ForEach( []( TElement<TestType>& Element ) { Element = Element.GetValue() * 2; } );
    std::as_const( Array ).ForEach( [ & ]( const auto& Element ) { Seen = Seen * 10 + Element.GetValue(); } );
    REQUIRE( Seen == 246 );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Contains Value", "[zan_array]", TArrayTypes )
{
    const TestType Array{ 1, 2, 9 };
    REQUIRE( ( Array.Contains( SElement( 1 ) ) && Array.Contains( SElement( 9 ) ) ) );
    REQUIRE_FALSE( ( Array.Contains( SElement( 3 ) ) || TestType().Contains( SElement() ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Contains Predicate", "[zan_array]", TArrayTypes )
{
    const TestType Array{ 1, 2, 9 };
    REQUIRE(
        ( Array.Contains( bIsNine ) && !Array.Contains( bIsEight ) && !TestType().Contains( bIsNine ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray ContainsIf", "[zan_array]", TArrayTypes )
{
    const TestType Array{ 1, 2, 9 };
    REQUIRE( ( Array.ContainsIf( bIsNine ) && !Array.ContainsIf( bIsEight ) ) );
    REQUIRE_FALSE( TestType().ContainsIf( bIsNine ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray FindIf", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 9, 3, 9 };
    REQUIRE( std::as_const( Array ).FindIf( bIsNine ) == Array.GetData() + 1 );
    *Array.FindIf( bIsNine ) = 2;
    REQUIRE( ( Array.FindIf( bIsNine ) == Array.GetData() + 3 && Array.FindIf( bIsEight ) == nullptr ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray FindIndex Value", "[zan_array]", TArrayTypes )
{
    const TestType Array{ 1, 9, 3, 9 };
    REQUIRE( ( Array.FindIndex( SElement( 9 ) ) == 1 && Array.FindIndex( SElement( 1 ) ) == 0 ) );
    REQUIRE( ( Array.FindIndex( SElement( 8 ) ) == -1 && TestType().FindIndex( SElement() ) == -1 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray FindIndex Predicate", "[zan_array]", TArrayTypes )
{
    const TestType Array{ 1, 9, 3, 9 };
    REQUIRE( ( Array.FindIndex( bIsNine ) == 1 && Array.FindIndex( bIsEight ) == -1 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray FindIndexIf", "[zan_array]", TArrayTypes )
{
    const TestType Array{ 1, 9, 3, 9 };
    REQUIRE( ( Array.FindIndexIf( bIsNine ) == 1 && Array.FindIndexIf( bIsEight ) == -1 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray ShrinkToFit", "[zan_array]", TArrayTypes )
{
    auto Array = MakeArray<TestType>( this->_Heap );
    Fill( Array, 1, 2 );
    const auto* const pData = Array.GetData();
    Array.ShrinkToFit(); // nothing to do: exact, or embedded
    REQUIRE( ( IsRun( Array, 1, 2, 2 ) && Array.GetData() == pData ) );
    Array.Reserve( 10 );
    Array.ShrinkToFit(); // which leads no hybrid back into its buffer
    REQUIRE( ( IsRun( Array, 1, 2 ) && Array.GetCapacity() == ( bIsStatic<TestType> ? 64 : 2 ) ) );
    Array.RemoveAll();
    Array.ShrinkToFit();
    REQUIRE( ( IsRun( Array, 0, 0 ) && Array.GetCapacity() == ( bIsStatic<TestType> ? 64 : 0 ) ) );
    REQUIRE( this->_Heap.GetTotalAllocationCount() == this->_Heap.GetTotalDeallocationCount() );
    Fill( Array, 1, 2 );
    REQUIRE( IsRun( Array, 1, 2 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray SwapToTailRemoveAt", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2, 3, 4, 5 };
    Array.SwapToTailRemoveAt( 1 );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 5, 3, 4 ) );
    Array.SwapToTailRemoveAt( 3 );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 5, 3 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray SwapToTailRemove", "[zan_array]", TArrayTypes )
{
    TestType Array{ 9, 2, 9, 4, 9 };
    const SElement Nine( 9 );
    REQUIRE( ( Array.SwapToTailRemove( Nine ) == 3 && Array.SwapToTailRemove( Nine ) == 0 ) );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 4, 2 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray SwapToTailRemoveIf", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 9, 3, 4, 9 };
    REQUIRE( Array.SwapToTailRemoveIf( bIsNine ) == 2 );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 4, 3 ) );
    REQUIRE( ( Array.SwapToTailRemoveIf( bIsAny ) == 3 && IsRun( Array, 0, 0, 5 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Remove Object", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 9, 2, 9, 3 };
    const SElement Nine( 9 );
    REQUIRE( ( Array.Remove( Nine ) == 2 && Array.Remove( Nine ) == 0 && IsRun( Array, 1, 3, 5 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Remove Predicate", "[zan_array]", TArrayTypes )
{
    TestType Array{ 9, 1, 2, 3, 9 };
    REQUIRE( ( Array.Remove( bIsNine ) == 2 && Array.Remove( bIsEight ) == 0 && IsRun( Array, 1, 3, 5 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray RemoveIf", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 9, 9, 2, 3 };
    REQUIRE( ( Array.RemoveIf( bIsNine ) == 2 && IsRun( Array, 1, 3, 5 ) ) );
    REQUIRE( ( Array.RemoveIf( bIsAny ) == 3 && IsRun( Array, 0, 0, 5 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray RemoveFirstOf", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 9, 2, 9 };
    const SElement Nine( 9 );
    REQUIRE( Array.RemoveFirstOf( Nine ) );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 2, 9 ) );
    REQUIRE( ( Array.RemoveFirstOf( Nine ) && !Array.RemoveFirstOf( Nine ) && IsRun( Array, 1, 2, 4 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray RemoveAt", "[zan_array]", TArrayTypes )
{
    TestType Array{ 7, 1, 7, 2, 7 };
    for ( const int32 Index : { 4, 2, 0 } )
    {
        Array.RemoveAt( Index );
    }
    REQUIRE( IsRun( Array, 1, 2, 5 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray RemoveRange", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 7, 7, 7, 2, 3, 7 };
    REQUIRE( ( Array.RemoveRange( 1, 4 ) == 3 && Array.RemoveRange( 3, 4 ) == 1 && IsRun( Array, 1, 3 ) ) );
    REQUIRE( ( Array.RemoveRange( 2, 2 ) == 0 && Array.RemoveRange( 2, 1 ) == 0 && IsRun( Array, 1, 3 ) ) );
    REQUIRE( ( Array.RemoveRange( 0, 3 ) == 3 && IsRun( Array, 0, 0 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray RemoveTail", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2 };
    Array.RemoveTail();
    REQUIRE( ( IsRun( Array, 1, 1, 2 ) && SElement::_Life.GetLiveCount() == 1 ) );
    Array.RemoveTail();
    Array.RemoveTail();
    REQUIRE( ( IsRun( Array, 0, 0, 2 ) && SElement::_Life.GetLiveCount() == 0 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray DeleteAll", "[zan_array]", TArrayTypes )
{
    auto Array = MakeArray<TSameKind<TestType, SElement*>>( this->_Heap );
    alignas( SElement ) std::byte Storage[ sizeof( SElement ) ]; // a static array gives nothing back
    void* const pBlock = bIsStatic<TestType> ? Storage : this->_Heap.Allocate( sizeof( SElement ), 8 );
    Array.Append( nullptr );
    Array.Append( new ( pBlock ) SElement( 1 ) );
    Array.DeleteAll();
    REQUIRE( ( Array.IsEmpty() && Array.CheckInvariants() && SElement::_Life.GetLiveCount() == 0 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray RemoveAll", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2 };
    const auto* const pData = Array.GetData();
    Array.RemoveAll();
    REQUIRE( ( IsRun( Array, 0, 0, 2 ) && SElement::_Life.GetLiveCount() == 0 ) );
    Array.Append( 5 );
    REQUIRE( ( IsRun( Array, 5, 1, 2 ) && Array.GetData() == pData ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD(
    CArrayFamily, "CZanArray Append initializer_list", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2 };
    Array.Append( { 3, 4, 5 } );
    REQUIRE( IsRun( Array, 1, 5, bIsPlain<TestType> ? 5 : 8 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Append Ptr + Size", "[zan_array]", TArrayTypes )
{
    const CElements Source{ 5, 6, 7, 8, 9, 10, 11, 12, 13, 14, 15, 16, 17 };
    auto Array = MakeArray<TestType>( this->_Heap );
    Fill( Array, 1, 4 );
    Array.Append( Source.GetData(), 1 );
    REQUIRE( IsRun( Array, 1, 5, 8 ) ); // doubled
    const uint64 Count = this->_Heap.GetTotalAllocationCount();
    Array.Append( Source.GetData() + 1, 12 );
    Array.Append( Source.GetData(), 0 );
    REQUIRE( IsRun( Array, 1, 17, 17 ) ); // needed
    REQUIRE( this->_Heap.GetTotalAllocationCount() == Count + ( bIsStatic<TestType> ? 0 : 1 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Append Array Rvalue", "[zan_array]", TArrayTypes )
{
    auto Source = MakeArray<TestType>( this->_Heap ), Target = MakeArray<TestType>( this->_Heap );
    Fill( Target, 1, 4 );
    Fill( Source, 5, 5 );
    Target.Append( std::move( Source ) );
    REQUIRE( ( IsRun( Target, 1, 9, 9 ) && IsRun( Source, 0, 0, 8 ) && SElement::CalcCopyCount() == 0 ) );
    Target.Reserve( 20 );
    const auto* const pTarget = Target.GetData();
    Fill( Source, 10, 3 );
    Target.Append( std::move( Source ) );
    REQUIRE( ( IsRun( Target, 1, 12, 20 ) && IsRun( Source, 0, 0 ) && Target.GetData() == pTarget ) );
    Source.Append( std::move( Target ) );
    REQUIRE( ( IsRun( Source, 1, 12 ) && IsRun( Target, 0, 0 ) ) );
    REQUIRE( ( !bIsPlain<TestType> || Source.GetData() == pTarget ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Append Array Lvalue", "[zan_array]", TArrayTypes )
{
    const TestType Source{ 4, 5, 6 };
    TestType Array{ 1, 2, 3 };
    Array.Append( Source );
    REQUIRE( ( IsRun( Array, 1, 6, bIsPlain<TestType> ? 6 : 8 ) && IsRun( Source, 4, 3 ) ) );
    Array.Append( Array );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 2, 3, 4, 5, 6, 1, 2, 3, 4, 5, 6 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Append Rvalue", "[zan_array]", TArrayTypes )
{
    TestType Array;
    for ( int32 i = 1; i <= 5; ++i )
    {
        SElement Element( i );
        REQUIRE( IsAt( Array, i - 1, Array.Append( std::move( Element ) ) ) );
        REQUIRE( ( Element == 0 && IsRun( Array, 1, i ) && SElement::CalcCopyCount() == 0 ) );
    }
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Append Lvalue", "[zan_array]", TArrayTypes )
{
    TestType Array;
    for ( int32 i = 1; i <= 5; ++i )
    {
        const SElement Element( i );
        REQUIRE( IsAt( Array, i - 1, Array.Append( Element ) ) );
        REQUIRE( ( Element == i && IsRun( Array, 1, i ) && SElement::CalcCopyCount() == i ) );
    }
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Reserve", "[zan_array]", TArrayTypes )
{
    auto Array = MakeArray<TestType>( this->_Heap );
    Array.Reserve( 5 );
    REQUIRE( IsRun( Array, 0, 0, 5 ) );
    Fill( Array, 1, 5 );
    Array.Reserve( 10 );
    Array.Reserve( 5 );
    REQUIRE( IsRun( Array, 1, 5, 10 ) );
    REQUIRE( this->_Heap.GetTotalAllocationCount() == ( bIsStatic<TestType> ? 0 : 2 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD(
    CArrayFamily, "CZanArray GrowToIncludeIndex From Value", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2 };
    REQUIRE( ( Array.GrowToIncludeIndex( 1, 9 ) == 2 && IsRun( Array, 1, 2, 2 ) ) );
    REQUIRE( IsAt( Array, 4, Array.GrowToIncludeIndex( 4, 9 ) ) );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 2, 9, 9, 9 ) );
    REQUIRE( Array.GetCapacity() == CalcCapacity<TestType>( 5 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD(
    CArrayFamily, "CZanArray GrowToIncludeIndex Default", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2 };
    REQUIRE( ( IsAt( Array, 0, Array.GrowToIncludeIndex( 0 ) ) && IsRun( Array, 1, 2, 2 ) ) );
    REQUIRE( IsAt( Array, 2, Array.GrowToIncludeIndex( 2 ) ) );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 2, 0 ) );
    REQUIRE( Array.GetCapacity() == CalcCapacity<TestType>( 3 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray IncreaseSize", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2 };
    Array.IncreaseSize( 3 );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 2, 0, 0, 0 ) );
    Array.IncreaseSize( -4 );
    REQUIRE( ( IsRun( Array, 1, 1, 5 ) && SElement::_Life.GetLiveCount() == 1 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray SetSize From Value", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2 };
    Array.SetSize( 5, 9 );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 2, 9, 9, 9 ) );
    Array.SetSize( 1, 9 );
    REQUIRE( ( IsRun( Array, 1, 1, 5 ) && SElement::_Life.GetLiveCount() == 1 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray SetSize Default", "[zan_array]", TArrayTypes )
{
    TestType Array{ 1, 2 };
    Array.SetSize( 5 );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 2, 0, 0, 0 ) );
    Array.SetSize( 2 );
    REQUIRE( ( IsRun( Array, 1, 2, 5 ) && SElement::_Life.GetLiveCount() == 2 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Swap", "[zan_array]", TArrayTypes )
{
    const int32 FirstSize = GENERATE( 0, 2, 5 ), SecondSize = GENERATE( 0, 4, 8 );
    auto First = MakeArray<TestType>( this->_Heap ), Second = MakeArray<TestType>( this->_Heap );
    Fill( First, 1, FirstSize );
    Fill( Second, 50, SecondSize );
    const auto *const pFirst = First.GetData(), *const pSecond = Second.GetData();
    const int32 MoveCount = SElement::CalcMoveCount();
    First.Swap( Second );
    REQUIRE( ( IsRun( First, 50, SecondSize ) && IsRun( Second, 1, FirstSize ) ) );
    if ( bIsPlain<TestType> )
    {
        REQUIRE( ( First.GetData() == pSecond && Second.GetData() == pFirst ) );
        REQUIRE( SElement::CalcMoveCount() == MoveCount );
    }
}

TEMPLATE_LIST_TEST_CASE_METHOD(
    CArrayFamily, "CZanArray iniitalizer_list Assignment", "[zan_array]", TArrayTypes )
{
    TestType Array{ 7, 8 };
    Array = { 1 };
    REQUIRE( IsRun( Array, 1, 1, 2 ) );
    Array = { 1, 2, 3, 4, 5 };
    REQUIRE( IsRun( Array, 1, 5, 5 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Move Assignment", "[zan_array]", TArrayTypes )
{
    auto Source = MakeArray<TestType>( this->_Heap ), Target = MakeArray<TestType>( this->_Heap );
    auto Elsewhere = MakeArray<TestType>( this->_OtherHeap );
    Fill( Source, 1, 6 );
    Fill( Target, 10, 3 );
    Fill( Elsewhere, 20, 3 );
    const auto* const pSource = Source.GetData();
    const int32 MoveCount = SElement::CalcMoveCount();
    Target = std::move( Source );
    REQUIRE( ( IsRun( Target, 1, 6 ) && IsRun( Source, 0, 0 ) && SElement::CalcCopyCount() == 0 ) );
    REQUIRE( ( Target.GetData() == pSource ) == !bIsStatic<TestType> );
    REQUIRE( ( SElement::CalcMoveCount() == MoveCount ) == !bIsStatic<TestType> );
    REQUIRE( Source.GetCapacity() == ( bIsStatic<TestType> ? 64 : 0 ) );
    Elsewhere = std::move( Target ); // where an allocator keeps its blocks
    REQUIRE( ( IsRun( Elsewhere, 1, 6 ) && IsRun( Target, 0, 0, 8 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Copy Assignment", "[zan_array]", TArrayTypes )
{
    auto Array = MakeArray<TestType>( this->_Heap );
    Array.Reserve( 6 );
    Fill( Array, 1, 4 );
    const CElements Three{ 1, 2, 3 }, Five{ 1, 2, 3, 4, 5 }, Seven{ 1, 2, 3, 4, 5, 6, 7 };
    SElement::_Life._CopyConstructions = 0;
    Array = Three;
    REQUIRE( ( IsRun( Array, 1, 3, 6 ) && SElement::_Life._CopyAssignments == 3 ) );
    Array = Five;
    REQUIRE( ( IsRun( Array, 1, 5, 6 ) && SElement::_Life._CopyAssignments == 6 ) );
    REQUIRE( SElement::_Life._CopyConstructions == 2 );
    Array = Seven;
    REQUIRE( ( IsRun( Array, 1, 7, 7 ) && IsRun( Seven, 1, 7 ) && SElement::CalcMoveCount() == 0 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Move Construct", "[zan_array]", TArrayTypes )
{
    TestType Source{ 1, 2, 3, 4, 5 };
    const auto* const pSource = Source.GetData();
    const TestType Target( std::move( Source ) );
    REQUIRE( ( IsRun( Target, 1, 5 ) && IsRun( Source, 0, 0 ) && Source.GetByteSize() == 0 ) );
    REQUIRE( ( Target.GetData() == pSource ) == !bIsStatic<TestType> );
    REQUIRE( ( Source.GetAllocationByteSize() == 0 ) == !bIsStatic<TestType> );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Copy Construct", "[zan_array]", TArrayTypes )
{
    auto Source = MakeArray<TestType>( this->_Heap );
    Source.Reserve( 9 );
    Fill( Source, 1, 5 );
    const TestType Copy( Source ); // on the default allocator
    REQUIRE( ( IsRun( Copy, 1, 5, 5 ) && IsRun( Source, 1, 5, 9 ) && Copy == Source ) );
    REQUIRE( this->_Heap.GetTotalAllocationCount() == ( bIsStatic<TestType> ? 0 : 1 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD(
    CArrayFamily, "CZanArray Size and Emplace Construct", "[zan_array]", TArrayTypes )
{
    using CPair = std::pair<int32, int32>;
    const TSameKind<TestType, CPair> Array( 5, 3, 4 );
    REQUIRE( ( Array.GetSize() == 5 && Array.GetCapacity() == CalcCapacity<TestType>( 5 ) ) );
    REQUIRE( ( Array[ 0 ] == CPair( 3, 4 ) && Array[ 4 ] == CPair( 3, 4 ) && Array.CheckInvariants() ) );
}

namespace NSizeAndValue
{
// Three element types over the three kinds, under the name that the other families show.
using TArrayTypes = TConcat<TKinds<int32>, TKinds<SCounted<SCopyable>>, TKinds<SElement>>;

TEMPLATE_LIST_TEST_CASE_METHOD(
    CArrayFamily, "CZanArray Size and Value Construct", "[zan_array]", TArrayTypes )
{
    const TElement<TestType> Value( 7 );
    const TestType Array( 3, Value ), Empty( int32( 0 ), Value );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 7, 7, 7 ) );
    REQUIRE( ( Array.CheckInvariants() && Array.GetCapacity() == CalcCapacity<TestType>( 3 ) ) );
    REQUIRE(
        ( IsRun( Empty, 0, 0, 0 ) && TestType( 5, Value ).GetCapacity() == CalcCapacity<TestType>( 5 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Size Value Construct", "[zan_array]", TArrayTypes )
{
    const TestType Array( 3 ), Long( 5 );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 0, 0, 0 ) );
    REQUIRE( ( Array.CheckInvariants() && Array.GetCapacity() == CalcCapacity<TestType>( 3 ) ) );
    REQUIRE( ( Long.GetSize() == 5 && Long[ 4 ] == 0 && Long.GetCapacity() == CalcCapacity<TestType>( 5 ) ) );
}
} // namespace NSizeAndValue

TEMPLATE_LIST_TEST_CASE_METHOD(
    CArrayFamily, "CZanArray Initializer List Construct", "[zan_array]", TArrayTypes )
{
    const TestType Array{ 1, 2, 3 };
    REQUIRE( ( IsRun( Array, 1, 3, 3 ) && Array.GetHeadData() == 1 && Array.GetTailData() == 3 ) );
    REQUIRE( Array.GetByteSize() == static_cast<int32>( 3 * sizeof( SElement ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Pointer Size Construct", "[zan_array]", TArrayTypes )
{
    const SElement Source[] = { 1, 2, 3, 4 };
    const TestType Array( Source, 3 );
    REQUIRE( ( IsRun( Array, 1, 3, 3 ) && SElement::CalcCopyCount() == 3 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray Default Construct", "[zan_array]", TArrayTypes )
{
    const TestType Array;
    REQUIRE( (IsRun( Array, 0, 0, 0 ) && ( Array.GetData() == nullptr ) == bIsPlain<TestType>));
    REQUIRE( ( Array.GetByteSize() == 0 && Array.GetIterStart() == Array.GetIterEnd() ) );
    REQUIRE( Array.GetAllocationByteSize() ==
             InlineCapacity<TestType> * static_cast<int32>( sizeof( SElement ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray swap", "[zan_array]", TArrayTypePairs )
{
    ForPairs<TestType>( this->_Heap, this->_OtherHeap, []( auto& To, auto& From ) {
        const int32 ToSize = To.GetSize(), FromSize = From.GetSize();
        swap( To, From );
        REQUIRE( ( IsRun( To, 50, FromSize ) && IsRun( From, 1, ToSize ) ) );
        To.Swap( From );
        REQUIRE( ( IsRun( To, 1, ToSize ) && IsRun( From, 50, FromSize ) ) );
    } );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray move assign", "[zan_array]", TArrayTypePairs )
{
    ForPairs<TestType>( this->_Heap, this->_OtherHeap, []( auto& To, auto& From ) {
        const int32 FromSize = From.GetSize();
        To = std::move( From );
        REQUIRE( ( IsRun( To, 50, FromSize ) && IsRun( From, 0, 0 ) ) );
        Fill( From, 1, 6 );
        REQUIRE( ( IsRun( To, 50, FromSize ) && IsRun( From, 1, 6 ) ) );
    } );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray copy assign", "[zan_array]", TArrayTypePairs )
{
    ForPairs<TestType>( this->_Heap, this->_OtherHeap, []( auto& To, auto& From ) {
        const int32 Capacity = std::max( To.GetCapacity(), From.GetSize() );
        To = From;
        REQUIRE( ( To == From && IsRun( To, 50, From.GetSize(), Capacity ) ) );
    } );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray move construct", "[zan_array]", TArrayTypePairs )
{
    ForPairs<TestType>( this->_Heap, this->_OtherHeap, []( auto& To, auto& From ) {
        const int32 FromSize = From.GetSize(), FromCapacity = From.GetCapacity();
        const std::remove_reference_t<decltype( To )> Constructed( std::move( From ) );
        REQUIRE( ( IsRun( Constructed, 50, FromSize ) && IsRun( From, 0, 0 ) ) );
        REQUIRE( From.GetCapacity() == FromCapacity ); // its allocator is not the default one
    } );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "CZanArray copy construct", "[zan_array]", TArrayTypePairs )
{
    ForPairs<TestType>( this->_Heap, this->_OtherHeap, []( auto& To, auto& From ) {
        const std::remove_reference_t<decltype( To )> Constructed( From );
        REQUIRE( ( Constructed == From && IsRun( Constructed, 50, From.GetSize(), From.GetSize() ) ) );
    } );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "Array insert keeps the order", "[zan_array]", TArrayTypes )
{
    auto Array = MakeArray<TestType>( this->_Heap );
    Fill( Array, 2, 2 );
    const SElement One( 1 ), More[] = { 4, 5, 6 };
    REQUIRE( ( IsAt( Array, 0, Array.Insert( 0, One ) ) && IsAt( Array, 3, Array.InsertEmplace( 3, 7 ) ) ) );
    Array.Insert( 3, More, 3 );
    REQUIRE( IsRun( Array, 1, 7, 8 ) );
    REQUIRE( IsAt( Array, 4, Array.Insert( 4, std::move( Array[ 6 ] ) ) ) );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 2, 3, 4, 7, 5, 6, 0 ) );
    REQUIRE( IsAt( Array, 1, Array.Insert( 1, std::move( Array[ 3 ] ) ) ) );
    REQUIRE_THAT( Array, EqualsSequence<TestType>( 1, 4, 2, 3, 0, 7, 5, 6, 0 ) );
    REQUIRE( Array.GetCapacity() == CalcCapacity<TestType>( 16 ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "Array takes what it holds", "[zan_array]", TMixedArrayTypes )
{
    const int32 Capacity = GENERATE( 5, 20 ), First = GENERATE( 0, 1, 3 ), Count = GENERATE( 0, 1, 2 );
    for ( int32 Index = 0; Index <= 5; ++Index )
    {
        auto Array = MakeArray<TestType>( this->_Heap );
        Array.Reserve( Capacity );
        Fill( Array, 1, 5 );
        std::vector<int32> Model;
        std::generate_n( std::back_inserter( Model ), 5, [ Value = 0 ]() mutable { return ++Value; } );
        const std::vector<int32> Range( Model.begin() + First, Model.begin() + First + Count );
        Model.insert( Model.begin() + Index, Range.begin(), Range.end() );
        Array.Insert( Index, Array.GetData() + First, Count );
        REQUIRE( IsEqual( Array, Model ) );
        Model.resize( 30, Model[ 2 ] );
        Array.SetSize( 30, Array[ 2 ] );
        REQUIRE( IsEqual( Array, Model ) );
        REQUIRE(
            Array.Remove( Array[ 2 ] ) == static_cast<int32>( std::erase( Model, int32( Model[ 2 ] ) ) ) );
        REQUIRE( IsEqual( Array, Model ) );
    }
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "Array survives itself as source", "[zan_array]", TArrayTypes )
{
    const int32 Size = GENERATE( 0, 3, 4, 6 );
    auto Array = MakeArray<TestType>( this->_Heap );
    Fill( Array, 1, Size );
    TestType& Same = Array;
    CElements& Base = Array;
    Array = Same;
    Array = std::move( Same );
    Array.Swap( Same );
    swap( Array, Same );
    REQUIRE( IsRun( Array, 1, Size ) );
    Base = Same; // the base's own operations see the same object
    Base = std::move( Same );
    Array = std::move( Base );
    Base.Swap( Base );
    Array.Swap( Base );
    REQUIRE( IsRun( Array, 1, Size ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "Array holds what only moves", "[zan_array]", TArrayTypes )
{
    auto Array = MakeArray<TSameKind<TestType, SCounted<SMoveOnly>>>( this->_Heap );
    auto Other = MakeArray<TSameKind<TestType, SCounted<SMoveOnly>>>( this->_OtherHeap );
    Fill( Array, 1, 5 );
    Array.Insert( 0, SCounted<SMoveOnly>( 9 ) );
    Other.SetSize( 2 );
    Array.Swap( Other );
    Array.RemoveRange( 0, 1 );
    Array.Append( std::move( Other ) );
    Other = std::move( Array );
    REQUIRE( ( Other.Remove( bIsNine ) == 1 && Other.SwapToTailRemoveIf( bIsNine ) == 0 ) );
    Other.ShrinkToFit();
    REQUIRE( ( IsRun( Other, 0, 6 ) && IsRun( Array, 0, 0 ) ) );
}

TEST_CASE( "Array iterates over its elements", "[zan_array]" )
{
    CInts Array{ 1, 2, 3 };
    for ( int32& Element : Array )
    {
        ++Element;
    }
    ++*Array.AccessIterStart();
    *( Array.AccessIterEnd() - 1 ) = 9;
    REQUIRE_THAT( Array, EqualsSequence<CInts>( 3, 3, 9 ) );
    REQUIRE( ( Array.GetIterStart() == Array.GetData() && Array.GetIterEnd() == Array.GetData() + 3 ) );
}

TEST_CASE_METHOD( CArrayCase, "Array copied or moved onto a given allocator", "[zan_array]" )
{
    CElements Source( _Heap );
    Fill( Source, 1, 3 );
    const CElements Copy( Source, _OtherHeap );
    const SElement* const pSource = Source.GetData();
    const CElements Moved( std::move( Source ), _Heap );
    REQUIRE( ( IsRun( Copy, 1, 3, 3 ) && IsRun( Moved, 1, 3, 4 ) && Moved.GetData() == pSource ) );
    REQUIRE( ( _OtherHeap.GetTotalAllocationCount() == 1 && IsRun( Source, 0, 0, 0 ) ) );
}

namespace
{
/// Is asked for one alignment only, honours it, and has no memory once it is told so.
class CStrictAllocator final : public CZanAllocator
{
public:
    explicit CStrictAllocator( std::size_t Alignment ) : _Alignment( Alignment ) {}

    void* Allocate( uint64 Size, uint32 Alignment ) override
    {
        CHECK( Alignment == _Alignment );
        return _bExhausted ? throw std::bad_alloc() : ::operator new( Size, std::align_val_t( _Alignment ) );
    }
    void Free( void* pData ) override { ::operator delete( pData, std::align_val_t( _Alignment ) ); }

    bool _bExhausted = false;

private:
    std::size_t _Alignment;
};

struct alignas( 128 ) SAligned
{
    explicit SAligned( int32 Value ) : _Value( Value ) {}
    bool operator==( int32 Value ) const { return _Value == Value && bIsAligned(); }
    bool bIsAligned() const { return reinterpret_cast<std::uintptr_t>( this ) % alignof( SAligned ) == 0; }
    int32 _Value;
};

/// Throws from the copy that uses the budget up, until the budget is set again.
struct SFragile : SElement
{
    SFragile( int32 Value ) : SElement( Value ) {}
    SFragile( const SFragile& Other ) : SElement( _Budget-- > 0 ? Other : throw 42 ) {}
    SFragile& operator=( const SFragile& ) = default;

    static inline int32 _Budget = 0;
};
} // namespace

TEST_CASE( "Array keeps over-aligned elements aligned", "[zan_array]" )
{
    CStrictAllocator Heap( alignof( SAligned ) );
    TPlain<SAligned> Array( Heap );
    THybrid<SAligned> Hybrid( Heap );
    for ( int32 i = 0; i < 9; ++i )
    {
        Array.AppendEmplace( i );
        Hybrid.AppendEmplace( i );
        REQUIRE( ( IsRun( Array, 0, i + 1 ) && IsRun( Hybrid, 0, i + 1 ) ) );
    }
}

TEST_CASE_METHOD( CArrayCase, "Array stays as it was when memory runs out", "[zan_array]" )
{
    CStrictAllocator Heap( alignof( SElement ) );
    CElements Array( Heap ), Source{ 1, 2, 3 };
    Fill( Array, 1, 4 );
    Heap._bExhausted = true;
    REQUIRE_THROWS_AS( Array.Append( Array[ 0 ] ), std::bad_alloc );
    REQUIRE_THROWS_AS( Array.Insert( 1, SElement( 7 ) ), std::bad_alloc );
    REQUIRE_THROWS_AS( Array.Insert( 1, Source.GetData(), 2 ), std::bad_alloc );
    REQUIRE_THROWS_AS( Array.Append( std::move( Source ) ), std::bad_alloc );
    REQUIRE_THROWS_AS( Array.Reserve( 5 ), std::bad_alloc );
    REQUIRE_THROWS_AS( Array.SetSize( 5 ), std::bad_alloc );
    REQUIRE( ( IsRun( Array, 1, 4, 4 ) && IsRun( Source, 1, 3, 3 ) ) );
}

TEMPLATE_LIST_TEST_CASE_METHOD(
    CArrayFamily, "Array stays as it was when a constructor throws", "[zan_array]", TArrayTypes )
{
    using CFragiles = TSameKind<TestType, SFragile>;
    SFragile::_Budget = 1000;
    const int32 Capacity = GENERATE( 4, 20 );
    const SFragile Source[] = { 7, 8, 9 };
    auto Array = MakeArray<CFragiles>( this->_Heap );
    Array.Reserve( Capacity );
    Fill( Array, 1, 4 );
    for ( int32 Budget = 0; Budget < 3; ++Budget )
    {
        const auto bThrows = [ & ]( const auto& Change ) {
            SFragile::_Budget = Budget;
            REQUIRE_THROWS_AS( Change(), int );
            return IsRun( Array, 1, 4 );
        };
        REQUIRE( bThrows( [ & ]() { Array.Insert( 2, Source, 3 ); } ) );
        REQUIRE( bThrows( [ & ]() { Array.Append( Source, 3 ); } ) );
        REQUIRE( bThrows( [ & ]() { Array.SetSize( 7, Source[ 0 ] ); } ) );
        REQUIRE( bThrows( [ & ]() { CFragiles( Source, 3 ); } ) );
    }
}

namespace
{
/// Two arrays of one kind and a plain one, beside what has to be in them.
template <typename TArray>
class CRandomArrays
{
public:
    CRandomArrays( CZanAllocator& Heap, CZanAllocator& OtherHeap, uint32 Seed )
        : _Random( Seed ), _Array( MakeArray<TArray>( Heap ) ),
          _Other( MakeArray<TArray>( Seed % 2 == 0 ? Heap : OtherHeap ) ), _Plain( Heap )
    {}

    void Step()
    {
        if ( _Array.GetSize() > 20 ) // at most doubled by one step, it still fits the static array
        {
            _Array.RemoveRange( 6, _Array.GetSize() );
            _Model.resize( 6 );
        }
        switch ( Pick( 4 ) )
        {
        case 0:
            return Grow();
        case 1:
            return Shrink();
        case 2:
            return ReferToItself();
        default:
            return Pick( 2 ) == 0 ? Exchange( _Other, _OtherModel ) : Exchange( _Plain, _PlainModel );
        }
    }

    bool IsSound() const
    {
        return _bRight && IsEqual( _Array, _Model ) && IsEqual( _Other, _OtherModel ) &&
               IsEqual( _Plain, _PlainModel );
    }

private:
    using CElement = TElement<TArray>;
    using CModel = std::vector<int32>;

    int32 Pick( int32 Count ) { return static_cast<int32>( _Random() % static_cast<uint32>( Count ) ); }
    void RunOneOf( const std::vector<std::function<void()>>& Changes )
    {
        Changes[ _Random() % Changes.size() ]();
    }
    void Expect( bool bRight ) { _bRight = _bRight && bRight; }

    void Grow()
    {
        const int32 Value = Pick( 10 ), Index = Pick( _Array.GetSize() + 1 ), Size = Pick( 20 );
        const int32 Grown = std::max( Size + 1, _Array.GetSize() );
        const CElement Element( Value );
        const auto At = _Model.begin() + Index;
        const auto Resize = [ & ]( int32 To, int32 With ) { _Model.resize( std::size_t( To ), With ); };
        RunOneOf( {
            [ & ]() { _Array.Append( Element ), _Model.push_back( Value ); },
            [ & ]() { _Array.Append( CElement( Value ) ), _Model.push_back( Value ); },
            [ & ]() { _Array.AppendEmplace( Value ), _Model.push_back( Value ); },
            [ & ]() {
                _Array.Append( { Value, 3 } ), _Model.insert( _Model.end(), { Value, 3 } );
            },
            [ & ]() { _Array.Insert( Index, Element ), _Model.insert( At, Value ); },
            [ & ]() { _Array.Insert( Index, CElement( Value ) ), _Model.insert( At, Value ); },
            [ & ]() { _Array.InsertEmplace( Index, Value ), _Model.insert( At, Value ); },
            [ & ]() { _Array.SetSize( Size ), Resize( Size, 0 ); },
            [ & ]() { _Array.SetSize( Size, Element ), Resize( Size, Value ); },
            [ & ]() { _Array.IncreaseSize( Size - _Array.GetSize() ), Resize( Size, 0 ); },
            [ & ]() { _Array.GrowToIncludeIndex( Size ), Resize( Grown, 0 ); },
            [ & ]() { _Array.GrowToIncludeIndex( Size, Element ), Resize( Grown, Value ); },
            [ & ]() { _Array.Reserve( Size ); },
        } );
    }

    void Shrink()
    {
        const int32 Value = Pick( 10 ), First = Pick( _Array.GetSize() + 1 );
        const int32 Last = First + Pick( _Array.GetSize() - First + 1 );
        const CElement Element( Value );
        const auto bEqual = [ & ]( const auto& Tested ) { return Tested == Value; };
        const auto bBelow = [ & ]( const auto& Tested ) { return Tested < CElement( Value ); };
        const auto EraseAll = [ & ]() { return int32( std::erase( _Model, Value ) ); };
        const auto Erase = [ & ]() { _Model.erase( _Model.begin() + First, _Model.begin() + Last ); };
        const auto Sort = [ & ]() { _Array.Sort(), std::stable_sort( _Model.begin(), _Model.end() ); };
        CInts Indices;
        Fill( Indices, First, Last - First );
        RunOneOf( {
            [ & ]() { Expect( _Array.RemoveRange( First, Last ) == Last - First ), Erase(); },
            [ & ]() { Expect( _Array.RemoveAtIndices( Indices ) == Last - First ), Erase(); },
            [ & ]() { Expect( _Array.Remove( Element ) == EraseAll() ); },
            [ & ]() { Expect( _Array.RemoveIf( bEqual ) == EraseAll() ); },
            [ & ]() { Expect( _Array.RemoveFirstOf( Element ) == EraseFirst( Value ) ); },
            [ & ]() { Expect( _Array.SwapToTailRemoveIf( bBelow ) == SwapErase( bBelow ) ); },
            [ & ]() { Expect( _Array.SwapToTailRemove( Element ) == SwapErase( bEqual ) ); },
            [ & ]() { Sort(), Expect( _Array.RemoveSorted( Element ) == EraseAll() ); },
            [ & ]() { Sort(), Expect( _Array.InsertSorted( Element ) == InsertSorted( Value ) ); },
            [ & ]() { _Array.RemoveTail(), _Model.resize( std::max<std::size_t>( _Model.size(), 1 ) - 1 ); },
            [ & ]() { _Array.RemoveAll(), _Model.clear(); },
            [ & ]() { _Array.ShrinkToFit(); },
        } );
    }

    void ReferToItself()
    {
        const int32 Added = Pick( 10 );
        _Array.Append( Added );
        _Model.push_back( Added );
        const int32 End = _Array.GetSize(), Index = Pick( End ), To = Pick( End + 1 ),
                    Count = Pick( End - Index + 1 );
        const CModel Range( _Model.begin() + Index, _Model.begin() + Index + Count );
        int32& InModel = _Model[ std::size_t( Index ) ];
        const int32 Value = InModel, Left = std::is_same_v<CElement, int32> ? Value : 0; // by a move
        const auto Insert = [ & ]( int32 At ) { _Model.insert( _Model.begin() + At, Value ); };
        const auto InsertRange = [ & ]( int32 At ) {
            _Model.insert( _Model.begin() + At, Range.begin(), Range.end() );
        };
        TArray& Same = _Array;
        RunOneOf( {
            [ & ]() { _Array.Append( _Array[ Index ] ), Insert( End ); },
            [ & ]() { _Array.AppendEmplace( _Array[ Index ] ), Insert( End ); },
            [ & ]() { _Array.Append( std::move( _Array[ Index ] ) ), InModel = Left, Insert( End ); },
            [ & ]() { _Array.Append( _Array.GetData() + Index, Count ), InsertRange( End ); },
            [ & ]() { _Array.Insert( To, _Array[ Index ] ), Insert( To ); },
            [ & ]() { _Array.Insert( To, std::move( _Array[ Index ] ) ), InModel = Left, Insert( To ); },
            [ & ]() { _Array.InsertEmplace( To, _Array[ Index ] ), Insert( To ); },
            [ & ]() { _Array.Insert( To, _Array.GetData() + Index, Count ), InsertRange( To ); },
            [ & ]() { _Array.RemoveAt( Index ), _Model.erase( _Model.begin() + Index ); },
            [ & ]() { _Array.SwapToTailRemoveAt( Index ), InModel = _Model.back(), _Model.pop_back(); },
            [ & ]() { _Array = Same, _Array.Swap( Same ), _Array = std::move( Same ); },
        } );
    }

    template <typename TOther>
    void Exchange( TOther& Other, CModel& OtherModel )
    {
        const int32 Value = Pick( 10 );
        const auto Add = [ & ]() { _Model.insert( _Model.end(), OtherModel.begin(), OtherModel.end() ); };
        RunOneOf( {
            [ & ]() { swap( _Array, Other ), _Model.swap( OtherModel ); },
            [ & ]() { swap( Other, _Array ), _Model.swap( OtherModel ); },
            [ & ]() { _Array.Swap( Other ), _Model.swap( OtherModel ); },
            [ & ]() { _Array = Other, _Model = OtherModel; },
            [ & ]() { Other = _Array, OtherModel = _Model; },
            [ & ]() { _Array = std::move( Other ), _Model = std::exchange( OtherModel, {} ); },
            [ & ]() { Other = std::move( _Array ), OtherModel = std::exchange( _Model, {} ); },
            [ & ]() {
                _Array = { Value, 5 }, _Model = { Value, 5 };
            },
            [ & ]() {
                _Array = TArray{ Value, 6, 7 }, _Model = { Value, 6, 7 };
            },
            [ & ]() {
                Other = TOther{ Value, 8 }, OtherModel = { Value, 8 };
            },
            [ & ]() { _Array.Append( Other ), Add(); },
            [ & ]() { _Array.Append( std::move( Other ) ), Add(), OtherModel.clear(); },
        } );
    }

    bool EraseFirst( int32 Value )
    {
        const auto Found = std::find( _Model.begin(), _Model.end(), Value );
        return Found != _Model.end() && ( _Model.erase( Found ), true );
    }

    int32 InsertSorted( int32 Value )
    {
        const auto Place = std::upper_bound( _Model.begin(), _Model.end(), Value );
        const int32 Index = int32( Place - _Model.begin() );
        _Model.insert( Place, Value );
        return Index;
    }

    template <typename TPredicate>
    int32 SwapErase( const TPredicate& bMatch )
    {
        const std::size_t Before = _Model.size();
        for ( std::size_t i = 0; i < _Model.size(); )
        {
            if ( !bMatch( CElement( _Model[ i ] ) ) )
            {
                ++i;
                continue;
            }
            _Model[ i ] = _Model.back();
            _Model.pop_back();
        }
        return int32( Before - _Model.size() );
    }

    std::mt19937 _Random;
    TArray _Array, _Other;
    TPlain<CElement> _Plain;
    CModel _Model, _OtherModel, _PlainModel;
    bool _bRight = true; // what the calls returned so far
};
} // namespace

TEMPLATE_LIST_TEST_CASE_METHOD( CArrayFamily, "Array random changes", "[zan_array]", TMixedArrayTypes )
{
    for ( uint32 Seed = 1; Seed <= 20; ++Seed )
    {
        CRandomArrays<TestType> Arrays( this->_Heap, this->_OtherHeap, Seed );
        for ( int32 i = 0; i < 400; ++i )
        {
            Arrays.Step();
            REQUIRE( Arrays.IsSound() );
        }
    }
}
