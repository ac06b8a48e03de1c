#include "zan_core/zan_log.h"

namespace
{
const SLogCategory GLogCategories[] = {
    { LogCategoryError, "Hartenvold Error" },
    { 2, "Hartenvold Debug" },
    { 3, "System Debug" },
    { 4, "Kernel Release" },
    { 5, "Text Warnings" },
    { 6, "Profiler Log" },
    { 7, "Messaging debug" },
    { 8, "Executed commands debug" },
    { 9, "hv" },
    { 10, "hv_gui" },
    { 11, "hv_graphics" },
    { 12, "hv_ecs" },
};
} // namespace
