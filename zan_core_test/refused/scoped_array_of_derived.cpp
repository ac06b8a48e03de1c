// refused: no matching
#include "zan_core/holders/zan_scoped_ptr.h"

struct SBase
{
    virtual ~SBase() = default;
};
struct SDerived : SBase
{};
CZanScopedPtr<SBase> Owner( new SDerived );
#if REFUSED
CZanScopedArray<SBase> Array( new SDerived[ 2 ] );
#endif
