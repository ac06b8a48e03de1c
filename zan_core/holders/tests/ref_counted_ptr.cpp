#include "zan_core/holders/zan_ptr.h"

#include "zan_core/hashing/zan_unordered_set.h"
#include "zan_core/holders/tests/holder_bench.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <memory>

using namespace NHolderBench;
using namespace NZanTestUtils;

namespace
{
struct SAllocatedBase : CZanAllocatedRefCountable, SMovable
{
    SAllocatedBase( CZanAllocator& Allocator, SLifeCounters* pLife )
        : CZanAllocatedRefCountable( Allocator ), SMovable( 3, pLife )
    {}
};
struct SAllocated : SFirstBase, SAllocatedBase // so that the counting base is not at the start of the block
{
    using SAllocatedBase::SAllocatedBase;
};

using COwner = CZanPtr<SBase>;

static_assert( sizeof( COwner ) == sizeof( SBase* ) && !std::is_convertible_v<SBase*, COwner> );
static_assert( std::is_convertible_v<CZanPtr<SDerived>, CZanPtr<const CZanRefCountable>> );
static_assert( !std::is_constructible_v<CZanPtr<SDerived>, COwner> );

/// Looks at its owner when it ends.
struct SLast : CZanRefCountable
{
    SLast( const CZanPtr<SLast>& Owner, bool* pFoundNothing )
        : _Owner( Owner ), _pFoundNothing( pFoundNothing )
    {}
    ~SLast() override { *_pFoundNothing = !_Owner; }
    const CZanPtr<SLast>& _Owner;
    bool* _pFoundNothing;
};

bool Holds( const COwner& Owner, int32 Value, int32 ReferenceCount )
{
    return Owner && *Owner == Value && Owner->GetReferenceCount() == ReferenceCount;
}
} // namespace

TEST_CASE( "CZanPtr Default Constructor", "[scoped_ptr]" )
{
    REQUIRE( ( IsEmpty( COwner() ) && IsEmpty( SHolder()._Counted ) ) );
}

TEST_CASE( "CZanPtr std::nullptr_t Constructor", "[scoped_ptr]" )
{
    REQUIRE( ( IsEmpty( COwner( nullptr ) ) && COwner( nullptr ) == COwner() ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanPtr Pointer Constructor", "[scoped_ptr]" )
{
    SBase* const pObject = Make( 3 );
    const COwner Owner( pObject ), Other( pObject );
    REQUIRE( ( Holds( Owner, 3, 2 ) && Owner.GetPtr() == pObject && Owner->GetValue() == 3 ) );
    REQUIRE( ( Owner == Other && Owner == pObject && Owner != nullptr ) );
    CZanUnorderedSet<COwner> Owners = { Owner, Other, COwner( Make( 4 ) ) };
    REQUIRE( ( Owners.GetSize() == 2 && Owners.Contains( pObject ) && Holds( Owner, 3, 3 ) ) );

    // Whatever base owns it, an object in a block goes back to its allocator, and not to the heap.
    CZanTestAllocator Allocator;
    CZanPtr<SAllocated> Whole( ZanNewAllocated<SAllocated>( Allocator, &_Life ) );
    CZanPtr<const SAllocatedBase> Base = Whole;
    CZanPtr<CZanAllocatedRefCountable> Root = std::move( Whole );
    REQUIRE( static_cast<const void*>( Base.GetPtr() ) != dynamic_cast<const void*>( Base.GetPtr() ) );
    REQUIRE( ( Base == Root && Root->GetReferenceCount() == 2 ) );
    Root.Reset();
    REQUIRE( ( *Base == 3 && Allocator.GetCurrentAllocationCount() == 1 ) );
    Root = CZanPtr<SAllocated>( ZanNewAllocated<SAllocated>( Allocator, &_Life ) );
    Root = nullptr;
    Base = nullptr;
    REQUIRE( Allocator.GetCurrentAllocationCount() == 0 );
}

TEST_CASE_METHOD( SLifeCase, "ZanMakePtr", "[scoped_ptr]" )
{
    REQUIRE( ( Holds( ZanMakePtr<SBase>(), 0, 1 ) && Holds( ZanMakePtr<SBase>( 3, &_Life ), 3, 1 ) ) );
    struct STaker : CZanRefCountable
    {
        explicit STaker( std::unique_ptr<int32>&& pTaken ) : _pValue( std::move( pTaken ) ) {}
        std::unique_ptr<int32> _pValue;
    };
    REQUIRE( *ZanMakePtr<STaker>( std::make_unique<int32>( 3 ) )->_pValue == 3 );
}

TEST_CASE( "CZanPtr::Reset", "[scoped_ptr]" )
{
    CheckReset<CZanPtr>();
    bool bFoundNothing = false;
    CZanPtr<SLast> Last;
    Last.Reset( new SLast( Last, &bFoundNothing ) );
    Last.Reset();
    REQUIRE( bFoundNothing );
}

TEST_CASE( "CZanPtr::Swap", "[scoped_ptr]" ) { CheckSwap<CZanPtr>(); }
TEST_CASE( "CZanPtr Move Constructor", "[scoped_ptr]" ) { CheckMoveConstruct<CZanPtr>(); }

TEST_CASE_METHOD( SLifeCase, "CZanPtr Copy Constructor", "[scoped_ptr]" )
{
    CZanPtr<SDerived> Owner( MakeDerived( 3 ) );
    const COwner Base = Owner, Copy = Base; // NOLINT(performance-unnecessary-copy-initialization)
    REQUIRE( ( Holds( Copy, 3, 3 ) && Copy == Owner ) );
    Owner.Reset();
    REQUIRE( ( Holds( Copy, 3, 2 ) && _Life.GetLiveCount() == 1 ) );
}

TEST_CASE( "CZanPtr Move Assign", "[scoped_ptr]" ) { CheckMoveAssign<CZanPtr>(); }

TEST_CASE_METHOD( SLifeCase, "CZanPtr Copy Assign", "[scoped_ptr]" )
{
    // The last owner of a chain's tail is in its head, which goes when the tail is assigned to the only
    // owner.
    struct SNode : CZanRefCountable, SMovable
    {
        using SMovable::SMovable;
        CZanPtr<SNode> _Next;
    };
    CZanPtr<SNode> Chain = ZanMakePtr<SNode>( 3, &_Life );
    Chain->_Next = ZanMakePtr<SNode>( 4, &_Life );
    Chain = Chain->_Next;
    REQUIRE( ( *Chain == 4 && Chain->GetReferenceCount() == 1 && _Life.GetLiveCount() == 1 ) );

    const COwner Owner( Make( 3 ) );
    COwner Copy( Make( 4 ) );
    for ( int32 i = 0; i < 2; ++i )
    {
        Copy = Owner;
        Copy = static_cast<const COwner&>( Copy );
        REQUIRE( ( Holds( Copy, 3, 2 ) && _Life.GetLiveCount() == 2 ) );
    }
    const CZanPtr<SDerived> Derived( MakeDerived( 5 ) );
    Copy = Derived;
    REQUIRE( ( Holds( Copy, 5, 2 ) && Holds( Owner, 3, 1 ) ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanPtr std::nullptr_t Assign", "[scoped_ptr]" )
{
    COwner Owner( Make( 3 ) );
    const COwner Copy = Owner;
    REQUIRE( ( !( Owner = nullptr ) && Holds( Copy, 3, 1 ) ) );
}
