#include "zan_core/persistence/zan_token.h"

#include "zan_core/persistence/zan_token_registry.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_core/text/zan_string_utils.h"
#include "zan_core/zan_log.h"

#include <algorithm>
#include <cstring>
#include <mutex>
#include <shared_mutex>
#include <utility>

namespace
{
template <typename T>
void SetNumberText( SToken& Token, T Value )
{
    char Buffer[ NZanStringUtils::MaxNumberSize ];
    Token.SetText( NZanStringUtils::ToString( Buffer, Buffer + sizeof( Buffer ), Value ) );
}
} // namespace

namespace NToken::NDetail
{
namespace
{
constexpr SKeyword BuiltInTokens[] = { { "=", Assign }, { "\"", Quote }, { "{", OpenBlock },
    { "}", CloseBlock }, { "(", OpenParenthesis }, { ")", CloseParenthesis }, { ",", Comma },
    { "#", Comment }, { "\n", LineFeed }, { "\t", Tab }, { " ", Blank }, { ">", Greater }, { "<", Less },
    { ">=", GreaterEqual }, { "<=", LessEqual }, { "==", Equal }, { "!", Not }, { "!=", NotEqual } };

template <typename... TArgs>
void LogError( const char* pFormat, TArgs... Args )
{
    ZanLog( SLogSite{ __FILE__, __LINE__, LogCategoryError }, pFormat, Args... );
}
} // namespace

// --- CTokenRegistry ----------------------------------------------------------------------------------------

namespace
{
// Has it made before main starts, so that no thread waits for another one to make it.
[[maybe_unused]] const CTokenRegistry& GMadeAtStart = AccessTokenRegistry();
} // namespace

bool CTokenRegistry::SetKeywords( const SKeyword* pKeywords, int32 Count )
{
    const std::scoped_lock Lock( _Lock );
    const bool bInRange = std::all_of( pKeywords, pKeywords + std::max( Count, 0 ),
        []( const SKeyword& Keyword ) { return Keyword.Number < uint32( MaxCount ); } );
    if ( !bInRange || Count < 0 || _bInitialised.load( std::memory_order_relaxed ) )
    {
        return false;
    }
    _pKeywords = pKeywords;
    _KeywordCount = Count;
    return true;
}

const CString& CTokenRegistry::GetText( int32 Token )
{
    static const CString* const pMissing = new CString( "MISSING" );
    if ( Token < 0 || Token >= MaxCount )
    {
        return *pMissing;
    }
    if ( !IsDynamic( Token ) )
    {
        return _TokenTexts[ Token ];
    }
    const std::shared_lock Lock( _Lock );
    return _DynamicTokens[ Token - _LastStaticToken - 1 ]->_Text;
}

uint32 CTokenRegistry::ClassifyText( uint32 Hash, CZanStringView Word )
{
    const int32 Token = FindHashed( Hash, Word );
    if ( Token != Number )
    {
        return Token == FirstBoolean || Token == SecondBoolean ? Boolean : static_cast<uint32>( Token );
    }
    const auto IsPartOfNumber = []( char Char ) { return IsNumeric( Char ) || Char == '.'; };
    return std::all_of( Word.GetIterStart(), Word.GetIterEnd(), IsPartOfNumber ) ? Number : String;
}

int32 CTokenRegistry::FindRegistered( uint32 Hash, CZanStringView Text )
{
    const std::shared_lock Lock( _Lock );
    const auto Found = _AllTokens.FindHashed( Hash, Text );
    return Found ? static_cast<int32>( Found->_Number ) : int32( Number );
}

int32 CTokenRegistry::Register( CZanStringView Text )
{
    BuildOnce();
    int32 Token = -1;
    if ( const char* pReason = TryRegister( Text, Token ) ) // a logger may ask for tokens
    {
        LogError( "Token \"%s\" is not registered: %s.", CString( Text ).GetCharPtr(), pReason );
    }
    return Token;
}

/// Null, or why not.
const char* CTokenRegistry::TryRegister( CZanStringView Text, int32& Token )
{
    const std::scoped_lock Lock( _Lock );
    const uint32 Hash = FNV1a::HashIgnoreCase( Text );
    const bool bBuiltIn = std::any_of( std::begin( BuiltInTokens ), std::end( BuiltInTokens ),
        [ & ]( const SKeyword& BuiltIn ) { return BuiltIn.Text == Text; } );
    if ( Text.IsEmpty() || bBuiltIn || _AllTokens.FindHashed( Hash, Text ) )
    {
        return "there is one with this text";
    }
    const int32 Next = _NextTokenNumber.load( std::memory_order_relaxed );
    if ( Next >= MaxCount )
    {
        return "all numbers are used up";
    }
    // Out of memory throws in between. Then nobody sees the record, and the next one takes its place.
    _DynamicTokens.GrowToIncludeIndex( Next - _LastStaticToken - 1 ) =
        std::make_unique<const STextNumber>( STextNumber{ CString( Text ), uint32( Next ) } );
    _AllTokens.Emplace( Hash, CString( Text ), uint32( Next ) );
    _NextTokenNumber.store( Next + 1, std::memory_order_release );
    Token = Next;
    return nullptr;
}

void CTokenRegistry::Build()
{
    std::unique_lock Lock( _Lock );
    if ( _bInitialised.load( std::memory_order_relaxed ) )
    {
        return;
    }
    FillTables();
    FillTexts();
    _bInitialised.store( true, std::memory_order_release );
    Lock.unlock();

    for ( int32 i = 0; i < _KeywordCount; ++i ) // a logger may ask for tokens
    {
        if ( !NZanStringUtils::IsAscii( _pKeywords[ i ].Text ) )
        {
            LogError( "Creation of token \"%s\" is not ascii, it likely works, but not guaranteed.",
                CString( _pKeywords[ i ].Text ).GetCharPtr() );
        }
    }
}

void CTokenRegistry::FillTables()
{
    _StaticTokens.SetMaxLoadFactor( 0.9f );
    int32 Last = NotEqual; // the largest of the built-in ones
    for ( int32 i = 0; i < _KeywordCount; ++i )
    {
        const auto [ Text, Token ] = _pKeywords[ i ];
        _StaticTokens.Emplace( FNV1a::HashIgnoreCase( Text ), NZanStringUtils::ToLower( Text ), Token )
            ._Iterator->_Number = Token;
        Last = std::max( Last, static_cast<int32>( Token ) );
    }
    _AllTokens = _StaticTokens;
    _LastStaticToken = Last;
    _NextTokenNumber.store( Last + 1, std::memory_order_relaxed );
}

void CTokenRegistry::FillTexts()
{
    constexpr int32 ExpectedDynamicTokens = 8192;
    _DynamicTokens.Reserve( ExpectedDynamicTokens );
    _TokenTexts.SetSize( MaxCount );
    const auto Fill = [ this ]( CZanStringView Text, uint32 Token ) {
        CString& Slot = _TokenTexts[ static_cast<int32>( Token ) ];
        if ( Slot.IsEmpty() )
        {
            Slot = Text;
        }
    };
    for ( const auto [ Text, Token ] : BuiltInTokens )
    {
        Fill( Text, Token );
    }
    for ( int32 i = 0; i < _KeywordCount; ++i )
    {
        Fill( _pKeywords[ i ].Text, _pKeywords[ i ].Number );
    }
    for ( uint32 Token = 0; Token < uint32( MaxCount ); ++Token )
    {
        Fill( OwnKeyword.Text, Token );
    }
}
} // namespace NToken::NDetail

// --- The functions for all ---------------------------------------------------------------------------------

bool SetTokenKeywords( const NToken::SKeyword* pKeywords, int32 Count )
{
    return NToken::NDetail::AccessTokenRegistry().SetKeywords( pKeywords, Count );
}

const CString& GetTokenText( int32 Token ) { return NToken::NDetail::AccessTokenRegistry().GetText( Token ); }

bool IsDynamicToken( int32 Token ) { return NToken::NDetail::AccessTokenRegistry().IsDynamic( Token ); }

int32 FindToken( CZanStringView Text ) { return NToken::NDetail::AccessTokenRegistry().Find( Text ); }

int32 RegisterToken( CZanStringView Text ) { return NToken::NDetail::AccessTokenRegistry().Register( Text ); }

// --- SToken ------------------------------------------------------------------------------------------------

SToken::SToken( int32 Value ) : _Type( NToken::Number ) { SetNumberText( *this, Value ); }

SToken::SToken( CFixedPoint Value ) : _Type( NToken::FixedPoint ) { SetNumberText( *this, Value ); }

void SToken::SetText( CZanStringView Text )
{
    const int32 Size = Text.GetSize();
    if ( Size >= _Text.GetSize() ) // more than the own text, so no part of it
    {
        _Text.SetSizeNoInit( Size + 1 );
    }
    if ( Size > 0 ) // where there are none, the pointer may be null
    {
        std::memmove( _Text.GetData(), Text.GetData(), static_cast<std::size_t>( Size ) );
    }
    _Text.SetSizeNoInit( Size + 1 );
    _Text[ Size ] = '\0';
}

void SToken::Reset()
{
    _Type = NToken::None;
    _bExplicitString = false;
    _Text.RemoveAll();
    _Value = 0;
}
