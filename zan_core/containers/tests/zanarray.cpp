#include "zan_core/containers/zan_array.h"
#include "zan_core/containers/zan_inline_array.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <new>
#include <numeric>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>
#include <vector>

using namespace NZanTestUtils;

namespace
{
SLifeCounters Life; // of all elements, so that arrays can make them from a number

int32 CalcMoveCount() { return Life._MoveConstructions + Life._MoveAssignments; }
int32 CalcCopyCount() { return Life._CopyConstructions + Life._CopyAssignments; }

template <typename TBase>
struct SCounted : TBase
{
    SCounted() : TBase( &Life ) {}
    SCounted( int32 Value ) : TBase( Value, &Life ) {}
};
using SElement = SCounted<SMovable>;
using SMover = SCounted<SMoveOnly>;

/// Two allocators, and counters that start at zero. Whatever is left alive or unfreed fails the case.
struct SArrayCase
{
    SArrayCase() { Life = SLifeCounters(); }
    ~SArrayCase()
    {
        CHECK( _Heap.GetCurrentAllocationCount() == 0 );
        CHECK( _OtherHeap.GetCurrentAllocationCount() == 0 );
        CHECK( Life.GetLiveCount() == 0 );
    }

    CZanTestAllocator _Heap, _OtherHeap;
};

template <typename T>
using TPlain = CZanArray<T>;
template <typename T>
using THybrid = CZanInlineBufArray<T, 4>;
template <typename T>
using TStatic = CZanInlineBufArray<T, 64, int32, CZanStaticInlineBufferAllocator<T, 64, int32>>;

template <typename... TTuples>
using TConcat = decltype( std::tuple_cat( std::declval<TTuples>()... ) );
template <typename T>
using TKinds = std::tuple<TPlain<T>, THybrid<T>, TStatic<T>>;
template <typename TTo, typename T>
using TPairingsTo =
    std::tuple<std::pair<TTo, TPlain<T>>, std::pair<TTo, THybrid<T>>, std::pair<TTo, TStatic<T>>>;
template <typename T>
using TPairings = TConcat<TPairingsTo<TPlain<T>, T>, TPairingsTo<THybrid<T>, T>, TPairingsTo<TStatic<T>, T>>;

using TArrayTypes = TKinds<SElement>;
using TMixedArrayTypes =
    TConcat<TKinds<int32>, TKinds<SElement>, TKinds<SMover>>; // with and without block moves
using TArrayTypePairs = TConcat<TPairings<int32>, TPairings<SCounted<SCopyable>>, TPairings<SElement>>;

using CInts = CZanArray<int32>;
using CInts2 = CZanInlineBufArray<int32, 2>;
using CElements = TPlain<SElement>;
using CModel = std::vector<int32>;
const CModel None; // of what the checks below report

template <typename TArray>
using TElement = typename TArray::value_type;
template <typename TArray>
constexpr int32 LivesPerElement = !std::is_same_v<TElement<TArray>, int32>;
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

template <typename TArray>
bool IsEmbedded( const TArray& Array )
{
    const auto Address = []( const void* pData ) { return reinterpret_cast<std::uintptr_t>( pData ); };
    return Address( Array.GetData() ) - Address( &Array ) < sizeof( Array );
}

/// Empty, on the heap given when the kind takes one.
template <typename TArray>
TArray MakeArray( CZanAllocator& Heap ) requires( !bIsStatic<TArray> )
{
    return TArray( Heap );
}
template <typename TArray>
TArray MakeArray( CZanAllocator& ) requires bIsStatic<TArray>
{
    return TArray();
}

CModel MakeRun( int32 First, int32 Count )
{
    CModel Run( static_cast<size_t>( Count ) );
    std::iota( Run.begin(), Run.end(), First );
    return Run;
}

/// Appends First, First + 1, ...
template <typename TArray>
void Fill( TArray& Array, int32 First, int32 Count )
{
    const CModel Run = MakeRun( First, Count );
    std::for_each( Run.begin(), Run.end(), [ & ]( int32 Value ) { Array.AppendEmplace( Value ); } );
}

/// Whether a sound array holds exactly these values, in the room that its kind has when a plain array has
/// Capacity, if that is given.
template <typename TArray>
bool Holds( const TArray& Array, const CModel& Values, int32 Capacity = -1 )
{
    return Array.CheckInvariants() && Array.IsEmpty() == Values.empty() &&
           std::equal( begin( Array ), end( Array ), Values.begin(), Values.end() ) &&
           ( Capacity < 0 || Array.GetCapacity() == std::max( Capacity, InlineCapacity<TArray> ) );
}
template <typename TArray>
bool IsRun( const TArray& Array, int32 First, int32 Count, int32 Capacity = -1 )
{
    return Holds( Array, MakeRun( First, Count ), Capacity );
}

/// Whether a call gave the element at Index. A function, because operator== leaves open which side goes
/// first.
template <typename TArray>
bool IsAt( const TArray& Array, int32 Index, const TElement<TArray>& Element )
{
    return &Array[ Index ] == &Element;
}

/// What an array is compared with, and the arguments of one call. The changes give true, or what the array
/// has to give.
struct SModel
{
    int32 GetSize() const { return static_cast<int32>( _Values.size() ); }
    int32 Find( int32 Value ) const
    {
        const auto Found = std::find( _Values.begin(), _Values.end(), Value );
        return Found != _Values.end() ? static_cast<int32>( Found - _Values.begin() ) : -1;
    }

    bool Put( int32 Index ) { return Put( Index, { _Value } ); }
    bool Put( int32 Index, CModel Range )
    {
        return _Values.insert( _Values.begin() + Index, Range.begin(), Range.end() ), true;
    }
    bool Resize( int32 Size, int32 Value = 0 ) { return _Values.resize( size_t( Size ), Value ), true; }
    bool GrowTo( int32 Size, int32 Value ) { return Resize( std::max( Size, GetSize() ), Value ); }
    int32 Cut( int32 First, int32 Last )
    {
        return _Values.erase( _Values.begin() + First, _Values.begin() + Last ), Last - First;
    }
    int32 CutAll( int32 Value ) { return static_cast<int32>( std::erase( _Values, Value ) ); }
    bool CutFirst( int32 Value )
    {
        return Find( Value ) >= 0 && Cut( Find( Value ), Find( Value ) + 1 ) == 1;
    }
    int32 CutIndices( const CInts& Indices )
    {
        int32 Count = 0;
        for ( int32 i = 0, Size = GetSize(); i < Size && Count < Indices.GetSize(); ++i )
        {
            Count += Indices[ Count ] == i ? Cut( i - Count, i - Count + 1 ) : 0;
        }
        return Count;
    }
    bool CutBySwap( int32 Index )
    {
        std::swap( _Values[ size_t( Index ) ], _Values.back() );
        return _Values.pop_back(), true;
    }
    int32 CutAllBySwap( int32 Value )
    {
        return Find( Value ) >= 0 && CutBySwap( Find( Value ) ) ? 1 + CutAllBySwap( Value ) : 0;
    }
    template <typename... TCompare>
    bool Sort( TCompare... Compare )
    {
        return std::sort( _Values.begin(), _Values.end(), Compare... ), true;
    }
    template <typename... TCompare>
    int32 PutSorted( int32 Value, TCompare... Compare )
    {
        const auto Place = std::upper_bound( _Values.begin(), _Values.end(), Value, Compare... );
        const int32 Index = static_cast<int32>( Place - _Values.begin() );
        return Put( Index, { Value } ) ? Index : -1;
    }

    CModel _Values;
    int32 _At = 0, _Count = 0, _Value = 0; // _At up to the size
};

/// Picks one of the calls by its number, unless it belongs to another family than the one asked for.
struct SChoice
{
    bool IsNext( const std::string& Family ) { return _Next++ == _Number && ( _bFound = Family == _Family ); }

    std::string _Family;
    int32 _Number = 0, _Next = 0;
    bool _bFound = false;
};

/// Runs the chosen call on the array and on the model. Gives whether the array then holds the same, gave what
/// it has to, and grew as it has to: to the size, or to the multiple of the capacity that the call states if
/// that is more. A multiple of 0 says that the call looks at the capacity itself.
/// Cold, as the others are that many types instantiate, for the sake of the time to compile.
template <typename TArray>
[[gnu::cold]] bool RunCall( TArray& A, SModel& M, SChoice& Choice )
{
    using E = TElement<TArray>;
    const int32 At = M._At, Count = M._Count, Value = M._Value, Sum = At + Count;
    const int32 Size = M.GetSize(), End = std::min( Sum, Size ), Place = std::min( Value, Size );
    const int32 Found = M.Find( Value ), Capacity = A.GetCapacity(), Room = std::max( Capacity, Sum );
    const CModel More = MakeRun( 5, Count ), Range( M._Values.begin() + At, M._Values.begin() + End );
    const E Element( Value );
    const auto bMatch = [ = ]( const E& Tested ) { return Tested == Value; };
    TArray& Same = A;
    CZanArray<E>& Base = A;
    bool bRight = true, bOwn = true;
    int32 Grown = 0;
    const auto On = [ & ]( const char* pFamily, int32 Multiple, const auto& Call ) {
        if ( Choice.IsNext( pFamily ) )
        {
            bRight = Call(), bOwn = Multiple == 0, Grown = Multiple * Capacity;
        }
    };
#define ON( Family, Multiple, ... ) On( Family, Multiple, [ & ] { return __VA_ARGS__; } )
    const auto OnIndices = [ & ]( const CInts& List ) {
        ON( "RemoveAtIndices", 1, A.RemoveAtIndices( List ) == M.CutIndices( List ) );
    };
    const auto OnSorted = [ & ]( auto... Order ) {
        const auto Sort = [ & ] { return A.Sort( Order... ), M.Sort( Order... ), M.Find( Value ); };
        ON( "Sort", 1, Sort() >= -1 );
        ON( "FindIndexSorted", 1, Sort() == A.FindIndexSorted( Element, Order... ) );
        ON( "ContainsSorted", 1, ( Sort() >= 0 ) == A.ContainsSorted( Element, Order... ) );
        ON( "RemoveSorted", 1, Sort(), A.RemoveSorted( Element, Order... ) == M.CutAll( Value ) );
        ON( "InsertSorted", 2, Sort(),
            A.InsertSorted( E( Value ), Order... ) == M.PutSorted( Value, Order... ) );
    };
    OnSorted();
    OnIndices( { Value - 1, Sum } );
    OnIndices( { At, Sum, Value } );
    OnIndices( { At, At + 1, Sum + 1 } );
    ON( "Contains Value", 1, A.Contains( Element ) == ( Found >= 0 ) );
    ON( "Contains Predicate", 1, A.Contains( bMatch ) == ( Found >= 0 ) );
    ON( "ContainsIf", 1, A.ContainsIf( bMatch ) == ( Found >= 0 ) );
    ON( "FindIndex Value", 1, A.FindIndex( Element ) == Found );
    ON( "FindIndex Predicate", 1, A.FindIndex( bMatch ) == Found );
    ON( "FindIndexIf", 1, A.FindIndexIf( bMatch ) == Found );
    On( "FindIf", 1, [ & ] {
        E* const pFound = A.FindIf( bMatch );
        return pFound == std::as_const( A ).FindIf( bMatch ) &&
               ( pFound ? pFound - A.GetData() : -1 ) == Found;
    } );
    On( "ForEach", 1, [ & ] {
        int32 Seen = 0;
        A.ForEach( [ & ]( E& Each ) { Seen += &Each == &A[ Seen ], Each = E( Value ); } );
        std::as_const( A ).ForEach( [ & ]( const E& Each ) { Seen -= Each == Value; } );
        return M.Resize( 0 ) && M.Resize( Size, Value ) && Seen == 0;
    } );
    On( "iterators", 1, [ & ] {
        std::for_each( begin( A ), end( A ), [ & ]( E& Each ) { Each = E( Value ); } );
        return M.Resize( 0 ), M.Resize( Size, Value ) && A.AccessIterEnd() - A.AccessIterStart() == Size;
    } );
    ON( "SwapToTailRemove", 1, A.SwapToTailRemove( Element ) == M.CutAllBySwap( Value ) );
    ON( "SwapToTailRemoveIf", 1, A.SwapToTailRemoveIf( bMatch ) == M.CutAllBySwap( Value ) );
    ON( "Remove Object", 1, A.Remove( Element ) == M.CutAll( Value ) );
    ON( "Remove Predicate", 1, A.Remove( bMatch ) == M.CutAll( Value ) );
    ON( "RemoveIf", 1, A.RemoveIf( bMatch ) == M.CutAll( Value ) );
    ON( "RemoveFirstOf", 1, A.RemoveFirstOf( Element ) == M.CutFirst( Value ) );
    ON( "RemoveRange", 1, A.RemoveRange( At, End ) == M.Cut( At, End ) );
    ON( "RemoveRange", 1, A.RemoveRange( At, At - Count ) == 0 );
    ON( "RemoveTail", 1, A.RemoveTail(), M.Resize( std::max( Size, 1 ) - 1 ) );
    ON( "RemoveAll", 1, A.RemoveAll(), M.Resize( 0 ) );
    On( "ShrinkToFit", 0, [ & ] { // which leads no hybrid back into its buffer
        const int32 Shrunk = IsEmbedded( A ) ? Capacity : Size;
        return A.ShrinkToFit(), A.GetCapacity() == Shrunk;
    } );
    ON( "Reserve", 0, A.Reserve( Sum ), A.GetCapacity() == Room );
    ON( "SetSize Default", 1, A.SetSize( Sum ), M.Resize( Sum ) );
    ON( "IncreaseSize", 1, A.IncreaseSize( Sum - Size ), M.Resize( Sum ) );
    ON( "GrowToIncludeIndex Default", 1,
        IsAt( A, Sum, A.GrowToIncludeIndex( Sum ) ) && M.GrowTo( Sum + 1, 0 ) );
    ON( "Append Rvalue", 2, IsAt( A, Size, A.Append( E( Value ) ) ) && M.Put( Size ) );
    ON( "AppendEmplace", 2, IsAt( A, Size, A.AppendEmplace( Value ) ) && M.Put( Size ) );
    ON( "Insert", 2, IsAt( A, At, A.Insert( At, E( Value ) ) ) && M.Put( At ) );
    ON( "Insert", 2, IsAt( A, At, A.InsertEmplace( At, Value ) ) && M.Put( At ) );
    On( "Append Array Rvalue", Size > 0 ? 1 : 0, [ & ] {
        TArray Source;
        Fill( Source, 5, Count );
        return A.Append( std::move( Source ) ), M.Put( Size, More ) && IsRun( Source, 0, 0 );
    } );
    ON( "Size Value Construct", 0, Holds( TArray( Sum ), CModel( size_t( Sum ) ), Sum ) );
    ON( "Size and Emplace Construct", 0,
        Holds( TArray( Sum, int16( 3 ) ), CModel( size_t( Sum ), 3 ), Sum ) );
    On( "Default Construct", 0, [ & ] {
        const TArray Default;
        return IsRun( Default, 0, 0, 0 ) && ( Default.GetData() == nullptr ) == bIsPlain<TArray> &&
               Default.GetByteSize() == 0 && Default.GetIterStart() == Default.GetIterEnd() &&
               Default.GetAllocationByteSize() == InlineCapacity<TArray> * int32( sizeof( E ) );
    } );
    On( "itself", 1, [ & ] {
        A = std::move( Same ), A.Swap( Same ), swap( A, Same ), A.Append( std::move( Same ) );
        return Base = std::move( Same ), A = std::move( Base ), Base.Swap( Base ), A.Swap( Base ), true;
    } );
    if constexpr ( std::is_same_v<E, int32> )
    {
        const auto Raw = [ & ] { return std::fill_n( A.GetData() + At, Count, Value ), M.Resize( At ); };
        OnSorted( std::greater<>() );
        ON( "SetSizeNoInit", 1, A.SetSizeNoInit( Sum ), Raw() && M.Resize( Sum, Value ) );
        ON( "IncreaseSizeNoInit", 1, A.IncreaseSizeNoInit( Sum - Size ), Raw() && M.Resize( Sum, Value ) );
    }
    if constexpr ( std::is_copy_constructible_v<E> )
    {
        const E Source[] = { 5, 6, 7, 8, 9, 10 };
        ON( "itself", 1, A = Same, Base = Same, true );
        ON( "Size and Value Construct", 0,
            Holds( TArray( Sum, Element ), CModel( size_t( Sum ), Value ), Sum ) );
        ON( "Initializer List Construct", 0,
            IsRun( TArray{ 1, 2, 3 }, 1, 3, 3 ) && IsRun( TArray{ 1, 2, 3, 4, 5 }, 1, 5, 5 ) );
        ON( "Pointer Size Construct", 0, Holds( TArray( Source, Count ), More, Count ) );
        ON( "iniitalizer_list Assignment", 1, A = { 5, 6, 7 }, M.Resize( 0 ) && M.Put( 0, { 5, 6, 7 } ) );
        ON( "SetSize From Value", 1, A.SetSize( Sum, Element ), M.Resize( Sum, Value ) );
        ON( "GrowToIncludeIndex From Value", 1,
            IsAt( A, Sum, A.GrowToIncludeIndex( Sum, Element ) ) && M.GrowTo( Sum + 1, Value ) );
        ON( "Append Lvalue", 2, IsAt( A, Size, A.Append( Element ) ) && M.Put( Size ) );
        ON( "Append initializer_list", 2, A.Append( { 3, 4 } ), M.Put( Size, { 3, 4 } ) );
        ON( "Append Ptr + Size", 2, A.Append( Source, Count ), M.Put( Size, More ) );
        On( "Append Array Lvalue", 2, [ & ] {
            const TArray Other( Source, Count );
            return A.Append( Other ), M.Put( Size, More ) && Holds( Other, More );
        } );
        ON( "Append Array Lvalue", 2, A.Append( A ), M.Put( Size, M._Values ) );
        ON( "Insert", 2, IsAt( A, At, A.Insert( At, Element ) ) && M.Put( At ) );
        ON( "Insert", 2, A.Insert( At, Source, Count ), M.Put( At, More ) );
        ON( "own elements", 2, A.Insert( Place, A.GetData() + At, End - At ), M.Put( Place, Range ) );
        ON( "own elements", 2, A.Append( A.GetData() + At, End - At ), M.Put( Size, Range ) );
    }
    if ( At < Size )
    {
        int32& Moved = M._Values[ size_t( At ) ];
        const int32 Old = Moved, Left = std::is_same_v<E, int32> ? Old : 0; // by a move
        ON( "RemoveAt", 1, A.RemoveAt( At ), M.Cut( At, At + 1 ) );
        ON( "SwapToTailRemoveAt", 1, A.SwapToTailRemoveAt( At ), M.CutBySwap( At ) );
        ON( "own elements", 2, A.Append( std::move( A[ At ] ) ), Moved = Left, M.Put( Size, { Old } ) );
        ON( "own elements", 2, A.Insert( Place, std::move( A[ At ] ) ), Moved = Left,
            M.Put( Place, { Old } ) );
        if constexpr ( std::is_copy_constructible_v<E> )
        {
            ON( "own elements", 2, A.Append( A[ At ] ), M.Put( Size, { Old } ) );
            ON( "own elements", 2, A.AppendEmplace( A[ At ] ), M.Put( Size, { Old } ) );
            ON( "own elements", 2, A.Insert( Place, A[ At ] ), M.Put( Place, { Old } ) );
            ON( "own elements", 2, A.InsertEmplace( Place, A[ At ] ), M.Put( Place, { Old } ) );
            ON( "own elements", 2, A.Remove( A[ At ] ) == M.CutAll( Old ) );
            ON( "own elements", 2, A.RemoveFirstOf( A[ At ] ) == M.CutFirst( Old ) );
            ON( "own elements", 2, A.SwapToTailRemove( A[ At ] ) == M.CutAllBySwap( Old ) );
            ON( "own elements", 1, A.SetSize( Sum, A[ At ] ), M.Resize( Sum, Old ) );
        }
    }
    const int32 Expected = M.GetSize() > Capacity ? std::max( M.GetSize(), Grown ) : Capacity;
    return bRight && Holds( A, M._Values ) && ( bOwn || A.GetCapacity() == Expected );
}

/// The first fault of the calls of a family, over sizes and capacities around the inline one and over all
/// arguments. Empty when there is none, else the call, the size, the spare room and the arguments.
template <typename TArray>
[[gnu::cold]] CModel Check( const char* pFamily )
{
    SArrayCase Case;
    SChoice Choice{ pFamily };
    int32 CallCount = 1, FoundCount = 0;
    for ( Choice._Number = 0; Choice._Number < CallCount; ++Choice._Number )
    {
        Choice._bFound = true;
        for ( int32 i = 0; Choice._bFound && i < 6 * 2 * 9 * 3 * 6; ++i )
        {
            constexpr int32 Sizes[] = { 1, 0, 3, 4, 5, 8 }, Counts[] = { 0, 1, 3 };
            const int32 Size = Sizes[ i % 6 ], Spare = i / 6 % 2 * 3;
            SModel Model{ {}, std::min( i / 12 % 9, Size ), Counts[ i / 108 % 3 ], i / 324 };
            auto Array = MakeArray<TArray>( Case._Heap );
            Array.Reserve( Size + Spare );
            for ( const int32 Value : { 0, 2, 4, 1, 3, 0, 2, 4 } )
            {
                Model.GetSize() < Size ? ( Array.AppendEmplace( Value ), Model._Values.push_back( Value ) )
                                       : void();
            }
            Choice._Next = 0;
            const bool bRight = RunCall( Array, Model, Choice );
            if ( !bRight || Life.GetLiveCount() != LivesPerElement<TArray> * Array.GetSize() )
            {
                return { Choice._Number, Size, Spare, Model._At, Model._Count, Model._Value };
            }
            CallCount = std::max( CallCount, Choice._Next );
        }
        FoundCount += Choice._bFound;
    }
    return FoundCount > 0 ? CModel() : CModel( 1, -1 );
}

/// Where elements lie, in what room, and how many. What cannot change hands is named, not pointed to.
struct SPlace
{
    const void* _pData;
    int32 _Capacity, _Size;
};
const char Embedded = 0, NewBlock = 0;

template <typename TArray>
SPlace GetPlace( const TArray& Array )
{
    const void* const pData = Array.GetData();
    return { IsEmbedded( Array ) ? &Embedded : pData, Array.GetCapacity(), Array.GetSize() };
}

template <typename TArray>
bool IsPlaced( const TArray& Array, const SPlace& Place, int32 First )
{
    const void* const pData = GetPlace( Array )._pData;
    const bool bNew = Place._pData == &NewBlock && pData != nullptr && pData != &Embedded;
    return ( bNew || pData == Place._pData ) && Array.GetCapacity() == Place._Capacity &&
           IsRun( Array, First, Place._Size );
}

/// Elements that come one by one stay in the present room when they fit.
void Fit( SPlace& Place, int32 Size )
{
    Place._pData = Size > Place._Capacity ? &NewBlock : Place._pData;
    Place._Capacity = std::max( Place._Capacity, Size );
    Place._Size = Size;
}

/// A block goes over on one heap, but neither from an inline array to a plain one nor with a static one.
template <typename TTo, typename TFrom>
void PlaceMove( SPlace& To, SPlace& From, bool bSameHeap )
{
    constexpr bool bKnown = bIsPlain<TFrom> || std::is_same_v<TTo, TFrom>;
    const SPlace Home{ bIsPlain<TTo> ? nullptr : &Embedded, InlineCapacity<TTo>, 0 };
    if ( !bSameHeap || bIsStatic<TTo> || !bKnown || From._pData == &Embedded )
    {
        To = bIsPlain<TTo> || !bKnown ? To : Home;
        Fit( To, std::exchange( From._Size, 0 ) );
        return;
    }
    const bool bExchange = bIsPlain<TFrom> && !bIsPlain<TTo> && To._pData != &Embedded;
    const SPlace Left = bExchange ? SPlace{ To._pData, To._Capacity, 0 } : SPlace{ nullptr, 0, 0 };
    To = From._pData == nullptr ? Home : From;
    From = Left;
}

/// Elements are exchanged where one side is embedded and both have the room; else blocks go over on one heap,
/// for which embedded elements are forced to one.
template <typename TTo, typename TFrom>
void PlaceSwap( SPlace& To, SPlace& From, bool bSameHeap )
{
    constexpr int32 Forced = std::max( InlineCapacity<TTo>, InlineCapacity<TFrom> ) + 1;
    const bool bToEmbedded = To._pData == &Embedded, bFromEmbedded = From._pData == &Embedded;
    const bool bFit = To._Capacity >= From._Size && From._Capacity >= To._Size;
    if ( bSameHeap && Forced < 64 && !( ( bToEmbedded || bFromEmbedded ) && bFit ) )
    {
        To = bToEmbedded ? SPlace{ &NewBlock, Forced, To._Size } : To;
        From = bFromEmbedded ? SPlace{ &NewBlock, Forced, From._Size } : From;
        return std::swap( To, From );
    }
    const int32 Size = std::exchange( To._Size, From._Size );
    Fit( To, From._Size );
    Fit( From, Size );
}

enum EOperation : int32
{
    Copy,
    Move,
    Swap,
    MemberSwap,
    CopyConstruct,
    MoveConstruct
};

/// The first pair of sizes, on one heap or on two, for which the operation does not leave elements, blocks
/// and allocations where they have to be. Empty when there is none.
template <typename TPairing>
[[gnu::cold]] CModel FindMisplaced( EOperation Operation )
{
    using CTo = typename TPairing::first_type;
    using CFrom = typename TPairing::second_type;
    const bool bConstruct = Operation >= CopyConstruct,
               bCopy = Operation == Copy || Operation == CopyConstruct;
    const bool bSwap = Operation == Swap || Operation == MemberSwap;
    constexpr int32 ToSizes[] = { 0, 1, 3, 4, 5, 9 }, FromSizes[] = { 0, 2, 4, 5, 6, 10 };
    for ( int32 i = 0; i < 2 * 6 * 6; ++i )
    {
        SArrayCase Case;
        const bool bSameHeap = i % 2 == 0;
        const int32 ToSize = bConstruct ? 0 : ToSizes[ i / 2 % 6 ], FromSize = FromSizes[ i / 12 ];
        CZanAllocator& ToHeap = bConstruct ? GetDefaultAllocator() : Case._Heap;
        auto To = MakeArray<CTo>( ToHeap );
        auto From = MakeArray<CFrom>( bSameHeap ? ToHeap : Case._OtherHeap );
        Fill( To, 1, ToSize );
        Fill( From, 50, FromSize );
        SPlace ToPlace = GetPlace( To ), FromPlace = GetPlace( From );
        const void* const pSource = FromPlace._pData;
        bCopy ? Fit( ToPlace, FromSize )
              : (bSwap ? PlaceSwap<CTo, CFrom> : PlaceMove<CTo, CFrom>)( ToPlace, FromPlace, bSameHeap );
        const uint64 ToCount = ToPlace._pData == &NewBlock && !bConstruct,
                     FromCount = FromPlace._pData == &NewBlock;
        const uint64 HeapCount = Case._Heap.GetTotalAllocationCount() + ToCount + FromCount * bSameHeap;
        const uint64 OtherCount = Case._OtherHeap.GetTotalAllocationCount() + FromCount * !bSameHeap;
        const bool bHandedOver = pSource != nullptr && ToPlace._pData == pSource && pSource != &Embedded;
        const int32 MoveCount = CalcMoveCount(), CopyCount = CalcCopyCount();
        const auto On = [ & ]( EOperation Tried, const auto& Run ) { Tried == Operation ? Run() : void(); };
        On( Copy, [ & ] { To = From; } );
        On( Move, [ & ] { To = std::move( From ); } );
        On( Swap, [ & ] { swap( To, From ); } );
        On( MemberSwap, [ & ] { To.Swap( From ); } );
        On( CopyConstruct, [ & ] { std::destroy_at( &To ), std::construct_at( &To, From ); } );
        On( MoveConstruct, [ & ] { std::destroy_at( &To ), std::construct_at( &To, std::move( From ) ); } );
        if ( !IsPlaced( To, ToPlace, 50 ) || !IsPlaced( From, FromPlace, bCopy ? 50 : 1 ) ||
             HeapCount != Case._Heap.GetTotalAllocationCount() ||
             OtherCount != Case._OtherHeap.GetTotalAllocationCount() ||
             ( bHandedOver && FromCount == 0 && MoveCount != CalcMoveCount() ) ||
             ( std::is_same_v<TElement<CTo>, SElement> && !bCopy && CopyCount != CalcCopyCount() ) )
        {
            return { bSameHeap, ToSize, FromSize };
        }
    }
    return {};
}

template <typename TArray>
using TTwins = std::pair<TArray, TArray>;

template <typename TArray>
CModel FindDeleteFault()
{
    SArrayCase Case;
    auto Array = MakeArray<TSameKind<TArray, SElement*>>( Case._Heap );
    alignas( SElement ) std::byte Storage[ sizeof( SElement ) ]; // a static array gives nothing back
    void* const pBlock = bIsStatic<TArray> ? Storage : Case._Heap.Allocate( sizeof( SElement ), 8 );
    Array.Append( nullptr );
    Array.Append( new ( pBlock ) SElement( 1 ) );
    Array.DeleteAll();
    return Array.IsEmpty() && Array.CheckInvariants() ? CModel() : CModel( 1 );
}
} // namespace

/// The registration of a family whose body gives the first fault that it finds.
#define FAMILY( Name, List, ... )                                                                            \
    TEMPLATE_LIST_TEST_CASE( Name, "[zan_array]", List ) { REQUIRE( __VA_ARGS__ == None ); }
#define CALL_FAMILY( Name ) FAMILY( "CZanArray " Name, TArrayTypes, Check<TestType>( Name ) )
#define CALL_CASE( Name )                                                                                    \
    TEST_CASE( "CZanArray " Name, "[zan_array]" ) { REQUIRE( Check<CInts>( Name ) == None ); }

TEST_CASE_METHOD( SArrayCase, "Array copy", "[misc]" )
{
    CElements Source( _Heap );
    Fill( Source, 1, 3 );
    CElements Copy( Source, _OtherHeap ), Moved( std::move( Copy ), _OtherHeap );
    REQUIRE( ( Moved == Source && IsRun( Moved, 1, 3, 3 ) && IsRun( Copy, 0, 0, 0 ) ) );
    Moved[ 1 ] = 7;
    REQUIRE( ( Moved != Source && IsRun( Source, 1, 3, 4 ) && CElements{ 1, 2 } != Source ) );
    REQUIRE( ( _Heap.GetTotalAllocationCount() == 3 && _OtherHeap.GetTotalAllocationCount() == 1 ) );
    REQUIRE( ( Source.GetByteSize() == 3 * sizeof( SElement ) && Source.GetTailData() == 3 ) );
}

TEST_CASE_METHOD( SArrayCase, "Array rvalue append", "[misc]" )
{
    CElements Source( _Heap ), Target( _Heap ), Rest( _Heap );
    Fill( Source, 1, 3 );
    Fill( Rest, 4, 2 );
    const SElement* const pSource = Source.GetData();
    Target.Append( std::move( Source ) );
    REQUIRE( ( Target.GetData() == pSource && IsRun( Target, 1, 3, 4 ) && IsRun( Source, 0, 0, 0 ) ) );
    Target.Append( std::move( Rest ) ); // to the sum, not to the double
    REQUIRE( ( IsRun( Target, 1, 5, 5 ) && IsRun( Rest, 0, 0, 2 ) && CalcCopyCount() == 0 ) );
}

TEST_CASE( "Array reserve", "[misc]" ) { REQUIRE( Check<CInts>( "Reserve" ) == None ); }

TEST_CASE( "HybridArray Copy/Move", "[misc]" )
{
    using CWide = CZanInlineBufArray<SElement, 8>; // whose capacity does not come along
    const EOperation Operation = GENERATE( Copy, Move, CopyConstruct );
    REQUIRE( FindMisplaced<std::pair<THybrid<SElement>, CWide>>( Operation ) == None );
    REQUIRE( FindMisplaced<std::pair<CWide, THybrid<SElement>>>( Operation ) == None );
}

TEST_CASE( "Hybrid array swap", "[zanhybridarray]" )
{
    REQUIRE( FindMisplaced<TTwins<CInts2>>( Swap ) == None );
}

TEST_CASE( "Hybrid array + array swap", "[zanhybridarray]" )
{
    REQUIRE( FindMisplaced<std::pair<CInts2, CInts>>( Swap ) == None );
    REQUIRE( FindMisplaced<std::pair<CInts, CInts2>>( MemberSwap ) == None );
}

TEST_CASE( "Hybrid array data pointer tracking", "[zanhybridarray]" )
{
    REQUIRE( FindMisplaced<TTwins<CInts2>>( Move ) == None );
    CInts2 Array{ 3, 4, 5, 6 };
    const CInts2 Taken( std::move( Array ) );
    REQUIRE( ( IsRun( Taken, 3, 4, 4 ) && Array.GetData() == nullptr && Array.GetCapacity() == 0 ) );
    Array.Append( 7 ); // asks the parent
    REQUIRE( ( IsRun( Array, 7, 1 ) && Array.GetCapacity() == 1 && !Array.IsUsingInternalMemory() ) );
    REQUIRE( ( IsRun( Array = CInts2{ 8 }, 8, 1, 2 ) && Array.IsUsingInternalMemory() ) ); // comes back
}

TEST_CASE( "Hybrid array move from array", "[zanhybridarray]" )
{
    REQUIRE( FindMisplaced<std::pair<CInts2, CInts>>( Move ) == None );
}

TEST_CASE_METHOD( SArrayCase, "Hybrid array allocating with a custom parent allocator", "[zanhybridarray]" )
{
    CZanInlineBufArray<int32, 4> Array( _Heap );
    Fill( Array, 1, 4 );
    REQUIRE( ( _Heap.GetTotalAllocationCount() == 0 && Array.IsUsingInternalMemory() ) );
    Array.Append( 5 );
    REQUIRE( ( IsRun( Array, 1, 5, 8 ) && _Heap.GetTotalAllocationByteCount() == 8 * sizeof( int32 ) ) );
}

CALL_CASE( "SetSizeNoInit" )
CALL_CASE( "IncreaseSizeNoInit" )
TEST_CASE_METHOD( SArrayCase, "CZanArray AppendEmplace", "[zan_array]" )
{
    CElements Array( _Heap );
    Fill( Array, 0, 9 );
    REQUIRE( ( IsRun( Array, 0, 9, 16 ) && Life._ValueConstructions == 9 && CalcMoveCount() == 15 ) );
    REQUIRE( _Heap.GetTotalAllocationByteCount() == ( 1 + 2 + 4 + 8 + 16 ) * sizeof( SElement ) );
}

TEST_CASE( "CZanArray Sort", "[zan_array]" )
{
    using CPair = std::pair<int32, int32>;
    CZanArray<CPair> Array;
    for ( int32 i = 0; i < 40; ++i ) // equals keep their order in a small array by any sort
    {
        Array.AppendEmplace( i % 2, i );
    }
    const auto bAfter = []( const CPair& Left, const CPair& Right ) { return Left.first > Right.first; };
    Array.Sort( bAfter );
    REQUIRE( std::is_sorted( begin( Array ), end( Array ), []( const CPair& Left, const CPair& Right ) {
        return std::pair( -Left.first, Left.second ) < std::pair( -Right.first, Right.second );
    } ) );
    REQUIRE( ( Array.InsertSorted( { 1, 0 }, bAfter ) == 20 && Check<CInts>( "Sort" ) == None ) );
}

CALL_CASE( "InsertSorted" )
CALL_CASE( "RemoveSorted" )
CALL_CASE( "FindIndexSorted" )
CALL_CASE( "ContainsSorted" )
TEST_CASE( "CZanArray AppendEmplace Moveable", "[zan_array]" )
{
    REQUIRE( Check<TPlain<SMover>>( "AppendEmplace" ) == None );
}

TEST_CASE( "CZanArray Add self array item reference", "[zan_array]" )
{
    CZanArray<SMovable> Array{ 2147483647 };
    for ( int32 i = 0; i < 100; ++i )
    {
        i % 3 == 0 ? Array.AppendEmplace( Array.GetTailData() ) : Array.Append( Array[ i / 2 ] );
    }
    REQUIRE( Holds( Array, CModel( 101, 2147483647 ), 128 ) );
}

TEST_CASE_METHOD( SArrayCase, "CZanArray non default constructable, non copy constructable", "[zan_array]" )
{
    struct SBare : SMover
    {
        explicit SBare( int32 Value ) : SMover( Value ) {}
    };
    CZanArray<SBare> Array;
    Fill( Array, 0, 5 );
    const CZanArray<SBare> Moved( std::move( Array ) );
    REQUIRE( ( IsRun( Moved, 0, 5, 8 ) && IsRun( Array, 0, 0, 0 ) ) );
}

CALL_FAMILY( "RemoveAtIndices" )
CALL_FAMILY( "ForEach" )
CALL_FAMILY( "Contains Value" )
CALL_FAMILY( "Contains Predicate" )
CALL_FAMILY( "ContainsIf" )
CALL_FAMILY( "FindIf" )
CALL_FAMILY( "FindIndex Value" )
CALL_FAMILY( "FindIndex Predicate" )
CALL_FAMILY( "FindIndexIf" )
CALL_FAMILY( "ShrinkToFit" )
CALL_FAMILY( "SwapToTailRemoveAt" )
CALL_FAMILY( "SwapToTailRemove" )
CALL_FAMILY( "SwapToTailRemoveIf" )
CALL_FAMILY( "Remove Object" )
CALL_FAMILY( "Remove Predicate" )
CALL_FAMILY( "RemoveIf" )
CALL_FAMILY( "RemoveFirstOf" )
CALL_FAMILY( "RemoveAt" )
CALL_FAMILY( "RemoveRange" )
CALL_FAMILY( "RemoveTail" )
FAMILY( "CZanArray DeleteAll", TArrayTypes, FindDeleteFault<TestType>() )
CALL_FAMILY( "RemoveAll" )
CALL_FAMILY( "Append initializer_list" )
CALL_FAMILY( "Append Ptr + Size" )
CALL_FAMILY( "Append Array Rvalue" )
CALL_FAMILY( "Append Array Lvalue" )
CALL_FAMILY( "Append Rvalue" )
CALL_FAMILY( "Append Lvalue" )
CALL_FAMILY( "Reserve" )
CALL_FAMILY( "GrowToIncludeIndex From Value" )
CALL_FAMILY( "GrowToIncludeIndex Default" )
CALL_FAMILY( "IncreaseSize" )
CALL_FAMILY( "SetSize From Value" )
CALL_FAMILY( "SetSize Default" )
FAMILY( "CZanArray Swap", TArrayTypes, FindMisplaced<TTwins<TestType>>( MemberSwap ) )
CALL_FAMILY( "iniitalizer_list Assignment" )
FAMILY( "CZanArray Move Assignment", TArrayTypes, FindMisplaced<TTwins<TestType>>( Move ) )
FAMILY( "CZanArray Copy Assignment", TArrayTypes, FindMisplaced<TTwins<TestType>>( Copy ) )
FAMILY( "CZanArray Move Construct", TArrayTypes, FindMisplaced<TTwins<TestType>>( MoveConstruct ) )
FAMILY( "CZanArray Copy Construct", TArrayTypes, FindMisplaced<TTwins<TestType>>( CopyConstruct ) )
CALL_FAMILY( "Size and Emplace Construct" )

namespace NSizeAndValue
{
// Three element types over the three kinds, under the name that the other families show.
using TArrayTypes = TConcat<TKinds<int32>, TKinds<SCounted<SCopyable>>, TKinds<SElement>>;
CALL_FAMILY( "Size and Value Construct" )
CALL_FAMILY( "Size Value Construct" )
} // namespace NSizeAndValue

CALL_FAMILY( "Initializer List Construct" )
CALL_FAMILY( "Pointer Size Construct" )
CALL_FAMILY( "Default Construct" )
FAMILY( "CZanArray swap", TArrayTypePairs, FindMisplaced<TestType>( Swap ) )
FAMILY( "CZanArray move assign", TArrayTypePairs, FindMisplaced<TestType>( Move ) )
FAMILY( "CZanArray copy assign", TArrayTypePairs, FindMisplaced<TestType>( Copy ) )
FAMILY( "CZanArray move construct", TArrayTypePairs, FindMisplaced<TestType>( MoveConstruct ) )
FAMILY( "CZanArray copy construct", TArrayTypePairs, FindMisplaced<TestType>( CopyConstruct ) )

FAMILY( "Array insert keeps the order", TMixedArrayTypes, Check<TestType>( "Insert" ) )
FAMILY( "Array takes what it holds", TMixedArrayTypes, Check<TestType>( "own elements" ) )
FAMILY( "Array iterates over its elements", TMixedArrayTypes, Check<TestType>( "iterators" ) )
FAMILY( "Array survives itself as source", TMixedArrayTypes, Check<TestType>( "itself" ) )

namespace
{
/// Is asked for one alignment only, honours it, and has no memory once it is told so.
struct SStrictAllocator final : CZanAllocator
{
    explicit SStrictAllocator( std::size_t Alignment ) : _Alignment( Alignment ) {}
    void* Allocate( uint64 Size, uint32 Alignment ) override
    {
        CHECK( Alignment == _Alignment );
        return _bExhausted ? throw std::bad_alloc() : ::operator new( Size, std::align_val_t( _Alignment ) );
    }
    void Free( void* pData ) override { ::operator delete( pData, std::align_val_t( _Alignment ) ); }

    std::size_t _Alignment;
    bool _bExhausted = false;
};

struct alignas( 128 ) SAligned
{
    explicit SAligned( int32 Value ) : _Value( Value ) {}
    bool operator==( int32 Value ) const
    {
        return _Value == Value && reinterpret_cast<std::uintptr_t>( this ) % alignof( SAligned ) == 0;
    }
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
    SStrictAllocator Heap( alignof( SAligned ) );
    TPlain<SAligned> Array( Heap );
    THybrid<SAligned> Hybrid( Heap );
    for ( int32 i = 0; i < 9; ++i )
    {
        Array.AppendEmplace( i );
        Hybrid.AppendEmplace( i );
        REQUIRE( ( IsRun( Array, 0, i + 1 ) && IsRun( Hybrid, 0, i + 1 ) ) );
    }
}

TEST_CASE_METHOD( SArrayCase, "Array stays as it was when memory runs out", "[zan_array]" )
{
    SStrictAllocator Heap( alignof( SElement ) );
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

TEMPLATE_LIST_TEST_CASE( "Array stays as it was when a constructor throws", "[zan_array]", TKinds<SFragile> )
{
    SArrayCase Case;
    SFragile::_Budget = 1000;
    const int32 Capacity = GENERATE( 4, 20 );
    const SFragile Source[] = { 7, 8, 9 };
    auto Array = MakeArray<TestType>( Case._Heap );
    Array.Reserve( Capacity );
    Fill( Array, 1, 4 );
    for ( int32 Budget = 0; Budget < 3; ++Budget )
    {
        const auto bThrows = [ & ]( const auto& Change ) {
            SFragile::_Budget = Budget;
            REQUIRE_THROWS_AS( Change(), int );
            return IsRun( Array, 1, 4 );
        };
        REQUIRE( bThrows( [ & ] { Array.Insert( 2, Source, 3 ); } ) );
        REQUIRE( bThrows( [ & ] { Array.Append( Source, 3 ); } ) );
        REQUIRE( bThrows( [ & ] { Array.SetSize( 7, Source[ 0 ] ); } ) );
        REQUIRE( bThrows( [ & ] { TestType( Source, 3 ); } ) );
    }
}
