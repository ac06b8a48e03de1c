#pragma once

#include "zan_core/zan_log.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace NZanTestUtils
{
struct SLogRecord
{
    int32 Category;
    std::string File;
    int32 Line;
    std::string Message;
};

/// Installs a logger that keeps every message, and puts the former logger back at the end of its life. The
/// records may be read while no other thread logs.
class CLogCapture
{
public:
    CLogCapture() : _pFormer( SetLogger( std::make_unique<CRecordingLogger>( *this ) ) ) {}
    ~CLogCapture() { SetLogger( std::move( _pFormer ) ); }
    CLogCapture( const CLogCapture& ) = delete;
    CLogCapture& operator=( const CLogCapture& ) = delete;

    const std::vector<SLogRecord>& GetRecords() const { return _Records; }

    /// The message of the only record. Empty when there is none or more than one.
    std::string GetOnlyMessage() const
    {
        return _Records.size() == 1 ? _Records[ 0 ].Message : std::string();
    }

    /// All messages, one behind the other.
    std::string GetMessages() const
    {
        std::string Text;
        for ( const SLogRecord& Record : _Records )
        {
            Text += Record.Message;
        }
        return Text;
    }

    void Clear() { _Records.clear(); }

    /// Runs inside the logger, behind the recording of each message.
    void SetReaction( std::function<void( const SLogRecord& )> Reaction )
    {
        _Reaction = std::move( Reaction );
    }

private:
    class CRecordingLogger final : public CLogger
    {
    public:
        explicit CRecordingLogger( CLogCapture& Capture ) : _Capture( Capture ) {}

        void Log(
            int32 Category, const CZanStringView& File, int32 Line, const std::string& Message ) override
        {
            const SLogRecord Record{ Category, std::string( File.GetIterStart(), File.GetIterEnd() ), Line,
                Message };
            _Capture._Records.push_back( Record );
            if ( _Capture._Reaction )
            {
                _Capture._Reaction( Record );
            }
        }

    private:
        CLogCapture& _Capture;
    };

    std::vector<SLogRecord> _Records;
    std::function<void( const SLogRecord& )> _Reaction;
    std::unique_ptr<CLogger> _pFormer; // null when the process had no logger yet
};
} // namespace NZanTestUtils
