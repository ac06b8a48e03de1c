// A logger that writes to the console, with the names of the categories, and hands everything on to the
// logger that was there before.

#include "zan_core/text/zan_string.h"
#include "zan_core/zan_assert.h"
#include "zan_core/zan_log.h"

#include <cstdio>
#include <memory>

namespace
{
const SLogCategory GGameCategory( 100, "Game" );

class CConsoleLogger final : public CLogger
{
public:
    void SetNext( std::unique_ptr<CLogger> pNext ) { _pNext = std::move( pNext ); }

    void Log( int32 Category, const CZanStringView& File, int32 Line, const std::string& Message ) override
    {
        // No lock: the log calls one Log at a time. The message ends in a line feed already.
        const SLogCategory* pCategory = FindLogCategory( Category );
        const char* pName = pCategory != nullptr ? pCategory->Name.c_str() : "?";
        std::printf( "%s %.*s:%d %s", pName, File.GetSize(), File.GetData(), Line, Message.c_str() );
        ++_MessageCount;
        if ( _pNext != nullptr )
        {
            _pNext->Log( Category, File, Line, Message );
        }
    }

    void Flush() override { std::fflush( stdout ); }

    int32 GetMessageCount() const { return _MessageCount; }

private:
    std::unique_ptr<CLogger> _pNext; // null when nothing was installed before
    int32 _MessageCount = 0;
};
} // namespace

int main()
{
    auto pLogger = std::make_unique<CConsoleLogger>();
    CConsoleLogger& Logger = *pLogger;
    Logger.SetNext( SetLogger( std::move( pLogger ) ) );

    ZanLog( { __FILE__, __LINE__, GGameCategory.Id }, "%d players joined", 4 );
    for ( int32 Lives = 1; Lives >= -1; --Lives )
    {
        zan_assert( Lives >= 0 ); // fails once and is reported once; the loop goes on
    }
    return Logger.GetMessageCount() == 2 ? 0 : 1;
}
