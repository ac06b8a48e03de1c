#pragma once

#include "zan_core/zan_log.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

/// What each target defines: works on any bytes, and traps when something is not as it should be. Gives 0.
extern "C" int LLVMFuzzerTestOneInput( const uint8_t* pData, size_t Size );

/// Ends the program, in every build.
inline void Require( bool bCondition )
{
    if ( !bCondition )
    {
        __builtin_trap();
    }
}

inline int GDroppedMessageCount = 0;

/// Messages of what is wrong with an input, of which there are many, are counted only.
inline void DropLogMessages()
{
    class CSilentLogger final : public CLogger
    {
        void Log( int32, const CZanStringView&, int32, const std::string& ) override
        {
            ++GDroppedMessageCount;
        }
    };
    static const bool bInstalled = ( SetLogger( std::make_unique<CSilentLogger>() ), true );
    static_cast<void>( bInstalled );
}
