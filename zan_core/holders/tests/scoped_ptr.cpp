#include "zan_core/holders/zan_scoped_ptr.h"

#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <unordered_set>

using namespace NZanTestUtils;

namespace
{
struct SBase : SMovable
{
    using SMovable::SMovable;
    virtual ~SBase() = default;
    virtual bool IsDerived() const { return false; }
};
struct SFirstBase
{
    virtual ~SFirstBase() = default;
    int64 _Data = 0;
};
struct SDerived : SFirstBase, SBase // so that the pointers differ
{
    using SBase::SBase;
    bool IsDerived() const override { return true; }
};

using CBase = CZanScopedPtr<SBase>;

struct SIncomplete;
struct SHolder
{
    SHolder();
    ~SHolder();
    CZanScopedPtr<SIncomplete> _Member;
};
struct SIncomplete
{};
SHolder::SHolder() = default;
SHolder::~SHolder() = default;

static_assert( sizeof( CBase ) == sizeof( SBase* ) );
static_assert( !std::is_copy_constructible_v<CBase> && !std::is_copy_assignable_v<CBase> );
static_assert(
    !std::is_convertible_v<SBase*, CBase> && std::is_convertible_v<CZanScopedPtr<SDerived>, CBase> );
static_assert( !std::is_constructible_v<CZanScopedArray<SBase>, SDerived*> );
static_assert( !std::is_constructible_v<CZanScopedArray<SBase>, CZanScopedArray<SDerived>> );
static_assert( !std::is_constructible_v<CBase, CZanScopedArray<SBase>> );
static_assert( std::is_constructible_v<CZanScopedArray<const SBase>, CZanScopedArray<SBase>> );

/// Fails the case when an object is left over, or ended too early.
struct SLifeCase
{
    SBase* Make( int32 Value ) { return new SBase( Value, &_Life ); }
    ~SLifeCase() { CHECK( _Life.GetLiveCount() == 0 ); }
    SLifeCounters _Life;
};
} // namespace

TEST_CASE( "CZanScopedPtr Default Constructor", "[scoped_ptr]" )
{
    const CBase Owner;
    REQUIRE( ( !Owner && !static_cast<bool>( Owner ) && Owner == nullptr && Owner.GetPtr() == nullptr ) );
    REQUIRE( !SHolder()._Member );
}

TEST_CASE( "CZanScopedPtr std::nullptr_t Constructor", "[scoped_ptr]" )
{
    REQUIRE( ( !CBase( nullptr ) && CBase( nullptr ) == CBase() ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanScopedPtr Pointer Constructor", "[scoped_ptr]" )
{
    SBase* const pObject = Make( 3 );
    const CBase Owner( pObject );
    REQUIRE( ( Owner && Owner.GetPtr() == pObject && *Owner == 3 && Owner->GetValue() == 3 ) );
    REQUIRE( ( Owner != nullptr && ZanHash( Owner ) == ZanHash( pObject ) ) );
    const CZanScopedPtr<const SBase> Other( new SDerived( 4, &_Life ) );
    REQUIRE( ( Other->IsDerived() && Other != Owner ) );

    std::unordered_set<CBase> Owners;
    Owners.emplace( Make( 5 ) );
    REQUIRE( ( Owners.count( Owner ) == 0 && Owners.count( *Owners.begin() ) == 1 ) );
}

TEST_CASE( "ZanMakeScopedPtr", "[scoped_ptr]" )
{
    REQUIRE( ( *ZanMakeScopedPtr<int32>() == 0 && *ZanMakeScopedPtr<SMoveOnly>( SMoveOnly( 3 ) ) == 3 ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanScopedPtr::Reset", "[scoped_ptr]" )
{
    CBase Owner( Make( 3 ) );
    Owner.Reset( Make( 4 ) );
    Owner.Reset( Owner.GetPtr() );
    REQUIRE( ( *Owner == 4 && _Life.GetLiveCount() == 1 ) );
    Owner.Reset( new SDerived( 5, &_Life ) );
    REQUIRE( ( Owner->IsDerived() && ( Owner.Reset(), !Owner ) && _Life.GetLiveCount() == 0 ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanScopedPtr::Release", "[scoped_ptr]" )
{
    CBase Owner( Make( 3 ) );
    const SBase* const pObject = Owner.Release();
    REQUIRE( ( !Owner && *pObject == 3 && Owner.Release() == nullptr && _Life.GetLiveCount() == 1 ) );
    delete pObject;
}

TEST_CASE_METHOD( SLifeCase, "CZanScopedPtr::Swap", "[scoped_ptr]" )
{
    CBase First( Make( 3 ) ), Second( Make( 4 ) );
    First.Swap( Second );
    REQUIRE( ( *First == 4 && *Second == 3 ) );
    swap( First, Second );
    First.Swap( First );
    REQUIRE( ( *First == 3 && *Second == 4 ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanScopedPtr Move Constructor", "[scoped_ptr]" )
{
    CBase Owner( Make( 3 ) );
    const CZanScopedPtr<const SBase> Moved = std::move( Owner );
    REQUIRE( ( *Moved == 3 && !Owner && _Life.GetLiveCount() == 1 ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanScopedPtr Move Assign", "[scoped_ptr]" )
{
    CBase Owner( Make( 3 ) ), Moved( Make( 4 ) );
    Moved = std::move( Owner );
    REQUIRE( ( *Moved == 3 && !Owner && _Life.GetLiveCount() == 1 ) );
    CBase& Self = Moved;
    Moved = std::move( Self );
    Moved.Reset( std::move( Self ) );
    REQUIRE( *Moved == 3 );
}

TEST_CASE_METHOD( SLifeCase, "CZanScopedPtr std::nullptr_t Assign", "[scoped_ptr]" )
{
    CBase Owner( Make( 3 ) );
    REQUIRE( ( !( Owner = nullptr ) && _Life.GetLiveCount() == 0 ) );
}

TEST_CASE_METHOD( SLifeCase, "ZanMakeScopedArray", "[scoped_ptr]" )
{
    const CZanScopedArray<int32> Array = ZanMakeScopedArray<int32>( 2 );
    Array[ 1 ] = 3;
    REQUIRE( ( Array && *Array == 0 && &Array[ 1 ] == Array.GetPtr() + 1 && Array[ 1 ] == 3 ) );
    CZanScopedArray<SBase> Objects( new SBase[ 2 ]{ SBase( 3, &_Life ), SBase( 4, &_Life ) } );
    REQUIRE( ( Objects->GetValue() == 3 && Objects[ 1 ] == 4 ) );
    Objects = ZanMakeScopedArray<SBase>( 1 );
    REQUIRE( _Life.GetLiveCount() == 0 );
    int32 Negative = -1;
    REQUIRE_THROWS_AS( ZanMakeScopedArray<int32>( Negative ), std::bad_array_new_length );
}

TEST_CASE_METHOD( SLifeCase, "ZanScopedPtr Move Reset", "[scoped_ptr]" )
{
    CBase Source( Make( 3 ) ), Owner( Make( 4 ) );
    Owner.Reset( std::move( Source ) );
    REQUIRE( ( *Owner == 3 && !Source && _Life.GetLiveCount() == 1 ) );
}

TEST_CASE_METHOD( SLifeCase, "ZanScopedPtr Derived Move Reset", "[scoped_ptr]" )
{
    CZanScopedPtr<SDerived> Source( new SDerived( 3, &_Life ) );
    const SBase* const pObject = Source.GetPtr();
    CBase Owner( Make( 4 ) );
    Owner.Reset( std::move( Source ) );
    REQUIRE( ( Owner.GetPtr() == pObject && Owner->IsDerived() && !Source && _Life.GetLiveCount() == 1 ) );
    Owner = CZanScopedPtr<SDerived>( new SDerived( 5, &_Life ) );
    REQUIRE( ( *Owner == 5 && _Life.GetLiveCount() == 1 ) );
}
