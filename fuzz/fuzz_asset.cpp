// Reads any bytes as an asset file. Whatever was read is written in both forms and read again: the binary
// form gives all of it back but long names, which it cuts, the text form all whose writing logged nothing, up
// to the precision of its floats.

#include "fuzz/fuzz_target.h"
#include "zan_core/persistence/zan_file.h"
#include "zan_core/zan_asset.h"

#include <cmath>

namespace
{
CZanArray<uint8> Write( const CAssetObject& Root, bool bBinary )
{
    CZanArray<uint8> Bytes;
    CMemoryFile File( Bytes, FILE_BINARY, OPEN_WRITE );
    Root.WriteToFile( File, bBinary );
    return Bytes;
}

void Read( CZanArray<uint8>& Bytes, CAssetObject* pRoot )
{
    CMemoryFile File( Bytes, FILE_BINARY, OPEN_READ );
    pRoot->ReadFromFile( File );
}

bool IsNear( float Left, float Right )
{
    return std::isfinite( Left ) ? std::abs( Left - Right ) <= std::abs( Left ) * 1e-5f : Right == 0;
}

void RequireNear( const SAssetProperty& Left, const SAssetProperty& Right )
{
    const CZanSpan<const float> LeftFloats = Left.GetFloatData(), RightFloats = Right.GetFloatData();
    Require( Left._Name == Right._Name && LeftFloats.GetSize() == RightFloats.GetSize() );
    for ( int32 i = 0; i < LeftFloats.GetSize(); ++i )
    {
        Require( IsNear( LeftFloats[ i ], RightFloats[ i ] ) );
    }
    const bool bSameType = LeftFloats.GetSize() > 0 || Left._Data == Right._Data;
    Require( bSameType || ( !Left.HasIntData() && !Left.HasStringData() && !Right.HasIntData() ) );
}

void RequireNear( const CAssetObject& Left, const CAssetObject& Right )
{
    struct SPair
    {
        const CAssetObject* pLeft;
        const CAssetObject* pRight;
    };
    CZanArray<SPair> Rest;
    Rest.Append( { &Left, &Right } );
    while ( !Rest.IsEmpty() )
    {
        const auto [ pLeft, pRight ] = Rest.GetTailData();
        Rest.RemoveTail();
        Require( pLeft->GetProperties().GetSize() == pRight->GetProperties().GetSize() );
        Require( pLeft->GetObjects().GetSize() == pRight->GetObjects().GetSize() );
        for ( int32 i = 0; i < pLeft->GetProperties().GetSize(); ++i )
        {
            RequireNear( pLeft->GetProperties()[ i ], pRight->GetProperties()[ i ] );
        }
        for ( int32 i = 0; i < pLeft->GetObjects().GetSize(); ++i )
        {
            const CAssetObject& LeftChild = *pLeft->GetObjects()[ i ];
            const CAssetObject& RightChild = *pRight->GetObjects()[ i ];
            Require( LeftChild.GetName() == RightChild.GetName() );
            Rest.Append( { &LeftChild, &RightChild } );
        }
    }
}
} // namespace

extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pData, size_t Size )
{
    DropLogMessages();
    CZanArray<uint8> Bytes( pData, static_cast<int32>( Size ) );
    CAssetObject Root, FromBinary, FromText;
    Read( Bytes, &Root );

    CZanArray<uint8> Binary = Write( Root, true ); // which tells of names that only text has room for
    GDroppedMessageCount = 0;
    Read( Binary, &FromBinary );
    Require( GDroppedMessageCount == 0 );
    Require( Write( FromBinary, true ) == Binary );

    CZanArray<uint8> Text = Write( Root, false );
    const bool bAllWritten = GDroppedMessageCount == 0;
    Read( Text, &FromText );
    if ( bAllWritten )
    {
        Require( GDroppedMessageCount == 0 );
        RequireNear( Root, FromText );
    }
    return 0;
}
