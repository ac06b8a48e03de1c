#pragma once

#include "zan_core/zan_types.h"

#include <ostream>

namespace NZanTestUtils
{
/// Shared by the lifecycle types that point to it. Not synchronised.
struct SLifeCounters
{
    int32 _Constructions = 0; // of every kind; as many as destructions once no object is left
    int32 _DefaultConstructions = 0;
    int32 _ValueConstructions = 0;
    int32 _CopyConstructions = 0;
    int32 _CopyAssignments = 0;
    int32 _MoveConstructions = 0;
    int32 _MoveAssignments = 0;
    int32 _MovedFromByConstruction = 0;
    int32 _MovedFromByAssignment = 0;
    int32 _Destructions = 0;

    int32 GetLiveCount() const { return _Constructions - _Destructions; }
};

/// The state and the rules that the lifecycle types share: a value, the last operation that the object saw,
/// and counters that see the same. Objects compare by value alone, and with plain integers.
class CLifeObserver
{
public:
    enum EOperation : int32
    {
        DefaultConstructed = 1,
        ValueConstructed = 2,
        CopyConstructed = 3,
        CopyAssigned = 4,
        MoveConstructed = 5,
        MoveAssigned = 6,
        MovedFromByConstruction = 7,
        MovedFromByAssignment = 8,
    };

    int32 GetValue() const { return _Value; }
    int32 GetLastOperation() const { return _LastOperation; }

    /// True when the value reached this object by a move.
    bool IsMoved() const { return _LastOperation == MoveConstructed || _LastOperation == MoveAssigned; }

    friend bool operator==( const CLifeObserver& Left, const CLifeObserver& Right )
    {
        return Left._Value == Right._Value;
    }
    friend bool operator==( const CLifeObserver& Left, int32 Right ) { return Left._Value == Right; }
    friend bool operator<( const CLifeObserver& Left, const CLifeObserver& Right )
    {
        return Left._Value < Right._Value;
    }
    friend std::ostream& operator<<( std::ostream& Stream, const CLifeObserver& Object )
    {
        return Stream << Object._Value;
    }

protected:
    struct SCopyTag
    {};
    struct SMoveTag
    {};

    explicit CLifeObserver( SLifeCounters* pCounters )
        : _Value( 0 ), _LastOperation( DefaultConstructed ), _pCounters( pCounters )
    {
        CountConstruction( &SLifeCounters::_DefaultConstructions );
    }
    CLifeObserver( int32 Value, SLifeCounters* pCounters )
        : _Value( Value ), _LastOperation( ValueConstructed ), _pCounters( pCounters )
    {
        CountConstruction( &SLifeCounters::_ValueConstructions );
    }
    CLifeObserver( SCopyTag, const CLifeObserver& Other )
        : _Value( Other._Value ), _LastOperation( CopyConstructed ), _pCounters( Other._pCounters )
    {
        CountConstruction( &SLifeCounters::_CopyConstructions );
    }
    CLifeObserver( SMoveTag, CLifeObserver& Other )
        : _Value( Other._Value ), _LastOperation( MoveConstructed ), _pCounters( Other._pCounters )
    {
        CountConstruction( &SLifeCounters::_MoveConstructions );
        Other.LoseValue( MovedFromByConstruction, &SLifeCounters::_MovedFromByConstruction );
    }
    ~CLifeObserver() { Count( &SLifeCounters::_Destructions ); }
    CLifeObserver( const CLifeObserver& ) = delete;
    CLifeObserver& operator=( const CLifeObserver& ) = delete;

    // Assignments leave each object the counters that it was made with: they follow the object, not the
    // value.

    void CopyAssign( const CLifeObserver& Other )
    {
        if ( this != &Other )
        {
            _Value = Other._Value;
            _LastOperation = CopyAssigned;
            Count( &SLifeCounters::_CopyAssignments );
        }
    }
    void MoveAssign( CLifeObserver& Other )
    {
        if ( this != &Other )
        {
            _Value = Other._Value;
            _LastOperation = MoveAssigned;
            Count( &SLifeCounters::_MoveAssignments );
            Other.LoseValue( MovedFromByAssignment, &SLifeCounters::_MovedFromByAssignment );
        }
    }

private:
    void Count( int32 SLifeCounters::*pCounter )
    {
        if ( _pCounters != nullptr )
        {
            ++( _pCounters->*pCounter );
        }
    }
    void CountConstruction( int32 SLifeCounters::*pCounter )
    {
        Count( &SLifeCounters::_Constructions );
        Count( pCounter );
    }
    void LoseValue( EOperation Operation, int32 SLifeCounters::*pCounter )
    {
        _Value = 0;
        _LastOperation = Operation;
        Count( pCounter );
    }

    int32 _Value;
    int32 _LastOperation;      // an EOperation
    SLifeCounters* _pCounters; // may be null
};

/// Copies, and copies when it is moved.
struct SCopyable : CLifeObserver
{
    explicit SCopyable( SLifeCounters* pCounters = nullptr ) : CLifeObserver( pCounters ) {}
    SCopyable( int32 Value, SLifeCounters* pCounters = nullptr ) : CLifeObserver( Value, pCounters ) {}
    SCopyable( const SCopyable& Other ) : CLifeObserver( SCopyTag(), Other ) {}
    SCopyable& operator=( const SCopyable& Other )
    {
        CopyAssign( Other );
        return *this;
    }
};

/// Copies and moves.
struct SMovable : CLifeObserver
{
    explicit SMovable( SLifeCounters* pCounters = nullptr ) : CLifeObserver( pCounters ) {}
    SMovable( int32 Value, SLifeCounters* pCounters = nullptr ) : CLifeObserver( Value, pCounters ) {}
    SMovable( const SMovable& Other ) : CLifeObserver( SCopyTag(), Other ) {}
    SMovable( SMovable&& Other ) noexcept : CLifeObserver( SMoveTag(), Other ) {}
    SMovable& operator=( const SMovable& Other )
    {
        CopyAssign( Other );
        return *this;
    }
    SMovable& operator=( SMovable&& Other ) noexcept
    {
        MoveAssign( Other );
        return *this;
    }
};

/// Moves only.
struct SMoveOnly : CLifeObserver
{
    explicit SMoveOnly( SLifeCounters* pCounters = nullptr ) : CLifeObserver( pCounters ) {}
    SMoveOnly( int32 Value, SLifeCounters* pCounters = nullptr ) : CLifeObserver( Value, pCounters ) {}
    SMoveOnly( SMoveOnly&& Other ) noexcept : CLifeObserver( SMoveTag(), Other ) {}
    SMoveOnly& operator=( SMoveOnly&& Other ) noexcept
    {
        MoveAssign( Other );
        return *this;
    }
};
} // namespace NZanTestUtils
