#include "zan_core/holders/zan_ptr.h"

#include "zan_core/hashing/zan_unordered_set.h"
#include "zan_test/include/zan_test_allocator.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <memory>

using namespace NZanTestUtils;

namespace
{
struct SCounted : CZanRefCountable, SMovable
{
    using SMovable::SMovable;
};
struct SDerived : SCounted
{
    using SCounted::SCounted;
};

struct SFirstBase
{
    virtual ~SFirstBase() = default;
    int64 _Data[ 4 ] = {};
};
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

using COwner = CZanPtr<SCounted>;

struct SIncomplete;
struct SHolder
{
    SHolder();
    ~SHolder();
    CZanPtr<SIncomplete> _Member;
};
struct SIncomplete : CZanRefCountable
{};
SHolder::SHolder() = default;
SHolder::~SHolder() = default;

static_assert( sizeof( COwner ) == sizeof( SCounted* ) && !std::is_convertible_v<SCounted*, COwner> );
static_assert( std::is_convertible_v<CZanPtr<SDerived>, CZanPtr<const CZanRefCountable>> );
static_assert( !std::is_constructible_v<CZanPtr<SDerived>, COwner> );

/// Fails the case when an object is left over, or ended too early.
struct SLifeCase
{
    SCounted* Make( int32 Value ) { return new SCounted( Value, &_Life ); }
    ~SLifeCase() { CHECK( _Life.GetLiveCount() == 0 ); }
    SLifeCounters _Life;
};

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
    const COwner Owner;
    REQUIRE( ( !Owner && !static_cast<bool>( Owner ) && Owner == nullptr && Owner.GetPtr() == nullptr ) );
    REQUIRE( !SHolder()._Member );
}

TEST_CASE( "CZanPtr std::nullptr_t Constructor", "[scoped_ptr]" )
{
    REQUIRE( ( !COwner( nullptr ) && COwner( nullptr ) == COwner() ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanPtr Pointer Constructor", "[scoped_ptr]" )
{
    SCounted* const pObject = Make( 3 );
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
    REQUIRE( ( Holds( ZanMakePtr<SCounted>(), 0, 1 ) && Holds( ZanMakePtr<SCounted>( 3, &_Life ), 3, 1 ) ) );
    struct STaker : CZanRefCountable
    {
        explicit STaker( std::unique_ptr<int32>&& pTaken ) : _pValue( std::move( pTaken ) ) {}
        std::unique_ptr<int32> _pValue;
    };
    REQUIRE( *ZanMakePtr<STaker>( std::make_unique<int32>( 3 ) )->_pValue == 3 );
}

TEST_CASE_METHOD( SLifeCase, "CZanPtr::Reset", "[scoped_ptr]" )
{
    COwner Owner( Make( 3 ) );
    Owner.Reset( Owner.GetPtr() );
    REQUIRE( Holds( Owner, 3, 1 ) );
    Owner.Reset( Make( 4 ) );
    REQUIRE( ( Holds( Owner, 4, 1 ) && _Life.GetLiveCount() == 1 ) );
    Owner.Reset( new SDerived( 5, &_Life ) );
    REQUIRE( Holds( Owner, 5, 1 ) );
    Owner.Reset();
    REQUIRE( ( !Owner && _Life.GetLiveCount() == 0 ) );

    bool bFoundNothing = false;
    CZanPtr<SLast> Last;
    Last.Reset( new SLast( Last, &bFoundNothing ) );
    Last.Reset();
    REQUIRE( bFoundNothing );
}

TEST_CASE_METHOD( SLifeCase, "CZanPtr::Swap", "[scoped_ptr]" )
{
    COwner First( Make( 3 ) ), Second( Make( 4 ) );
    First.Swap( Second );
    REQUIRE( ( Holds( First, 4, 1 ) && Holds( Second, 3, 1 ) ) );
    swap( First, Second );
    First.Swap( First );
    REQUIRE( ( Holds( First, 3, 1 ) && Holds( Second, 4, 1 ) ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanPtr Move Constructor", "[scoped_ptr]" )
{
    CZanPtr<SDerived> Owner( new SDerived( 3, &_Life ) );
    COwner Base = std::move( Owner );
    const COwner Moved = std::move( Base );
    REQUIRE( ( Holds( Moved, 3, 1 ) && !Owner && !Base ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanPtr Copy Constructor", "[scoped_ptr]" )
{
    CZanPtr<SDerived> Owner( new SDerived( 3, &_Life ) );
    const COwner Base = Owner, Copy = Base; // NOLINT(performance-unnecessary-copy-initialization)
    REQUIRE( ( Holds( Copy, 3, 3 ) && Copy == Owner ) );
    Owner.Reset();
    REQUIRE( ( Holds( Copy, 3, 2 ) && _Life.GetLiveCount() == 1 ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanPtr Move Assign", "[scoped_ptr]" )
{
    COwner Owner( Make( 3 ) ), Moved( Make( 4 ) );
    Moved = std::move( Owner );
    REQUIRE( ( Holds( Moved, 3, 1 ) && !Owner && _Life.GetLiveCount() == 1 ) );
    COwner& Self = Moved;
    Moved = std::move( Self );
    REQUIRE( Holds( Moved, 3, 1 ) );
    Moved = CZanPtr<SDerived>( new SDerived( 5, &_Life ) );
    REQUIRE( ( Holds( Moved, 5, 1 ) && _Life.GetLiveCount() == 1 ) );
}

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
    const CZanPtr<SDerived> Derived( new SDerived( 5, &_Life ) );
    Copy = Derived;
    REQUIRE( ( Holds( Copy, 5, 2 ) && Holds( Owner, 3, 1 ) ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanPtr std::nullptr_t Assign", "[scoped_ptr]" )
{
    COwner Owner( Make( 3 ) );
    const COwner Copy = Owner;
    REQUIRE( ( !( Owner = nullptr ) && Holds( Copy, 3, 1 ) ) );
}
