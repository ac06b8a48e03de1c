#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/persistence/lexer.h"
#include "zan_core/persistence/zan_token.h"
#include "zan_core/text/zan_charconv.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

class CWriter;
class CZanPersistentReader;

/// What can be saved to the token stream and loaded from it. An object writes its statements, and reads them
/// back itself: nobody else knows which there are. Derive, and act on each statement in Read:
///
///     void CLamp::Write( CWriter& Writer )
///     {
///         Writer.WriteStatement( "power", _Power );
///         Writer.WriteStatement( "bulb", _Bulb );  // bulb = { ... }
///     }
///
///     void CLamp::Read( CZanPersistentReader& Reader )
///     {
///         while ( Reader.ReadStatementOfBlock() )
///         {
///             if ( !Reader.TryRead( "power", _Power ) && !Reader.TryRead( "bulb", _Bulb ) )
///             {
///                 OnUnexpectedToken( Reader );  // skips a block
///             }
///         }
///     }
///
/// An object whose value is a block reads it as soon as its statement has been read, and so leaves the reader
/// behind the block.
class CPersistent
{
public:
    virtual ~CPersistent() = default;

    /// Writes the object as a block, braces and all, or without them when the writer's depth is negative.
    /// What stands before the brace, such as "key =", is up to the caller.
    virtual void WriteBlock( CWriter& Writer );

    /// Writes the statements.
    virtual void Write( CWriter& Writer ) = 0;

    /// Reads statements to the end of the block or of the input, and what ends them.
    virtual void Read( CZanPersistentReader& Reader ) = 0;

    /// For a statement that Read does not know.
    virtual void OnUnexpectedToken( CZanPersistentReader& Reader );

    // For an application that loads objects and wants them to prepare themselves, or to check and complete
    // what they have read. The library calls neither.

    virtual void OnBeforeRead( CZanPersistentReader& ) {}
    virtual void OnAfterRead( CZanPersistentReader& ) {}
};

/// Gets to see malformed values before they are recorded as errors.
class CReadErrorHandler
{
public:
    virtual ~CReadErrorHandler() = default;

    /// True when the value has been dealt with and is no error.
    virtual bool Handle( CZanPersistentReader& Reader ) = 0;

    bool _bInvoked = false; // Handle has been called
    bool _bHandled = false; // and gave true at least once
};

struct SReadError
{
    CString _Message;
    int32 _Line; // where the file stood
    CString _Token;
};

/// Makes statements of tokens: key, operator and value, as in "width = 3". On the way it takes in definitions
/// of variables, "@cell = 16", and puts their values in where they are used, "width = @cell"; and it
/// calculates, "width = @[cell * 3 + 1]", see NMathParser. A block "{" is a value of its own; what is in it
/// is read by the object that it belongs to, or skipped. CPersistent tells how an object reads itself.
///
/// Whatever stands in the input, reading goes on to its end. Mistakes in definitions and expressions are
/// logged where they are found; what objects report is collected until LogErrors puts it out. Variables are
/// found by the hash of their name alone and hold from their definition on to the end of the reader. The time
/// is linear in the input and, for each use of a variable, in their number. One thread at a time, for reader,
/// lexer and file together. The lexer has to outlive the reader.
class CZanPersistentReader
{
public:
    explicit CZanPersistentReader( CLexer* pLexer ) : _pLexer( pLexer ) {}
    CZanPersistentReader( const CZanPersistentReader& ) = delete;
    CZanPersistentReader& operator=( const CZanPersistentReader& ) = delete;

    /// Reads the next statement; what it lacks is empty. A key without an operator uses up the token behind
    /// it. A value '}' is delivered but not used up, so that the block around it still ends.
    void ReadStatement();

    /// The loop's head for objects: reads a statement and gives true, or uses up the end of the block, or
    /// meets that of the input, and gives false. Logs errors that the former statement has left.
    bool ReadStatementOfBlock();

    // Take the value of a statement "Key = value", and give false when the statement is another one. A value
    // of another kind is reported as malformed, skipped if it is a block, and changes nothing.

    template <NZanStringUtils::CTextNumber TNumber>
    bool TryRead( CZanStringView Key, TNumber& Number );
    bool TryRead( CZanStringView Key, CString& Text );
    bool TryRead( CZanStringView Key, CPersistent& Block );

    const SToken& GetKey() const { return _Key; }
    const SToken& GetOperator() const { return _Operator; }
    const SToken& GetValue() const { return _Value; }

    /// Fetches the next token, and puts what it stands for in its place. False at the end of the input.
    bool NextToken();

    /// What the lexer's current token stands for: the value of a variable or of an expression, or itself. Of
    /// an expression the rest is read from the file. A failing one is logged and gives 0; one that would grow
    /// beyond all bounds by the texts of its variables fails.
    SToken ResolveToken();

    /// Reads "= value" behind the current token "@name". A name that is taken keeps its value.
    void ReadVariable();

    /// When the current token is '{', reads on to behind its '}'. Depth takes no stack.
    void SkipBlock();

    // Errors. The first two are about the statement, and skip the block that is its value; the others are
    // about the current token. They give true when the error handler has dealt with it.

    void ReportUnexpectedToken() { ReportError( "Unexpected token" ); }
    void ReportError( const CString& Message );
    bool ReportMalformedToken() { return ReportMalformed( "Malformed token" ); }
    bool ReportMalformed( const CString& Message );

    /// Logs all collected errors as one message, which ZanLog cuts, and forgets them.
    void LogErrors();

    /// One line for each collected error.
    CString GetErrorText() const;
    const CZanArray<SReadError>& GetErrors() const { return _Errors; }

    /// True from the first reported error on until it is cleared.
    bool HasError() const { return _bHasError; }
    void ClearHasError() { _bHasError = false; }

    /// " file: name line: 3", at most 2047 characters, or the name alone when the line is negative.
    /// Terminated; valid to the thread's next call.
    CZanStringView GetLocationText() const;

    /// Null for none. Not owned.
    void SetErrorHandler( CReadErrorHandler* pErrorHandler ) { _pErrorHandler = pErrorHandler; }

    CLexer& AccessLexer() { return *_pLexer; }

private:
    struct SVariable
    {
        CString _Name;
        uint32 _NameHash;
        SToken _Value;
    };

    bool IsAssignment( CZanStringView Key ) const;
    void ReportMalformedValue();
    const SVariable* FindVariable( uint32 NameHash ) const;
    CString ReadExpression();
    bool InsertVariables( const CString& Expression, CString& Text ) const;
    void AppendVariable( CZanStringView Name, CString& Text ) const;
    void AddError( const CString& Message, const SToken& Token );

    CZanArray<SReadError> _Errors;
    bool _bHasError = false;
    CLexer* _pLexer;
    SToken _Key;
    SToken _Operator;
    SToken _Value;
    CReadErrorHandler* _pErrorHandler = nullptr;
    CZanArray<SVariable> _Variables; // no hash stands there twice
};

template <NZanStringUtils::CTextNumber TNumber>
bool CZanPersistentReader::TryRead( CZanStringView Key, TNumber& Number )
{
    if ( !IsAssignment( Key ) )
    {
        return false;
    }
    const auto Value = NZanStringUtils::FromString<TNumber>( _Value.GetView() );
    if ( !Value )
    {
        ReportMalformedValue();
    }
    Number = Value.Get( Number );
    return true;
}
