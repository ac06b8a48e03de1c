// refused: include the type's definition where its owner lets go of it
#include "zan_core/holders/zan_scoped_ptr.h"

class CIncomplete;
void Keep( CZanScopedPtr<CIncomplete>& Owner );
#if REFUSED
void Delete( CZanScopedPtr<CIncomplete>& Owner ) { Owner.Reset(); }
#endif
