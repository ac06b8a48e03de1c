#pragma once

#include "zan_core/containers/zan_inline_array.h"
#include "zan_core/numerics/zan_fixed_point.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

/// The numbers of tokens that every application has. They are part of the format, as are the keywords.
namespace NToken
{
enum ENumber : uint32
{
    None = 0,
    Assign = 1,
    Quote = 2, ///< Only while a string is opened.
    OpenBlock = 3,
    CloseBlock = 4,
    OpenParenthesis = 5,
    CloseParenthesis = 6,
    Comma = 8,
    Comment = 9,
    Number = 12, ///< In binary form a signed integer, in text form a word that looks like a number.
    FixedPoint = 13,
    Boolean = 14,
    String = 15,
    LineFeed = 16, ///< This and the next two are layout, which the binary form leaves out.
    Tab = 17,
    Blank = 18,
    EndOfInput = 19,
    Unsigned = 20,   ///< Binary form only.
    Registered = 23, ///< Binary form only: a token whose text follows, because its number holds for this run.
    Greater = 467,
    Less = 468,
    GreaterEqual = 971,
    LessEqual = 972,
    FirstBoolean = 1038, ///< The keywords with this number and the next one read as Boolean.
    SecondBoolean = 1039,
    Equal = 1264,
    Not = 1371,
    NotEqual = 1372
};

/// All numbers are below this one.
constexpr int32 MaxCount = 32768;

struct SKeyword
{
    CZanStringView Text;
    uint32 Number = 0;
};
} // namespace NToken

/// A piece of the token stream: its number, its text, and whether that was written in quotes. Texts of up to
/// 20 characters take no allocation.
struct SToken
{
    SToken() = default;

    /// A Number with Value's decimal digits.
    explicit SToken( int32 Value );

    /// A FixedPoint with Value's text.
    explicit SToken( CFixedPoint Value );

    /// Never null, terminated. A zero byte of a quoted string ends it early, for which see GetView.
    const char* GetString() const { return _Text.IsEmpty() ? "" : _Text.GetData(); }
    CZanStringView GetView() const
    {
        return CZanStringView::FromNullTerminated( GetString(), _Text.IsEmpty() ? 0 : _Text.GetSize() - 1 );
    }

    /// Replaces the text, which Text may look at.
    void SetText( CZanStringView Text );

    /// Back to a token as it is constructed; the text keeps its memory.
    void Reset();

    uint32 _Type = NToken::None;
    bool _bExplicitString = false;      // was written in quotes
    CZanInlineBufArray<char, 21> _Text; // terminated, or empty
    uint64 _Value = 0;                  // for tokens without text
};

// The registry of tokens: the texts and numbers of keywords and of what was registered since. One for the
// process, built at first use. Texts are compared without regard to the case of ASCII letters. Any thread.

/// Replaces the library's own keywords, which are placeholders. Numbers are below NToken::MaxCount; those
/// above the largest one are free for RegisterToken. The list and its texts
/// have to live until the registry is built, which copies them. Must come before anything else here is called
/// or read: false, and nothing changes, when it comes too late or a number is out of range.
bool SetTokenKeywords( const NToken::SKeyword* pKeywords, int32 Count );

/// The text of a token, "dummy" for a number that has none, and "MISSING" for one out of range. Lives as long
/// as the process.
const CString& GetTokenText( int32 Token );

/// True for what RegisterToken has given out.
bool IsDynamicToken( int32 Token );

/// The number of the keyword or registered token with this text, else NToken::Number.
int32 FindToken( CZanStringView Text );

/// Gives Text a number for the rest of this process. When it has one already, or the numbers are used up,
/// logs that and gives -1.
int32 RegisterToken( CZanStringView Text );
