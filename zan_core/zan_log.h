#pragma once

#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

#include <memory>
#include <string>

/// The place that a message is logged from.
struct SLogSite
{
    CZanStringView File;
    int32 Line;
    int32 Category;
};

/// A named kind of message. Define one as a static object; it registers itself in two process-wide tables, by
/// id and by name. The first object with an id keeps it: a later one with the same id is in neither table,
/// and one with a new id but a known name is found by its id only. Any thread.
///
///     static const SLogCategory GNetworkCategory( 100, "Network" );
struct SLogCategory
{
    SLogCategory( int32 Id, std::string Name );
    ~SLogCategory();
    SLogCategory( const SLogCategory& ) = delete;
    SLogCategory& operator=( const SLogCategory& ) = delete;

    const int32 Id;
    const std::string Name;
};

/// The category of every message of this library.
inline constexpr int32 LogCategoryError = 1;

/// The registered category with this id, or null. It lives as long as its static object.
const SLogCategory* FindLogCategory( int32 Id );

/// The id that is registered for this name, or -1.
int32 FindLogCategoryId( CZanStringView Name );

/// Where log messages go. To write one, derive, override Log, and install it:
///
///     class CConsoleLogger : public CLogger
///     {
///         void Log( int32 Category, const CZanStringView& File, int32 Line, const std::string& Message )
///         override
///         {
///             std::fputs( Message.c_str(), stderr );  // Message ends in a line feed of its own
///         }
///     };
///     SetLogger( std::make_unique<CConsoleLogger>() );
///
/// ZanLog calls Log under the log's mutex, so an implementation needs no lock of its own against other
/// messages. The mutex is recursive: Log may log, or fail an assertion, and is then entered again. It should
/// not wait for another thread that logs. Log may throw; the exception leaves ZanLog.
class CLogger
{
public:
    CLogger() = default;
    virtual ~CLogger() = default;
    CLogger( const CLogger& ) = delete;
    CLogger& operator=( const CLogger& ) = delete;

    /// Takes one message. File may lack a terminator; both references end with the call.
    virtual void Log(
        int32 Category, const CZanStringView& File, int32 Line, const std::string& Message ) = 0;

    // For the layers above, which may ask the installed logger; the library itself calls none of them.

    virtual void Flush() {}                           ///< Writes out what the logger holds back.
    virtual int32 GetVerbosity() const { return 3; }  ///< 0 is errors only, 3 is everything.
    virtual CLogger& AccessTarget() { return *this; } ///< The logger that a forwarding one writes to.
    virtual int32 GetDroppedMessageCount() const { return 0; }
    virtual const char* GetFilePath() const { return nullptr; } ///< Null when it does not write to a file.
    virtual void SetVerbosity( int32 ) {}                       ///< A logger that does not filter ignores it.
};

/// The process's logger. Without one, makes the fallback, which writes "[file:line] message" to the debug
/// output. The reference lives until SetLogger replaces it, at the latest until the end of the process.
CLogger& GetLogger();

/// Installs pLogger and gives the former one, which is null if there was none yet. A null pLogger restores
/// the fallback. Waits for a message that another thread is writing, so the former logger is at rest once
/// this returns; called from inside a logger, the caller has to keep the former one until its Log has
/// returned.
std::unique_ptr<CLogger> SetLogger( std::unique_ptr<CLogger> pLogger );

/// Formats a message as printf does and hands it, ended with a line feed, to the process's logger. At most
/// 8190 characters of the text survive; when the format fails, the message is the format itself without a
/// line feed. Any thread; messages are written one at a time. Throws only what the logger throws, or
/// std::system_error when the log's mutex cannot be locked.
[[gnu::format( printf, 2, 3 )]] void ZanLog( const SLogSite& Site, const char* pFormat, ... );
