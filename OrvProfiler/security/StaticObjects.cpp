#include "OrvProfiler/foundation/Path.h"
#include "OrvProfiler/security/ProxySecurity.h"

// The process's static objects, in the order of their construction: only within one source file does the language
// guarantee it. They trace while they are constructed and destroyed. The trace log is always ready for that, because
// its state is constant-initialised and never destroyed. A program that uses one of the objects links all of them.
CProxySecManager g_SecManager;
CNetDrives g_NetDrives;

const SystemFunctionTable& GetSystemFunctions() noexcept
{
    return g_SecManager.m_functions;
}
