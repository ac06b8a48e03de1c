#include "zan_core/zan_assert.h"
#include "zan_core/zan_log.h"

#include <cstdio>

// Names nothing of the source that registers the library's log categories, and wants them all the same.
int main()
{
    zan_assert( true );
    for ( int32 Id = 1; Id <= 12; ++Id )
    {
        if ( FindLogCategory( Id ) == nullptr )
        {
            std::printf( "log category %d was dropped by the linker\n", Id );
            return 1;
        }
    }
    return FindLogCategoryId( "hv_ecs" ) == 12 ? 0 : 1;
}
