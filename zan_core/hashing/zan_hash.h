#pragma once

#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"
#include "zan_core/zan_types.h"

#include <functional>
#include <string>

/// The library's hash of bytes: MurmurHash3 (Austin Appleby), x86 32-bit variant, seed 0. Unsalted, so that
/// one input gives one value in every run. Not for use against an attacker who chooses the keys.

/// The hash of Length bytes. A Length of 0 or less hashes as no bytes.
uint32 ZanHash( const void* pData, int32 Length );

/// Text hashes by its characters, whatever holds them.
inline uint32 ZanHash( CZanStringView Text ) { return ZanHash( Text.GetData(), Text.GetSize() ); }
inline uint32 ZanHash( const CString& Text ) { return ZanHash( CZanStringView( Text ) ); }
inline uint32 ZanHash( const char* pText ) { return ZanHash( CZanStringView( pText ) ); }
inline uint32 ZanHash( const std::string& Text )
{
    return ZanHash( Text.data(), static_cast<int32>( Text.size() ) );
}
inline uint32 ZanCStringHash( const CString& Text ) { return ZanHash( CZanStringView( Text ) ); }

template <>
struct std::hash<CZanStringView>
{
    size_t operator()( CZanStringView Text ) const { return ZanHash( Text ); }
};

template <>
struct std::hash<CString>
{
    size_t operator()( const CString& Text ) const { return ZanHash( Text ); }
};
