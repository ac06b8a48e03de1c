#pragma once

#include "zan_core/holders/zan_ptr.h"
#include "zan_core/holders/zan_scoped_ptr.h"
#include "zan_core/memory/zan_ref_countable.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <utility>

/// What the suites of the holders share: lives that have to balance, and what holds for every owning pointer.
namespace NHolderBench
{
struct SBase : CZanRefCountable, NZanTestUtils::SMovable
{
    using SMovable::SMovable;
    virtual bool IsDerived() const { return false; }
};
struct SFirstBase
{
    virtual ~SFirstBase() = default;
    int64 _Data[ 4 ] = {};
};
struct SDerived : SFirstBase, SBase // so that the pointers differ
{
    using SBase::SBase;
    bool IsDerived() const override { return true; }
};

struct SIncomplete;
struct SHolder
{
    SHolder();
    ~SHolder();
    CZanPtr<SIncomplete> _Counted;
    CZanScopedPtr<SIncomplete> _Scoped;
};
struct SIncomplete : CZanRefCountable
{};
inline SHolder::SHolder() = default;
inline SHolder::~SHolder() = default;

/// Fails the case when an object is left over, or ended too early.
struct SLifeCase
{
    ~SLifeCase() { CHECK( _Life.GetLiveCount() == 0 ); }
    SBase* Make( int32 Value ) { return new SBase( Value, &_Life ); }
    SDerived* MakeDerived( int32 Value ) { return new SDerived( Value, &_Life ); }

    NZanTestUtils::SLifeCounters _Life;
};

bool IsEmpty( const auto& Owner )
{
    return !Owner && !static_cast<bool>( Owner ) && Owner == nullptr && Owner.GetPtr() == nullptr;
}

/// Whether the owner has the only object, and is the only one who counts if it counts.
bool OwnsAlone( const auto& Owner, int32 Value, const SLifeCase& Case )
{
    return Owner && *Owner == Value && Owner->GetReferenceCount() <= 1 && Case._Life.GetLiveCount() == 1;
}

template <template <typename> class TOwner>
void CheckReset()
{
    SLifeCase Case;
    TOwner<SBase> Owner( Case.Make( 3 ) );
    Owner.Reset( Owner.GetPtr() );
    REQUIRE( OwnsAlone( Owner, 3, Case ) );
    Owner.Reset( Case.Make( 4 ) );
    REQUIRE( OwnsAlone( Owner, 4, Case ) );
    Owner.Reset( Case.MakeDerived( 5 ) );
    REQUIRE( ( OwnsAlone( Owner, 5, Case ) && Owner->IsDerived() ) );
    Owner.Reset();
    REQUIRE( ( IsEmpty( Owner ) && Case._Life.GetLiveCount() == 0 ) );
}

template <template <typename> class TOwner>
void CheckSwap()
{
    SLifeCase Case;
    TOwner<SBase> First( Case.Make( 3 ) ), Second( Case.Make( 4 ) );
    First.Swap( Second );
    REQUIRE( ( *First == 4 && *Second == 3 ) );
    swap( First, Second );
    First.Swap( First );
    REQUIRE( ( *First == 3 && *Second == 4 ) );
}

template <template <typename> class TOwner>
void CheckMoveConstruct()
{
    SLifeCase Case;
    TOwner<SDerived> Derived( Case.MakeDerived( 3 ) );
    TOwner<SBase> Base = std::move( Derived ), Moved = std::move( Base );
    // NOLINTNEXTLINE(bugprone-use-after-move): owners that were moved from are empty
    REQUIRE( ( OwnsAlone( Moved, 3, Case ) && IsEmpty( Derived ) && IsEmpty( Base ) ) );
}

template <template <typename> class TOwner>
void CheckMoveAssign()
{
    SLifeCase Case;
    TOwner<SBase> Owner( Case.Make( 3 ) ), Moved( Case.Make( 4 ) ), &Self = Moved;
    Moved = std::move( Owner );
    // NOLINTNEXTLINE(bugprone-use-after-move): owners that were moved from are empty
    REQUIRE( ( OwnsAlone( Moved, 3, Case ) && IsEmpty( Owner ) ) );
    Moved = std::move( Self );
    REQUIRE( OwnsAlone( Moved, 3, Case ) );
    Moved = TOwner<SDerived>( Case.MakeDerived( 5 ) );
    REQUIRE( ( OwnsAlone( Moved, 5, Case ) && Moved->IsDerived() ) );
}
} // namespace NHolderBench
