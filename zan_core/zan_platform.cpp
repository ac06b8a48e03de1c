#include "zan_core/zan_platform.h"

#include <atomic>
#include <cstdint>
#include <cstring>

#if defined( __unix__ ) || defined( __APPLE__ )
#include <sched.h>
#include <sys/syscall.h>
#include <syslog.h>
#include <time.h>
#include <unistd.h>
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

/// The first and the last four bytes, which may overlap.
std::uint64_t LoadEnds( const char* pBytes, std::size_t Size )
{
    std::uint32_t Ends[ 2 ];
    std::memcpy( &Ends[ 0 ], pBytes, sizeof( Ends[ 0 ] ) );
    std::memcpy( &Ends[ 1 ], pBytes + Size - sizeof( Ends[ 1 ] ), sizeof( Ends[ 1 ] ) );
    return std::uint64_t( Ends[ 0 ] ) << 32 | Ends[ 1 ];
}

/// All bytes at once: those from 'A' to 'Z' get the bit of lower case.
std::uint64_t ToLower( std::uint64_t Word )
{
    const std::uint64_t Low = Word & 0x7F * EachByte;
    const std::uint64_t FromA = Low + ( 0x80 - 'A' ) * EachByte;
    const std::uint64_t BehindZ = Low + ( 0x80 - 'Z' - 1 ) * EachByte;
    return Word | ( FromA & ~BehindZ & ~Word & 0x80 * EachByte ) >> 2;
}

bool IsEqual( std::uint64_t Left, std::uint64_t Right )
{
    return Left == Right || ToLower( Left ) == ToLower( Right ); // mostly of the same case
}

int ToLower( char Char )
{
    const int Byte = static_cast<unsigned char>( Char );
    return Byte >= 'A' && Byte <= 'Z' ? Byte + ( 'a' - 'A' ) : Byte;
}

// By itself, because what is looked up is mostly equal and so needs none of the registers.
[[gnu::noinline]] int CompareBytes( const char* pLeft, const char* pRight, std::size_t Size )
{
    for ( std::size_t i = 0; i < Size; ++i )
    {
        const int Order = ToLower( pLeft[ i ] ) - ToLower( pRight[ i ] );
        if ( Order != 0 )
        {
            return Order;
        }
    }
    return 0;
}
} // namespace

int NZanPlatform::CompareIgnoreCase( const char* pLeft, const char* pRight, std::size_t Size )
{
    constexpr std::size_t WordSize = sizeof( std::uint64_t );
    if ( Size < WordSize )
    {
        return Size >= WordSize / 2 && IsEqual( LoadEnds( pLeft, Size ), LoadEnds( pRight, Size ) )
                   ? 0
                   : CompareBytes( pLeft, pRight, Size );
    }
    const auto IsWordEqual = [ = ]( std::size_t At ) {
        return IsEqual( LoadWord( pLeft + At ), LoadWord( pRight + At ) );
    };
    std::size_t i = 0;
    for ( ; Size - i >= WordSize && IsWordEqual( i ); i += WordSize )
    {}
    return Size - i < WordSize && IsWordEqual( Size - WordSize ) // with some that are known to be equal
               ? 0
               : CompareBytes( pLeft + i, pRight + i, Size - i );
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

void NZanPlatform::SetThreadName( const char* pName )
{
    if ( pName == nullptr )
    {
        return;
    }
#if defined( __APPLE__ )
    pthread_setname_np( pName );
#else
    char Name[ 16 ] = {}; // longer ones are refused
    std::memcpy( Name, pName, ::strnlen( pName, sizeof( Name ) - 1 ) );
    pthread_setname_np( pthread_self(), Name );
#endif
}

uint32 NZanPlatform::GetThreadId()
{
#if defined( __APPLE__ )
    return pthread_mach_thread_np( pthread_self() );
#else
    static thread_local const uint32 Id = static_cast<uint32>( ::syscall( SYS_gettid ) );
    return Id;
#endif
}

int32 NZanPlatform::GetHardwareConcurrency()
{
    const long Count = sysconf( _SC_NPROCESSORS_ONLN );
    return Count > 0 ? static_cast<int32>( Count ) : 0;
}

int64 NZanPlatform::GetTimeNs()
{
    timespec Time;
    clock_gettime( CLOCK_MONOTONIC, &Time );
    return int64( Time.tv_sec ) * 1'000'000'000 + Time.tv_nsec;
}

// None of these calls can fail on a mutex of the default kind that is used as the class asks.

NZanPlatform::CSlimLock::~CSlimLock() { pthread_mutex_destroy( &_Mutex ); }

void NZanPlatform::CSlimLock::lock() { pthread_mutex_lock( &_Mutex ); }

bool NZanPlatform::CSlimLock::try_lock() { return pthread_mutex_trylock( &_Mutex ) == 0; }

void NZanPlatform::CSlimLock::unlock() { pthread_mutex_unlock( &_Mutex ); }
