#include "zan_core/views/zan_bit.h"
#include "zan_test/include/zan_test_catch.h"

TEST_CASE( "ZanReverseBytes", "[byte][misc]" )
{
    REQUIRE( ( ZanReverseBytes<uint8>( 0xABu ) == 0xABu && ZanReverseBytes<uint16>( 0xABCDu ) == 0xCDABu ) );
    REQUIRE( ( ZanReverseBytes( 0 ) == 0 && ZanReverseBytes<uint32>( 0xABCDEF01u ) == 0x01EFCDABu ) );
    REQUIRE( ZanReverseBytes<uint64>( 0xABCDEF0123456789ull ) == 0x8967452301EFCDABull );
}
