#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

/// What a command or a tweakable answers to a console.
struct SCommandResult
{
    uint8 _Status = 0; // a command's is 1 for success and 0 for its usage text, a tweakable's is 0
    CString _Text;
};

/// A named function for a console to call. Declare one by a static object beside the function:
///
///     static const bool GbDeclared = GetCommandRegistry().Register( Command );
struct SConsoleCommand
{
    using FHandler = void ( * )( SCommandResult& Result, const CZanArray<CString>& Args );

    bool _bEnabled = true;
    CString _Name;
    uint64 _Reserved = 0;
    CString _Aliases[ 3 ];
    CString _Description;
    FHandler _pHandler = nullptr;
    uint64 _ReservedWords[ 2 ] = {};
    int32 _ArgumentCount = 0;
    CString _ArgumentDocs[ 10 ];
};

/// The commands in the order in which their names were first registered. They are registered before main
/// starts and only read from then on: there is no lock.
class CCommandRegistry
{
public:
    /// Adds a copy, or overwrites the command of that name, upper and lower case being one. Gives true for a
    /// new name. Linear in the commands.
    bool Register( const SConsoleCommand& Command );

    /// The command, or null, whatever the case of the name. Valid until the next new name.
    const SConsoleCommand* Find( CZanStringView Name ) const;

    const CZanArray<SConsoleCommand>& GetCommands() const { return _Commands; }

private:
    CZanArray<SConsoleCommand> _Commands;
    CZanArray<int32> _Marks; // one for each command, -1: for the console's use
};

/// The process's commands. Built at first use and never destroyed.
CCommandRegistry& GetCommandRegistry();

namespace NConsole
{
/// Whether two names are one to a console, which reads upper and lower case alike.
bool IsSameName( CZanStringView Left, CZanStringView Right );

/// The integer that a text starts with, behind blanks: 0 for none, and the nearest int32 for what does not
/// fit.
int32 ReadInteger( const CString& Text );
} // namespace NConsole
