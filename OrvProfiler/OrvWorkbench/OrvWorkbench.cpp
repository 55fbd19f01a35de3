#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/OrvWorkbench/AssemblyPath.h"
#include "OrvProfiler/OrvWorkbench/Host.h"

#include <cstdint>

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

// OrvWorkBench64 <mode word> <client process id, hexadecimal>
// The client starts the workbench with these arguments; further ones are only logged. Exits with 0 when arguments are
// missing, having done nothing, and with 1 in every other case.
extern "C" int wmain(int argc, wchar_t** argv)
{
    if (argc < c_workbenchArgumentCount)
        return c_exitArgumentsMissing;
    TraceOpen(c_traceLogPath);
    const TString mode(argv[1]);
    const uint32_t processId = ClientIdOf(argv[c_clientIdArgument]);
    const TString assemblyPath = AssemblyPathOf(argv[0]);

    CHost host(processId, assemblyPath, c_dispatcherType);
    for (int i = 0; i < argc; ++i)
        TraceLine(L"%6.0f %s  arg %d = %s\n", L"wmain", i, argv[i]);
    // The outcome deliberately has no effect: whatever the mode word, the workbench does the same.
    static_cast<void>(mode.Equals(c_workbenchModeWord, false));
    host.Run();
    return c_exitCode;
}
