#include "benchmarks/zan_bench.h"
#include "zan_core/numerics/zan_fixed_point.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <new>
#include <random>
#include <string>
#include <vector>

namespace
{
/// Starts every array with a cache line, so that those of all contenders lie alike.
template <typename T>
struct TLineAllocator
{
    using value_type = T;

    TLineAllocator() = default;
    template <typename TOther>
    TLineAllocator( const TLineAllocator<TOther>& )
    {}

    T* allocate( size_t Count ) { return static_cast<T*>( ::operator new( Count * sizeof( T ), Line ) ); }
    void deallocate( T* pData, size_t ) { ::operator delete( pData, Line ); }
    bool operator==( const TLineAllocator& ) const = default;

    static constexpr std::align_val_t Line = std::align_val_t( 64 );
};

template <typename T>
using TLineVector = std::vector<T, TLineAllocator<T>>;

template <typename T>
struct TOperands
{
    TLineVector<T> Left, Right, Result;
};

/// Prices and quantities, say: up to 10000, with five decimals, always the same.
TOperands<int64> MakeOperands( size_t Count )
{
    std::mt19937_64 Random( Count );
    TOperands<int64> Operands = { {}, {}, TLineVector<int64>( Count ) };
    for ( size_t i = 0; i < Count; ++i )
    {
        Operands.Left.push_back( static_cast<int64>( Random() % 1000000000 ) + 1 );
        Operands.Right.push_back( static_cast<int64>( Random() % 1000000000 ) + 1 );
    }
    return Operands;
}

template <typename T, typename TConvert>
TOperands<T> Convert( const TOperands<int64>& Source, TConvert ConvertValue )
{
    TOperands<T> Operands = { {}, {}, TLineVector<T>( Source.Left.size() ) };
    for ( size_t i = 0; i < Source.Left.size(); ++i )
    {
        Operands.Left.push_back( ConvertValue( Source.Left[ i ] ) );
        Operands.Right.push_back( ConvertValue( Source.Right[ i ] ) );
    }
    return Operands;
}

template <typename T, typename TWork>
void DoAll( TOperands<T>& Operands, const TWork& Work )
{
    const T* pLeft = Operands.Left.data();
    const T* pRight = Operands.Right.data();
    T* pResult = Operands.Result.data();
    const size_t Count = Operands.Result.size();
    for ( size_t i = 0; i < Count; ++i )
    {
        pResult[ i ] = Work( pLeft[ i ], pRight[ i ] );
    }
}

/// The loop on a copy of the operands, each contender's made alike.
template <typename T, typename TWork>
auto OverAll( const TOperands<T>& Operands, TWork Work )
{
    return [ pOperands = std::make_shared<TOperands<T>>( Operands ), Work ] { DoAll( *pOperands, Work ); };
}

template <typename TOurWork, typename TTheirWork>
void AddArithmetic( const std::string& Name, size_t Count, TOurWork Ours, TTheirWork Theirs )
{
    const std::string Row = Name + ", " + std::to_string( Count ) + " values";
    TOperands<int64> Raw = MakeOperands( Count );
    auto Fixed = Convert<CFixedPoint>( Raw, &CFixedPoint::CreateFixedWithUnderlyingValue );
    DoAll( Raw, Theirs );
    DoAll( Fixed, Ours );
    for ( size_t i = 0; i < Count; ++i )
    {
        if ( Fixed.Result[ i ].GetUnderlying() != Raw.Result[ i ] )
        {
            std::fprintf( stderr, "%s: ours and theirs do different work\n", Row.c_str() );
            std::abort();
        }
    }
    ZanBench( Row, { { "ours", OverAll( Fixed, Ours ) }, { "int64", OverAll( Raw, Theirs ) } }, 1.1 );
}

/// Values from Low to High, of 0.00001 steps; the right operands are exponents from -2 to 2.
template <typename TOurWork, typename TTheirWork>
void AddFunction( const std::string& Name, double Low, double High, TOurWork Ours, TTheirWork Theirs )
{
    TOperands<int64> Raw = MakeOperands( 1000 );
    for ( size_t i = 0; i < Raw.Left.size(); ++i )
    {
        Raw.Left[ i ] =
            CFixedPoint( Low + ( High - Low ) * 1e-9 * static_cast<double>( Raw.Left[ i ] ) ).GetUnderlying();
        Raw.Right[ i ] = Raw.Right[ i ] % 400001 - 200000;
    }
    auto Fixed = Convert<CFixedPoint>( Raw, &CFixedPoint::CreateFixedWithUnderlyingValue );
    auto Double =
        Convert<double>( Raw, []( int64 Value ) { return static_cast<double>( Value ) / 100000.0; } );
    ZanBench( Name, { { "ours", OverAll( Fixed, Ours ) }, { "double", OverAll( Double, Theirs ) } } );
}
} // namespace

void RegisterRows()
{
    for ( const size_t Count : { size_t( 1000 ), size_t( 100000 ) } )
    {
        const auto Sum = []( auto Left, auto Right ) { return Left + Right; };
        AddArithmetic( "sum", Count, Sum, Sum );
        AddArithmetic(
            "product", Count, []( CFixedPoint Left, CFixedPoint Right ) { return Left * Right; },
            []( int64 Left, int64 Right ) { return Left * Right / NFixedPoint::Resolution; } );
        AddArithmetic(
            "quotient", Count, []( CFixedPoint Left, CFixedPoint Right ) { return Left / Right; },
            []( int64 Left, int64 Right ) { return Left * NFixedPoint::Resolution / Right; } );
    }
    AddFunction(
        "Sqrt, 0 to 10000", 0, 10000, []( CFixedPoint X, CFixedPoint ) { return X.Sqrt(); },
        []( double X, double ) { return std::sqrt( X ); } );
    AddFunction(
        "SafeSqrt, 0 to 1000000", 0, 1000000, []( CFixedPoint X, CFixedPoint ) { return X.SafeSqrt(); },
        []( double X, double ) { return std::sqrt( X ); } );
    AddFunction(
        "Sin, -10 to 10", -10, 10, []( CFixedPoint X, CFixedPoint ) { return X.Sin(); },
        []( double X, double ) { return std::sin( X ); } );
    AddFunction(
        "Exp, -2 to 10", -2, 10, []( CFixedPoint X, CFixedPoint ) { return X.Exp(); },
        []( double X, double ) { return std::exp( X ); } );
    AddFunction(
        "Log, 0 to 1000", 0, 1000, []( CFixedPoint X, CFixedPoint ) { return X.Log(); },
        []( double X, double ) { return std::log( X ); } );
    AddFunction(
        "Pow, 0 to 100", 0, 100, []( CFixedPoint X, CFixedPoint Exponent ) { return X.Pow( Exponent ); },
        []( double X, double Exponent ) { return std::pow( X, Exponent ); } );
}
