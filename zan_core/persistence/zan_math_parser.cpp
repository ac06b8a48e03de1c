#include "zan_core/persistence/zan_math_parser.h"

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_core/text/zan_string.h"

#include <charconv>
#include <limits>

// The shunting-yard method (E. W. Dijkstra, "ALGOL-60 Translation", Mathematisch Centrum report MR 34/61,
// 1961). Tokens arrive on a track from the left. Numbers pass straight on; operators wait on a siding, a
// stack, until one arrives that does not bind tighter:
//
//     out              siding       still to come
//                                   2 * ( 3 + 4 ) - 5
//     2                *            ( 3 + 4 ) - 5
//     2 3              * ( +        4 ) - 5          a '(' waits, and keeps what is below it waiting
//     2 3 4 +          *            - 5              the ')' sent the siding out, up to its '('
//     2 3 4 + *        -            5                equal or tighter operators leave first
//     2 3 4 + * 5 -                                  at the end the siding empties
//
// What comes out is in postfix order: each operator stands behind its operands, and one more stack evaluates
// it without any priorities. Operators of equal priority leave in the order in which they came, so all group
// from the left. Every token enters and leaves the siding at most once; the time is linear, and nesting takes
// memory, but no recursion.
//
// Errors are found at the end only. A ')' without a '(' has merely sent the siding out early, which changes
// nothing that could be told from the output. A '(' without a ')' comes out as an operator: it wants two
// operands like the others, and drops the second one.
namespace
{
using namespace NMathParser;

template <typename T>
using TTokens = CZanInlineBufArray<SMathToken<T>, 128>;

int32 GetKind( char Char )
{
    switch ( Char )
    {
    case '+':
        return Add;
    case '-':
        return Subtract;
    case '*':
        return Multiply;
    case '/':
        return Divide;
    case '(':
        return Open;
    case ')':
        return Close;
    default:
        return Number;
    }
}

int32 GetPriority( int32 Kind )
{
    constexpr int32 Priorities[] = { 0, 2, 2, 3, 3, 0, 0 };
    return Priorities[ Kind ];
}

bool IsNumberChar( char Char ) { return ( Char >= '0' && Char <= '9' ) || Char == '.'; }

/// As much of the text as is a number. Without locale, for the numbers of a file are the same everywhere.
float ReadNumber( CZanStringView Text )
{
    double Value = 0.0; // stays for a point without digits
    const std::from_chars_result Result =
        std::from_chars( Text.GetIterStart(), Text.GetIterEnd(), Value, std::chars_format::fixed );
    if ( Result.ec == std::errc::result_out_of_range )
    {
        const int32 First = Text.FindFirst( "123456789" ), Point = Text.Find( '.' );
        const bool bTooLarge = Point < 0 || First < Point;
        Value = bTooLarge ? std::numeric_limits<double>::infinity() : 0.0;
        Value = Text[ 0 ] == '-' ? -Value : Value;
    }
    return static_cast<float>( Value );
}

template <typename T>
void ReadTokens( CZanStringView Text, TTokens<T>& Tokens )
{
    const int32 Size = Text.GetSize();
    for ( int32 i = 0; i < Size; )
    {
        const int32 Kind = GetKind( Text[ i ] );
        const int32 LastKind = Tokens.IsEmpty() ? int32( Open ) : Tokens.GetTailData()._Kind;
        const bool bIsSign = Kind == Subtract && LastKind != Number && LastKind != Close;
        if ( Kind != Number && !bIsSign )
        {
            Tokens.Append( { Kind, T() } );
            ++i;
            continue;
        }
        const int32 Start = i;
        const int32 FirstDigit = Start + ( bIsSign ? 1 : 0 );
        for ( i = FirstDigit; i < Size && IsNumberChar( Text[ i ] ); ++i )
        {}
        if ( i > FirstDigit )
        {
            Tokens.Append( { Number, T( ReadNumber( Text.GetSubstring( Start, i ) ) ) } );
        }
        else if ( i < Size )
        {
            ++i; // a sign takes the character behind it along
        }
    }
}

template <typename T>
void MoveTail( TTokens<T>& From, TTokens<T>& To )
{
    To.Append( From.GetTailData() );
    From.RemoveTail();
}

template <typename T>
void OrderAsPostfix( const TTokens<T>& Tokens, TTokens<T>& Output )
{
    TTokens<T> Siding;
    for ( const SMathToken<T>& Token : Tokens )
    {
        if ( Token._Kind == Number )
        {
            Output.Append( Token );
            continue;
        }
        if ( Token._Kind != Open )
        {
            const int32 Priority = Token._Kind == Close ? 1 : GetPriority( Token._Kind );
            while ( !Siding.IsEmpty() && GetPriority( Siding.GetTailData()._Kind ) >= Priority )
            {
                MoveTail( Siding, Output );
            }
        }
        if ( Token._Kind != Close )
        {
            Siding.Append( Token );
        }
        else
        {
            Siding.RemoveTail(); // the '(', if there is one
        }
    }
    while ( !Siding.IsEmpty() )
    {
        MoveTail( Siding, Output );
    }
}

template <typename T>
T Calculate( int32 Kind, T Left, T Right )
{
    switch ( Kind )
    {
    case Add:
        return Left + Right;
    case Subtract:
        return Left - Right;
    case Multiply:
        return Left * Right;
    case Divide:
        return Left / Right;
    default:
        return Left;
    }
}

template <typename T>
bool EvaluatePostfix( const TTokens<T>& Tokens, T& Result )
{
    CZanInlineBufArray<T, 128> Values;
    for ( const SMathToken<T>& Token : Tokens )
    {
        if ( Token._Kind == Number )
        {
            Values.Append( Token._Value );
            continue;
        }
        if ( Values.GetSize() < 2 )
        {
            return false;
        }
        const T Right = Values.GetTailData();
        Values.RemoveTail();
        Values.GetTailData() = Calculate( Token._Kind, Values.GetTailData(), Right );
    }
    if ( Values.GetSize() != 1 )
    {
        return false;
    }
    Result = Values[ 0 ];
    return true;
}

template <typename T>
bool EvaluateAs( CZanStringView Expression, T& Result )
{
    TTokens<T> Tokens, Output;
    ReadTokens( Expression, Tokens );
    OrderAsPostfix( Tokens, Output );
    return EvaluatePostfix( Output, Result );
}
} // namespace

bool NMathParser::Evaluate( const CString& Expression, CFixedPoint& Result )
{
    return EvaluateAs( Expression, Result );
}
