#include "zan_core/zan_platform.h"

#include <atomic>
#include <cstdint>
#include <cstring>

#if defined( __unix__ ) || defined( __APPLE__ )
#include <sched.h>
#include <syslog.h>
#else
#error "zan_platform: this system's services are not written yet"
#endif

namespace
{
constinit std::atomic<NZanPlatform::FDebugOutput> GDebugOutput = nullptr;

void WriteSystemDebugOutput( const char* pText ) { syslog( LOG_USER | LOG_DEBUG, "%s", pText ); }

constexpr std::uint64_t EachByte = 0x0101010101010101;

std::uint64_t LoadWord( const char* pBytes )
{
    std::uint64_t Word;
    std::memcpy( &Word, pBytes, sizeof( Word ) );
    return Word;
}

/// All bytes at once: those from 'A' to 'Z' get the bit of lower case.
std::uint64_t ToLower( std::uint64_t Word )
{
    const std::uint64_t Low = Word & 0x7F * EachByte;
    const std::uint64_t FromA = Low + ( 0x80 - 'A' ) * EachByte;
    const std::uint64_t BehindZ = Low + ( 0x80 - 'Z' - 1 ) * EachByte;
    return Word | ( FromA & ~BehindZ & ~Word & 0x80 * EachByte ) >> 2;
}

int ToLower( char Char )
{
    const int Byte = static_cast<unsigned char>( Char );
    return Byte >= 'A' && Byte <= 'Z' ? Byte + ( 'a' - 'A' ) : Byte;
}
} // namespace

int NZanPlatform::CompareIgnoreCase( const char* pLeft, const char* pRight, std::size_t Size )
{
    constexpr std::size_t WordSize = sizeof( std::uint64_t );
    std::size_t i = 0;
    for ( ; Size - i >= WordSize && ToLower( LoadWord( pLeft + i ) ) == ToLower( LoadWord( pRight + i ) );
          i += WordSize )
    {}
    for ( ; i < Size; ++i )
    {
        const int Order = ToLower( pLeft[ i ] ) - ToLower( pRight[ i ] );
        if ( Order != 0 )
        {
            return Order;
        }
    }
    return 0;
}

void NZanPlatform::WriteDebugOutput( const char* pText )
{
    if ( pText == nullptr )
    {
        return;
    }
    const FDebugOutput pSink = GDebugOutput.load( std::memory_order_acquire );
    ( pSink != nullptr ? pSink : &WriteSystemDebugOutput )( pText );
}

NZanPlatform::FDebugOutput NZanPlatform::SetDebugOutput( FDebugOutput pSink )
{
    return GDebugOutput.exchange( pSink, std::memory_order_acq_rel );
}

void NZanPlatform::YieldThread() { sched_yield(); }

// None of these calls can fail on a mutex of the default kind that is used as the class asks.

NZanPlatform::CSlimLock::~CSlimLock() { pthread_mutex_destroy( &_Mutex ); }

void NZanPlatform::CSlimLock::lock() { pthread_mutex_lock( &_Mutex ); }

bool NZanPlatform::CSlimLock::try_lock() { return pthread_mutex_trylock( &_Mutex ) == 0; }

void NZanPlatform::CSlimLock::unlock() { pthread_mutex_unlock( &_Mutex ); }
