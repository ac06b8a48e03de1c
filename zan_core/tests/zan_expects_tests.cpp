#include "zan_core/containers/zan_array.h"
#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/hashing/zan_unordered_map.h"
#include "zan_core/zan_expects.h"
#include "zan_test/include/zan_test_capture.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_logger.h"
#include "zan_test/include/zan_test_matchers.h"

#include <limits>
#include <string>

using NZanCatch2::EqualsSequence;

namespace
{
/// The failures while Action runs, which the log does not repeat.
template <typename TAction>
std::string FailuresOf( const TAction& Action )
{
    NZanTestUtils::CLogCapture Log;
    NZanCatch2::CAssertCapture Capture;
    Action();
    Capture.Stop();
    std::string Text;
    for ( const NZanCatch2::SAssert& Failure : Capture )
    {
        Text += ( Text.empty() ? "" : ", " ) + Failure._Text;
    }
    return Text;
}
} // namespace

#define FAILS( Action, Text ) CHECK( FailuresOf( [ & ] { Action; } ) == Text )

TEST_CASE( "zan_expects looks at its condition only where preconditions are checked", "[expects]" )
{
    int32 LookCount = 0;
    bool bHolds = false;
    const std::string Failures =
        FailuresOf( [ & ] { bHolds = zan_expects( ++LookCount > 1, "looked once" ); } );
#if defined( ZAN_CHECK_PRECONDITIONS )
    REQUIRE( ( LookCount == 1 && !bHolds && Failures == "looked once" && zan_expects( true, "holds" ) ) );
#else
    REQUIRE( ( LookCount == 0 && bHolds && Failures == "" ) );
#endif
}

#if defined( ZAN_CHECK_PRECONDITIONS )

namespace
{
constexpr int32 Huge = std::numeric_limits<int32>::max();

/// Out of memory, and says so by null.
struct SNullAllocator final : CZanAllocator
{
    void* Allocate( uint64, uint32 ) override { return nullptr; }
    void Free( void* ) override {}
};
} // namespace

TEST_CASE( "CZanArray reports broken preconditions and stays as it is", "[expects]" )
{
    CZanArray<int32> Array = { 1, 2, 3 };
    const int32 Two[] = { 8, 9 };

    FAILS( Array.RemoveAt( 3 ), "RemoveAt of an index that names no element" );
    FAILS( Array.RemoveAt( -1 ), "RemoveAt of an index that names no element" );
    FAILS( Array.RemoveRange( 2, 4 ), "RemoveRange outside the array" );
    FAILS( Array.SwapToTailRemoveAt( 3 ), "SwapToTailRemoveAt of an index that names no element" );
    FAILS( Array.Insert( 4, Two, 2 ), "Insert at a position outside the array" );
    FAILS( Array.Append( Two, -1 ), "Insert of a count that cannot be" );
    FAILS( Array.Append( Two, Huge ), "Insert of a count that cannot be" );
    FAILS( Array.SetSize( -1 ), "A negative array size" );
    FAILS( Array.IncreaseSize( Huge ), "IncreaseSize beyond the greatest size" );
    FAILS( Array.IncreaseSizeNoInit( Huge ), "IncreaseSizeNoInit beyond the greatest size" );
    FAILS( Array.Reserve( -1 ), "Reserve of a negative capacity" );
    REQUIRE_THAT( Array, EqualsSequence<CZanArray<int32>>( 1, 2, 3 ) );
    REQUIRE( Array.GetCapacity() == 3 );

    Array.Reserve( 4 );
    Array.SetSizeNoInit( 4 );
    Array[ 3 ] = 4;
    Array.RemoveTail();
    FAILS( Array[ 3 ] = 5, "An array index names no element" );
    Array.RemoveAll();
    FAILS( Array.GetHeadData() = 5, "GetHeadData of an empty array" );
}

TEST_CASE( "CZanArray reports memory that it does not get", "[expects]" )
{
    const std::string NoMemory = "An array outgrew an allocator that gives no more memory";
    CZanInlineBufArray<int32, 2, int32, CZanStaticInlineBufferAllocator<int32, 2>> Array = { 1, 2 };
    CHECK( FailuresOf( [ & ] { Array.Append( 3 ); } ).starts_with( NoMemory ) );
    FAILS( Array.Reserve( 3 ), NoMemory );
    FAILS( Array.SetSize( 3 ), NoMemory );
    REQUIRE( ( Array.CheckInvariants() && Array.GetSize() == 2 && Array[ 1 ] == 2 ) );

    struct alignas( 64 ) SWide
    {
        char _Bytes[ 64 ];
    };
    struct SMisaligningAllocator final : CZanAllocator
    {
        void* Allocate( uint64, uint32 ) override { return _Buffer + 16; }
        void Free( void* ) override {}
        alignas( 64 ) unsigned char _Buffer[ 256 ];
    };
    SMisaligningAllocator Allocator;
    CZanArray<SWide> Wide( Allocator );
    FAILS( Wide.Reserve( 1 ), "An array's allocator does not honour the alignment of the elements" );
    REQUIRE( Wide.GetCapacity() == 0 );
}

TEST_CASE( "CZanUnorderedMap reports broken preconditions and stays as it is", "[expects]" )
{
    CZanUnorderedMap<int32, int32> Map;
    Map.Set( 1, 10 );
    FAILS( Map.Remove( Map.end() ), "Remove at no entry of a hash table" );
    FAILS( Map.Reserve( -1 ), "Reserve of a negative count" );
    FAILS( Map.Reserve( Huge ), "Reserve of more than a hash table can hold" );
    FAILS( ++Map.end(), "a step past the end of a hash table" );
    REQUIRE( ( Map.CheckInvariants() && Map.GetSize() == 1 ) );

    SNullAllocator Allocator;
    CZanUnorderedMap<int32, int32> Poor( &Allocator );
    FAILS( Poor.Reserve( 4 ), "no memory for a hash table" );
    REQUIRE( Poor.CheckInvariants() );
}

#endif
