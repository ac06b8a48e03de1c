#include "zan_core/numerics/zan_noise_random.h"
#include "zan_test/include/zan_test_catch.h"

#include <limits>

TEST_CASE( "SNoiseRandom", "[noise_random]" )
{
    // Worked out elsewhere: other machines have to come to the same.
    SNoiseRandom Random{ 0xEDE419C6, 0 };
    REQUIRE( ( Random.Draw() == 0xCBAE8956 && Random.DrawUint64() == 0x3DCEAEBBAF07FD5D ) );
    REQUIRE( ( Random._Position == 0xEDE419C9 && SNoiseRandom{ 0, 322376503 }.Draw() == 0xE89FCBC2 ) );
    REQUIRE( SNoiseRandom{ 0xEDE419C6, 0 }.DrawFloat() == 0x4BAE8980 / 2147483648.0f );

    int32 Counts[ 7 ] = {};
    for ( int32 i = 0; i < 7000; ++i )
    {
        ++Counts[ Random.DrawInRange( i % 2 == 0 ? 3 : -3, i % 2 == 0 ? -3 : 3 ) + 3 ];
    }
    for ( const int32 Count : Counts )
    {
        REQUIRE( ( Count > 800 && Count < 1200 ) );
    }
    constexpr int32 Lowest = std::numeric_limits<int32>::min();
    REQUIRE( SNoiseRandom{ 0xEDE419C6, 0 }.DrawInRange( ~Lowest, Lowest ) == Lowest + 0x4BAE8956 );
    REQUIRE( ( Random.DrawInRange( 5, 5 ) == 5 && Random.DrawInRange( Lowest, Lowest ) == Lowest ) );
}
