#include "zan_core/persistence/zan_persistent_reader.h"

#include "zan_core/hashing/zan_hash.h"
#include "zan_core/hashing/zan_unordered_map.h"
#include "zan_core/holders/zan_scoped_ptr.h"
#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_core/persistence/zan_math_parser.h"
#include "zan_core/persistence/zan_writer.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_core/text/zan_string_utils.h"
#include "zan_core/zan_log.h"

#include <algorithm>
#include <cstdio>

namespace
{
/// The line of the call: a filter of the log can tell the messages apart.
SLogSite Here( int32 Line = __builtin_LINE() ) { return SLogSite{ __FILE__, Line, LogCategoryError }; }

bool IsLetter( char Char ) { return ( Char >= 'a' && Char <= 'z' ) || ( Char >= 'A' && Char <= 'Z' ); }

bool IsNameChar( char Char ) { return IsLetter( Char ) || ( Char >= '0' && Char <= '9' ) || Char == '_'; }

int32 CountNameChars( CZanStringView Text )
{
    int32 Count = 0;
    while ( Count < Text.GetSize() && IsNameChar( Text[ Count ] ) )
    {
        ++Count;
    }
    return Count;
}

bool IsName( CZanStringView Text )
{
    return Text.IsEmpty() || ( IsLetter( Text[ 0 ] ) && CountNameChars( Text ) == Text.GetSize() );
}

bool StartsWithAt( const SToken& Token ) { return *Token.GetString() == '@'; }

CZanStringView GetName( const SToken& Token ) { return Token.GetView().GetSubstring( 1 ); }

bool IsOperator( uint32 Type )
{
    switch ( Type )
    {
    case NToken::Assign:
    case NToken::Less:
    case NToken::Greater:
    case NToken::LessEqual:
    case NToken::GreaterEqual:
    case NToken::Equal:
    case NToken::NotEqual:
        return true;
    default:
        return false;
    }
}

bool IsBlockEnd( const SToken& Token )
{
    return Token._Type == NToken::CloseBlock || Token._Type == NToken::EndOfInput;
}

/// A copy of Name that lives as long as the thread.
CZanStringView InternName( const CString& Name )
{
    thread_local CZanUnorderedMap<CString, CZanScopedPtr<CString>> Names;
    return *Names.TrySetLazy( Name, [ & ] { return ZanMakeScopedPtr<CString>( Name ); } )._Iterator->_Value;
}
} // namespace

// --- CPersistent -------------------------------------------------------------------------------------------

void CPersistent::WriteBlock( CWriter& Writer )
{
    const auto WriteBrace = [ & ]( uint32 Brace ) {
        if ( Writer.GetIndent() >= 0 )
        {
            Writer.WriteToken( Brace );
            Writer.WriteToken( NToken::LineFeed );
        }
    };
    WriteBrace( NToken::OpenBlock );
    Writer.SetIndent( Writer.GetIndent() + 1 );
    Write( Writer );
    Writer.SetIndent( Writer.GetIndent() - 1 );
    Writer.WriteIndent();
    WriteBrace( NToken::CloseBlock );
}

void CPersistent::OnUnexpectedToken( CZanPersistentReader& Reader ) { Reader.ReportUnexpectedToken(); }

// --- Statements --------------------------------------------------------------------------------------------

void CZanPersistentReader::ReadStatement()
{
    _pLexer->PeekTok();
    bool bMore = _pLexer->GetTok();
    while ( bMore && StartsWithAt( _pLexer->Tok() ) )
    {
        ReadVariable();
        bMore = _pLexer->GetTok();
    }
    if ( bMore )
    {
        _Key = _pLexer->Tok();
    }
    else
    {
        _Key.Reset();
    }
    if ( !bMore || !_pLexer->GetTok() || !IsOperator( _pLexer->Tok()._Type ) )
    {
        _Operator.Reset();
        _Value.Reset();
        return;
    }
    _Operator = _pLexer->Tok();

    _pLexer->PeekTok();
    if ( _pLexer->Tok()._Type == NToken::CloseBlock )
    {
        _Value.Reset();
        _Value._Type = NToken::CloseBlock;
        _Value.SetText( GetTokenText( NToken::CloseBlock ) );
        return;
    }
    _pLexer->GetTok();
    if ( StartsWithAt( _pLexer->Tok() ) )
    {
        _Value = ResolveToken();
    }
    else
    {
        _Value = _pLexer->Tok(); // keeps the memory of the former value
    }
}

bool CZanPersistentReader::ReadStatementOfBlock()
{
    if ( !_Errors.IsEmpty() )
    {
        LogErrors();
    }
    _pLexer->PeekTok();
    if ( IsBlockEnd( _pLexer->Tok() ) )
    {
        NextToken();
        return false;
    }
    ReadStatement();
    return true;
}

bool CZanPersistentReader::TryRead( CZanStringView Key, CString& Text )
{
    if ( !IsAssignment( Key ) )
    {
        return false;
    }
    if ( _Value._Type == NToken::OpenBlock || IsBlockEnd( _Value ) )
    {
        ReportMalformedValue();
    }
    else
    {
        Text = _Value.GetView();
    }
    return true;
}

bool CZanPersistentReader::TryRead( CZanStringView Key, CPersistent& Block )
{
    if ( !IsAssignment( Key ) )
    {
        return false;
    }
    if ( _Value._Type == NToken::OpenBlock )
    {
        Block.Read( *this );
    }
    else
    {
        ReportMalformedValue();
    }
    return true;
}

bool CZanPersistentReader::IsAssignment( CZanStringView Key ) const
{
    return _Operator._Type == NToken::Assign && _Key.GetView() == Key;
}

void CZanPersistentReader::ReportMalformedValue()
{
    ReportMalformedToken();
    SkipBlock();
}

bool CZanPersistentReader::NextToken()
{
    const bool bMore = _pLexer->GetTok();
    if ( StartsWithAt( _pLexer->Tok() ) )
    {
        _pLexer->AccessTok() = ResolveToken();
    }
    return bMore;
}

void CZanPersistentReader::SkipBlock()
{
    if ( _pLexer->Tok()._Type != NToken::OpenBlock )
    {
        return;
    }
    for ( int32 Depth = 1; Depth > 0; )
    {
        _pLexer->PeekTok();
        const bool bEnds = IsBlockEnd( _pLexer->Tok() ); // of the input: ends every block that is open
        NextToken();
        if ( bEnds )
        {
            --Depth;
        }
        else if ( _pLexer->Tok()._Type == NToken::OpenBlock )
        {
            ++Depth;
        }
    }
}

// --- Variables and expressions -----------------------------------------------------------------------------

void CZanPersistentReader::ReadVariable()
{
    CString Name( GetName( _pLexer->Tok() ) );
    const uint32 NameHash = ZanHash( CZanStringView( Name ) );
    if ( !IsName( Name ) )
    {
        ZanLog( Here(),
            "Invalid variable name [%s]. Variable names must start with a letter and only contain "
            "letters, numbers, or under scores. %s",
            Name.GetCharPtr(), GetLocationText().GetData() );
        return;
    }
    if ( FindVariable( NameHash ) != nullptr )
    {
        ZanLog(
            Here(), "Variable name %s is already taken. %s", Name.GetCharPtr(), GetLocationText().GetData() );
        return;
    }
    if ( !_pLexer->GetTok() || _pLexer->Tok()._Type != NToken::Assign )
    {
        return;
    }
    _pLexer->PeekTok();
    SToken Value = ResolveToken();
    _pLexer->GetTok();
    _Variables.Append( SVariable{ std::move( Name ), NameHash, std::move( Value ) } );
}

SToken CZanPersistentReader::ResolveToken()
{
    const SToken& Token = _pLexer->Tok();
    if ( Token._bExplicitString || !StartsWithAt( Token ) )
    {
        return Token;
    }
    const CZanStringView Name = GetName( Token );
    if ( Name.IsEmpty() || Name[ 0 ] != '[' )
    {
        const SVariable* pVariable = FindVariable( ZanHash( Name ) );
        return pVariable != nullptr ? pVariable->_Value : Token;
    }
    const CString Expression = ReadExpression();
    if ( Expression.IsEmpty() )
    {
        return Token;
    }
    CString Text;
    CFixedPoint Result;
    if ( InsertVariables( Expression, Text ) && NMathParser::Evaluate( Text, Result ) )
    {
        return SToken( Result );
    }
    ZanLog( Here(), "Failed to parse advanced statement at %s", GetLocationText().GetData() );
    return SToken( 0 );
}

/// What stands between the brackets. The current token holds it to its first character that ends a word.
CString CZanPersistentReader::ReadExpression()
{
    const CZanStringView Start = GetName( _pLexer->Tok() ).GetSubstring( 1 );
    if ( NZanStringUtils::EndsWith( Start, "]" ) )
    {
        return CString( Start.GetSubstring( 0, Start.GetSize() - 1 ) );
    }
    CString Expression( Start );
    Expression += _pLexer->ReadUntil( ']' );
    if ( _pLexer->GetFile().GetLastChar() != ']' )
    {
        ZanLog( Here(), "Missing ']' of advanced statement at %s", GetLocationText().GetData() );
    }
    return Expression;
}

/// Writes the expression with numbers for names, as far as it is one, to Text. False when that would be far
/// longer: the value of a variable may have any length, and be used many times.
bool CZanPersistentReader::InsertVariables( const CString& Expression, CString& Text ) const
{
    const int64 MaxSize = 1024 + int64( 32 ) * Expression.GetSize();
    for ( CZanStringView Rest = Expression; !Rest.IsEmpty(); )
    {
        const char Char = Rest[ 0 ];
        int32 Count = 1;
        if ( IsLetter( Char ) )
        {
            Count = CountNameChars( Rest );
            AppendVariable( Rest.GetSubstring( 0, Count ), Text );
        }
        else if ( IsNameChar( Char ) ? Char != '_' : CZanStringView( "()*+-./" ).Find( Char ) >= 0 )
        {
            Text += Char;
        }
        else if ( Char != ' ' && Char != '\t' )
        {
            ZanLog( Here(), "Invalid character '%c' in advanced statement at %s", Char,
                GetLocationText().GetData() );
        }
        if ( Text.GetSize() > MaxSize )
        {
            return false;
        }
        Rest.RemovePrefix( Count );
    }
    return true;
}

void CZanPersistentReader::AppendVariable( CZanStringView Name, CString& Text ) const
{
    const SVariable* pVariable = FindVariable( ZanHash( Name ) );
    if ( pVariable == nullptr )
    {
        ZanLog(
            Here(), "unknown variable [%s]. %s", CString( Name ).GetCharPtr(), GetLocationText().GetData() );
    }
    else if ( pVariable->_Value._Type == NToken::Number || pVariable->_Value._Type == NToken::FixedPoint )
    {
        Text += pVariable->_Value.GetView();
    }
    else
    {
        ZanLog( Here(), "Variable %s is not a number. %s", pVariable->_Name.GetCharPtr(),
            GetLocationText().GetData() );
        Text += '0';
    }
}

const CZanPersistentReader::SVariable* CZanPersistentReader::FindVariable( uint32 NameHash ) const
{
    return _Variables.FindIf( [ = ]( const SVariable& Variable ) { return Variable._NameHash == NameHash; } );
}

// --- Errors ------------------------------------------------------------------------------------------------

void CZanPersistentReader::ReportError( const CString& Message )
{
    AddError( Message, _Key );
    SkipBlock();
}

bool CZanPersistentReader::ReportMalformed( const CString& Message )
{
    if ( _pErrorHandler != nullptr )
    {
        _pErrorHandler->_bInvoked = true;
        if ( _pErrorHandler->Handle( *this ) )
        {
            _pErrorHandler->_bHandled = true;
            return true;
        }
    }
    AddError( Message, _pLexer->Tok() );
    return false;
}

void CZanPersistentReader::AddError( const CString& Message, const SToken& Token )
{
    _Errors.Append( SReadError{ Message, _pLexer->GetFile().GetLine(), CString( Token.GetView() ) } );
    _bHasError = true;
}

void CZanPersistentReader::LogErrors()
{
    const CString Text = GetErrorText();
    const CFile& File = _pLexer->GetFile();
    ZanLog( Here(), "Error: \"%s\" in file: \"%s\" near line: %d",
        CString( NZanStringUtils::Trim( Text, "\n" ) ).GetCharPtr(), File.GetName().GetCharPtr(),
        File.GetLine() );
    _Errors.RemoveAll();
}

CString CZanPersistentReader::GetErrorText() const
{
    CString Text;
    char Line[ NZanStringUtils::MaxNumberSize ];
    for ( const SReadError& Error : _Errors )
    {
        Text += Error._Message;
        Text += ": ";
        Text += Error._Token;
        Text += ", near line: ";
        Text += NZanStringUtils::ToString( Line, Line + sizeof( Line ), Error._Line );
        Text += '\n';
    }
    return Text;
}

CZanStringView CZanPersistentReader::GetLocationText() const
{
    thread_local char Buffer[ 2048 ];

    const CFile& File = _pLexer->GetFile();
    if ( File.GetLine() < 0 )
    {
        return InternName( File.GetName() );
    }
    const int Length = std::snprintf(
        Buffer, sizeof( Buffer ), " file: %s line: %d", File.GetName().GetCharPtr(), File.GetLine() );
    return CZanStringView::FromNullTerminated(
        Buffer, std::clamp( Length, 0, static_cast<int>( sizeof( Buffer ) ) - 1 ) );
}
