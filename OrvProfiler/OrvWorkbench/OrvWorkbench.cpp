#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/OrvWorkbench/AssemblyPath.h"
#include "OrvProfiler/OrvWorkbench/Host.h"

#include <cstdint>

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

// The entry of OrvWorkBench64, which its client starts (WorkbenchCommandLine.h; docs/orvworkbench64.md). Does nothing
// when arguments are missing; further ones are only logged.
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
    // Deliberately without effect: whatever the mode word, the workbench does the same.
    static_cast<void>(mode.Equals(c_workbenchModeWord, false));
    host.Run();
    return c_exitCode;
}
