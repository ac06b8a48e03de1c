#include "benchmarks/zan_bench_data.h"
#include "zan_core/graphs/zan_directed_graph.h"
#include "zan_core/graphs/zan_graph_search.h"

#include <boost/graph/adjacency_list.hpp>
#include <boost/graph/depth_first_search.hpp>
#include <boost/graph/topological_sort.hpp>
#include <boost/property_map/property_map.hpp>

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <random>
#include <string>
#include <utility>
#include <vector>

namespace
{
// --- Contenders --------------------------------------------------------------------------------------------

struct SOurs
{
    struct SData
    {
        int32 Mark = 0;
    };
    using CGraph = CZanGenericDirectedGraph<SData, void>;
    using TNode = CGraph::CNode*;
    using TEdge = CGraph::CEdge*;

    TNode AddNode( int32 ) { return &Graph.AddNode(); }
    TEdge AddEdge( TNode pSource, TNode pTarget ) { return &Graph.AddEdge( *pSource, *pTarget ); }
    void RemoveEdge( TEdge pEdge ) { Graph.RemoveEdge( *pEdge ); }
    void RemoveNode( TNode pNode ) { Graph.RemoveNode( *pNode ); }

    /// Visits each node once. Gives their number.
    int32 SearchDepthFirst( TNode pStart, int32 )
    {
        int32 Count = 0;
        ++Search;
        DepthFirstSearchNodes( *pStart, [ & ]( CGraph::CNode& Node, int32 ) {
            if ( std::exchange( Node.AccessData().Mark, Search ) == Search )
            {
                return NZanDirectedGraph::ESearchResult::Skip;
            }
            ++Count;
            return NZanDirectedGraph::ESearchResult::Continue;
        } );
        return Count;
    }

    void SortByDependency( std::vector<TNode>& Order )
    {
        DependencyOrderSearch( Graph, [ & ]( CGraph::CNode& Node, int32 ) {
            Order.push_back( &Node );
            return NZanDirectedGraph::ESearchResult::Continue;
        } );
    }

    CGraph Graph;
    int32 Search = 0;
};

/// With boost::directedS, the default, a node knows the edges that leave it. With boost::bidirectionalS it
/// also knows those that arrive, as ours does.
template <typename TDirections>
struct SBoost
{
    using CGraph = boost::adjacency_list<boost::listS, boost::listS, TDirections,
        boost::property<boost::vertex_index_t, size_t>>;
    using TNode = typename boost::graph_traits<CGraph>::vertex_descriptor;
    using TEdge = typename boost::graph_traits<CGraph>::edge_descriptor;

    struct SCounter : boost::default_dfs_visitor
    {
        explicit SCounter( int32* pCounted ) : pCount( pCounted ) {}
        void discover_vertex( TNode, const CGraph& ) const { ++*pCount; }
        int32* pCount;
    };

    TNode AddNode( int32 Index )
    {
        return boost::add_vertex( boost::property<boost::vertex_index_t, size_t>( size_t( Index ) ), Graph );
    }
    TEdge AddEdge( TNode Source, TNode Target ) { return boost::add_edge( Source, Target, Graph ).first; }
    void RemoveEdge( TEdge Edge ) { boost::remove_edge( Edge, Graph ); }

    /// Requires that no edge arrives.
    void RemoveNode( TNode Node )
    {
        boost::clear_out_edges( Node, Graph );
        boost::remove_vertex( Node, Graph );
    }

    auto ResetColors( int32 NodeCount )
    {
        Colors.assign( static_cast<size_t>( NodeCount ), boost::white_color );
        return boost::make_iterator_property_map( Colors.begin(), boost::get( boost::vertex_index, Graph ) );
    }

    int32 SearchDepthFirst( TNode Start, int32 NodeCount )
    {
        int32 Count = 0;
        boost::depth_first_visit( Graph, Start, SCounter( &Count ), ResetColors( NodeCount ) );
        return Count;
    }

    void SortByDependency( std::vector<TNode>& Order )
    {
        boost::topological_sort( Graph, std::back_inserter( Order ),
            boost::color_map( ResetColors( static_cast<int32>( boost::num_vertices( Graph ) ) ) ) );
    }

    CGraph Graph;
    std::vector<boost::default_color_type> Colors;
};

// --- Data --------------------------------------------------------------------------------------------------

/// Ends of edges that lead from lower to higher nodes, four times as many as nodes, in random order. Every
/// node can be reached from the first.
std::vector<std::pair<int32, int32>> MakeEnds( int32 EdgeCount )
{
    std::mt19937 Random( 1 );
    const int32 NodeCount = EdgeCount / 4;
    std::vector<std::pair<int32, int32>> Ends;
    for ( int32 i = 0; i < EdgeCount; ++i )
    {
        const int32 Target =
            i + 1 < NodeCount ? i + 1 : static_cast<int32>( Random() % uint32( NodeCount - 1 ) ) + 1;
        Ends.emplace_back( static_cast<int32>( Random() % static_cast<uint32>( Target ) ), Target );
    }
    std::shuffle( Ends.begin(), Ends.end(), Random );
    return Ends;
}

template <typename TContender>
struct SData
{
    using CNodes = std::vector<typename TContender::TNode>;
    using CEdges = std::vector<typename TContender::TEdge>;

    explicit SData( int32 EdgeCount )
        : Ends( MakeEnds( EdgeCount ) ), NodeCount( EdgeCount / 4 ), Removals( size_t( EdgeCount ) )
    {
        Build( Contender, &Nodes, &Edges );
        for ( size_t i = 0; i < Removals.size(); ++i )
        {
            Removals[ i ] = i;
        }
        std::shuffle( Removals.begin(), Removals.end(), std::mt19937( 2 ) );
    }

    /// In a graph that is empty.
    void Build( TContender& Other, CNodes* pNodes, CEdges* pEdges ) const
    {
        pNodes->clear();
        pEdges->clear();
        for ( int32 i = 0; i < NodeCount; ++i )
        {
            pNodes->push_back( Other.AddNode( i ) );
        }
        for ( const auto& [ Source, Target ] : Ends )
        {
            pEdges->push_back(
                Other.AddEdge( ( *pNodes )[ size_t( Source ) ], ( *pNodes )[ size_t( Target ) ] ) );
        }
    }

    void BuildAndDestroy()
    {
        TContender Other;
        Build( Other, &OtherNodes, &OtherEdges );
    }

    std::vector<std::pair<int32, int32>> Ends;
    int32 NodeCount;
    std::vector<size_t> Removals; // order of edges
    TContender Contender;
    CNodes Nodes, OtherNodes, Order;
    CEdges Edges, OtherEdges;
};

// --- Rows --------------------------------------------------------------------------------------------------

template <typename TWork>
void AddRow( const std::string& Name, int32 EdgeCount, TWork Work )
{
    const NZanBench::CRowMaker Maker( EdgeCount, Work );
    using CDirected = SBoost<boost::directedS>;
    using CBidirectional = SBoost<boost::bidirectionalS>;
    ZanBench( "graph, " + Name + ", " + std::to_string( EdgeCount ) + " edges",
        { Maker.template Make<struct SOurOwner, SData<SOurs>>( "ours" ),
            Maker.template Make<struct SDirectedOwner, SData<CDirected>>( "boost::adjacency_list" ),
            Maker.template Make<struct SBothOwner, SData<CBidirectional>>( "boost, bidirectionalS" ) },
        0.5 );
}
} // namespace

void RegisterRows()
{
    for ( const int32 EdgeCount : { 100, 10000, 1000000 } )
    {
        AddRow( "build and destroy", EdgeCount, []( auto& Data ) {
            Data.BuildAndDestroy();
            return int64( 0 );
        } );
        AddRow( "remove and add edges", EdgeCount, []( auto& Data ) {
            for ( const size_t Index : Data.Removals )
            {
                const auto& [ Source, Target ] = Data.Ends[ Index ];
                Data.Contender.RemoveEdge( Data.Edges[ Index ] );
                Data.Edges[ Index ] =
                    Data.Contender.AddEdge( Data.Nodes[ size_t( Source ) ], Data.Nodes[ size_t( Target ) ] );
            }
            return int64( 0 );
        } );
        AddRow( "add and remove nodes", EdgeCount, []( auto& Data ) {
            for ( size_t i = 0; i + 4 < Data.Nodes.size(); ++i )
            {
                const auto Node = Data.Contender.AddNode( Data.NodeCount );
                for ( size_t j = 0; j < 4; ++j )
                {
                    Data.Contender.AddEdge( Node, Data.Nodes[ i + j ] );
                }
                Data.Contender.RemoveNode( Node );
            }
            return int64( 0 );
        } );
        AddRow( "depth-first search", EdgeCount, []( auto& Data ) {
            return static_cast<int64>( Data.Contender.SearchDepthFirst( Data.Nodes[ 0 ], Data.NodeCount ) );
        } );
        AddRow( "dependency order", EdgeCount, []( auto& Data ) {
            Data.Order.clear();
            Data.Contender.SortByDependency( Data.Order );
            return static_cast<int64>( Data.Order.size() );
        } );
    }
}
