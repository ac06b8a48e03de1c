#include "benchmarks/zan_bench_data.h"
#include "zan_core/containers/zan_array.h"
#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/text/zan_string.h"

#include <absl/container/inlined_vector.h>
#include <boost/container/small_vector.hpp>
#include <boost/container/vector.hpp>

#include <algorithm>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace
{
// --- Contenders --------------------------------------------------------------------------------------------

/// Ordered by its first number, so that a stable order of what is equal would show.
struct STriple
{
    int64 _Order, _Second, _Third;

    friend bool operator<( const STriple& Left, const STriple& Right ) { return Left._Order < Right._Order; }
};

/// Texts are of each library's own type.
template <typename T>
using CPeer = std::conditional_t<std::is_same_v<T, CString>, std::string, T>;

template <typename T>
concept COurs = requires( T& Array )
{
    Array.GetSize();
};

int32 GetSize( const COurs auto& Array ) { return Array.GetSize(); }
int32 GetSize( const auto& Array ) { return static_cast<int32>( Array.size() ); }
void Reserve( COurs auto& Array, int32 Count ) { Array.Reserve( Count ); }
void Reserve( auto& Array, int32 Count ) { Array.reserve( static_cast<size_t>( Count ) ); }
void Append( COurs auto& Array, const auto& Value ) { Array.Append( Value ); }
void Append( auto& Array, const auto& Value ) { Array.push_back( Value ); }
void InsertAt( COurs auto& Array, int32 Index, const auto& Value ) { Array.Insert( Index, Value ); }
void InsertAt( auto& Array, int32 Index, const auto& Value ) { Array.insert( Array.begin() + Index, Value ); }
void RemoveAt( COurs auto& Array, int32 Index ) { Array.RemoveAt( Index ); }
void RemoveAt( auto& Array, int32 Index ) { Array.erase( Array.begin() + Index ); }
void RemoveTail( COurs auto& Array ) { Array.RemoveTail(); }
void RemoveTail( auto& Array ) { Array.pop_back(); }
void Clear( COurs auto& Array ) { Array.RemoveAll(); }
void Clear( auto& Array ) { Array.clear(); }
void Sort( COurs auto& Array ) { Array.Sort(); }
void Sort( auto& Array ) { std::stable_sort( Array.begin(), Array.end() ); }
void Swap( COurs auto& Left, auto& Right ) { Left.Swap( Right ); }
void Swap( auto& Left, auto& Right ) { Left.swap( Right ); }

template <COurs TArray, typename TPredicate>
void RemoveIf( TArray& Array, TPredicate Predicate )
{
    Array.RemoveIf( Predicate );
}
template <typename TArray, typename TPredicate>
void RemoveIf( TArray& Array, TPredicate Predicate )
{
    Array.erase( std::remove_if( Array.begin(), Array.end(), Predicate ), Array.end() );
}

int64 Weigh( int32 Value ) { return Value; }
int64 Weigh( const STriple& Value ) { return Value._Order + Value._Third; }
int64 Weigh( const CString& Text ) { return Text.GetSize() + Text.GetCharPtr()[ 0 ]; }
int64 Weigh( const std::string& Text ) { return static_cast<int32>( Text.size() ) + Text.c_str()[ 0 ]; }

int64 Sum( const auto& Array )
{
    int64 Result = 0;
    for ( const auto& Value : Array )
    {
        Result += Weigh( Value );
    }
    return Result;
}

// --- Data --------------------------------------------------------------------------------------------------

template <typename T>
T MakeValue( uint32 Index )
{
    const int32 Number = static_cast<int32>( NZanBench::Scramble( Index ) );
    if constexpr ( std::is_same_v<T, int32> )
    {
        return Number;
    }
    else if constexpr ( std::is_same_v<T, STriple> )
    {
        return { Number % 1000, Index, Number };
    }
    else
    {
        return T( NZanBench::MakeText( Index ) );
    }
}

/// What a contender's work goes on.
template <typename TArray>
struct SArrays
{
    using T = typename TArray::value_type;

    explicit SArrays( int32 Count ) : Batch( static_cast<size_t>( std::max( 10000 / Count, 1 ) ) )
    {
        for ( size_t i = 0; i < static_cast<size_t>( Count ) + Batch.size(); ++i )
        {
            Source.push_back( MakeValue<T>( static_cast<uint32>( i ) ) );
        }
        Values.assign( Source.begin(), Source.begin() + Count );
        Refill();
    }

    void Refill()
    {
        for ( size_t i = 0; i < Batch.size(); ++i )
        {
            Clear( Batch[ i ] );
            for ( size_t j = i; j < i + Values.size(); ++j )
            {
                Append( Batch[ i ], Source[ j ] );
            }
        }
    }

    std::vector<T> Source, Values;
    std::vector<TArray>
        Batch; // many when they are small, and different, or the processor learns them by heart
};

/// Work on each array of a batch that the clock does not see filled. The last array tells what it did.
auto OnBatch( auto Work )
{
    return [ Work ]( auto& Arrays, benchmark::State& State ) {
        int64 Result = 0;
        for ( auto _ : State )
        {
            for ( auto& Array : Arrays.Batch )
            {
                Work( Array );
            }
            State.PauseTiming();
            Result = Sum( Arrays.Batch.back() );
            Arrays.Refill();
            State.ResumeTiming();
        }
        return Result;
    };
}

// --- Rows --------------------------------------------------------------------------------------------------

template <typename T, typename TWork>
void AddRow( const std::string& Row, int32 Count, TWork Work )
{
    const NZanBench::CRowMaker Maker( Count, Work );
    const auto Make = [ & ]<typename TArray>( TArray*, const char* pName ) {
        return Maker.template Make<TArray, SArrays<TArray>>( pName );
    };
    ZanBench( Row,
        { Make( static_cast<CZanArray<T>*>( nullptr ), "ours" ),
            Make( static_cast<std::vector<CPeer<T>>*>( nullptr ), "std::vector" ),
            Make( static_cast<boost::container::vector<CPeer<T>>*>( nullptr ), "boost::vector" ) },
        1.1 );
}

template <typename T, typename TWork>
void AddInlineRow( const std::string& Row, int32 Count, TWork Work )
{
    const NZanBench::CRowMaker Maker( Count, Work );
    const auto Make = [ & ]<typename TArray>( TArray*, const char* pName ) {
        return Maker.template Make<TArray, SArrays<TArray>>( pName );
    };
    using CSmall = boost::container::small_vector<CPeer<T>, 8>;
    ZanBench( Row,
        { Make( static_cast<CZanInlineBufArray<T, 8>*>( nullptr ), "ours" ),
            Make( static_cast<CSmall*>( nullptr ), "boost::small_vector" ),
            Make( static_cast<absl::InlinedVector<CPeer<T>, 8>*>( nullptr ), "absl::InlinedVector" ) },
        1.1 );
}

template <bool bReserve>
constexpr auto AppendAll = []<typename TArray>( SArrays<TArray>& Arrays ) {
    TArray Array;
    if constexpr ( bReserve )
    {
        Reserve( Array, static_cast<int32>( Arrays.Values.size() ) );
    }
    for ( const auto& Value : Arrays.Values )
    {
        Append( Array, Value );
    }
    benchmark::DoNotOptimize( Array );
    return GetSize( Array );
};

/// Some insertions at a share of the size, taken back at the end, where that costs next to nothing.
constexpr int32 EditCount = 16;
template <int32 Share>
constexpr auto InsertSome = []( auto& Arrays ) {
    auto& Array = Arrays.Batch[ 0 ];
    for ( int32 i = 0; i < EditCount; ++i )
    {
        InsertAt( Array, GetSize( Array ) * Share / 2, Arrays.Values[ static_cast<size_t>( i ) ] );
    }
    for ( int32 i = 0; i < EditCount; ++i )
    {
        RemoveTail( Array );
    }
    return GetSize( Array );
};

template <int32 Share>
constexpr auto RemoveSome = []( auto& Arrays ) {
    auto& Array = Arrays.Batch[ 0 ];
    for ( int32 i = 0; i < EditCount; ++i )
    {
        RemoveAt( Array, GetSize( Array ) * Share / 2 );
    }
    for ( int32 i = 0; i < EditCount; ++i )
    {
        Append( Array, Arrays.Values[ static_cast<size_t>( i ) ] );
    }
    return GetSize( Array );
};

constexpr auto RemoveThird = []( auto& Array ) {
    RemoveIf( Array, []( const auto& Value ) { return Weigh( Value ) % 3 == 0; } );
};
constexpr auto SortArray = []( auto& Array ) { Sort( Array ); };
constexpr auto Iterate = []( auto& Arrays ) { return Sum( Arrays.Batch[ 0 ] ); };

constexpr auto Copy = []<typename TArray>( SArrays<TArray>& Arrays ) {
    TArray Copied( Arrays.Batch[ 0 ] );
    benchmark::DoNotOptimize( Copied );
    return GetSize( Copied );
};

/// To and fro between new arrays and those of the batch.
constexpr auto MoveAll = []<typename TArray>( SArrays<TArray>& Arrays ) {
    for ( TArray& Array : Arrays.Batch )
    {
        TArray Moved( std::move( Array ) );
        benchmark::DoNotOptimize( Moved );
        Array = std::move( Moved );
    }
    return GetSize( Arrays.Batch[ 0 ] );
};

constexpr auto SwapAll = []<typename TArray>( SArrays<TArray>& Arrays ) {
    for ( size_t i = 1; i < Arrays.Batch.size(); ++i )
    {
        Swap( Arrays.Batch[ i - 1 ], Arrays.Batch[ i ] );
    }
    return GetSize( Arrays.Batch[ 0 ] );
};

template <typename T>
void AddArrays( const std::string& Element )
{
    for ( const int32 Count : { 100, 10000, 1000000 } )
    {
        const std::string Behind = ", " + Element + ", " + std::to_string( Count );
        AddRow<T>( "append" + Behind, Count, AppendAll<false> );
        AddRow<T>( "append reserved" + Behind, Count, AppendAll<true> );
        AddRow<T>( "iterate" + Behind, Count, Iterate );
        AddRow<T>( "copy" + Behind, Count, Copy );
        AddRow<T>( "sort" + Behind, Count, OnBatch( SortArray ) );
        AddRow<T>( "remove if" + Behind, Count, OnBatch( RemoveThird ) );
        if ( Count < 1000000 )
        {
            AddRow<T>( "insert front" + Behind, Count, InsertSome<0> );
            AddRow<T>( "insert middle" + Behind, Count, InsertSome<1> );
            AddRow<T>( "remove front" + Behind, Count, RemoveSome<0> );
            AddRow<T>( "remove middle" + Behind, Count, RemoveSome<1> );
        }
    }
}

template <typename T>
void AddInlineArrays( const std::string& Element )
{
    for ( const int32 Count : { 4, 8, 16, 64 } )
    {
        const std::string Behind = ", " + Element + ", " + std::to_string( Count );
        AddInlineRow<T>( "inline append" + Behind, Count, AppendAll<false> );
        AddInlineRow<T>( "inline move" + Behind, Count, MoveAll );
        AddInlineRow<T>( "inline swap" + Behind, Count, SwapAll );
    }
}
} // namespace

void RegisterRows()
{
    AddArrays<int32>( "int32" );
    AddArrays<STriple>( "24 B" );
    AddArrays<CString>( "text" );
    AddInlineArrays<int32>( "int32" );
    AddInlineArrays<CString>( "text" );
}
