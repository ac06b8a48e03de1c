#include "fuzz/fuzz_target.h"
#include "zan_core/persistence/zan_persistent_reader.h"
#include "zan_core/persistence/zan_writer.h"

#include <string>
#include <vector>

namespace
{
struct SText
{
    explicit SText( const SToken& Token )
        : Type( Token._Type == NToken::FixedPoint ? uint32( NToken::Number ) : Token._Type ),
          bExplicitString( Token._bExplicitString ),
          Text( Token.GetView().GetIterStart(), Token.GetView().GetIterEnd() )
    {}
    bool operator==( const SText& ) const = default;

    bool IsWritable() const { return Text.find_first_of( std::string( "\0\xFF", 2 ) ) == Text.npos; }

    uint32 Type;
    bool bExplicitString;
    std::string Text;
};

/// A statement, or the end of a block if there is no key.
struct SEvent
{
    bool operator==( const SEvent& ) const = default;

    SText Key, Operator, Value;
    bool bSkipped;
};

/// Reads as an object does that knows some keys and not others. Leaves out what no text gives back: the end
/// of a block in the place of a key, or behind a variable; an expression that is left open.
std::vector<SEvent> Read( const char* pData, size_t Size )
{
    CMemoryFile File( CZanStringView( pData, static_cast<int32>( Size ) ) );
    CTextLexer Lexer( &File );
    CZanPersistentReader Reader( &Lexer );
    std::vector<SEvent> Events;
    for ( ;; )
    {
        Lexer.PeekTok();
        if ( Lexer.Tok()._Type == NToken::EndOfInput )
        {
            break;
        }
        if ( Lexer.Tok()._Type == NToken::CloseBlock )
        {
            Reader.NextToken();
            const SText None{ SToken() };
            Events.push_back( { None, None, None, false } );
            continue;
        }
        Reader.ReadStatement();
        SEvent Event{ SText( Reader.GetKey() ), SText( Reader.GetOperator() ), SText( Reader.GetValue() ),
            false };
        const bool bCloses = Event.Value.Type == NToken::CloseBlock && !Event.Value.bExplicitString;
        const bool bCloseStays = bCloses && Lexer.Tok()._Type == NToken::CloseBlock;
        switch ( Event.Key.Text.size() % 4 )
        {
        case 0:
            Event.bSkipped = true;
            Reader.SkipBlock();
            break;
        case 1:
            Event.bSkipped = true;
            Reader.ReportUnexpectedToken();
            break;
        case 2:
            Reader.ReportMalformedToken();
            break;
        default:
            break;
        }
        if ( Reader.GetErrors().GetSize() > 3 )
        {
            Reader.LogErrors();
        }
        if ( Event.Value.Type == NToken::EndOfInput ||
             ( Event.Key.Text.empty() && !Event.Key.bExplicitString ) )
        {
            break;
        }
        if ( Event.Key.Type != NToken::CloseBlock && ( !bCloses || bCloseStays ) && Event.Key.IsWritable() &&
             Event.Value.IsWritable() &&
             ( Event.Value.bExplicitString || Event.Value.Text.rfind( "@[", 0 ) != 0 ) )
        {
            Events.push_back( std::move( Event ) );
        }
        else if ( bCloseStays )
        {
            Reader.NextToken();
        }
    }
    return Events;
}

void Write( CWriter& Writer, const SText& Text )
{
    const CZanStringView View( Text.Text.data(), static_cast<int32>( Text.Text.size() ) );
    if ( Text.bExplicitString )
    {
        Writer.WriteQuoted( View );
    }
    else
    {
        SToken Token;
        Token.SetText( View );
        Writer.WriteTokenText( Token );
    }
    Writer.WriteToken( NToken::Blank );
}

void Write( CWriter& Writer, const SEvent& Event )
{
    const bool bIsEnd = Event.Key.Text.empty() && !Event.Key.bExplicitString;
    const bool bHasOperator = Event.Operator.Type != NToken::None;
    if ( bIsEnd )
    {
        Writer.WriteToken( NToken::CloseBlock );
    }
    else
    {
        Write( Writer, Event.Key );
        Writer.WriteToken( bHasOperator ? Event.Operator.Type : uint32( NToken::Comma ) ); // is used up
        Writer.WriteToken( NToken::Blank );
        if ( bHasOperator && Event.Value.Type != NToken::CloseBlock ) // which is an event of its own
        {
            Write( Writer, Event.Value );
        }
        if ( Event.bSkipped && Event.Value.Type == NToken::OpenBlock )
        {
            Writer.WriteToken( NToken::CloseBlock );
        }
    }
    Writer.WriteToken( NToken::LineFeed );
}
} // namespace

// Any bytes are read to their end. What was read, written and read again is the same.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pData, size_t Size )
{
    DropLogMessages();
    const std::vector<SEvent> Events = Read( reinterpret_cast<const char*>( pData ), Size );
    CZanArray<uint8> Bytes;
    CMemoryFile File( Bytes, FILE_TEXT, OPEN_WRITE );
    CWriter Writer( &File );
    for ( const SEvent& Event : Events )
    {
        Write( Writer, Event );
    }
    Require( Read( reinterpret_cast<const char*>( Bytes.GetData() ),
                 static_cast<size_t>( Bytes.GetSize() ) ) == Events );
    return 0;
}
