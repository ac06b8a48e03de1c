#include "benchmarks/zan_bench.h"
#include "zan_core/zan_types.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <limits>
#include <regex>
#include <utility>
#include <vector>

namespace
{
struct SRow
{
    std::string Name;
    std::vector<SZanBenchContender> Contenders;
    double Limit;
};

std::vector<SRow>& AccessRows()
{
    static std::vector<SRow> Rows;
    return Rows;
}

struct SMean
{
    std::string Name, Prefix, Peer;
    double Limit;
    double LogSum = 0;
    int32 Count = 0;
};

std::vector<SMean>& AccessMeans()
{
    static std::vector<SMean> Means;
    return Means;
}

constexpr double RepetitionTime =
    5e5; // nanoseconds: short enough to pass between two switches of the processor
constexpr double ContenderTime = 1e8; // for all repetitions of a round
constexpr int MaxRounds = 5;

/// Keeps the shortest repetition of each contender. Whatever disturbs a repetition only adds to its elapsed
/// time, and on a busy machine it adds to most of them, so the minimum repeats where the median wanders.
/// Repetitions are short and many, so that some fit between two disturbances.
class CMinimumReporter : public benchmark::BenchmarkReporter
{
public:
    explicit CMinimumReporter( size_t ContenderCount )
        : Minima( ContenderCount, std::numeric_limits<double>::infinity() )
    {}

    bool ReportContext( const Context& ) override { return true; }
    void ReportRuns( const std::vector<Run>& Runs ) override
    {
        for ( const Run& Each : Runs )
        {
            if ( Each.error_occurred )
            {
                std::fprintf( stderr, "%s\n", Each.error_message.c_str() );
                std::exit( 1 );
            }
            if ( Each.run_type == Run::RT_Iteration )
            {
                double& Minimum = Minima[ std::stoul( Each.run_name.function_name ) ];
                Minimum = std::min( Minimum, Each.GetAdjustedRealTime() );
            }
        }
    }

    std::vector<double> Minima; // nanoseconds per iteration
};

/// Runs one row alone, so that interleaving shuffles the repetitions of its contenders only: they are
/// measured within the same second, under the same conditions.
std::vector<double> Measure( const SRow& Row, const std::vector<int64>& IterationCounts, int RepetitionCount )
{
    benchmark::ClearRegisteredBenchmarks();
    for ( size_t i = 0; i < Row.Contenders.size(); ++i )
    {
        benchmark::RegisterBenchmark( std::to_string( i ).c_str(), Row.Contenders[ i ].Run )
            ->Iterations( IterationCounts[ i ] )
            ->Repetitions( RepetitionCount );
    }
    CMinimumReporter Reporter( Row.Contenders.size() );
    benchmark::RunSpecifiedBenchmarks( &Reporter, "all" );
    return Reporter.Minima;
}

void KeepMinima( std::vector<double>& Minima, const std::vector<double>& More )
{
    for ( size_t i = 0; i < Minima.size(); ++i )
    {
        Minima[ i ] = std::min( Minima[ i ], More[ i ] );
    }
}

/// Ours to that of another contender, for the same amount of work.
double CalcRatio( const SRow& Row, const std::vector<double>& Minima, size_t Peer )
{
    return Minima[ 0 ] / Row.Contenders[ 0 ].Amount / ( Minima[ Peer ] / Row.Contenders[ Peer ].Amount );
}

bool IsAboveLimit( const SRow& Row, const std::vector<double>& Minima )
{
    bool bAbove = false;
    for ( size_t i = 1; i < Minima.size(); ++i )
    {
        bAbove = bAbove || ( Row.Limit > 0 && CalcRatio( Row, Minima, i ) > Row.Limit );
    }
    return bAbove;
}

void PrintRatio( double Ratio, const std::string& Row, const std::string& Peer, double Limit )
{
    std::printf( "%.3f\t%s\t%s", Ratio, Row.c_str(), Peer.c_str() );
    Limit > 0 ? std::printf( "\t%g\n", Limit ) : std::printf( "\n" );
    std::fflush( stdout );
}

/// Fits the numbers of iterations here instead of leaving it to Google Benchmark, which goes by one try: when
/// that is disturbed, it measures a few iterations and its own clock.
void MeasureRow( const SRow& Row )
{
    std::vector<int64> Counts( Row.Contenders.size(), 1 );
    std::vector<double> Minima;
    double Longest = 0;
    for ( bool bFits = false; !bFits; )
    {
        bFits = true;
        Minima = Measure( Row, Counts, 5 );
        for ( size_t i = 0; i < Counts.size(); ++i )
        {
            const double Missing = RepetitionTime / ( Minima[ i ] * static_cast<double>( Counts[ i ] ) );
            Longest = std::max( Longest, RepetitionTime / Missing );
            if ( Missing > 1.5 )
            {
                Counts[ i ] =
                    static_cast<int64>( static_cast<double>( Counts[ i ] ) * std::min( Missing, 10.0 ) );
                bFits = false;
            }
        }
    }
    // The fitting counts as one round. A row above its limit gets more of them: they show whether a
    // disturbance that outlasted the row made it so. Every contender is measured again, and each keeps its
    // minimum of all.
    const int RepetitionCount = std::clamp( static_cast<int>( ContenderTime / Longest ), 5, 200 );
    for ( int Round = RepetitionCount > 5 ? 0 : 1;
          Round == 0 || ( Round < MaxRounds && IsAboveLimit( Row, Minima ) ); ++Round )
    {
        KeepMinima( Minima, Measure( Row, Counts, RepetitionCount ) );
    }
    for ( size_t i = 1; i < Row.Contenders.size(); ++i )
    {
        const double Ratio = CalcRatio( Row, Minima, i );
        for ( SMean& Mean : AccessMeans() )
        {
            if ( Row.Name.starts_with( Mean.Prefix ) && Row.Contenders[ i ].Name == Mean.Peer )
            {
                Mean.LogSum += std::log( Ratio );
                ++Mean.Count;
            }
        }
        PrintRatio( Ratio, Row.Name, Row.Contenders[ i ].Name, Row.Limit );
    }
}
} // namespace

void ZanBench( std::string Row, std::initializer_list<SZanBenchContender> Contenders, double Limit )
{
    AccessRows().push_back( { std::move( Row ), Contenders, Limit } );
}

void ZanBenchMean( std::string Row, std::string Prefix, std::string Peer, double Limit )
{
    AccessMeans().push_back( { std::move( Row ), std::move( Prefix ), std::move( Peer ), Limit } );
}

/// Takes the flags of Google Benchmark; the filter is a regular expression over the names of rows.
int main( int ArgCount, char** ppArgs )
{
    std::string Interleave = "--benchmark_enable_random_interleaving=true";
    std::vector<char*> Args = { ppArgs[ 0 ], Interleave.data() };
    Args.insert( Args.end(), ppArgs + 1, ppArgs + ArgCount );
    int Count = static_cast<int>( Args.size() );
    Args.push_back( nullptr );
    benchmark::Initialize( &Count, Args.data() );
    if ( benchmark::ReportUnrecognizedArguments( Count, Args.data() ) )
    {
        return 1;
    }

    RegisterRows();
    const std::regex Filter( benchmark::GetBenchmarkFilter() );
    for ( const SRow& Row : AccessRows() )
    {
        if ( std::regex_search( Row.Name, Filter ) )
        {
            MeasureRow( Row );
        }
    }
    for ( const SMean& Mean : AccessMeans() )
    {
        if ( Mean.Count > 0 )
        {
            PrintRatio( std::exp( Mean.LogSum / Mean.Count ), Mean.Name, Mean.Peer, Mean.Limit );
        }
    }
    return 0;
}
