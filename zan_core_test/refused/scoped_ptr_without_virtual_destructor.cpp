// refused: give the base class a virtual destructor
#include "zan_core/holders/zan_scoped_ptr.h"

struct SBase
{};
struct SDerived : SBase
{};
CZanScopedPtr<SDerived> Owner( new SDerived );
#if REFUSED
CZanScopedPtr<SBase> Base( new SDerived );
#endif
