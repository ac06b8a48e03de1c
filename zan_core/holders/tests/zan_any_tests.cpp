#include "zan_core/holders/zan_any.h"

#include "zan_core/holders/tests/holder_bench.h"
#include "zan_core/holders/zan_scoped_ptr.h"
#include "zan_core/text/zan_string.h"
#include "zan_test/include/zan_test_catch.h"
#include "zan_test/include/zan_test_types.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <sstream>
#include <vector>

using namespace NZanTestUtils;
using NHolderBench::SLifeCase;

namespace
{
using CHeap = CZanAny<8, true>; // a lifecycle type has 16 bytes
using CInPlace = CZanAny<16, true>;
using COwner = CZanScopedPtr<int32>;

static_assert( sizeof( CHeap ) == 16 && sizeof( CZanAny<96, false> ) == 104 );
static_assert( sizeof( SMovable ) == 16 && !std::is_copy_constructible_v<CZanAny<8, false>> );

struct SOverAligned
{
    alignas( 64 ) int32 _Value = 3;
};

/// The value of the holder came by this operation.
template <typename T, typename TAny>
bool Holds( const TAny& Any, int32 Value, int32 Operation )
{
    const T* const pValue = Any.template GetValue<T>();
    return pValue != nullptr && *pValue == Value && pValue->GetLastOperation() == Operation;
}

/// Copies of the value 13 throw.
struct SThrowing : SMovable
{
    using SMovable::SMovable;
    SThrowing( const SThrowing& Other ) : SMovable( Other == 13 ? throw 42 : Other ) {}
    SThrowing& operator=( const SThrowing& ) = default;
};

/// Knows its place, and is unequal once its bytes were carried elsewhere.
struct SPlaced
{
    SPlaced() = default;
    SPlaced( const SPlaced& ) {}
    SPlaced& operator=( const SPlaced& ) { return *this; }
    friend bool operator==( const SPlaced& Left, const SPlaced& Right )
    {
        return Left._pSelf == &Left && Right._pSelf == &Right;
    }
    const SPlaced* _pSelf = this;
};

struct SUnassignable
{
    friend bool operator==( const SUnassignable&, const SUnassignable& ) = default;
    const SPlaced _Placed;
    const int32 _Number;
};

/// Nothing, and one value of each way to be held: bytes, in place and not, in a block.
template <typename TAny>
std::vector<TAny> MakeOneOfEach( SLifeCounters* pLife )
{
    std::vector<TAny> Anys( 8 );
    Anys[ 1 ] = 7;
    Anys[ 2 ] = SMovable( 7, pLife );
    Anys[ 3 ] = SCopyable( 8, pLife );
    Anys[ 4 ] = CString( "a text that does not fit into the object itself" );
    Anys[ 5 ] = std::vector<int32>( 7 );
    Anys[ 6 ] = SUnassignable{ {}, 7 };
    Anys[ 7 ] = SPlaced();
    return Anys;
}

/// Holders of a 16-byte value: in a block of its own, and in place.
void ForBothForms( auto Check )
{
    Check( CHeap() );
    Check( CInPlace() );
}

template <typename T>
struct TVisitor : CZanAnyVisitor, CZanAnyTypedVisitor<T>, CZanAnyTypedVisitor<char>
{
    void Visit( const T& ) override { _bVisited = true; }
    void Visit( const char& ) override { FAIL(); }
    bool _bVisited = false;
};
} // namespace

TEST_CASE( "CZanAny Default Construct", "[any]" )
{
    const CHeap Any;
    REQUIRE( ( Any.IsEmpty() && !Any.IsType<int32>() && Any.GetValue<int32>() == nullptr ) );
    REQUIRE( ( Any.CalcValueHash() == 0 && Any == CHeap() ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanAny Value Construct", "[any]" )
{
    ForBothForms( [ & ]( auto Form ) {
        SMovable Value( 3, &_Life );
        const decltype( Form ) Copied = Value, Moved = std::move( Value );
        REQUIRE( Holds<SMovable>( Copied, 3, CLifeObserver::CopyConstructed ) );
        REQUIRE( Holds<SMovable>( Moved, 3, CLifeObserver::MoveConstructed ) );
    } );
    const CZanAny<64, true> Aligned = SOverAligned();
    REQUIRE( reinterpret_cast<std::uintptr_t>( Aligned.GetValue<SOverAligned>() ) % 64 == 0 );
}

TEST_CASE_METHOD( SLifeCase, "CZanAny Copy Construct", "[any]" )
{
    SECTION( "where another holder was" )
    {
        const CInPlace Source = SMovable( 3, &_Life );
        alignas( CInPlace ) unsigned char Memory[ sizeof( CInPlace ) ];
        std::memcpy( Memory, static_cast<const void*>( &Source ), sizeof( Memory ) );
        CInPlace* const pCopy = new ( Memory ) CInPlace( Source );
        REQUIRE( Holds<SMovable>( *pCopy, 3, CLifeObserver::CopyConstructed ) );
        pCopy->~CInPlace();
    }
    ForBothForms( [ & ]( auto Form ) {
        const auto Sources = MakeOneOfEach<decltype( Form )>( &_Life ), Copies = Sources;
        REQUIRE( ( Copies == Sources && Holds<SMovable>( Copies[ 2 ], 7, CLifeObserver::CopyConstructed ) ) );
    } );
}

TEST_CASE_METHOD( SLifeCase, "CZanAny Move Construct", "[any]" )
{
    ForBothForms( [ & ]( auto Form ) {
        decltype( Form ) Source = SMovable( 3, &_Life );
        const decltype( Form ) Target = std::move( Source );
        REQUIRE( Holds<SMovable>( Target, 3, CLifeObserver::MoveConstructed ) );
        REQUIRE( Holds<SMovable>( Source, 0, CLifeObserver::MovedFromByConstruction ) );
    } );
    CZanAny<8, false> Source = ZanMakeScopedPtr<int32>( 42 );
    const CZanAny<8, false> Target = std::move( Source );
    REQUIRE( ( **Target.GetValue<COwner>() == 42 && !Source.IsEmpty() && !*Source.GetValue<COwner>() ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanAny Value Assignment", "[any]" )
{
    ForBothForms( [ & ]( auto Any ) {
        const SMovable Value( 3, &_Life );
        Any = SMovable( 4, &_Life );
        REQUIRE( Holds<SMovable>( Any = Value, 3, CLifeObserver::CopyAssigned ) );
        Any = SMovable( 4, &_Life );
        Any = std::move( *Any.template AccessValue<SMovable>() );
        REQUIRE( Holds<SMovable>( Any, 4, CLifeObserver::MoveAssigned ) );
        Any = 5;
        REQUIRE( ( Any == 5 && _Life.GetLiveCount() == 1 ) );
        for ( const SUnassignable& Unassignable : { SUnassignable{ {}, 1 }, SUnassignable{ {}, 2 } } )
        {
            Any = Unassignable;
            Any = *Any.template GetValue<SUnassignable>();
            REQUIRE( Any == Unassignable );
        }
        Any = std::vector<int32>( 7 );
        Any = std::move( *Any.template AccessValue<std::vector<int32>>() );
        REQUIRE( Any == std::vector<int32>( 7 ) );
        const SThrowing Throwing( 13, &_Life );
        REQUIRE_THROWS( Any = Throwing );
        REQUIRE( ( Any.IsEmpty() && _Life.GetLiveCount() == 2 ) );
    } );
}

TEST_CASE( "CZanAny C-style array assignment", "[any]" )
{
    int32 Mutable[] = { 1, 2 };
    const int32 Numbers[] = { 42, -56290, 1337, 0 };
    CHeap Any = Mutable;
    REQUIRE( *Any.GetValue<int32*>() == Mutable );
    Any = Numbers;
    REQUIRE( ( *Any.GetValue<const int32*>() == Numbers && Any == Numbers && Any != Mutable ) );
    Any = "Test";
    REQUIRE( ( Any.IsType<const char*>() && CHeap::CalcHash( "Test" ) == ZanHash( Any ) ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanAny Copy Assignment", "[any]" )
{
    ForBothForms( [ & ]( auto Form ) {
        using TAny = decltype( Form );
        const auto Sources = MakeOneOfEach<TAny>( &_Life );
        for ( const auto& Source : Sources )
        {
            for ( auto& Target : MakeOneOfEach<TAny>( &_Life ) )
            {
                TAny Copy = Target;
                Copy = Source;
                Copy = static_cast<const TAny&>( Copy );
                REQUIRE( Copy == Source );
            }
        }
        TAny Target = SMovable( 4, &_Life );
        REQUIRE( Holds<SMovable>( Target = Sources[ 2 ], 7, CLifeObserver::CopyAssigned ) );
        TAny Throwing = SThrowing( 12, &_Life );
        *Throwing.template AccessValue<SThrowing>() = SThrowing( 13 );
        REQUIRE_THROWS( Target = Throwing );
        REQUIRE( Target.IsEmpty() );
        REQUIRE_THROWS( ( Target = 3 ) = std::move( Throwing ) ); // which copies
        REQUIRE( Target.IsEmpty() );
    } );
}

TEST_CASE_METHOD( SLifeCase, "CZanAny Move Assignment", "[any]" )
{
    ForBothForms( [ & ]( auto Form ) {
        using TAny = decltype( Form );
        const auto Expected = MakeOneOfEach<TAny>( &_Life );
        for ( size_t i = 0; i < Expected.size() * Expected.size(); ++i )
        {
            const size_t First = i % Expected.size(), Second = i / Expected.size();
            auto Anys = MakeOneOfEach<TAny>( &_Life );
            TAny Source = Anys[ Second ];
            swap( Anys[ First ], Source );
            Source.Swap( Source );
            REQUIRE( ( Anys[ First ] == Expected[ Second ] && Source == Expected[ First ] ) );
            Anys[ First ] = std::move( Source );
            TAny& Self = Anys[ First ];
            Anys[ First ] = std::move( Self );
            REQUIRE( Anys[ First ] == Expected[ First ] );
            REQUIRE( Source.GetTypeHandle() == Expected[ First ].GetTypeHandle() );
        }
        TAny Source = SMovable( 3, &_Life ), Target = SMovable( 4, &_Life );
        REQUIRE( Holds<SMovable>( Target = std::move( Source ), 3, CLifeObserver::MoveAssigned ) );
        REQUIRE( Holds<SMovable>( Source, 0, CLifeObserver::MovedFromByAssignment ) );
    } );
}

TEST_CASE( "CZanAny::IsType", "[any]" )
{
    const CHeap Any = uint32( 3 );
    REQUIRE( ( Any.IsType<uint32>() && !Any.IsType<int32>() && !Any.IsType<ZanAnyImpl::SZanAnyEmpty>() ) );
}

TEST_CASE( "CZanAny::GetValue", "[any]" )
{
    const CInPlace Any = SCopyable( 3 );
    const CHeap Other = SCopyable( 3 );
    const auto IsInside = []( const auto& Holder ) {
        const auto Address = []( const auto* pData ) { return reinterpret_cast<std::uintptr_t>( pData ); };
        return Address( Holder.template GetValue<SCopyable>() ) - Address( &Holder ) < sizeof( Holder );
    };
    REQUIRE( ( IsInside( Any ) && !IsInside( Other ) && Any.GetValue<SMovable>() == nullptr ) );
}

TEST_CASE( "CZanAny::AccessValue", "[any]" )
{
    CHeap Any = SCopyable( 3 );
    *Any.AccessValue<SCopyable>() = 4;
    REQUIRE( ( *Any.GetValue<SCopyable>() == 4 && Any.AccessValue<int32>() == nullptr ) );
}

TEST_CASE( "CZanAny::Visit", "[any]" )
{
    TVisitor<SCopyable> Visitor;
    ForBothForms( [ & ]( auto Any ) {
        Visitor._bVisited = false;
        REQUIRE( ( !Any.Visit( Visitor ) && !( Any = 3 ).Visit( Visitor ) && !Visitor._bVisited ) );
        REQUIRE( ( ( Any = SCopyable( 3 ) ).Visit( Visitor ) && Visitor._bVisited ) );
    } );
    TVisitor<ZanAnyImpl::SZanAnyEmpty> EmptyVisitor;
    REQUIRE( ( CHeap().Visit( EmptyVisitor ) && EmptyVisitor._bVisited ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanAny::Reset", "[any]" )
{
    ForBothForms( [ & ]( auto Any ) {
        Any = SMovable( 3, &_Life );
        for ( int32 i = 0; i < 2; ++i )
        {
            Any.Reset();
            REQUIRE( ( Any.IsEmpty() && !Any.template GetValue<SMovable>() && _Life.GetLiveCount() == 0 ) );
            const decltype( Any ) Fresh;
            REQUIRE( std::memcmp( static_cast<const void*>( &Any ), &Fresh, sizeof( Any ) ) == 0 );
        }
    } );
}

TEST_CASE( "CZanAny ==", "[any]" )
{
    const CHeap Text = CString( "text" );
    REQUIRE( ( CInPlace( 3 ) == CInPlace( 3 ) && CInPlace( 3 ) == CZanAny<16, false>( 3 ) &&
               Text == CHeap( Text ) ) );
    REQUIRE_FALSE( ( CHeap( 3 ) == CHeap( 3u ) || CHeap( 3 ) == CHeap() || CHeap( 3 ) == CHeap( 4 ) ) );
}

TEST_CASE( "CZanAny !=", "[any]" )
{
    const CHeap Incomparable = std::vector<SOverAligned>(); // whose elements do not compare
    REQUIRE(
        ( Incomparable != CHeap( Incomparable ) && CHeap( 3 ) != CHeap( 4 ) && !( CHeap() != CHeap() ) ) );
}

TEST_CASE( "CZanAny Value ==", "[any]" )
{
    ForBothForms( []( auto Any ) {
        Any = SCopyable( 3 );
        REQUIRE( ( Any == SCopyable( 3 ) && SCopyable( 3 ) == Any && Any != SCopyable( 4 ) && Any != 3 ) );
    } );
}

TEST_CASE( "CZanAny Value !=", "[any]" )
{
    const CHeap Any = 3;
    REQUIRE( ( Any != 6 && Any != 3.0 && Any != CString( "3" ) && CHeap() != 0 && !( Any != 3 ) ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanAny Move from NonCopyable", "[any]" )
{
    ForBothForms( [ & ]( auto Target ) {
        using TAny = decltype( Target );
        CZanAny<sizeof( TAny ) - 8, false> Source = SMoveOnly( 3, &_Life );
        Target = std::move( Source );
        REQUIRE( Holds<SMoveOnly>( Target, 3, CLifeObserver::MoveConstructed ) );
        REQUIRE( ( !Source.IsEmpty() && Source != Target ) );
        TAny Copy = Target, Assigned = 3;
        Assigned = Target;
        REQUIRE( ( Copy.IsEmpty() && Assigned.IsEmpty() ) );
        Target = TAny( std::move( Target ) );
        Target = static_cast<const TAny&>( Target );
        REQUIRE( Holds<SMoveOnly>( Target, 3, CLifeObserver::MoveAssigned ) );
        Copy = TAny( std::move( Source ) );
        Copy = Target; // of the same type, which it cannot assign
        REQUIRE( ( Copy.IsEmpty() && _Life.GetLiveCount() == 2 ) );
    } );
}

TEST_CASE( "CZanAny Copy from NonCopyable", "[.any]" )
{
    using CMoveOnly = CZanAny<8, false>;
    REQUIRE_FALSE( std::is_constructible_v<CMoveOnly, const CMoveOnly&> );
    REQUIRE_FALSE(
        (std::is_constructible_v<CHeap, const CMoveOnly&> || std::is_assignable_v<CHeap&, CMoveOnly&>));
    REQUIRE( std::is_constructible_v<CHeap, CMoveOnly> );
}

TEST_CASE( "CZanAny Move from Copyable", "[any]" )
{
    CHeap Source = SMovable( 3 );
    CZanAny<8, false> Target = std::move( Source );
    REQUIRE( Holds<SMovable>( Target, 3, CLifeObserver::MoveConstructed ) );
    REQUIRE( Holds<SMovable>( Target = CHeap( SMovable( 4 ) ), 4, CLifeObserver::MoveAssigned ) );
}

TEST_CASE( "CZanAny Copy from Copyable", "[any]" )
{
    const CHeap Source = SMovable( 3 );
    CZanAny<8, false> Target = Source;
    REQUIRE( Holds<SMovable>( Target, 3, CLifeObserver::CopyConstructed ) );
    REQUIRE( Holds<SMovable>( Target = Source, 3, CLifeObserver::CopyAssigned ) );
}

TEST_CASE_METHOD( SLifeCase, "CZanAny Move from Value", "[any]" )
{
    CZanScopedPtr<SMovable> Owner( new SMovable( 3, &_Life ) );
    const SMovable* const pObject = Owner.GetPtr();
    CZanAny<8, false> Any = CZanScopedPtr<SMovable>( new SMovable( 4, &_Life ) );
    Any = std::move( Owner );
    REQUIRE( ( Any.GetValue<CZanScopedPtr<SMovable>>()->GetPtr() == pObject && !Owner ) );
    REQUIRE( ( _Life.GetLiveCount() == 1 && _Life._MoveConstructions == 0 ) );
}

TEST_CASE( "CZanAny Copy from Value", "[any]" )
{
    const CString Text = "a text that does not fit into the object itself";
    CZanAny<8, false> Any = Text;
    REQUIRE( (
        Any == Text && ( Any = CString( "other" ) ) != Text && ( Any = Text ) == Text && !Text.IsEmpty() ) );
}

TEST_CASE( "CZanAny Hash", "[any]" )
{
    const auto CheckPair = []( const auto& First, const auto& Second ) {
        const CHeap Any = First, Other = Second;
        REQUIRE( ( Any.CalcValueHash() == ZanHash( First ) && Other.CalcValueHash() == ZanHash( Second ) ) );
        REQUIRE( ( Any.CalcValueHash() == Other.CalcValueHash() && ZanHash( Any ) != ZanHash( Other ) ) );
        REQUIRE( ZanHash( Any ) == ZanHash( CZanAny<8, false>( First ) ) );
        REQUIRE( ZanHash( Any ) == CHeap::CalcHash( First ) );
    };
    CheckPair( int32( 37 ), uint32( 37 ) );
    CheckPair( CString(), CZanStringView() );
    CheckPair( CString( "thirty-seven" ), CZanStringView( "thirty-seven" ) );
    REQUIRE( CHeap::CalcHash<double>( 37 ) == ZanHash( CHeap( 37.0 ) ) );
    REQUIRE(
        ( ZanHash( CHeap( 3 ) ) != ZanHash( CHeap( 4 ) ) && CHeap( SOverAligned() ).CalcValueHash() == 0 ) );

    CZanScopedPtr<float> Owner = ZanMakeScopedPtr<float>( 37.0f );
    const uint32 Hash = CZanAny<8, false>::CalcHash( Owner );
    REQUIRE( ZanHash( CZanAny<8, false>( std::move( Owner ) ) ) == Hash );
}

TEST_CASE( "CZanAny GetTypeIndex", "[any]" )
{
    const auto CheckSizes = []( const auto& Value ) {
        const SZanTypeIndex Index = CHeap( Value ).GetTypeIndex(), Expected( typeid( Value ) );
        REQUIRE( ( Index == Expected && CInPlace( Value ).GetTypeIndex() == Expected ) );
        REQUIRE( ( ZanHash( Index ) == ZanHash( Expected ) && CHeap().GetTypeIndex() != Index ) );
    };
    CheckSizes( 'c' );
    CheckSizes( SCopyable( 3 ) );
    CheckSizes( std::array<int64, 64>() );

    // In a message a holder is told by its type, with Catch2's printing and any stream's.
    std::ostringstream Stream;
    Stream << CHeap() << ' ' << CInPlace( SCopyable( 3 ) );
    REQUIRE( Stream.str() == "(empty) NZanTestUtils::SCopyable" );
    REQUIRE( Catch::Detail::stringify( CHeap( 3u ) ) == "unsigned int" );
}

TEST_CASE( "CZanAny GetTypeHandle", "[any]" )
{
    const CZanAnyTypeHandle Handle = CHeap( 3 ).GetTypeHandle();
    REQUIRE(
        ( Handle == CZanAny<8, false>( 4 ).GetTypeHandle() && Handle != CInPlace( 3 ).GetTypeHandle() ) );
    REQUIRE( ( Handle == CZanAnyTypeHandle::Make<int32, 8>() && Handle != CHeap( 3u ).GetTypeHandle() ) );
}

// What the compiler refuses is tried by a check of its own. These are the neighbours that it has to take.
TEST_CASE( "CZanAny Compile-Time Failures", "[.any]" )
{
    const CZanAny<8, false> Any = CHeap( 3 );
    REQUIRE( ( Any == 3 && CInPlace( &Any ) == &Any && CHeap( SCopyable( 3 ) ) == SCopyable( 3 ) ) );
}
