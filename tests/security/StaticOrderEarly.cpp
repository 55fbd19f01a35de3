#include "OrvProfiler/foundation/Trace.h"

// A static object that is constructed before all others of the program, the library's included, and so destroyed
// after them. See StaticOrderTest.cpp.

#ifdef _MSC_VER
#pragma warning(disable : 4073)
#pragma init_seg(lib)
#define ORV_CONSTRUCT_FIRST
#else
#define ORV_CONSTRUCT_FIRST __attribute__((init_priority(101)))
#endif

namespace
{
class EarlyObject
{
public:
    EarlyObject() noexcept
    {
        Trace(L"%6.0f %s %s\n", TickMs(), L"EarlyObject::EarlyObject", FormatSlot(L"slot of %d", 1));
    }
    ~EarlyObject() { Trace(L"%6.0f %s %s\n", TickMs(), L"EarlyObject::~EarlyObject", FormatSlot(L"slot of %d", 2)); }
    EarlyObject(const EarlyObject&) = delete;
    EarlyObject& operator=(const EarlyObject&) = delete;
};

ORV_CONSTRUCT_FIRST EarlyObject g_earlyObject;
} // namespace
