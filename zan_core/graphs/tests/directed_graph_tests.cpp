#include "zan_core/graphs/zan_directed_graph.h"

#include "zan_core/graphs/zan_graph_dot.h"
#include "zan_core/graphs/zan_graph_search.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <memory>
#include <random>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

using NZanTestUtils::CZanTestAllocator;
using NZanTestUtils::SMoveOnly;
using namespace NZanDirectedGraph;

namespace
{
/// Nodes are letters, edges pairs of them: "AB BC". A node comes with its first mention.
template <typename TPolicy = SMultiGraphPolicy>
struct TLetters : CZanGenericDirectedGraph<char, int32, TPolicy>
{
    using CNode = typename TLetters::CNode;

    explicit TLetters( const std::string& Edges )
    {
        std::istringstream Stream( Edges );
        for ( std::string Word; Stream >> Word; )
        {
            CNode& Source = Find( Word[ 0 ] );
            if ( Word.size() > 1 )
            {
                this->AddEdge( Source, Find( Word[ 1 ] ) );
            }
        }
    }

    CNode& Find( char Letter )
    {
        for ( CNode& Node : this->GetNodes() )
        {
            if ( Node.GetData() == Letter )
            {
                return Node;
            }
        }
        return this->AddNode( Letter );
    }
};

std::string NameOf( const CNode<char, int32>& Node ) { return { Node.GetData() }; }
std::string NameOf( const CEdge<char, int32>& Edge )
{
    return NameOf( Edge.GetSource() ) + NameOf( Edge.GetTarget() );
}

/// All names in a range.
std::string List( const auto& Range )
{
    std::string Text;
    for ( const auto& Object : Range )
    {
        Text += Text.empty() ? "" : " ";
        Text += NameOf( Object );
    }
    return Text;
}

/// What a search visits, with depths. It skips what Skip names and what lies at MaxDepth, and stops at Stop.
struct SRecorder
{
    ESearchResult operator()( const auto& Object, int32 Depth )
    {
        const std::string Name = NameOf( Object );
        _Text += _Text.empty() ? "" : " ";
        _Text += Name + std::to_string( Depth );
        return Name == _Stop                         ? ESearchResult::Stop
               : Name == _Skip || Depth >= _MaxDepth ? ESearchResult::Skip
                                                     : ESearchResult::Continue;
    }

    std::string _Skip, _Stop;
    int32 _MaxDepth = 100;
    std::string _Text = {};
};

struct SThrowing
{
    SThrowing() { throw std::runtime_error( "no data" ); }
};
} // namespace

TEST_CASE( "CZanDirectedGraph::BasicTests", "[directed_graph]" )
{
    CZanGenericDirectedGraph<int32, int32> Graph;
    REQUIRE( ( Graph.GetNodes().IsEmpty() && Graph.GetEdges().IsEmpty() && Graph.CheckInvariants() ) );
    auto &NodeA = Graph.AddNode( 1 ), &NodeB = Graph.AddNode();
    auto &Edge = Graph.AddEdge( NodeA, NodeB, 3 ), &Self = Graph.AddEdge( NodeB, NodeB );
    NodeB.AccessData() = 2;
    REQUIRE( ( NodeA.GetData() == 1 && NodeB.GetData() == 2 && Edge.GetData() == 3 && Self.GetData() == 0 ) );
    REQUIRE( ( Edge.GetSource() == NodeA && Edge.GetTarget() == NodeB && NodeA != NodeB && Edge != Self ) );
    REQUIRE( ( Graph.GetIndex( NodeB ) == 1 && Graph.GetIndex( Self ) == 1 && Graph.CheckInvariants() ) );
}

TEST_CASE( "CZanDirectedGraph::IteratorTests", "[directed_graph]" )
{
    TLetters<> Graph( "AB AC BC" );
    const auto& Const = Graph;
    const auto Nodes = Graph.GetNodes();
    const auto First = Nodes.begin();
    const auto ConstLast = Const.GetNodes().begin() + 2;
    REQUIRE( ( First != ConstLast && First < ConstLast && First <= ConstLast && ConstLast > First ) );
    REQUIRE( ( ConstLast >= First && ConstLast - 2 == First && ConstLast - First == 2 ) );
    REQUIRE( ( First[ 2 ] == *ConstLast && ( 1 + First )->GetData() == 'B' && Nodes.GetSize() == 3 ) );
    REQUIRE( List( ZanMakeReversed( Const.GetEdges() ) ) == "BC AC AB" );

    const auto Edges = Graph.Find( 'A' ).GetTargetEdges();
    TLetters<>::CNode::CConstTargetEdgeRange ConstEdges = Edges;
    auto Edge = Edges.begin();
    REQUIRE( ( Edge++ == ConstEdges.begin() && NameOf( *Edge-- ) == "AC" && NameOf( *Edge ) == "AB" ) );
    REQUIRE( ( std::next( Edge, 2 ) == ConstEdges.end() && List( ZanMakeReversed( Edges ) ) == "AC AB" ) );
    STATIC_REQUIRE( std::is_const_v<std::remove_reference_t<decltype( *ConstEdges.begin() )>> );
}

TEST_CASE( "CZanDirectedGraph::ModificationTests", "[directed_graph]" )
{
    SECTION( "Add and Remove Multiple Nodes" )
    {
        TLetters<> Graph( "AB BC CA AA CB" );
        Graph.RemoveNode( Graph.Find( 'A' ) );
        REQUIRE( ( List( Graph.GetNodes() ) == "C B" && List( Graph.GetEdges() ) == "CB BC" ) );
    }

    SECTION( "Remove edge" )
    {
        TLetters<> Graph( "AC BD CD" );
        Graph.RemoveEdge( *FindEdge( Graph.Find( 'B' ), Graph.Find( 'D' ) ) );
        REQUIRE( ( List( Graph.Find( 'D' ).GetSourceEdges() ) == "CD" && Graph.CheckInvariants() ) );
    }

    SECTION( "Swap Graphs" )
    {
        CZanTestAllocator Allocators[ 2 ];
        for ( const int32 Case : { 0, 1, 2, 3 } )
        {
            using CGraph = CZanGenericDirectedGraph<int32, int32>;
            const int32 Size = Case < 2 ? 5 : 200; // less or more than the temporary holds
            CGraph GraphA( Allocators[ 0 ] ), GraphB( Allocators[ Case % 2 ] );
            std::vector<const CGraph::CNode*> Nodes;
            for ( int32 i = 0; i < Size; ++i )
            {
                auto& Node = GraphB.AddNode( i );
                Nodes.push_back( &GraphB.AddEdge( *GraphB.GetNodes().begin(), Node, i ).GetTarget() );
            }
            const auto& EdgeA = GraphA.AddEdge( GraphA.AddNode(), GraphA.AddNode(), -2 );
            swap( GraphA, GraphB );
            REQUIRE( ( GraphA.CheckInvariants() && GraphB.CheckInvariants() ) );
            REQUIRE( ( &*GraphB.GetEdges().begin() == &EdgeA && EdgeA.GetData() == -2 ) );
            CGraph Moved( std::move( GraphA ) );
            REQUIRE( ( Moved.CheckInvariants() && GraphA.CheckInvariants() && GraphA.GetNodes().IsEmpty() ) );
            GraphA.AddEdge( GraphA.AddNode(), GraphA.AddNode() );
            GraphB = std::move( Moved );
            REQUIRE( ( GraphA.CheckInvariants() && GraphB.CheckInvariants() && Moved.GetNodes().IsEmpty() ) );
            REQUIRE( GraphB.GetEdges().GetSize() == Size );
            for ( const auto& Edge : GraphB.GetEdges() )
            {
                const int32 i = GraphB.GetIndex( Edge );
                REQUIRE( ( &Edge.GetTarget() == Nodes[ static_cast<size_t>( i ) ] && Edge.GetData() == i ) );
                REQUIRE( ( Edge.GetTarget().GetData() == i && GraphB.GetIndex( Edge.GetTarget() ) == i ) );
            }
        }
        REQUIRE( Allocators[ 0 ].GetCurrentAllocationCount() == 0 );
    }

    SECTION( "Failing data" )
    {
        CZanGenericDirectedGraph<SThrowing, SThrowing> Graph;
        REQUIRE_THROWS_AS( Graph.AddNode(), std::runtime_error );
        REQUIRE( ( Graph.GetNodes().IsEmpty() && Graph.CheckInvariants() ) );
    }

    SECTION( "Random changes" )
    {
        using CGraph = CZanGenericDirectedGraph<SMoveOnly, SMoveOnly>;
        NZanTestUtils::SLifeCounters Life;
        CZanTestAllocator Allocator;
        for ( uint32 Round = 0; Round < 20; ++Round )
        {
            std::mt19937 Random( Round );
            const auto Pick = [ & ]( const auto& Values ) { return Random() % Values.size(); };
            CGraph Graph, Other( Allocator );
            std::vector<CGraph::CNode*> Nodes; // in array order
            std::vector<std::pair<CGraph::CEdge*, int32>>
                Edges; // in the order of addition, and so of the lists
            for ( int32 i = 0; i < 600; ++i )
            {
                const auto Action = Random() % 100;
                if ( Action < 25 || Nodes.empty() )
                {
                    Nodes.push_back( &Graph.AddNode( SMoveOnly( i, &Life ) ) );
                }
                else if ( Action < 75 )
                {
                    auto &Source = *Nodes[ Pick( Nodes ) ], &Target = *Nodes[ Pick( Nodes ) ];
                    Edges.emplace_back( &Graph.AddEdge( Source, Target, SMoveOnly( i, &Life ) ), i );
                    REQUIRE( ( Edges.back().first->GetSource() == Source &&
                               Edges.back().first->GetTarget() == Target ) );
                }
                else if ( Action < 90 && !Edges.empty() )
                {
                    const auto iEdge = Edges.begin() + static_cast<std::ptrdiff_t>( Pick( Edges ) );
                    Graph.RemoveEdge( *iEdge->first );
                    Edges.erase( iEdge );
                }
                else if ( Action < 97 )
                {
                    CGraph::CNode*& pNode = Nodes[ Pick( Nodes ) ];
                    const auto IsAtNode = [ & ]( const auto& Edge ) {
                        return &Edge.first->GetSource() == pNode || &Edge.first->GetTarget() == pNode;
                    };
                    std::erase_if( Edges, IsAtNode );
                    Graph.RemoveNode( *pNode );
                    pNode = Nodes.back();
                    Nodes.pop_back();
                }
                else if ( Action < 99 )
                {
                    Graph.Swap( Other );
                    Other.Swap( Graph );
                    Graph.Reserve( i % 100, i % 90 );
                }
                else
                {
                    Graph.Clear();
                    Nodes.clear();
                    Edges.clear();
                }
                REQUIRE( ( Graph.CheckInvariants() && Graph.GetEdges().GetSize() == int32( Edges.size() ) ) );
                REQUIRE( Life.GetLiveCount() == int32( Nodes.size() + Edges.size() ) );
            }
            for ( size_t i = 0; i < Nodes.size(); ++i )
            {
                REQUIRE( &*( Graph.GetNodes().begin() + static_cast<int32>( i ) ) == Nodes[ i ] );
                auto Source = Nodes[ i ]->GetSourceEdges().begin();
                auto Target = Nodes[ i ]->GetTargetEdges().begin();
                for ( const auto& [ pEdge, Value ] : Edges )
                {
                    REQUIRE( ( &pEdge->GetTarget() != Nodes[ i ] || &*Source++ == pEdge ) );
                    REQUIRE( ( &pEdge->GetSource() != Nodes[ i ] || &*Target++ == pEdge ) );
                    REQUIRE( pEdge->GetData() == Value );
                }
            }
        }
        REQUIRE( Life.GetLiveCount() == 0 );
    }
}

TEST_CASE( "CZanDirectedGraph::ClearTests", "[directed_graph]" )
{
    SECTION( "Clear non-empty graph and add new nodes" )
    {
        TLetters<> Graph( "AB BC CA" );
        const auto* const pFirst = &*Graph.GetNodes().begin();
        Graph.Clear();
        REQUIRE( ( Graph.GetNodes().IsEmpty() && Graph.GetEdges().IsEmpty() && Graph.CheckInvariants() ) );
        Graph.AddEdge( Graph.Find( 'X' ), Graph.Find( 'Y' ) );
        REQUIRE( ( List( Graph.GetEdges() ) == "XY" && Graph.CheckInvariants() ) );
        REQUIRE( pFirst->GetData() != 'A' ); // the pool's memory is used again
    }
}

TEST_CASE( "CZanDirectedGraph::TemplateSpecializations", "[directed_graph]" )
{
    using CPtr = std::unique_ptr<int32>;
    CZanGenericDirectedGraph<CPtr, CPtr, SUniqueEdgePolicy> Owners;
    auto& Node = Owners.AddNode( std::make_unique<int32>( 1 ) );
    CPtr pData = std::make_unique<int32>( 2 );
    REQUIRE( *Owners.TryAddEdge( Node, Node, std::move( pData ) )->GetData() == 2 );
    pData = std::make_unique<int32>( 3 );
    REQUIRE( ( Owners.TryAddEdge( Node, Node, std::move( pData ) ) == nullptr && *pData == 3 ) );

    CZanGenericDirectedGraph<void, void> Plain;
    auto& PlainNode = Plain.AddNode();
    REQUIRE( ( Plain.AddEdge( PlainNode, PlainNode ).GetTarget() == PlainNode && Plain.CheckInvariants() ) );
    STATIC_REQUIRE( ( sizeof( CEdge<void, void> ) == 64 && alignof( CEdge<void, void> ) == 64 ) );
    STATIC_REQUIRE( ( sizeof( CNode<void, void> ) == 48 && sizeof( CNode<CPtr, void> ) == 64 ) );

    struct alignas( 128 ) SWide
    {
        int32 _Value = 7;
    };
    CZanGenericDirectedGraph<SWide, void> Wide;
    REQUIRE( ( Wide.AddNode().GetData()._Value == 7 && Wide.CheckInvariants() ) );
}

TEST_CASE( "CZanDirectedGraph::DepthFirstSearch", "[directed_graph]" )
{
    const struct
    {
        const char* _pEdges;
        SRecorder _Recorder;
        const char *_pNodes, *_pVisitedEdges;
    } Rows[] = { { "A", {}, "A0", "" }, { "AB AB", {}, "A0 B1 B1", "AB1 AB1" },
        { "AB BA", { "", "", 3 }, "A0 B1 A2 B3", "AB1 BA2 AB3" },
        { "AB BC AD DC CE", {}, "A0 B1 C2 E3 D1 C2 E3", "AB1 BC2 CE3 AD1 DC2 CE3" },
        { "AB BC AD DC CE", { "", "", 2 }, "A0 B1 C2 D1 C2", "AB1 BC2 AD1 DC2" },
        { "AB BC AD", { "B", "", 9 }, "A0 B1 D1", "AB1 BC2 AD1" },
        { "AB BC AD", { "", "C", 9 }, "A0 B1 C2", "AB1 BC2 AD1" },
        { "AB BC AD", { "A", "BC", 9 }, "A0", "AB1 BC2" } };
    for ( const auto& Row : Rows )
    {
        TLetters<> Graph( Row._pEdges );
        SRecorder Nodes = Row._Recorder, Edges = Row._Recorder;
        DepthFirstSearchNodes( std::as_const( Graph.Find( 'A' ) ), Nodes );
        DepthFirstSearchEdges( Graph.Find( 'A' ), Edges );
        REQUIRE( ( Nodes._Text == Row._pNodes && Edges._Text == Row._pVisitedEdges ) );
    }

    // A comb, whose stack outgrows its inline room.
    CZanGenericDirectedGraph<void, void> Graph;
    for ( auto* pNode = &Graph.AddNode(); Graph.GetNodes().GetSize() < 201; )
    {
        pNode = &Graph.AddEdge( *pNode, Graph.AddNode() ).GetSource();
        pNode = &Graph.AddEdge( *pNode, Graph.AddNode() ).GetTarget();
    }
    int32 Count = 0;
    DepthFirstSearchNodes( ZanMakeRange( Graph.GetNodes() )[ 0 ], [ & ]( const auto&, int32 Depth ) {
        Count += Depth;
        return ESearchResult::Continue;
    } );
    REQUIRE( Count == 100 * 101 );
}

TEST_CASE( "CZanDirectedGraph::DependencyOrderSearch", "[directed_graph]" )
{
    const struct
    {
        const char* _pEdges;
        SRecorder _Recorder;
        const char* _pVisits;
    } Rows[] = { { "DC CA AB", {}, "D0 C1 A2 B3" }, { "AB BC CA", {}, "" }, { "AB BC CB CD AE", {}, "A0 E1" },
        { "AC BC", {}, "A0 B0 C1" }, { "AB AC AD BE CE DE DE", {}, "A0 B1 C1 D1 E2" },
        { "AE BE CF EG FG", { "E", "", 9 }, "A0 B0 C0 E1 F1" }, // behind a skipped node
        { "AC BD CE DE", { "", "D", 9 }, "A0 B0 C1 D1" } };
    for ( const auto& Row : Rows )
    {
        const TLetters<> Graph( Row._pEdges );
        SRecorder Recorder = Row._Recorder;
        DependencyOrderSearch( Graph, Recorder );
        REQUIRE( Recorder._Text == Row._pVisits );
    }
}

TEST_CASE( "CZanDirectedGraph::PathExists", "[directed_graph]" )
{
    const std::tuple<const char*, const char*, int32> Rows[] = {
        // with the least limit that finds the path, 99 for none
        { "A", "AA", -1 }, { "AB", "AB", 1 }, { "AB BC CD", "AD", 3 }, { "AB BC CD", "DA", 99 },
        { "AB BC CD DB DE EF", "AF", 5 }, { "AB BA CD", "AD", 99 }
    };
    for ( const auto& [ pEdges, pEnds, Length ] : Rows )
    {
        TLetters<> Graph( pEdges );
        const auto &Source = Graph.Find( pEnds[ 0 ] ), &Target = Graph.Find( pEnds[ 1 ] );
        REQUIRE( PathExists( Source, Target ) == ( Length != 99 ) );
        for ( const int32 Limit : { -1, 0, 1, 2, 3, 4, 5, 15 } )
        {
            REQUIRE( LimitedPathExists( Source, Target, Limit ) == ( Limit >= Length ) );
        }
    }
    // CD is first reached over B, too deep to go on, and then passed over on the way that is short enough.
    TLetters<> Graph( "AB BC AC CD DE" );
    REQUIRE_FALSE( LimitedPathExists( Graph.Find( 'A' ), Graph.Find( 'E' ), 3 ) );
}

namespace
{
/// Whether the policy allows to add the last of the edges to the others.
template <typename TPolicy>
bool Allows( const std::string& Edges )
{
    TLetters<TPolicy> Graph( Edges.substr( 0, Edges.size() - 3 ) );
    const int32 Count = Graph.GetEdges().GetSize();
    auto &Source = Graph.Find( Edges.end()[ -2 ] ), &Target = Graph.Find( Edges.end()[ -1 ] );
    const bool bAdded = Graph.TryAddEdge( Source, Target, 12 ) != nullptr;
    REQUIRE( ( Graph.CheckInvariants() && Graph.GetEdges().GetSize() == Count + ( bAdded ? 1 : 0 ) ) );
    return bAdded;
}

template <typename... TPolicies>
std::string Allowing( const std::string& Edges )
{
    return ( std::string() + ... + ( Allows<TPolicies>( Edges ) ? '+' : '-' ) );
}
} // namespace

TEST_CASE( "CZanDirectedGraph::DuplicateEdgePolicyTests", "[directed_graph]" )
{
    const auto AllowingDuplicates = Allowing<SMultiGraphPolicy, SUniqueEdgePolicy, SSimpleGraphPolicy,
        SOrientedGraphPolicy, SShortCyclePolicy<3>, SAcyclicGraphPolicy, SEdgePolicy<SUniqueEdges, SNoCycles>,
        SEdgePolicy<SUniqueEdges, SNoShortCycles<3>>, SEdgePolicy<SMultipleEdges, SNoSelfEdges>>;
    REQUIRE( AllowingDuplicates( "AC AB AB" ) == "+---++--+" );
    REQUIRE( AllowingDuplicates( "AC CB AB" ) == "+++++++++" );
}

TEST_CASE( "CZanDirectedGraph::CyclePolicyTests", "[directed_graph]" )
{
    const auto AllowingCycle = Allowing<SMultiGraphPolicy, SUniqueEdgePolicy, SSimpleGraphPolicy,
        SOrientedGraphPolicy, SShortCyclePolicy<3>, SAcyclicGraphPolicy>;
    REQUIRE( AllowingCycle( "AB BB" ) == "++----" );
    REQUIRE( AllowingCycle( "AB BA" ) == "+++---" );
    REQUIRE( AllowingCycle( "AB BC CA" ) == "++++--" );
    REQUIRE( AllowingCycle( "AB BC CD DA" ) == "+++++-" );
    REQUIRE( AllowingCycle( "AB BC CD AD" ) == "++++++" );
    REQUIRE( AllowingCycle( "XA AB AC BD CD DE EF XF" ) == "++++++" );
}

TEST_CASE( "ZanGraphToDot writes text of any content", "[directed_graph]" )
{
    const TLetters<> Graph( "AB BA" );
    const CString Text = ZanGraphToDot(
        Graph, []( const auto& Node ) { return CString( "\"\\&\n\x01" ) + Node.GetData(); },
        []( const auto& Edge ) { return Edge.GetSource().GetData() == 'A' ? "x" : ""; } );
    REQUIRE( Text == "digraph\n{\n"
                     "    n0 [label=\"\\\"\\\\&amp;\\n A\"];\n"
                     "    n1 [label=\"\\\"\\\\&amp;\\n B\"];\n"
                     "    n0 -> n1 [label=\"x\"];\n"
                     "    n1 -> n0;\n}\n" );
    REQUIRE( ZanGraphToDot( CZanGenericDirectedGraph<void, void>(), []( const auto& ) { return ""; } ) ==
             "digraph\n{\n}\n" );
}
