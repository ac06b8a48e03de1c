#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/graphs/zan_graph_search.h"
#include "zan_core/memory/zan_allocator.h"
#include "zan_core/memory/zan_pool_allocator.h"
#include "zan_core/views/zan_range.h"
#include "zan_core/zan_expects.h"
#include "zan_core/zan_types.h"

#include <algorithm>
#include <compare>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <new>
#include <type_traits>
#include <utility>

/// Nodes and directed edges with data of the caller's, which need neither copy nor move. Choose it where
/// nodes and edges come and go: adding and removing an edge takes constant time, and nodes and edges keep
/// their addresses as long as they live, also when the graph is moved or swapped. They lie in pools on the
/// heap; the arrays that list them come from the allocator passed in. References to what was removed are
/// invalid, and iterators over all nodes or all edges after any removal or addition of such. Not
/// synchronised; several threads may read.
///
///     CZanGenericDirectedGraph<CString, void, NZanDirectedGraph::SAcyclicGraphPolicy> Graph;
///     auto& Load = Graph.AddNode( "load" );
///     auto& Parse = Graph.AddNode( "parse" );
///     Graph.TryAddEdge( Load, Parse );
///     Graph.TryAddEdge( Parse, Load );  // null, as it would close a cycle
///
/// A node has two lists, each a ring through a sentinel in the node that has the links of an edge and no
/// more, so that linking and unlinking know no special case:
///
///     target edges of A:  A's sentinel - edge AB - edge AC - A's sentinel    (by the links _Target)
///     source edges of C:  C's sentinel - edge AC - edge BC - C's sentinel    (by the links _Source)
///
/// Each node and edge knows its slot in the graph's array; the entries of the array tell them when they move.
template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
class CZanGenericDirectedGraph;

namespace NZanDirectedGraph
{
namespace NDetail
{
struct SEdgeLinks;

struct SLinkPair
{
    SEdgeLinks* _pNext;
    SEdgeLinks* _pPrev;
};

/// What an edge and a sentinel have in common.
struct SEdgeLinks
{
    SLinkPair _Target; // in the list of the edge's source
    SLinkPair _Source; // in the list of the edge's target
};

struct STargetEdgeLinksTraits
{
    static constexpr SLinkPair SEdgeLinks::*pPair = &SEdgeLinks::_Target;
};
struct SSourceEdgeLinksTraits
{
    static constexpr SLinkPair SEdgeLinks::*pPair = &SEdgeLinks::_Source;
};

template <typename T>
struct SData
{
    template <typename... TArgs>
    explicit SData( std::in_place_t, TArgs&&... Args ) : _Value( std::forward<TArgs>( Args )... )
    {}
    T _Value;
};
template <>
struct SData<void>
{
    explicit SData( std::in_place_t ) {}
};

/// So that an object of about the size of a cache line does not lie across two of them.
template <typename TData>
constexpr std::size_t CalcAlignment( std::size_t OtherSize )
{
    const std::size_t Size = OtherSize + ( std::is_empty_v<SData<TData>> ? 0 : sizeof( SData<TData> ) );
    return Size > 48 && Size <= 64 ? 64 : std::max( alignof( SData<TData> ), alignof( SEdgeLinks ) );
}

/// An entry of the graph's arrays.
template <typename TObject>
class SReference
{
public:
    SReference() = default;
    SReference( SReference&& Other ) noexcept { Set( *Other._pObject ); }
    SReference& operator=( SReference&& Other ) noexcept
    {
        Set( *Other._pObject );
        return *this;
    }

    TObject& Get() const { return *_pObject; }
    void Set( TObject& Object );

private:
    TObject* _pObject = nullptr; // null only while the object is made
};
template <typename TNodeData, typename TEdgeData>
using SNodeReference = SReference<CNode<TNodeData, TEdgeData>>;
template <typename TNodeData, typename TEdgeData>
using SEdgeReference = SReference<CEdge<TNodeData, TEdgeData>>;

/// The fields of nodes and edges, for the classes that make up the graph.
struct SAccess
{
    template <typename TObject>
    static auto& Slot( TObject& Object )
    {
        return Object._pSlot;
    }
    template <typename TNode>
    static auto& Sentinel( TNode& Node )
    {
        return Node._Sentinel;
    }
    static int32& SourceEdgeCount( auto& Node ) { return Node._SourceEdgeCount; }
    static int32& TargetEdgeCount( auto& Node ) { return Node._TargetEdgeCount; }

    template <typename TEdge>
    static SEdgeLinks& Links( TEdge& Edge )
    {
        return Edge;
    }

    /// Requires that the links are not a sentinel.
    template <typename TEdge, typename TLinks>
    static TEdge& Edge( TLinks& Links )
    {
        return static_cast<TEdge&>( Links );
    }

    template <typename TObject, typename... TArgs>
    static TObject& Construct( void* pPlace, TArgs&&... Args )
    {
        return *new ( pPlace ) TObject( std::forward<TArgs>( Args )... );
    }
};

/// Over an array of references. TObject is const where the objects may not be changed.
template <typename TObject, typename TReference>
class CBasicIndirectIterator
{
public:
    using iterator_category = std::random_access_iterator_tag;
    using value_type = std::remove_const_t<TObject>;
    using difference_type = std::ptrdiff_t;
    using pointer = TObject*;
    using reference = TObject&;

    CBasicIndirectIterator() = default;
    explicit CBasicIndirectIterator( const TReference* pSlot ) : _pSlot( pSlot ) {}
    operator CBasicIndirectIterator<const TObject, TReference>() const requires( !std::is_const_v<TObject> )
    {
        return CBasicIndirectIterator<const TObject, TReference>( _pSlot );
    }

    reference operator*() const { return _pSlot->Get(); }
    pointer operator->() const { return &_pSlot->Get(); }
    reference operator[]( difference_type Offset ) const { return _pSlot[ Offset ].Get(); }

    CBasicIndirectIterator& operator++() { return *this += 1; }
    CBasicIndirectIterator& operator--() { return *this -= 1; }
    CBasicIndirectIterator operator++( int ) { return CBasicIndirectIterator( _pSlot++ ); }
    CBasicIndirectIterator operator--( int ) { return CBasicIndirectIterator( _pSlot-- ); }
    CBasicIndirectIterator& operator+=( difference_type Count ) { return _pSlot += Count, *this; }
    CBasicIndirectIterator& operator-=( difference_type Count ) { return _pSlot -= Count, *this; }

    friend CBasicIndirectIterator operator+( CBasicIndirectIterator Left, difference_type Count )
    {
        return Left += Count;
    }
    friend CBasicIndirectIterator operator+( difference_type Count, CBasicIndirectIterator Right )
    {
        return Right += Count;
    }
    friend CBasicIndirectIterator operator-( CBasicIndirectIterator Left, difference_type Count )
    {
        return Left -= Count;
    }
    friend difference_type operator-( CBasicIndirectIterator Left, CBasicIndirectIterator Right )
    {
        return Left._pSlot - Right._pSlot;
    }
    friend bool operator==( CBasicIndirectIterator Left, CBasicIndirectIterator Right ) = default;
    friend auto operator<=>( CBasicIndirectIterator Left, CBasicIndirectIterator Right ) = default;

private:
    const TReference* _pSlot = nullptr;
};
template <typename TObject, typename TReference>
using CIndirectIterator = CBasicIndirectIterator<TObject, TReference>;
template <typename TObject, typename TReference>
using CConstIndirectIterator = CBasicIndirectIterator<const TObject, TReference>;

/// Over one list of a node. TEdge is const where the edges may not be changed.
template <typename TEdge, typename TTraits>
class CBasicLinkedEdgeIterator
{
    using TLinks = std::conditional_t<std::is_const_v<TEdge>, const SEdgeLinks, SEdgeLinks>;

public:
    using iterator_category = std::bidirectional_iterator_tag;
    using value_type = std::remove_const_t<TEdge>;
    using difference_type = std::ptrdiff_t;
    using pointer = TEdge*;
    using reference = TEdge&;

    CBasicLinkedEdgeIterator() = default;
    explicit CBasicLinkedEdgeIterator( TLinks* pLinks ) : _pLinks( pLinks ) {}
    operator CBasicLinkedEdgeIterator<const TEdge, TTraits>() const requires( !std::is_const_v<TEdge> )
    {
        return CBasicLinkedEdgeIterator<const TEdge, TTraits>( _pLinks );
    }

    reference operator*() const { return SAccess::Edge<TEdge>( *_pLinks ); }
    pointer operator->() const { return &**this; }

    CBasicLinkedEdgeIterator& operator++() { return _pLinks = ( _pLinks->*TTraits::pPair )._pNext, *this; }
    CBasicLinkedEdgeIterator& operator--() { return _pLinks = ( _pLinks->*TTraits::pPair )._pPrev, *this; }
    CBasicLinkedEdgeIterator operator++( int )
    {
        const CBasicLinkedEdgeIterator Former = *this;
        ++*this;
        return Former;
    }
    CBasicLinkedEdgeIterator operator--( int )
    {
        const CBasicLinkedEdgeIterator Former = *this;
        --*this;
        return Former;
    }
    friend bool operator==( CBasicLinkedEdgeIterator Left, CBasicLinkedEdgeIterator Right ) = default;

    const void* GetLinks() const { return _pLinks; }

private:
    TLinks* _pLinks = nullptr; // an edge's, or at the end the sentinel
};
template <typename TNodeData, typename TEdgeData, typename TTraits>
using CLinkedEdgeIterator = CBasicLinkedEdgeIterator<CEdge<TNodeData, TEdgeData>, TTraits>;
template <typename TNodeData, typename TEdgeData, typename TTraits>
using CConstLinkedEdgeIterator = CBasicLinkedEdgeIterator<const CEdge<TNodeData, TEdgeData>, TTraits>;

template <typename TObject>
struct SArrayRangeTraits
{
    using CSource = CZanArray<SReference<TObject>>;
    using CIterator = CIndirectIterator<TObject, SReference<TObject>>;
    using CConstIterator = CConstIndirectIterator<TObject, SReference<TObject>>;

    static CIterator GetStart( CSource& Array ) { return CIterator( Array.GetIterStart() ); }
    static CIterator GetEnd( CSource& Array ) { return CIterator( Array.GetIterEnd() ); }
    static CConstIterator GetStart( const CSource& Array ) { return CConstIterator( Array.GetIterStart() ); }
    static CConstIterator GetEnd( const CSource& Array ) { return CConstIterator( Array.GetIterEnd() ); }
    static int32 GetSize( const CSource& Array ) { return Array.GetSize(); }
};
template <typename TNodeData, typename TEdgeData>
struct SNodeRangeTraits : SArrayRangeTraits<CNode<TNodeData, TEdgeData>>
{};
template <typename TNodeData, typename TEdgeData>
struct SEdgeRangeTraits : SArrayRangeTraits<CEdge<TNodeData, TEdgeData>>
{};

template <typename TNodeData, typename TEdgeData, typename TLinksTraits>
struct SListRangeTraits
{
    using CSource = CNode<TNodeData, TEdgeData>;
    using CIterator = CLinkedEdgeIterator<TNodeData, TEdgeData, TLinksTraits>;
    using CConstIterator = CConstLinkedEdgeIterator<TNodeData, TEdgeData, TLinksTraits>;

    static CIterator GetStart( CSource& Node ) { return ++GetEnd( Node ); }
    static CIterator GetEnd( CSource& Node ) { return CIterator( &SAccess::Sentinel( Node ) ); }
    static CConstIterator GetStart( const CSource& Node ) { return ++GetEnd( Node ); }
    static CConstIterator GetEnd( const CSource& Node )
    {
        return CConstIterator( &SAccess::Sentinel( Node ) );
    }
};
template <typename TNodeData, typename TEdgeData>
struct SSourceEdgeRangeTraits : SListRangeTraits<TNodeData, TEdgeData, SSourceEdgeLinksTraits>
{
    static int32 GetSize( const CNode<TNodeData, TEdgeData>& Node ) { return Node._SourceEdgeCount; }
};
template <typename TNodeData, typename TEdgeData>
struct STargetEdgeRangeTraits : SListRangeTraits<TNodeData, TEdgeData, STargetEdgeLinksTraits>
{
    static int32 GetSize( const CNode<TNodeData, TEdgeData>& Node ) { return Node._TargetEdgeCount; }
};
} // namespace NDetail

template <typename TNodeData, typename TEdgeData>
class alignas( NDetail::CalcAlignment<TEdgeData>( 7 * sizeof( void* ) ) ) CEdge : private NDetail::SEdgeLinks
{
public:
    CEdge( const CEdge& ) = delete;
    CEdge& operator=( const CEdge& ) = delete;

    std::add_lvalue_reference_t<const TEdgeData> GetData() const requires( !std::is_void_v<TEdgeData> )
    {
        return _Data._Value;
    }
    std::add_lvalue_reference_t<TEdgeData> AccessData() requires( !std::is_void_v<TEdgeData> )
    {
        return _Data._Value;
    }

    const CNode<TNodeData, TEdgeData>& GetSource() const { return *_pSource; }
    CNode<TNodeData, TEdgeData>& GetSource() { return *_pSource; }
    const CNode<TNodeData, TEdgeData>& GetTarget() const { return *_pTarget; }
    CNode<TNodeData, TEdgeData>& GetTarget() { return *_pTarget; }

    friend bool operator==( const CEdge& Left, const CEdge& Right ) { return &Left == &Right; }

private:
    friend struct NDetail::SAccess;

    template <typename... TArgs>
    explicit CEdge(
        CNode<TNodeData, TEdgeData>& Source, CNode<TNodeData, TEdgeData>& Target, TArgs&&... Args )
        : _Data( std::in_place, std::forward<TArgs>( Args )... ), _pSource( &Source ), _pTarget( &Target )
    {}

    [[no_unique_address]] NDetail::SData<TEdgeData> _Data;
    NDetail::SEdgeReference<TNodeData, TEdgeData>* _pSlot = nullptr; // in the graph's array
    CNode<TNodeData, TEdgeData>* _pSource;                           // never null
    CNode<TNodeData, TEdgeData>* _pTarget;                           // never null
};

template <typename TNodeData, typename TEdgeData>
class alignas( NDetail::CalcAlignment<TNodeData>( 6 * sizeof( void* ) ) ) CNode
{
    template <template <typename, typename> typename TTraits, typename TElementsTag>
    using TRangeRef = CZanMappedMembersRangeRef<TTraits<TNodeData, TEdgeData>, TElementsTag>;

public:
    using CSourceEdgeRange = TRangeRef<NDetail::SSourceEdgeRangeTraits, NZanRange::SMutableElementsTag>;
    using CTargetEdgeRange = TRangeRef<NDetail::STargetEdgeRangeTraits, NZanRange::SMutableElementsTag>;
    using CConstSourceEdgeRange = TRangeRef<NDetail::SSourceEdgeRangeTraits, NZanRange::SConstElementsTag>;
    using CConstTargetEdgeRange = TRangeRef<NDetail::STargetEdgeRangeTraits, NZanRange::SConstElementsTag>;

    CNode( const CNode& ) = delete;
    CNode& operator=( const CNode& ) = delete;

    std::add_lvalue_reference_t<const TNodeData> GetData() const requires( !std::is_void_v<TNodeData> )
    {
        return _Data._Value;
    }
    std::add_lvalue_reference_t<TNodeData> AccessData() requires( !std::is_void_v<TNodeData> )
    {
        return _Data._Value;
    }

    /// The edges that arrive here, and those that leave from here, in the order in which they were added.
    CConstSourceEdgeRange GetSourceEdges() const { return CConstSourceEdgeRange( *this ); }
    CSourceEdgeRange GetSourceEdges() { return CSourceEdgeRange( *this ); }
    CConstTargetEdgeRange GetTargetEdges() const { return CConstTargetEdgeRange( *this ); }
    CTargetEdgeRange GetTargetEdges() { return CTargetEdgeRange( *this ); }

    friend bool operator==( const CNode& Left, const CNode& Right ) { return &Left == &Right; }

private:
    friend struct NDetail::SAccess;
    friend struct NDetail::SSourceEdgeRangeTraits<TNodeData, TEdgeData>;
    friend struct NDetail::STargetEdgeRangeTraits<TNodeData, TEdgeData>;

    template <typename... TArgs>
    explicit CNode( std::in_place_t InPlace, TArgs&&... Args )
        : _Data( InPlace, std::forward<TArgs>( Args )... )
    {}

    [[no_unique_address]] NDetail::SData<TNodeData> _Data;
    NDetail::SEdgeLinks _Sentinel = { { &_Sentinel, &_Sentinel }, { &_Sentinel, &_Sentinel } };
    NDetail::SNodeReference<TNodeData, TEdgeData>* _pSlot = nullptr; // in the graph's array
    int32 _SourceEdgeCount = 0;
    int32 _TargetEdgeCount = 0;
};

// --- Edge policies ---------------------------------------------------------------------------------------

/// What TryAddEdge allows is a choice of how many edges may lead from one node to another, and a choice of
/// cycles. Any class with such an IsAllowed can be either.
template <typename TMultiplicity, typename TCycles>
struct SEdgePolicy
{
    static bool IsAllowed( const auto& Source, const auto& Target )
    {
        return TMultiplicity::IsAllowed( Source, Target ) && TCycles::IsAllowed( Source, Target );
    }
};

struct SMultipleEdges
{
    static bool IsAllowed( const auto&, const auto& ) { return true; }
};

struct SUniqueEdges
{
    static bool IsAllowed( const auto& Source, const auto& Target )
    {
        return FindEdge( Source, Target ) == nullptr;
    }
};

struct SAllCycles
{
    static bool IsAllowed( const auto&, const auto& ) { return true; }
};

struct SNoSelfEdges
{
    static bool IsAllowed( const auto& Source, const auto& Target ) { return Source != Target; }
};

struct SNoOppositeEdges
{
    static bool IsAllowed( const auto& Source, const auto& Target )
    {
        return Source != Target && FindEdge( Target, Source ) == nullptr;
    }
};

/// No cycle of Length edges or less, as far as LimitedPathExists finds it.
template <int32 Length>
struct SNoShortCycles
{
    static_assert( Length >= 1, "the shortest cycle is an edge from a node to itself" );

    static bool IsAllowed( const auto& Source, const auto& Target )
    {
        return !LimitedPathExists( Target, Source, Length - 1 );
    }
};

/// Requires that no cycle came in by AddEdge: the search for one remembers nothing and would go round in it.
/// It takes no memory, but follows every path from the edge's target.
struct SNoCycles
{
    static bool IsAllowed( const auto& Source, const auto& Target );
};

using SMultiGraphPolicy = SEdgePolicy<SMultipleEdges, SAllCycles>;
using SUniqueEdgePolicy = SEdgePolicy<SUniqueEdges, SAllCycles>;
using SSimpleGraphPolicy = SEdgePolicy<SUniqueEdges, SNoSelfEdges>;
using SOrientedGraphPolicy = SEdgePolicy<SUniqueEdges, SNoOppositeEdges>;
template <int32 Length>
using SShortCyclePolicy = SEdgePolicy<SMultipleEdges, SNoShortCycles<Length>>;
using SAcyclicGraphPolicy = SEdgePolicy<SMultipleEdges, SNoCycles>;
} // namespace NZanDirectedGraph

// --- The graph -------------------------------------------------------------------------------------------

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy = NZanDirectedGraph::SMultiGraphPolicy>
class CZanGenericDirectedGraph
{
    template <typename TTraits, typename TElementsTag>
    using TRangeRef = CZanMappedMembersRangeRef<TTraits, TElementsTag>;
    using CNodeTraits = NZanDirectedGraph::NDetail::SNodeRangeTraits<TNodeData, TEdgeData>;
    using CEdgeTraits = NZanDirectedGraph::NDetail::SEdgeRangeTraits<TNodeData, TEdgeData>;

public:
    using CNode = NZanDirectedGraph::CNode<TNodeData, TEdgeData>;
    using CEdge = NZanDirectedGraph::CEdge<TNodeData, TEdgeData>;
    using CNodeRange = TRangeRef<CNodeTraits, NZanRange::SMutableElementsTag>;
    using CEdgeRange = TRangeRef<CEdgeTraits, NZanRange::SMutableElementsTag>;
    using CConstNodeRange = TRangeRef<CNodeTraits, NZanRange::SConstElementsTag>;
    using CConstEdgeRange = TRangeRef<CEdgeTraits, NZanRange::SConstElementsTag>;

    explicit CZanGenericDirectedGraph( CZanAllocator& Allocator = GetDefaultAllocator() )
        : _NodePool( 32, Allocator ), _EdgePool( 32, Allocator ), _Nodes( Allocator ), _Edges( Allocator )
    {}

    /// Takes everything over, the allocator too, and leaves the source empty. Constant time.
    CZanGenericDirectedGraph( CZanGenericDirectedGraph&& Other );
    ~CZanGenericDirectedGraph();

    CZanGenericDirectedGraph& operator=( CZanGenericDirectedGraph&& Other );

    /// Exchanges all nodes and edges, which stay where they are. Constant time between graphs on the same
    /// allocator; otherwise the entries of the arrays move, where a failing allocation ends the program.
    void Swap( CZanGenericDirectedGraph& Other ) noexcept;

    // The order of nodes and of edges is that of their addition, until one is removed.

    CConstNodeRange GetNodes() const { return CConstNodeRange( _Nodes ); }
    CNodeRange GetNodes() { return CNodeRange( _Nodes ); }
    CConstEdgeRange GetEdges() const { return CConstEdgeRange( _Edges ); }
    CEdgeRange GetEdges() { return CEdgeRange( _Edges ); }

    /// The position of a node in GetNodes(), of an edge in GetEdges(). Requires that it is of this graph.
    int32 GetIndex( const CNode& Node ) const { return CalcIndex( _Nodes, Node ); }
    int32 GetIndex( const CEdge& Edge ) const { return CalcIndex( _Edges, Edge ); }

    // What adds changes nothing when memory runs out or the data's constructor throws. Node arguments have to
    // be of this graph.

    /// Adds a node whose data is value-initialised, or made from Data.
    CNode& AddNode() { return Emplace<CNode>( _NodePool, _Nodes, std::in_place ); }
    template <typename TData = TNodeData>
    CNode& AddNode( TData&& Data )
    {
        return Emplace<CNode>( _NodePool, _Nodes, std::in_place, std::forward<TData>( Data ) );
    }

    /// Adds an edge without asking the policy.
    CEdge& AddEdge( CNode& Source, CNode& Target ) { return LinkedEdge( Source, Target ); }
    template <typename TData = TEdgeData>
    CEdge& AddEdge( CNode& Source, CNode& Target, TData&& Data )
    {
        return LinkedEdge( Source, Target, std::forward<TData>( Data ) );
    }

    /// Adds an edge if the policy allows it. Otherwise gives null, and Data stays as it is.
    CEdge* TryAddEdge( CNode& Source, CNode& Target )
    {
        return TEdgePolicy::IsAllowed( Source, Target ) ? &LinkedEdge( Source, Target ) : nullptr;
    }
    template <typename TData = TEdgeData>
    CEdge* TryAddEdge( CNode& Source, CNode& Target, TData&& Data )
    {
        return TEdgePolicy::IsAllowed( Source, Target )
                   ? &LinkedEdge( Source, Target, std::forward<TData>( Data ) )
                   : nullptr;
    }

    /// Removes the node and all its edges.
    void RemoveNode( CNode& Node );
    void RemoveEdge( CEdge& Edge );

    /// Removes everything, and keeps the memory.
    void Clear();

    /// Makes room for so many nodes and edges in all.
    void Reserve( int32 NodeCount, int32 EdgeCount );

    /// For self-checks: whether lists, counters, slots and pools fit each other. Linear, but for the pools,
    /// whose free items it walks.
    bool CheckInvariants() const;

private:
    template <typename TObject>
    using TArray = CZanArray<NZanDirectedGraph::NDetail::SReference<TObject>>;
    template <typename TObject>
    using TPool = CZanUnsynchronizedPoolAllocator<TObject>;
    using SLinks = NZanDirectedGraph::NDetail::SEdgeLinks;
    using SLinkPair = NZanDirectedGraph::NDetail::SLinkPair;
    using SAccess = NZanDirectedGraph::NDetail::SAccess;

    template <typename TObject>
    static int32 CalcIndex( const TArray<TObject>& Array, const TObject& Object );
    template <typename TObject>
    static bool IsIn( const TArray<TObject>& Array, const TObject& Object );
    template <typename TObject, typename... TArgs>
    static TObject& Emplace( TPool<TObject>& Pool, TArray<TObject>& Array, TArgs&&... Args );
    template <typename TObject>
    static void Remove( TPool<TObject>& Pool, TArray<TObject>& Array, TObject& Object );
    template <typename TObject>
    static void Free( TPool<TObject>& Pool, TArray<TObject>& Array );
    template <typename TObject>
    static void Destroy( const TArray<TObject>& Array );

    template <typename... TArgs>
    CEdge& LinkedEdge( CNode& Source, CNode& Target, TArgs&&... Args );
    static void Link( SLinks& Sentinel, SLinks& Edge, SLinkPair SLinks::*pPair );
    static void Unlink( const SLinks& Edge, SLinkPair SLinks::*pPair );

    template <typename TObject>
    static bool CheckStore( const TPool<TObject>& Pool, const TArray<TObject>& Array );
    template <typename TTraits>
    static int32 CountLinks( const SLinks& Sentinel, int32 MaxCount );

    TPool<CNode> _NodePool;
    TPool<CEdge> _EdgePool;
    TArray<CNode> _Nodes; // each entry's object has it as its slot
    TArray<CEdge> _Edges; // likewise
};

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
void swap( CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>& Left,
    CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>& Right )
{
    Left.Swap( Right );
}

// --- Bodies ----------------------------------------------------------------------------------------------

template <typename TObject>
inline void NZanDirectedGraph::NDetail::SReference<TObject>::Set( TObject& Object )
{
    _pObject = &Object;
    SAccess::Slot( Object ) = this;
}

inline bool NZanDirectedGraph::SNoCycles::IsAllowed( const auto& Source, const auto& Target )
{
    if ( Source == Target )
    {
        return false;
    }
    if ( Target.GetTargetEdges().IsEmpty() || Source.GetSourceEdges().IsEmpty() )
    {
        return true;
    }
    bool bFound = false;
    DepthFirstSearchEdges( Target, [ & ]( const auto& Edge, int32 ) {
        bFound = Edge.GetTarget() == Source;
        return bFound ? ESearchResult::Stop : ESearchResult::Continue;
    } );
    return !bFound;
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::CZanGenericDirectedGraph(
    CZanGenericDirectedGraph&& Other )
    : _NodePool( std::move( Other._NodePool ) ), _EdgePool( std::move( Other._EdgePool ) ),
      _Nodes( std::move( Other._Nodes ), Other._Nodes.GetAllocator() ),
      _Edges( std::move( Other._Edges ), Other._Edges.GetAllocator() )
{}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::~CZanGenericDirectedGraph()
{
    // The pools take what is on their lists and what is not.
    Destroy( _Nodes );
    Destroy( _Edges );
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>&
CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::operator=( CZanGenericDirectedGraph&& Other )
{
    CZanGenericDirectedGraph Taken( std::move( Other ) );
    Swap( Taken );
    return *this;
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
void CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::Swap(
    CZanGenericDirectedGraph& Other ) noexcept
{
    std::swap( _NodePool, Other._NodePool );
    std::swap( _EdgePool, Other._EdgePool );
    _Nodes.Swap( Other._Nodes );
    _Edges.Swap( Other._Edges );
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
inline void CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::RemoveNode( CNode& Node )
{
    if ( !zan_expects( IsIn( _Nodes, Node ), "RemoveNode of a node that is not of this graph" ) )
    {
        return;
    }
    while ( !Node.GetSourceEdges().IsEmpty() )
    {
        RemoveEdge( *Node.GetSourceEdges().begin() );
    }
    while ( !Node.GetTargetEdges().IsEmpty() )
    {
        RemoveEdge( *Node.GetTargetEdges().begin() );
    }
    Remove( _NodePool, _Nodes, Node );
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
inline void CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::RemoveEdge( CEdge& Edge )
{
    if ( !zan_expects( IsIn( _Edges, Edge ), "RemoveEdge of an edge that is not of this graph" ) )
    {
        return;
    }
    --SAccess::TargetEdgeCount( Edge.GetSource() );
    --SAccess::SourceEdgeCount( Edge.GetTarget() );
    Unlink( SAccess::Links( Edge ), &SLinks::_Target );
    Unlink( SAccess::Links( Edge ), &SLinks::_Source );
    Remove( _EdgePool, _Edges, Edge );
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
void CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::Clear()
{
    Free( _NodePool, _Nodes );
    Free( _EdgePool, _Edges );
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
void CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::Reserve( int32 NodeCount, int32 EdgeCount )
{
    _Nodes.Reserve( NodeCount );
    _Edges.Reserve( EdgeCount );
    _NodePool.Reserve( static_cast<uint64>( std::max( NodeCount, 0 ) ) );
    _EdgePool.Reserve( static_cast<uint64>( std::max( EdgeCount, 0 ) ) );
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
bool CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::CheckInvariants() const
{
    using namespace NZanDirectedGraph::NDetail;
    int32 SourceSum = 0, TargetSum = 0;
    for ( const CNode& Node : GetNodes() )
    {
        const SLinks& Sentinel = SAccess::Sentinel( Node );
        const int32 SourceCount = Node.GetSourceEdges().GetSize();
        const int32 TargetCount = Node.GetTargetEdges().GetSize();
        if ( CountLinks<SSourceEdgeLinksTraits>( Sentinel, SourceCount ) != SourceCount ||
             CountLinks<STargetEdgeLinksTraits>( Sentinel, TargetCount ) != TargetCount )
        {
            return false;
        }
        for ( const CEdge& Edge : Node.GetSourceEdges() )
        {
            SourceSum += IsIn( _Edges, Edge ) && Edge.GetTarget() == Node ? 1 : 0;
        }
        for ( const CEdge& Edge : Node.GetTargetEdges() )
        {
            TargetSum += IsIn( _Edges, Edge ) && Edge.GetSource() == Node ? 1 : 0;
        }
    }
    return SourceSum == _Edges.GetSize() && TargetSum == _Edges.GetSize() &&
           CheckStore( _NodePool, _Nodes ) && CheckStore( _EdgePool, _Edges );
}

// --- Private ---------------------------------------------------------------------------------------------

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
template <typename TObject>
inline int32 CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::CalcIndex(
    const TArray<TObject>& Array, const TObject& Object )
{
    return static_cast<int32>( SAccess::Slot( Object ) - Array.GetData() );
}

/// Also tells the slots of another graph, which no subtraction of pointers may.
template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
template <typename TObject>
inline bool CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::IsIn(
    const TArray<TObject>& Array, const TObject& Object )
{
    const auto Offset = reinterpret_cast<std::uintptr_t>( SAccess::Slot( Object ) ) -
                        reinterpret_cast<std::uintptr_t>( Array.GetData() );
    return Offset < static_cast<std::uintptr_t>( Array.GetSize() ) * sizeof( TObject* ) &&
           SAccess::Slot( Object )->Get() == Object;
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
template <typename TObject, typename... TArgs>
inline TObject& CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::Emplace(
    TPool<TObject>& Pool, TArray<TObject>& Array, TArgs&&... Args )
{
    struct SUndo
    {
        ~SUndo()
        {
            if ( !_bDone )
            {
                _Pool.Free( _pPlace );
                _Array.RemoveTail();
            }
        }
        TPool<TObject>& _Pool;
        TArray<TObject>& _Array;
        void* _pPlace = nullptr;
        bool _bDone = false;
    };
    auto& Reference = Array.AppendEmplace();
    SUndo Undo{ Pool, Array };
    Undo._pPlace = Pool.Allocate( sizeof( TObject ), alignof( TObject ) );
    TObject& Object = SAccess::Construct<TObject>( Undo._pPlace, std::forward<TArgs>( Args )... );
    Reference.Set( Object );
    Undo._bDone = true;
    return Object;
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
template <typename TObject>
inline void CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::Remove(
    TPool<TObject>& Pool, TArray<TObject>& Array, TObject& Object )
{
    Array.SwapToTailRemoveAt( CalcIndex( Array, Object ) );
    Object.~TObject();
    Pool.Free( &Object );
}

/// From the last to the first, so that the pool hands them out in the present order again.
template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
template <typename TObject>
void CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::Free(
    TPool<TObject>& Pool, TArray<TObject>& Array )
{
    for ( int32 i = Array.GetSize() - 1; i >= 0; --i )
    {
        TObject& Object = Array[ i ].Get();
        Object.~TObject();
        Pool.Free( &Object );
    }
    Array.RemoveAll();
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
template <typename TObject>
void CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::Destroy( const TArray<TObject>& Array )
{
    if constexpr ( !std::is_trivially_destructible_v<TObject> )
    {
        for ( const auto& Reference : Array )
        {
            Reference.Get().~TObject();
        }
    }
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
template <typename... TArgs>
inline auto CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::LinkedEdge(
    CNode& Source, CNode& Target, TArgs&&... Args ) -> CEdge&
{
    static_cast<void>( zan_expects( IsIn( _Nodes, Source ) && IsIn( _Nodes, Target ),
        "AddEdge between nodes that are not of this graph" ) );
    CEdge& Edge = Emplace<CEdge>( _EdgePool, _Edges, Source, Target, std::forward<TArgs>( Args )... );
    ++SAccess::TargetEdgeCount( Source );
    ++SAccess::SourceEdgeCount( Target );
    Link( SAccess::Sentinel( Source ), SAccess::Links( Edge ), &SLinks::_Target );
    Link( SAccess::Sentinel( Target ), SAccess::Links( Edge ), &SLinks::_Source );
    return Edge;
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
inline void CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::Link(
    SLinks& Sentinel, SLinks& Edge, SLinkPair SLinks::*pPair )
{
    SLinks* const pLast = ( Sentinel.*pPair )._pPrev;
    Edge.*pPair = { &Sentinel, pLast };
    ( pLast->*pPair )._pNext = &Edge;
    ( Sentinel.*pPair )._pPrev = &Edge;
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
inline void CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::Unlink(
    const SLinks& Edge, SLinkPair SLinks::*pPair )
{
    const SLinkPair& Pair = Edge.*pPair;
    ( Pair._pPrev->*pPair )._pNext = Pair._pNext;
    ( Pair._pNext->*pPair )._pPrev = Pair._pPrev;
}

template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
template <typename TObject>
bool CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::CheckStore(
    const TPool<TObject>& Pool, const TArray<TObject>& Array )
{
    for ( const auto& Reference : Array )
    {
        if ( SAccess::Slot( Reference.Get() ) != &Reference )
        {
            return false;
        }
    }
    return Pool.CheckInvariants() &&
           Pool.CalcFreeCount() + static_cast<uint64>( Array.GetSize() ) == Pool.GetCapacity();
}

/// -1 when the ring is broken or longer than that.
template <typename TNodeData, typename TEdgeData, typename TEdgePolicy>
template <typename TTraits>
int32 CZanGenericDirectedGraph<TNodeData, TEdgeData, TEdgePolicy>::CountLinks(
    const SLinks& Sentinel, int32 MaxCount )
{
    int32 Count = 0;
    for ( const SLinks* pLinks = &Sentinel;; ++Count )
    {
        const SLinks* const pNext = ( pLinks->*TTraits::pPair )._pNext;
        if ( Count > MaxCount || ( pNext->*TTraits::pPair )._pPrev != pLinks )
        {
            return -1;
        }
        if ( pNext == &Sentinel )
        {
            return Count;
        }
        pLinks = pNext;
    }
}
