#include "OrvProfiler/foundation/Path.h"
#include "OrvProfiler/security/ProxySecurity.h"

// The static objects of the process in the order of their construction, which the language guarantees only within one
// source file. They trace while they are constructed and destroyed: the trace log is ready for that at any time,
// since its state is constant-initialised and never destroyed. Whatever uses one of them links all of them.
CProxySecManager g_SecManager;
CNetDrives g_NetDrives;

const SystemFunctionTable& GetSystemFunctions() noexcept
{
    return g_SecManager.m_functions;
}
