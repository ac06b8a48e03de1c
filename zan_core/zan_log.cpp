#include "zan_core/zan_log.h"

#include "zan_core/text/zan_string.h"
#include "zan_core/zan_platform.h"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <map>
#include <mutex>
#include <utility>

namespace
{
struct SLogState
{
    std::recursive_mutex Mutex; // guards all that follows, and the call of the logger
    CLogger* pLogger = nullptr; // owned; null until first use and after a null SetLogger
    std::map<int32, const SLogCategory*> CategoriesById;
    std::map<std::string, int32> IdsByName;
    char Buffer[ 8192 ];
};

// Built at first use and never destroyed: static objects log and unregister while the process ends.
SLogState& AccessLogState()
{
    static SLogState* const pState = new SLogState;
    return *pState;
}

struct SLoggerAtExit
{
    ~SLoggerAtExit() { SetLogger( nullptr ); }
};

// From the first logger on, so that whichever is installed at the end is destroyed and can flush its file.
void DestroyLoggerAtExit() { static const SLoggerAtExit AtExit; }

class CNullLogger final : public CLogger
{
public:
    void Log( int32, const CZanStringView& File, int32 Line, const std::string& Message ) override
    {
        std::string Text = "[";
        Text.append( CString( File ).GetCharPtr() ).append( ":" ).append( std::to_string( Line ) );
        Text.append( "] " ).append( Message );
        NZanPlatform::WriteDebugOutput( Text.c_str() );
    }
};
} // namespace

SLogCategory::SLogCategory( int32 CategoryId, std::string CategoryName )
    : Id( CategoryId ), Name( std::move( CategoryName ) )
{
    SLogState& State = AccessLogState();
    const std::scoped_lock Lock( State.Mutex );
    if ( State.CategoriesById.try_emplace( Id, this ).second )
    {
        State.IdsByName.try_emplace( Name, Id );
    }
}

SLogCategory::~SLogCategory()
{
    SLogState& State = AccessLogState();
    const std::scoped_lock Lock( State.Mutex );
    const auto Category = State.CategoriesById.find( Id );
    if ( Category == State.CategoriesById.end() || Category->second != this )
    {
        return;
    }
    State.CategoriesById.erase( Category );
    const auto IdByName = State.IdsByName.find( Name );
    if ( IdByName != State.IdsByName.end() && IdByName->second == Id )
    {
        State.IdsByName.erase( IdByName );
    }
}

const SLogCategory* FindLogCategory( int32 Id )
{
    SLogState& State = AccessLogState();
    const std::scoped_lock Lock( State.Mutex );
    const auto Category = State.CategoriesById.find( Id );
    return Category != State.CategoriesById.end() ? Category->second : nullptr;
}

int32 FindLogCategoryId( CZanStringView Name )
{
    SLogState& State = AccessLogState();
    const std::scoped_lock Lock( State.Mutex );
    const auto IdByName = State.IdsByName.find( CString( Name ).GetString() );
    return IdByName != State.IdsByName.end() ? IdByName->second : -1;
}

CLogger& GetLogger()
{
    SLogState& State = AccessLogState();
    const std::scoped_lock Lock( State.Mutex );
    if ( State.pLogger == nullptr )
    {
        State.pLogger = new CNullLogger;
        DestroyLoggerAtExit();
    }
    return *State.pLogger;
}

std::unique_ptr<CLogger> SetLogger( std::unique_ptr<CLogger> pLogger )
{
    if ( pLogger != nullptr )
    {
        DestroyLoggerAtExit();
    }
    SLogState& State = AccessLogState();
    const std::scoped_lock Lock( State.Mutex );
    return std::unique_ptr<CLogger>( std::exchange( State.pLogger, pLogger.release() ) );
}

void ZanLog( const SLogSite& Site, const char* pFormat, ... )
{
    SLogState& State = AccessLogState();
    const std::scoped_lock Lock( State.Mutex );
    CLogger& Logger = GetLogger();

    std::va_list Arguments;
    va_start( Arguments, pFormat );
    const int Length = std::vsnprintf( State.Buffer, sizeof( State.Buffer ), pFormat, Arguments );
    va_end( Arguments );

    std::string Message;
    if ( Length < 0 )
    {
        Message = pFormat;
    }
    else
    {
        constexpr int MaxTextLength = static_cast<int>( sizeof( State.Buffer ) ) - 2;
        Message.assign( State.Buffer, static_cast<size_t>( std::min( Length, MaxTextLength ) ) );
        Message += '\n';
    }

    // The buffer is free again here: a logger that logs comes back to this function.
    Logger.Log( Site.Category, Site.File, Site.Line, Message );
}
