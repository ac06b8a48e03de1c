#pragma once

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/hashing/zan_unordered_set.h"
#include "zan_core/zan_types.h"

#include <limits>
#include <type_traits>

/// Searches in a CZanGenericDirectedGraph, along its edges. A visitor gets what it visits, const where the
/// graph is, and the depth, and answers what to do next. None of them uses the call stack for its depth. They
/// only read the graph, so that several may run at once while nobody changes it, a visitor included.
///
///     DepthFirstSearchNodes( Root, [ & ]( CGraphNode& Node, int32 Depth ) {
///         Print( Depth, Node.GetData() );
///         return Depth < 3 ? ESearchResult::Continue : ESearchResult::Skip;
///     } );
namespace NZanDirectedGraph
{
template <typename TNodeData, typename TEdgeData>
class CNode;
template <typename TNodeData, typename TEdgeData>
class CEdge;

enum class ESearchResult
{
    Continue, // and descend
    Skip,     // go on elsewhere
    Stop,
};

/// Visits, in the order of the lists and each before what lies behind it, all edges that are reached from
/// Node. Node's own edges have depth 1. There is no memory of what was visited: an edge is visited once for
/// every path to it, and in a cycle the search goes round until the visitor has enough. Up to a depth of 32
/// no memory is allocated.
template <typename TNode, typename TVisitor>
void DepthFirstSearchEdges( TNode& Node, TVisitor&& Visitor );

/// The same for the targets of these edges, behind Node itself at depth 0.
template <typename TNode, typename TVisitor>
void DepthFirstSearchNodes( TNode& Node, TVisitor&& Visitor );

/// Visits each node after all nodes that have an edge to it, in generations: first the nodes without source
/// edges, then those whose last source edge came from there, and so on; the depth is the generation, from 0.
/// Nodes in a cycle, or behind one, are not visited, nor are those that only lie behind a skipped one. Linear
/// in nodes and edges. The method is that of Kahn, "Topological sorting of large networks" (1962).
template <typename TGraph, typename TVisitor>
void DependencyOrderSearch( TGraph& Graph, TVisitor&& Visitor );

/// The first edge from Source to Target, or null. Linear in the target edges of Source.
template <typename TNode>
auto* FindEdge( TNode& Source, const std::type_identity_t<TNode>& Target );

/// Whether edges lead from Source to Target; to itself they always do. Visits each edge once at most, and
/// allocates when these are more than a few.
template <typename TNodeData, typename TEdgeData>
bool PathExists( const CNode<TNodeData, TEdgeData>& Source, const CNode<TNodeData, TEdgeData>& Target );

/// Whether a depth-first search that takes each edge once at most, and no edge at a depth beyond MaxEdges,
/// gets from Source to Target. An edge that was first reached on a long path is not taken again on a shorter
/// one, so that a path of this length can be missed where a node has several ways to it.
template <typename TNodeData, typename TEdgeData>
bool LimitedPathExists(
    const CNode<TNodeData, TEdgeData>& Source, const CNode<TNodeData, TEdgeData>& Target, int32 MaxEdges );

// --- Bodies --------------------------------------------------------------------------------------------

namespace NDetail
{
/// What is left of the edges of one node.
template <typename TIterator>
struct SSearchEntry
{
    TIterator _Position; // not _End
    TIterator _End;
    int32 _Depth; // of these edges
};

/// The edge that comes next, while the search waits for the target of this one.
template <typename TIterator>
inline void Prefetch( const TIterator& Position )
{
    __builtin_prefetch( Position.GetLinks() );
}

/// In an endless search the depth may come to wrap.
constexpr int32 Deeper( int32 Depth ) { return static_cast<int32>( static_cast<uint32>( Depth ) + 1 ); }
} // namespace NDetail

template <typename TNode, typename TVisitor>
inline void DepthFirstSearchEdges( TNode& Node, TVisitor&& Visitor )
{
    using TIterator = decltype( Node.GetTargetEdges().begin() );
    using SEntry = NDetail::SSearchEntry<TIterator>;
    if ( Node.GetTargetEdges().IsEmpty() )
    {
        return;
    }
    SEntry Top = { Node.GetTargetEdges().begin(), Node.GetTargetEdges().end(), 1 };
    CZanInlineBufArray<SEntry, 32> Stack; // what is below the top
    for ( ;; )
    {
        auto& Edge = *Top._Position;
        ++Top._Position;
        NDetail::Prefetch( Top._Position );
        const ESearchResult Result = Visitor( Edge, Top._Depth );
        if ( Result == ESearchResult::Stop )
        {
            return;
        }
        const bool bEnded = Top._Position == Top._End;
        if ( Result == ESearchResult::Continue )
        {
            const auto Edges = Edge.GetTarget().GetTargetEdges();
            if ( !Edges.IsEmpty() )
            {
                if ( !bEnded ) // what has ended is dropped before it is covered, so that a chain takes no
                               // room
                {
                    Stack.Append( Top );
                }
                Top = { Edges.begin(), Edges.end(), NDetail::Deeper( Top._Depth ) };
                continue;
            }
        }
        if ( bEnded )
        {
            if ( Stack.IsEmpty() )
            {
                return;
            }
            Top = Stack.GetTailData();
            Stack.RemoveTail();
        }
    }
}

template <typename TNode, typename TVisitor>
inline void DepthFirstSearchNodes( TNode& Node, TVisitor&& Visitor )
{
    if ( Visitor( Node, int32( 0 ) ) == ESearchResult::Continue )
    {
        DepthFirstSearchEdges(
            Node, [ & ]( auto& Edge, int32 Depth ) { return Visitor( Edge.GetTarget(), Depth ); } );
    }
}

template <typename TGraph, typename TVisitor>
inline void DependencyOrderSearch( TGraph& Graph, TVisitor&& Visitor )
{
    const auto Nodes = Graph.GetNodes();
    const auto First = Nodes.begin();
    CZanInlineBufArray<int32, 128> WaitCounts; // by node: source edges that were not followed yet
    CZanInlineBufArray<int32, 128> Queue;      // of nodes that wait for none; no node enters it twice
    WaitCounts.SetSizeNoInit( Nodes.GetSize() );
    Queue.SetSizeNoInit( Nodes.GetSize() );
    int32* const pWaitCounts = WaitCounts.GetData();
    int32* const pQueue = Queue.GetData();
    int32 Queued = 0;
    for ( int32 i = 0; i < Nodes.GetSize(); ++i )
    {
        pWaitCounts[ i ] = First[ i ].GetSourceEdges().GetSize();
        pQueue[ Queued ] = i;
        Queued += pWaitCounts[ i ] == 0;
    }
    int32 Generation = -1;
    int32 GenerationEnd = 0;
    for ( int32 i = 0; i < Queued; ++i )
    {
        if ( i == GenerationEnd )
        {
            ++Generation;
            GenerationEnd = Queued;
        }
        // A large graph is all waiting for memory, so what comes soon is sent for: first the nodes, then,
        // through those that have come, their edges.
        if ( i + 8 < Queued )
        {
            __builtin_prefetch( &First[ pQueue[ i + 8 ] ] );
            NDetail::Prefetch( First[ pQueue[ i + 4 ] ].GetTargetEdges().begin() );
        }
        auto& Node = First[ pQueue[ i ] ];
        const ESearchResult Result = Visitor( Node, Generation );
        if ( Result == ESearchResult::Stop )
        {
            return;
        }
        if ( Result == ESearchResult::Skip )
        {
            continue;
        }
        const auto Edges = Node.GetTargetEdges();
        for ( auto Position = Edges.begin(), End = Edges.end(); Position != End; )
        {
            const int32 Target = Graph.GetIndex( Position->GetTarget() );
            ++Position;
            NDetail::Prefetch( Position );
            if ( --pWaitCounts[ Target ] == 0 )
            {
                pQueue[ Queued++ ] = Target;
            }
        }
    }
}

template <typename TNode>
inline auto* FindEdge( TNode& Source, const std::type_identity_t<TNode>& Target )
{
    for ( auto& Edge : Source.GetTargetEdges() )
    {
        if ( Edge.GetTarget() == Target )
        {
            return &Edge;
        }
    }
    return static_cast<decltype( &*Source.GetTargetEdges().begin() )>( nullptr );
}

template <typename TNodeData, typename TEdgeData>
bool PathExists( const CNode<TNodeData, TEdgeData>& Source, const CNode<TNodeData, TEdgeData>& Target )
{
    return LimitedPathExists( Source, Target, std::numeric_limits<int32>::max() );
}

template <typename TNodeData, typename TEdgeData>
bool LimitedPathExists(
    const CNode<TNodeData, TEdgeData>& Source, const CNode<TNodeData, TEdgeData>& Target, int32 MaxEdges )
{
    using CConstEdge = const CEdge<TNodeData, TEdgeData>;
    if ( Source == Target )
    {
        return true;
    }
    if ( MaxEdges < 1 || Source.GetTargetEdges().IsEmpty() || Target.GetSourceEdges().IsEmpty() )
    {
        return false;
    }
    bool bFound = false;
    CZanHybridUnorderedSet<CConstEdge*, 32> Taken;
    DepthFirstSearchEdges( Source, [ & ]( CConstEdge& Edge, int32 Depth ) {
        if ( !Taken.Insert( &Edge ) )
        {
            return ESearchResult::Skip;
        }
        bFound = Edge.GetTarget() == Target;
        return bFound             ? ESearchResult::Stop
               : Depth < MaxEdges ? ESearchResult::Continue
                                  : ESearchResult::Skip;
    } );
    return bFound;
}
} // namespace NZanDirectedGraph
