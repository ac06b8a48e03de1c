#include "zan_core/runtime/zan_console_command.h"

#include "zan_core/text/zan_string_utils.h"

#include <algorithm>
#include <cstdlib>
#include <limits>
#include <utility>

bool CCommandRegistry::Register( const SConsoleCommand& Command )
{
    const SConsoleCommand* const pFormer = Find( Command._Name );
    if ( pFormer != nullptr )
    {
        _Commands[ static_cast<int32>( pFormer - _Commands.GetIterStart() ) ] = Command;
        return false;
    }
    _Commands.Append( Command );
    _Marks.Append( -1 );
    return true;
}

const SConsoleCommand* CCommandRegistry::Find( CZanStringView Name ) const
{
    return _Commands.FindIf(
        [ & ]( const SConsoleCommand& Command ) { return NConsole::IsSameName( Command._Name, Name ); } );
}

CCommandRegistry& GetCommandRegistry()
{
    static CCommandRegistry* const pRegistry = new CCommandRegistry;
    return *pRegistry;
}

bool NConsole::IsSameName( CZanStringView Left, CZanStringView Right )
{
    return Left.GetSize() == Right.GetSize() && NZanStringUtils::StartsWithIgnoreCase( Left, Right );
}

int32 NConsole::ReadInteger( const CString& Text )
{
    using SLimits = std::numeric_limits<int32>;
    const long long Value = std::strtoll( Text.GetCharPtr(), nullptr, 10 );
    return static_cast<int32>( std::clamp<long long>( Value, SLimits::min(), SLimits::max() ) );
}
