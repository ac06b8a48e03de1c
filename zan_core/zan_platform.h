#pragma once

/// What the library needs of the operating system, and the only place that calls it. POSIX so far; another
/// system takes its place by its own branch in the source. All functions may be called from any thread.
namespace NZanPlatform
{
/// Receives each text that is written to the debug output. Called on the writing thread.
using FDebugOutput = void ( * )( const char* pText );

/// Writes a zero-terminated text to where a developer looks for diagnostics and a user does not: the system
/// log at debug level, never the console. Null does nothing.
void WriteDebugOutput( const char* pText );

/// Sends the debug output to pSink from now on and gives the former sink, null for the system's own. A null
/// pSink restores that. A write that runs meanwhile on another thread may still reach the former sink.
FDebugOutput SetDebugOutput( FDebugOutput pSink );
} // namespace NZanPlatform
