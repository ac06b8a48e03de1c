#include "benchmarks/zan_bench_data.h"
#include "zan_core/holders/zan_any.h"
#include "zan_core/holders/zan_ptr.h"
#include "zan_core/holders/zan_scoped_ptr.h"
#include "zan_core/zan_types.h"

#include <boost/any.hpp>
#include <boost/smart_ptr/intrusive_ptr.hpp>
#include <boost/smart_ptr/intrusive_ref_counter.hpp>

#include <any>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace
{
constexpr int32 Count = 256; // holders that are worked on in turn

// --- Any ---------------------------------------------------------------------------------------------------

template <size_t Size>
struct SValue
{
    int32 Numbers[ Size / sizeof( int32 ) ];
};

template <typename T, int32 Size, bool bCopyable>
const T* Get( const CZanAny<Size, bCopyable>& Any )
{
    return Any.template GetValue<T>();
}
template <typename T>
const T* Get( const std::any& Any )
{
    return std::any_cast<T>( &Any );
}
template <typename T>
const T* Get( const boost::any& Any )
{
    return boost::any_cast<T>( &Any );
}

template <typename TAny, typename T>
struct SAnys
{
    explicit SAnys( int32 Size ) : Anys( static_cast<size_t>( Size ) ), Values( Anys.size() )
    {
        for ( size_t i = 0; i < Anys.size(); ++i )
        {
            Values[ i ].Numbers[ 0 ] = Size + static_cast<int32>( i );
            Anys[ i ] = Values[ i ];
        }
    }
    std::vector<TAny> Anys;
    std::vector<T> Values;
};

template <typename T, typename TWork>
void AddAnyRow( const std::string& Name, double Limit, TWork Work )
{
    const NZanBench::CRowMaker Maker( Count, Work );
    const std::string Row = "any, " + Name + ", " + std::to_string( sizeof( T ) ) + " B";
    constexpr int32 Size = sizeof( T ) <= 8 ? 8 : sizeof( T ) <= 24 ? 24 : 96; // sizes that the library uses
    struct SOurs;
    struct SStd;
    struct SBoost;
    ZanBench( Row,
        { Maker.template Make<SOurs, SAnys<CZanAny<Size, true>, T>>( "ours" ),
            Maker.template Make<SStd, SAnys<std::any, T>>( "std::any" ),
            Maker.template Make<SBoost, SAnys<boost::any, T>>( "boost::any" ) },
        Limit );
}

template <typename T>
void AddAnyRows()
{
    AddAnyRow<T>( "assign", 0.7, []( auto& Data ) {
        for ( size_t i = 0; i < Data.Anys.size(); ++i )
        {
            Data.Anys[ i ] = Data.Values[ i ];
        }
        return int64( 0 );
    } );
    AddAnyRow<T>( "get", 0.7, []( auto& Data ) {
        int64 Sum = 0;
        for ( const auto& Any : Data.Anys )
        {
            if ( const T* const pValue = Get<T>( Any ) )
            {
                Sum += pValue->Numbers[ 0 ];
            }
        }
        return Sum;
    } );
    AddAnyRow<T>( "get of another type first", 0.7, []( auto& Data ) {
        int64 Sum = 0;
        for ( const auto& Any : Data.Anys )
        {
            const T* const pValue = Get<double>( Any ) != nullptr ? nullptr : Get<T>( Any );
            Sum += pValue != nullptr ? pValue->Numbers[ 0 ] : 0;
        }
        return Sum;
    } );
    AddAnyRow<T>( "copy", 0.7, []( auto& Data ) {
        for ( const auto& Any : Data.Anys )
        {
            auto Copy = Any;
            benchmark::DoNotOptimize( Copy );
        }
        return int64( 0 );
    } );
    AddAnyRow<T>( "copy assign", 0.7, []( auto& Data ) {
        const size_t Half = Data.Anys.size() / 2;
        for ( size_t i = 0; i < Half; ++i )
        {
            Data.Anys[ Half + i ] = Data.Anys[ i ];
        }
        return int64( 0 );
    } );
    AddAnyRow<T>( "make and move", 0.7, []( auto& Data ) {
        using TAny = std::remove_cvref_t<decltype( Data.Anys[ 0 ] )>;
        for ( size_t i = 0; i < Data.Anys.size(); ++i )
        {
            TAny Made = Data.Values[ i ];
            benchmark::DoNotOptimize( Made );
            Data.Anys[ i ] = std::move( Made );
        }
        return int64( 0 );
    } );
    AddAnyRow<T>( "move there and back", 0, []( auto& Data ) {
        using TAny = std::remove_cvref_t<decltype( Data.Anys[ 0 ] )>;
        for ( auto& Any : Data.Anys )
        {
            TAny Moved = std::move( Any );
            benchmark::DoNotOptimize( Moved );
            Any = std::move( Moved );
        }
        return int64( 0 );
    } );
}

// --- Owning pointers ---------------------------------------------------------------------------------------

struct SOurs : CZanRefCountable
{
    int64 Number = 0;
};
struct STheirs : boost::intrusive_ref_counter<STheirs>
{
    virtual ~STheirs() = default; // as ours has one
    int64 Number = 0;
};

template <typename TOwner, typename T>
struct SOwners
{
    explicit SOwners( int32 Size )
    {
        for ( int32 i = 0; i < Size; ++i )
        {
            Owners.emplace_back( new T() );
        }
    }
    std::vector<TOwner> Owners;
    using TObject = T;
};

template <typename TWork>
void AddSharedRow( const std::string& Name, TWork Work )
{
    const NZanBench::CRowMaker Maker( Count, Work );
    struct SOurOwner;
    struct STheirOwner;
    ZanBench( "shared pointer, " + Name,
        { Maker.template Make<SOurOwner, SOwners<CZanPtr<SOurs>, SOurs>>( "ours" ),
            Maker.template Make<STheirOwner, SOwners<boost::intrusive_ptr<STheirs>, STheirs>>(
                "boost::intrusive_ptr" ) },
        1.05 );
}

template <typename TWork>
void AddScopedRow( const std::string& Name, TWork Work )
{
    const NZanBench::CRowMaker Maker( Count, Work );
    struct SOurOwner;
    struct STheirOwner;
    ZanBench( "scoped pointer, " + Name,
        { Maker.template Make<SOurOwner, SOwners<CZanScopedPtr<int64>, int64>>( "ours" ),
            Maker.template Make<STheirOwner, SOwners<std::unique_ptr<int64>, int64>>( "std::unique_ptr" ) },
        1.05 );
}

const auto Move = []( auto& Data ) {
    for ( auto& Owner : Data.Owners )
    {
        auto Moved = std::move( Owner );
        benchmark::DoNotOptimize( Moved );
        Owner = std::move( Moved );
    }
    return int64( 0 );
};

const auto MakeAndDestroy = []( auto& Data ) {
    using TData = std::remove_cvref_t<decltype( Data )>;
    for ( auto& Owner : Data.Owners )
    {
        Owner = std::remove_cvref_t<decltype( Owner )>( new typename TData::TObject() );
    }
    return int64( 0 );
};
} // namespace

void RegisterRows()
{
    AddAnyRows<SValue<4>>();
    AddAnyRows<SValue<24>>();
    AddAnyRows<SValue<64>>();

    AddSharedRow( "copy and destroy", []( auto& Data ) {
        for ( const auto& Owner : Data.Owners )
        {
            auto Copy = Owner;
            benchmark::DoNotOptimize( Copy );
        }
        return int64( 0 );
    } );
    AddSharedRow( "copy assign", []( auto& Data ) {
        auto Copy = Data.Owners[ 0 ];
        for ( const auto& Owner : Data.Owners )
        {
            Copy = Owner;
        }
        return int64( 0 );
    } );
    AddSharedRow( "move", Move );
    AddSharedRow( "make and destroy", MakeAndDestroy );
    AddScopedRow( "move", Move );
    AddScopedRow( "make and destroy", MakeAndDestroy );
}
