#pragma once

#include "zan_core/zan_assert.h"
#include "zan_core/zan_platform.h"
#include "zan_test/include/zan_test_assertions.h"
#include "zan_test/include/zan_test_catch.h"

#include <algorithm>
#include <functional>
#include <mutex>
#include <string>
#include <utility>
#include <vector>

/// The checking form of the assertion macros, which zan_test_assertions.h includes where it is asked for.

#define ZAN_TEST_CAPTURE( Expression, ExpressionText, Expectation )                                          \
    do                                                                                                       \
    {                                                                                                        \
        NZanCatch2::CAssertCapture ZanAssertCapture;                                                         \
        Expression;                                                                                          \
        ZanAssertCapture.Stop();                                                                             \
        INFO( "assertions in: " ExpressionText );                                                            \
        REQUIRE_THAT( ZanAssertCapture, Expectation );                                                       \
    } while ( false )

namespace NZanCatch2
{
/// Keeps the assertion failures of its life, up to Stop(), in GAsserts. Captures nest; the outer one also
/// sees what fails in those inside. They are made and stopped on the thread that runs the case.
class CAssertCapture
{
public:
    CAssertCapture();
    ~CAssertCapture() { Stop(); }
    CAssertCapture( const CAssertCapture& ) = delete;
    CAssertCapture& operator=( const CAssertCapture& ) = delete;

    /// Does nothing when it has stopped already.
    void Stop();

    /// The failures. Requires that it has stopped, and that no other has begun since.
    const SAssert* begin() const { return GAsserts.GetData() + _First; }
    const SAssert* end() const { return GAsserts.GetData() + GAsserts.GetSize(); }

private:
    static void Record( const char* pText, const char* pFile, int32 Line, bool bLogged );

    static inline NZanPlatform::CSlimLock _Lock; // guards GAsserts while captures run, and what follows
    static inline int32 _RunningCount = 0;
    static inline NZanAssert::FFailureHook _pFormerHook = nullptr;

    int32 _First = 0; // index of its first failure in GAsserts
    bool _bRunning = true;
};

/// What a failure may have, and words for it.
struct SAssertAttribute
{
    std::string _Description;
    std::function<bool( const SAssert& )> _Matches;
};

SAssertAttribute IsText( const std::string& Text );  ///< The text is exactly this.
SAssertAttribute HasText( const std::string& Text ); ///< The text contains this.
SAssertAttribute IsFile( const std::string& File );  ///< The log message names this file.
SAssertAttribute IsLine( int32 Line );               ///< The log message names this line.
SAssertAttribute IsLogged( bool bLogged ); ///< The failure was the first of its site, and so was logged.

/// Passes when one failure has all the attributes, or, when none is expected, when there is no failure.
class CAssertMatcher : public Catch::MatcherBase<CAssertCapture>
{
public:
    CAssertMatcher( bool bExpected, std::vector<SAssertAttribute> Attributes )
        : _bExpected( bExpected ), _Attributes( std::move( Attributes ) )
    {}

    bool match( const CAssertCapture& Capture ) const override;
    std::string describe() const override;

private:
    bool _bExpected;
    std::vector<SAssertAttribute> _Attributes;
};

inline CAssertMatcher FailsNot() { return CAssertMatcher( false, {} ); }

template <typename... TAttributes>
CAssertMatcher Fails( TAttributes... Attributes )
{
    return CAssertMatcher( true, { std::move( Attributes )... } );
}
} // namespace NZanCatch2

template <>
struct Catch::StringMaker<NZanCatch2::SAssert>
{
    static std::string convert( const NZanCatch2::SAssert& Assert )
    {
        return ::Catch::Detail::stringify( Assert._Text ) + " at " + Assert._File + ":" +
               std::to_string( Assert._Line ) + ( Assert._bLogged ? "" : ", not logged again" );
    }
};

namespace NZanCatch2
{
inline CAssertCapture::CAssertCapture()
{
    const std::scoped_lock Lock( _Lock );
    if ( _RunningCount++ == 0 )
    {
        GAsserts.RemoveAll();
        _pFormerHook = NZanAssert::SetFailureHook( &Record );
    }
    _First = GAsserts.GetSize();
}

inline void CAssertCapture::Stop()
{
    const std::scoped_lock Lock( _Lock );
    if ( std::exchange( _bRunning, false ) && --_RunningCount == 0 )
    {
        NZanAssert::SetFailureHook( _pFormerHook );
    }
}

inline void CAssertCapture::Record( const char* pText, const char* pFile, int32 Line, bool bLogged )
{
    const std::scoped_lock Lock( _Lock );
    if ( _RunningCount > 0 ) // another thread may come here just after the last capture stopped
    {
        GAsserts.Append( SAssert{ pText, pFile, Line, bLogged } );
    }
}

inline SAssertAttribute IsText( const std::string& Text )
{
    return { "with text " + ::Catch::Detail::stringify( Text ),
        [ Text ]( const SAssert& Assert ) { return Assert._Text == Text; } };
}

inline SAssertAttribute HasText( const std::string& Text )
{
    return { "with text that contains " + ::Catch::Detail::stringify( Text ),
        [ Text ]( const SAssert& Assert ) { return Assert._Text.find( Text ) != std::string::npos; } };
}

inline SAssertAttribute IsFile( const std::string& File )
{
    return { "in file " + File, [ File ]( const SAssert& Assert ) { return Assert._File == File; } };
}

inline SAssertAttribute IsLine( int32 Line )
{
    return { "in line " + std::to_string( Line ),
        [ Line ]( const SAssert& Assert ) { return Assert._Line == Line; } };
}

inline SAssertAttribute IsLogged( bool bLogged )
{
    return { bLogged ? "logged" : "not logged again",
        [ bLogged ]( const SAssert& Assert ) { return Assert._bLogged == bLogged; } };
}

inline bool CAssertMatcher::match( const CAssertCapture& Capture ) const
{
    const auto HasAll = [ & ]( const SAssert& Assert ) {
        return std::all_of( _Attributes.begin(), _Attributes.end(),
            [ & ]( const SAssertAttribute& Attribute ) { return Attribute._Matches( Assert ); } );
    };
    return std::any_of( Capture.begin(), Capture.end(), HasAll ) == _bExpected;
}

inline std::string CAssertMatcher::describe() const
{
    std::string Text = _bExpected ? "has a failed assertion" : "has no failed assertion";
    const char* pSeparator = " ";
    for ( const SAssertAttribute& Attribute : _Attributes )
    {
        Text += pSeparator + Attribute._Description;
        pSeparator = ", ";
    }
    return Text;
}
} // namespace NZanCatch2
