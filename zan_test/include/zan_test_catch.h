#pragma once

#include "zan_core/text/zan_string.h"
#include "zan_core/text/zan_string_view.h"

#include <catch2/catch.hpp>

/// Catch2, and how the library's values print in its messages. Every suite includes Catch2 through this
/// header, so that a value prints alike everywhere, and it is what the build precompiles.

namespace Catch
{
template <>
struct StringMaker<CZanStringView>
{
    static std::string convert( CZanStringView View )
    {
        return ::Catch::Detail::stringify( CString( View ).GetString() );
    }
};

template <>
struct StringMaker<CString>
{
    static std::string convert( const CString& Text )
    {
        return ::Catch::Detail::stringify( Text.GetString() );
    }
};
} // namespace Catch
