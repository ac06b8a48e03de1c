#include "fuzz/fuzz_target.h"
#include "zan_core/persistence/tests/both_roads.h"

#include <string>

/// The first byte chooses what happens to the rest besides reading its tokens: whether row data is collected,
/// and how often a step looks ahead or reads raw text.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pData, size_t Size )
{
    DropLogMessages();
    if ( Size == 0 )
    {
        return 0;
    }
    const uint32 Ways = pData[ 0 ];
    CTextLexer::SetCollectRowData( Ways % 2 != 0 );
    const uint32 Period = Ways / 2 % 16 + 1;
    const std::string Content( reinterpret_cast<const char*>( pData ) + 1, Size - 1 );

    NZanTestUtils::CBothRoads Roads( Content );
    for ( uint32 Step = 1; !Roads.IsAtEnd(); ++Step )
    {
        Require( Step <= 2 * Size + 8 );
        if ( Step % Period != 0 )
        {
            Require( Roads.GetTok() );
        }
        else if ( Ways < 128 )
        {
            Require( Roads.PeekTok() && Roads.GetTok() );
        }
        else
        {
            Require( Roads.ReadUntil( ']' ) );
        }
    }
    Require( Roads.GetTok() );
    Require( !Roads.WasFound() );
    return 0;
}
