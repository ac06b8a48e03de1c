#include "benchmarks/zan_bench.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"

#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <iterator>
#include <list>
#include <random>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace
{
using CCases = std::vector<std::pair<std::string, std::string>>; // left and right operands

const char* const pView = "std::string_view";
const char* const pString = "std::string";

// --- Rows --------------------------------------------------------------------------------------------------

template <typename TAll, typename TWork>
void DoAll( const TAll& All, const TWork& Work )
{
    for ( const auto& [ Left, Right ] : All )
    {
        benchmark::DoNotOptimize( Work( Left, Right ) );
    }
}

/// Two operands at the start of a cache line, so that those of all contenders lie alike.
template <typename T>
struct alignas( 64 ) TOperands
{
    T Left, Right;
};

/// Work on all cases as operands of type T, which for views are views of the cases.
template <typename T, typename TWork>
auto OverAll( const CCases& Cases, TWork Work )
{
    std::vector<TOperands<T>> Operands;
    for ( const auto& [ Left, Right ] : Cases )
    {
        Operands.push_back( { T( Left.c_str() ), T( Right.c_str() ) } );
    }
    return [ Operands = std::move( Operands ), Work ] { DoAll( Operands, Work ); };
}

int64 Comparable( int32 Value ) { return Value; }
int64 Comparable( size_t Position ) { return static_cast<int64>( Position ); } // nothing found is -1, as ours
const std::string& Comparable( const CString& Text ) { return Text.GetString(); }
std::string_view Comparable( std::string_view Text ) { return Text; }
std::string Comparable( CZanStringView View ) { return CString( View ).GetString(); }

template <typename TOurs, typename TTheirs, typename TOurWork, typename TTheirWork>
const CCases& KeepChecked( const std::string& Row, CCases Cases, TOurWork Ours, TTheirWork Theirs )
{
    for ( const auto& [ Left, Right ] : Cases )
    {
        const TOurs OurLeft( Left.c_str() ), OurRight( Right.c_str() );
        const TTheirs TheirLeft( Left.c_str() ), TheirRight( Right.c_str() );
        if ( Comparable( Ours( OurLeft, OurRight ) ) != Comparable( Theirs( TheirLeft, TheirRight ) ) )
        {
            std::fprintf( stderr, "%s: ours and theirs do different work\n", Row.c_str() );
            std::abort();
        }
    }
    static std::list<CCases> Kept;
    return Kept.emplace_back( std::move( Cases ) );
}

template <typename TOurs, typename TTheirs, typename TOurWork, typename TTheirWork>
void AddRow(
    const std::string& Row, const char* pPeer, const CCases& Cases, TOurWork Ours, TTheirWork Theirs )
{
    const CCases& Kept = KeepChecked<TOurs, TTheirs>( Row, Cases, Ours, Theirs );
    ZanBench(
        Row, { { "ours", OverAll<TOurs>( Kept, Ours ) }, { pPeer, OverAll<TTheirs>( Kept, Theirs ) } }, 1.1 );
}

template <typename TOurWork, typename TTheirWork>
void AddSearch(
    const std::string& Row, const CCases& Cases, TOurWork Ours, TTheirWork Theirs, double Limit = 1.1 )
{
    const CCases& Kept = KeepChecked<CZanStringView, std::string_view>( Row, Cases, Ours, Theirs );
    ZanBench( Row,
        { { "ours", OverAll<CZanStringView>( Kept, Ours ) },
            { pView, OverAll<std::string_view>( Kept, Theirs ) },
            { pString, [ &Kept, Theirs ] { DoAll( Kept, Theirs ); } } },
        Limit );
}

// --- Data --------------------------------------------------------------------------------------------------

struct SSize
{
    const char* pName;
    size_t Size;
    int32 CaseCount; // many where a text is so short that the processor would learn one by heart
};
const SSize Sizes[] = { { "64 B", 64, 256 }, { "4 KiB", 4096, 8 }, { "1 MiB", 1 << 20, 1 } };

/// English-like words, always the same. The needles below do not occur in it.
std::string MakeText( size_t Size, uint32 Seed )
{
    static const char* const pWords[] = { "the", "of", "and", "to", "in", "that", "is", "was", "he", "for",
        "it", "with", "as", "his", "on", "be", "at", "by", "this", "had", "not", "are", "but", "from", "or",
        "have", "they", "which", "one", "you", "were", "there", "would", "their", "who", "even", "because" };
    std::minstd_rand Random( Seed + 1 );
    std::string Text;
    while ( Text.size() < Size )
    {
        Text += pWords[ Random() % std::size( pWords ) ];
        Text += Random() % 10 == 0 ? ". " : " ";
    }
    Text.resize( Size );
    return Text;
}

/// Texts and what to search in them. Written is put at Position, which counts from the end when negative.
CCases MakeTexts(
    const SSize& Size, const std::string& Needle, ptrdiff_t Position, const std::string& Written )
{
    CCases Cases;
    for ( int32 i = 0; i < Size.CaseCount; ++i )
    {
        std::string Text = MakeText( Size.Size, static_cast<uint32>( i ) );
        const ptrdiff_t Start = Position < 0 ? static_cast<ptrdiff_t>( Size.Size ) + Position : Position;
        Text.replace( static_cast<size_t>( Start ), Written.size(), Written );
        Cases.emplace_back( std::move( Text ), Needle );
    }
    return Cases;
}
CCases MakeTexts( const SSize& Size, const std::string& Needle ) { return MakeTexts( Size, Needle, 0, "" ); }

/// Operands of a size each, which are equal up to their last UnequalCount characters.
CCases MakePairs( size_t LeftSize, size_t RightSize, size_t UnequalCount = 0 )
{
    CCases Cases;
    for ( uint32 i = 0; i < 64; ++i )
    {
        std::string Right = MakeText( RightSize, i );
        Right.replace( RightSize - UnequalCount, UnequalCount, UnequalCount, '#' );
        Cases.emplace_back( MakeText( LeftSize, i ), std::move( Right ) );
    }
    return Cases;
}

// --- What is measured --------------------------------------------------------------------------------------

struct SPart
{
    std::string Kind, Part, Written;
};

void AddSearches( const SSize& Size )
{
    const auto Find = []( const auto& Text, const auto& Part ) { return Text.Find( Part ); };
    const auto TheirFind = []( const auto& Text, const auto& Part ) { return Text.find( Part ); };
    const auto Last = []( const auto& Text, const auto& Part ) { return Text.ReverseFind( Part ); };
    const auto TheirLast = []( const auto& Text, const auto& Part ) { return Text.rfind( Part ); };
    const auto Char = []( const auto& Text, const auto& Part ) { return Text.Find( Part[ 0 ] ); };
    const auto TheirChar = []( const auto& Text, const auto& Part ) { return Text.find( Part[ 0 ] ); };
    const auto LastChar = []( const auto& Text, const auto& Part ) { return Text.ReverseFind( Part[ 0 ] ); };
    const auto TheirLastChar = []( const auto& Text, const auto& Part ) { return Text.rfind( Part[ 0 ] ); };

    const std::string Behind = std::string( ", " ) + Size.pName;
    const SPart Parts[] = { { "near end", "z", "z" }, { "near end", "zo", "zo" },
        { "near end", "zone", "zone" }, { "near end", "zonework", "zonework" }, { "absent", "q", "" },
        { "absent", "wd", "" }, { "absent", "whom", "" }, { "absent", "withdraw", "" },
        { "frequent first", "eq", "eq" }, { "frequent first", "east", "east" },
        { "frequent first", "eastward", "eastward" } };
    for ( const auto& [ Kind, Part, Written ] : Parts )
    {
        const std::string Row = "Find " + std::to_string( Part.size() ) + " " + Kind + Behind;
        AddSearch( Row, MakeTexts( Size, Part, -12, Written ), Find, TheirFind );
    }
    AddSearch( "ReverseFind 4 near start" + Behind, MakeTexts( Size, "zone", 4, "zone" ), Last, TheirLast );
    AddSearch( "ReverseFind 4 absent" + Behind, MakeTexts( Size, "whom" ), Last, TheirLast );
    AddSearch(
        "ReverseFind 4 frequent first" + Behind, MakeTexts( Size, "east", 4, "east" ), Last, TheirLast );
    AddSearch( "Find char near end" + Behind, MakeTexts( Size, "z", -12, "z" ), Char, TheirChar );
    AddSearch( "Find char absent" + Behind, MakeTexts( Size, "q" ), Char, TheirChar );
    AddSearch(
        "ReverseFind char near start" + Behind, MakeTexts( Size, "z", 4, "z" ), LastChar, TheirLastChar );
    AddSearch( "ReverseFind char absent" + Behind, MakeTexts( Size, "q" ), LastChar, TheirLastChar );
}

void AddSetSearches( const SSize& Size )
{
    const auto First = []( const auto& Text, const auto& Set ) { return Text.FindFirst( Set ); };
    const auto TheirFirst = []( const auto& Text, const auto& Set ) { return Text.find_first_of( Set ); };
    const auto Last = []( const auto& Text, const auto& Set ) { return Text.FindLast( Set ); };
    const auto TheirLast = []( const auto& Text, const auto& Set ) { return Text.find_last_of( Set ); };

    for ( const std::string Set : { "<>&", "0123456789" } )
    {
        const std::string Behind = " of " + std::to_string( Set.size() ) + ", " + Size.pName;
        const std::string Member = Set.substr( 1, 1 );
        AddSearch( "FindFirst at end" + Behind, MakeTexts( Size, Set, -1, Member ), First, TheirFirst, 0.5 );
        AddSearch( "FindFirst absent" + Behind, MakeTexts( Size, Set ), First, TheirFirst, 0.5 );
        AddSearch( "FindLast at start" + Behind, MakeTexts( Size, Set, 0, Member ), Last, TheirLast, 0.5 );
        AddSearch( "FindLast absent" + Behind, MakeTexts( Size, Set ), Last, TheirLast, 0.5 );
    }
}

void AddComparisons( const std::string& Kind, const CCases& Cases )
{
    const auto Equal = []( const auto& Left, const auto& Right ) { return Left == Right; };
    const auto Less = []( const auto& Left, const auto& Right ) { return Left.Compare( Right ) < 0; };
    const auto TheirLess = []( const auto& Left, const auto& Right ) { return Left.compare( Right ) < 0; };

    AddRow<CZanStringView, std::string_view>( "view == view, " + Kind, pView, Cases, Equal, Equal );
    AddRow<CString, std::string>( "string == string, " + Kind, pString, Cases, Equal, Equal );
    AddRow<CString, std::string>(
        "string == pointer, " + Kind, pString, Cases,
        []( auto& Left, auto& Right ) { return Left == Right.GetCharPtr(); },
        []( auto& Left, auto& Right ) { return Left == Right.c_str(); } );
    AddRow<CString, std::string>(
        "string == view, " + Kind, pString, Cases,
        []( auto& Left, auto& Right ) { return Left == CZanStringView( Right ); },
        []( auto& Left, auto& Right ) { return Left == std::string_view( Right ); } );
    AddRow<CZanStringView, std::string_view>( "Compare, " + Kind, pView, Cases, Less, TheirLess );
}

/// Sums of pieces of a size each, or, when that is 0, of such that the result fits the string's own storage.
void AddSums( const std::string& Kind, size_t PieceSize )
{
    const auto Add = [ & ]( const std::string& Name, size_t PieceCount, auto Sum ) {
        const size_t Size = PieceSize != 0 ? PieceSize : 15 / PieceCount;
        AddRow<CString, std::string>( Name + ", " + Kind, pString, MakePairs( Size, Size, 1 ), Sum, Sum );
    };
    Add( "sum of 2 lvalues", 2, []( auto& A, auto& B ) { return A + B; } );
    Add( "sum of 4 lvalues", 4, []( auto& A, auto& B ) { return A + B + A + B; } );
    Add( "sum of 8 lvalues", 8, []( auto& A, auto& B ) { return A + B + A + B + A + B + A + B; } );
    Add( "sum of 2 temporaries", 2, []<typename T>( const T& A, const T& B ) { return T( A ) + T( B ); } );
    Add( "sum of 4 temporaries", 4,
        []<typename T>( const T& A, const T& B ) { return T( A ) + T( B ) + T( A ) + T( B ); } );
    Add( "sum of 8 temporaries", 8, []<typename T>( const T& A, const T& B ) {
        return T( A ) + T( B ) + T( A ) + T( B ) + T( A ) + T( B ) + T( A ) + T( B );
    } );
    Add( "sum with literals and characters", 5, []( auto& A, auto& B ) { return "<" + A + '=' + B + ">"; } );
}

void AddConstructions( const std::string& Kind, const CCases& Cases )
{
    const auto Middle = []( auto& Text, auto& ) { return Text.GetSubstring( 2, Text.GetSize() - 1 ); };
    const auto TheirMiddle = []( auto& Text, auto& ) { return Text.substr( 2, Text.size() - 3 ); };
    AddRow<CZanStringView, std::string_view>( "view substring, " + Kind, pView, Cases, Middle, TheirMiddle );
    // Ours ends at the first zero byte, so theirs does as well.
    AddRow<CString, std::string>(
        "string substring, " + Kind, pString, Cases, Middle, []( auto& Text, auto& ) {
            const char* pFirst = Text.c_str() + 2;
            return std::string( pFirst, strnlen( pFirst, Text.size() - 3 ) );
        } );

    const auto View = []( auto& Source, auto& ) { return CZanStringView( Source ); };
    const auto TheirView = []( auto& Source, auto& ) { return std::string_view( Source ); };
    const auto String = []( auto& Source, auto& ) { return CString( Source ); };
    const auto TheirString = []( auto& Source, auto& ) { return std::string( Source ); };
    AddRow<const char*, const char*>( "view of pointer, " + Kind, pView, Cases, View, TheirView );
    AddRow<const char*, const char*>( "string of pointer, " + Kind, pString, Cases, String, TheirString );
    AddRow<CZanStringView, std::string_view>(
        "string of view, " + Kind, pString, Cases, String, TheirString );
    AddRow<CString, std::string>( "string copy, " + Kind, pString, Cases, String, TheirString );

    const auto Move = []<typename T>( const T& Text, const T& ) {
        T Source( Text );
        benchmark::DoNotOptimize( Source );
        return T( std::move( Source ) );
    };
    AddRow<CString, std::string>( "string copy and move, " + Kind, pString, Cases, Move, Move );
}
} // namespace

void RegisterRows()
{
    for ( const SSize& Size : Sizes )
    {
        AddSearches( Size );
        AddSetSearches( Size );
    }
    for ( const uint32 Size : { 12u, 100u } )
    {
        const std::string Behind = ", " + std::to_string( Size ) + " B";
        AddComparisons( "equal" + Behind, MakePairs( Size, Size ) );
        AddComparisons( "last unequal" + Behind, MakePairs( Size, Size, 1 ) );
        AddComparisons( "all unequal" + Behind, MakePairs( Size, Size, Size ) );
        AddComparisons( "sizes unequal" + Behind, MakePairs( Size, Size - 2 ) );
        AddConstructions( std::to_string( Size ) + " B", MakePairs( Size, Size ) );
    }
    AddSums( "short", 0 );
    AddSums( "40 B", 40 );
}
