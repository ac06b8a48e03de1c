#pragma once

#include "benchmarks/zan_bench.h"
#include "zan_core/zan_types.h"

#include <memory>
#include <optional>
#include <random>
#include <string>
#include <type_traits>

/// For rows whose contenders are types rather than callables, each with data of its own that are too dear to
/// be made for every repetition.
namespace NZanBench
{
/// A different number for every one, without a pattern that a weak hash could be lucky with.
constexpr uint32 Scramble( uint32 Bits )
{
    Bits = ( Bits ^ ( Bits >> 16 ) ) * 0x7FEB352Du;
    Bits = ( Bits ^ ( Bits >> 15 ) ) * 0x846CA68Bu;
    return Bits ^ ( Bits >> 16 );
}

/// A different text for every number, of 8 to 24 letters: half of them fit into a std::string.
inline std::string MakeText( uint32 Index )
{
    std::minstd_rand Random( Scramble( Index ) );
    std::string Text( 8 + Random() % 17, ' ' );
    for ( char& Letter : Text )
    {
        Letter = static_cast<char>( 'a' + Index % 26 );
        Index = Index / 26 + ( Index < 26 ? static_cast<uint32>( Random() ) : 0 );
    }
    return Text;
}

struct SKept
{
    std::shared_ptr<void> pData;
    const void* pKind = nullptr;
    int32 Size = 0;
};

template <typename TOwner>
SKept& AccessKept()
{
    static SKept Kept;
    return Kept;
}

/// T( Size ), made when Owner did not keep that already, and kept until it asks for something else.
template <typename TOwner, typename T>
T& Keep( int32 Size )
{
    static constexpr char Kind = 0;
    SKept& Kept = AccessKept<TOwner>();
    if ( Kept.pKind != &Kind || Kept.Size != Size )
    {
        Kept = SKept(); // before the new ones need memory
        Kept = { std::make_shared<T>( Size ), &Kind, Size };
    }
    return *static_cast<T*>( Kept.pData.get() );
}

/// Makes the contenders of one row, whose work goes on a TData of a size each, and has to come to the same
/// result. Work takes the data, or these and the state to loop itself.
template <typename TWork>
class CRowMaker
{
public:
    CRowMaker( int32 Size, TWork Work ) : _Size( Size ), _Work( Work ) {}

    template <typename TOwner, typename TData>
    SZanBenchContender Make( std::string Name ) const
    {
        return { std::move( Name ), [ Maker = *this ]( benchmark::State& State ) {
                    Maker.Run( Keep<TOwner, TData>( Maker._Size ), State );
                } };
    }

private:
    template <typename TData>
    void Run( TData& Data, benchmark::State& State ) const;

    int32 _Size;
    TWork _Work;
    std::shared_ptr<std::optional<int64>> _pExpected = std::make_shared<std::optional<int64>>();
};

template <typename TWork>
template <typename TData>
void CRowMaker<TWork>::Run( TData& Data, benchmark::State& State ) const
{
    int64 Result = 0;
    if constexpr ( std::is_invocable_v<const TWork&, TData&, benchmark::State&> )
    {
        Result = _Work( Data, State );
    }
    else
    {
        for ( auto _ : State )
        {
            Result = _Work( Data );
            benchmark::DoNotOptimize( Result );
            benchmark::ClobberMemory();
        }
    }
    *_pExpected = _pExpected->value_or( Result );
    if ( Result != **_pExpected )
    {
        State.SkipWithError( "the contenders do different work" );
    }
}
} // namespace NZanBench
