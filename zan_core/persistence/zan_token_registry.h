#pragma once

#include "zan_core/containers/zan_array.h"
#include "zan_core/hashing/fnv1a.h"
#include "zan_core/hashing/zan_robin_hood_table.h"
#include "zan_core/persistence/zan_token.h"
#include "zan_core/text/zan_string.h"
#include "zan_core/zan_platform.h"
#include "zan_core/zan_spin_lock.h"
#include "zan_core/zan_types.h"

#include <algorithm>
#include <atomic>
#include <memory>

namespace NToken::NDetail
{
/// What stands behind the functions of zan_token.h, which see. Those share one registry, a test may have its
/// own. It is built at the first use of anything but SetKeywords. Any thread.
class CTokenRegistry
{
public:
    bool SetKeywords( const SKeyword* pKeywords, int32 Count );
    const CString& GetText( int32 Token );
    bool IsDynamic( int32 Token );
    int32 Find( CZanStringView Text ) { return FindHashed( FNV1a::HashIgnoreCase( Text ), Text ); }
    int32 Register( CZanStringView Text );

    /// The number of a word of the text form: that of a keyword or registered token, Boolean for two of the
    /// keywords, Number for what looks like one, or String. Hash is FNV1a::HashIgnoreCase of the word, which
    /// may not be empty. Takes no lock while no token has been registered.
    uint32 ClassifyWord( uint32 Hash, CZanStringView Word )
    {
        return IsNumeric( Word[ 0 ] ) ? uint32( Number ) : ClassifyText( Hash, Word ); // whatever the rest is
    }

private:
    struct STextNumber
    {
        CString _Text;
        uint32 _Number;
    };
    struct SGetText
    {
        static const CString& GetKey( const STextNumber& Entry ) { return Entry._Text; }
    };
    struct STextHash
    {
        uint32 operator()( CZanStringView Text ) const { return FNV1a::HashIgnoreCase( Text ); }
    };
    struct STextEqual
    {
        bool operator()( CZanStringView Left, CZanStringView Right ) const
        {
            return Left.GetSize() == Right.GetSize() &&
                   NZanPlatform::CompareIgnoreCase(
                       Left.GetData(), Right.GetData(), static_cast<std::size_t>( Left.GetSize() ) ) == 0;
        }
    };

    /// The library's own list has placeholders only, 32,768 times this text: the last one counts.
    static constexpr SKeyword OwnKeyword = { "dummy", MaxCount - 1 };

    using CTable = CZanRobinHoodTable<STextNumber, SGetText, STextHash, STextEqual>;

    static bool IsNumeric( char Char ) { return ( Char >= '0' && Char <= '9' ) || Char == '-'; }
    uint32 ClassifyText( uint32 Hash, CZanStringView Word );
    void BuildOnce();
    void Build();
    void FillTables();
    void FillTexts();
    int32 FindHashed( uint32 Hash, CZanStringView Text );
    int32 FindRegistered( uint32 Hash, CZanStringView Text );
    const char* TryRegister( CZanStringView Text, int32& Token );

    CTable _AllTokens;    // keywords and registered tokens
    CTable _StaticTokens; // keywords only; never changes once it is built, and so is read without the lock
    std::atomic<bool> _bInitialised = false;
    CZanArray<std::unique_ptr<const STextNumber>> _DynamicTokens; // those between the two numbers below
    CZanArray<CString> _TokenTexts;           // by number; what is registered later has its text above
    std::atomic<int32> _NextTokenNumber = 0;  // goes up when all else is there
    int32 _LastStaticToken = 0;               // never changes once it is built
    CZanCountingSpinLock _Lock;               // guards the other fields
    const SKeyword* _pKeywords = &OwnKeyword; // looked at while it is built
    int32 _KeywordCount = 1;
};

/// The process's own. Never destroyed, so that static objects may use it while the process ends.
inline CTokenRegistry& AccessTokenRegistry()
{
    static CTokenRegistry* const pRegistry = new CTokenRegistry;
    return *pRegistry;
}

inline int32 CTokenRegistry::FindHashed( uint32 Hash, CZanStringView Text )
{
    BuildOnce();
    if ( const auto Found = _StaticTokens.FindHashed( Hash, Text ) )
    {
        return static_cast<int32>( Found->_Number );
    }
    return IsDynamic( _LastStaticToken + 1 ) ? FindRegistered( Hash, Text ) : int32( Number );
}

inline void CTokenRegistry::BuildOnce()
{
    if ( !_bInitialised.load( std::memory_order_acquire ) ) [[unlikely]]
    {
        Build();
    }
}

inline bool CTokenRegistry::IsDynamic( int32 Token )
{
    BuildOnce();
    return Token > _LastStaticToken && Token < _NextTokenNumber.load( std::memory_order_acquire );
}
} // namespace NToken::NDetail
