#pragma once

#include <benchmark/benchmark.h>

#include <functional>
#include <initializer_list>
#include <string>
#include <type_traits>

/// One way to do a row's work. Work is called once per iteration and its result kept alive; or it takes the
/// state and loops itself, for what has to be set up outside of the measured time. The loop is compiled with
/// the work inlined in it: the type-erased call happens once per repetition. Contenders that do not do the
/// same amount of it, such as bytes in different formats, say how much, and are compared by the time for one.
struct SZanBenchContender
{
    template <typename TWork>
    SZanBenchContender( std::string ContenderName, TWork Work, double WorkAmount = 1 );

    std::string Name;
    double Amount;
    std::function<void( benchmark::State& )> Run;
};

/// Registers a row: one piece of work on the same data, done first by ours, then by each peer. Contenders are
/// copied. A row whose ratio ours/peer lies above Limit is marked in the table; 0 means no limit.
///
///     ZanBench( "Sum, 4 KiB", { { "ours", [ Ours ] { return Sum( Ours ); } },
///                               { "std::accumulate", [ Theirs ] { return SumTheirs( Theirs ); } } }, 1.1 );
void ZanBench( std::string Row, std::initializer_list<SZanBenchContender> Contenders, double Limit = 0 );

/// Registers a line for the end of the run: the geometric mean of the ratios ours/Peer over the measured rows
/// whose names begin with Prefix.
void ZanBenchMean( std::string Row, std::string Prefix, std::string Peer, double Limit = 0 );

/// Each program defines this one to register its rows. The harness has main().
void RegisterRows();

template <typename TWork>
SZanBenchContender::SZanBenchContender( std::string ContenderName, TWork Work, double WorkAmount )
    : Name( std::move( ContenderName ) ), Amount( WorkAmount )
{
    Run = [ Work = std::move( Work ) ]( benchmark::State& State ) {
        if constexpr ( std::is_invocable_v<const TWork&, benchmark::State&> )
        {
            Work( State );
        }
        else
        {
            for ( auto _ : State )
            {
                if constexpr ( std::is_void_v<std::invoke_result_t<const TWork&>> )
                {
                    Work();
                }
                else
                {
                    benchmark::DoNotOptimize( Work() );
                }
                benchmark::ClobberMemory();
            }
        }
    };
}
