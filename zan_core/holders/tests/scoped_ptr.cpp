#include "zan_core/holders/zan_scoped_ptr.h"

#include "zan_core/holders/tests/holder_bench.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <unordered_set>

using namespace NHolderBench;
using namespace NZanTestUtils;

namespace
{
using CBase = CZanScopedPtr<SBase>;

static_assert( sizeof( CBase ) == sizeof( SBase* ) );
static_assert( !std::is_copy_constructible_v<CBase> && !std::is_copy_assignable_v<CBase> );
static_assert(
    !std::is_convertible_v<SBase*, CBase> && std::is_convertible_v<CZanScopedPtr<SDerived>, CBase> );
static_assert( !std::is_constructible_v<CZanScopedArray<SBase>, SDerived*> );
static_assert( !std::is_constructible_v<CZanScopedArray<SBase>, CZanScopedArray<SDerived>> );
static_assert( !std::is_constructible_v<CBase, CZanScopedArray<SBase>> );
static_assert( std::is_constructible_v<CZanScopedArray<const SBase>, CZanScopedArray<SBase>> );
} // namespace

TEST_CASE( "CZanScopedPtr Default Constructor", "[scoped_ptr]" )
{
    REQUIRE( ( IsEmpty( CBase() ) && IsEmpty( SHolder()._Scoped ) ) );
}

TEST_CASE( "CZanScopedPtr std::nullptr_t Constructor", "[scoped_ptr]" )
{
    REQUIRE( ( IsEmpty( CBase( nullptr ) ) && CBase( nullptr ) == CBase() ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanScopedPtr Pointer Constructor", "[scoped_ptr]" )
{
    SBase* const pObject = Make( 3 );
    const CBase Owner( pObject );
    REQUIRE( ( Owner && Owner.GetPtr() == pObject && *Owner == 3 && Owner->GetValue() == 3 ) );
    REQUIRE( ( Owner != nullptr && ZanHash( Owner ) == ZanHash( pObject ) ) );
    const CZanScopedPtr<const SBase> Other( MakeDerived( 4 ) );
    REQUIRE( ( Other->IsDerived() && Other != Owner ) );

    std::unordered_set<CBase> Owners;
    Owners.emplace( Make( 5 ) );
    REQUIRE( ( Owners.count( Owner ) == 0 && Owners.count( *Owners.begin() ) == 1 ) );
}

TEST_CASE( "ZanMakeScopedPtr", "[scoped_ptr]" )
{
    REQUIRE( ( *ZanMakeScopedPtr<int32>() == 0 && *ZanMakeScopedPtr<SMoveOnly>( SMoveOnly( 3 ) ) == 3 ) );
}

TEST_CASE( "CZanScopedPtr::Reset", "[scoped_ptr]" ) { CheckReset<CZanScopedPtr>(); }

TEST_CASE_METHOD( SLifeCase, "CZanScopedPtr::Release", "[scoped_ptr]" )
{
    CBase Owner( Make( 3 ) );
    const SBase* const pObject = Owner.Release();
    REQUIRE( ( !Owner && *pObject == 3 && Owner.Release() == nullptr && _Life.GetLiveCount() == 1 ) );
    delete pObject;
}

TEST_CASE( "CZanScopedPtr::Swap", "[scoped_ptr]" ) { CheckSwap<CZanScopedPtr>(); }
TEST_CASE( "CZanScopedPtr Move Constructor", "[scoped_ptr]" ) { CheckMoveConstruct<CZanScopedPtr>(); }
TEST_CASE( "CZanScopedPtr Move Assign", "[scoped_ptr]" ) { CheckMoveAssign<CZanScopedPtr>(); }

TEST_CASE_METHOD( SLifeCase, "CZanScopedPtr std::nullptr_t Assign", "[scoped_ptr]" )
{
    CBase Owner( Make( 3 ) );
    REQUIRE( ( IsEmpty( Owner = nullptr ) && _Life.GetLiveCount() == 0 ) );
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
    Owner.Reset( std::move( Owner ) );
    REQUIRE( ( OwnsAlone( Owner, 3, *this ) && IsEmpty( Source ) ) );
}

TEST_CASE_METHOD( SLifeCase, "ZanScopedPtr Derived Move Reset", "[scoped_ptr]" )
{
    CZanScopedPtr<SDerived> Source( MakeDerived( 3 ) );
    const SBase* const pObject = Source.GetPtr();
    CBase Owner( Make( 4 ) );
    Owner.Reset( std::move( Source ) );
    REQUIRE( ( Owner.GetPtr() == pObject && OwnsAlone( Owner, 3, *this ) && IsEmpty( Source ) ) );
}
