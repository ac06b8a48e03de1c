#pragma once

#include "zan_core/text/zan_charconv.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

/// A directed graph in the DOT language, to look at with Graphviz. NameOf( Node ) and LabelOf( Edge ) give
/// text, in UTF-8 and of any content; an edge with an empty label has none. Nodes and edges stand in the
/// graph's order, so that the same graph gives the same text. Without LabelOf no edge has a label.
///
///     const CString Text = ZanGraphToDot( Graph, []( const auto& Node ) { return Node.GetData(); } );
///     // digraph
///     // {
///     //     n0 [label="load"];
///     //     n1 [label="parse"];
///     //     n0 -> n1;
///     // }
template <typename TGraph, typename TNameOf, typename TLabelOf>
CString ZanGraphToDot( const TGraph& Graph, const TNameOf& NameOf, const TLabelOf& LabelOf );
template <typename TGraph, typename TNameOf>
CString ZanGraphToDot( const TGraph& Graph, const TNameOf& NameOf )
{
    return ZanGraphToDot( Graph, NameOf, []( const auto& ) { return CZanStringView(); } );
}

namespace NZanDirectedGraph::NDetail
{
inline void AppendDotNode( CString* pText, int32 Index )
{
    char Buffer[ NZanStringUtils::MaxNumberSize ];
    *pText += 'n';
    *pText += NZanStringUtils::ToString( Buffer, Buffer + sizeof( Buffer ), Index );
}

/// What DOT takes for a sign of its own stands for itself, and control characters do no harm.
inline void AppendDotLabel( CString* pText, CZanStringView Label )
{
    *pText += " [label=\"";
    for ( const char Char : Label )
    {
        switch ( Char )
        {
        case '"':
            *pText += "\\\"";
            break;
        case '\\':
            *pText += "\\\\";
            break;
        case '&':
            *pText += "&amp;";
            break;
        case '\n':
            *pText += "\\n";
            break;
        default:
            *pText += static_cast<unsigned char>( Char ) < ' ' ? ' ' : Char;
            break;
        }
    }
    *pText += "\"]";
}
} // namespace NZanDirectedGraph::NDetail

template <typename TGraph, typename TNameOf, typename TLabelOf>
CString ZanGraphToDot( const TGraph& Graph, const TNameOf& NameOf, const TLabelOf& LabelOf )
{
    using namespace NZanDirectedGraph::NDetail;
    CString Text = "digraph\n{\n";
    for ( const auto& Node : Graph.GetNodes() )
    {
        Text += "    ";
        AppendDotNode( &Text, Graph.GetIndex( Node ) );
        AppendDotLabel( &Text, NameOf( Node ) );
        Text += ";\n";
    }
    for ( const auto& Edge : Graph.GetEdges() )
    {
        Text += "    ";
        AppendDotNode( &Text, Graph.GetIndex( Edge.GetSource() ) );
        Text += " -> ";
        AppendDotNode( &Text, Graph.GetIndex( Edge.GetTarget() ) );
        const auto& Label = LabelOf( Edge );
        if ( CZanStringView View = Label; !View.IsEmpty() )
        {
            AppendDotLabel( &Text, View );
        }
        Text += ";\n";
    }
    return Text + "}\n";
}
