#include "tests/support/faults/ImportRedirect.h"

#include "tests/support/faults/CallRecorder.h"

#include <windows.h>

#include <gmock/gmock.h>
#include <stdexcept>

#ifdef _MSC_VER
#define ORV_NOINLINE __declspec(noinline)
#else
#define ORV_NOINLINE __attribute__((noinline))
#endif

namespace
{
// A function of its own for the call: within one function the compiler may keep the import's address in a register.
ORV_NOINLINE DWORD AskProcessId()
{
    return GetCurrentProcessId();
}
} // namespace

TEST(ImportRedirect, IsInForceWhileItLivesAndUndoneAfterwards)
{
    const DWORD id = AskProcessId();
    {
        const Redirect<decltype(GetCurrentProcessId)> redirect("GetCurrentProcessId", [] { return DWORD{12}; });
        EXPECT_EQ(12U, AskProcessId());
        EXPECT_EQ(id, redirect.Real()());
    }
    EXPECT_EQ(id, AskProcessId());
}

TEST(ImportRedirect, RefusesAFunctionThatIsNotImported)
{
    EXPECT_THROW(ImportTableEntry("NoSuchFunction", nullptr), std::runtime_error);
}
