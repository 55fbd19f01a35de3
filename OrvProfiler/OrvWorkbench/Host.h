#pragma once

#include "OrvProfiler/foundation/TString.h"
#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/objects/WBEvent.h"
#include "OrvProfiler/protocol/ActionResult.h"
#include "OrvProfiler/protocol/ManagedMethods.h"
#include "OrvProfiler/protocol/WorkbenchCommandLine.h"
#include "OrvProfiler/protocol/WorkbenchFiles.h"
#include "OrvProfiler/protocol/WorkbenchMessages.h"

#include <cstdint>
#include <memory>

struct ICLRRuntimeHost;

// The name that the log prints for a result. For a value outside 0 to 13, a text with the number, which is a
// formatting slot's (Trace.h).
const wchar_t* ActionResultName(int32_t result) noexcept;

// The body of the workbench: hosts the managed runtime, and serves the commands of one client. The runtime is bound
// at version "v2.0.50727" and never stopped. Everything runs on the thread that constructs the host. One per process.
// The order of the fields is the family's.
class CHost
{
public:
    // Creates or opens the workbench events of the client process id, then binds and starts the runtime. The texts
    // are copied: the managed assembly's file name, handed to the runtime as it stands, and the dispatcher type's
    // full name. A runtime that cannot be had is traced, and every call of the dispatcher then fails; without memory
    // for the events every wait does.
    CHost(uint32_t processId, const wchar_t* assemblyPath, const wchar_t* typeName);
    // Closes the trace log file before it releases the runtime: what is traced afterwards reaches the debugger only.
    // An exception, of the runtime's release for example, ends the process with c_exitCode.
    virtual ~CHost();
    CHost(const CHost&) = delete;
    CHost& operator=(const CHost&) = delete;

    // Makes the process's share if there is none and opens it, or creates it, for the client process id. Also true
    // when the share cannot be had, which is traced; false only when an exception passes.
    bool Init();

    // Serves the client: tells its window that the workbench is ready, carries out commands until the stop event, a
    // failed or abandoned wait, or an exception of the language or of Windows (GuardedCall.h), and tells the window
    // that the workbench exits. Returns 1 then; 0 at once when there is no share or the client left no window in it.
    // An exception while it tells the window ends the process with c_exitCode.
    int Run();

    // Calls a static method of the dispatcher type with one string. Returns the method's result, or ActionFail, with
    // a trace line, when it could not be called.
    int32_t Execute(const wchar_t* methodName, const wchar_t* argument);

    // Signals success, tells the client's window that the workbench is idle, and calls the dispatcher's breakpoint
    // method, in which a debugger may hold the process. Returns ActionSuccess, whatever comes of it.
    int32_t Breakpoint();

private:
    void BindRuntime();
    HRESULT CallManaged(const wchar_t* methodName, const wchar_t* argument, DWORD& returnValue);
    void ServeCommands();
    bool ServeNext();
    void CarryOut(uint32_t index);
    int32_t Dispatch(uint32_t index, const TString& text);
    void Report(int32_t result);
    void Respond(uint32_t response);

    struct RuntimeHostTraits
    {
        using Handle = ICLRRuntimeHost*;
        static constexpr Handle None() noexcept { return nullptr; }
        static void Close(Handle host) noexcept;
    };

    // One reference; none until bound.
    BasicUniqueHandle<RuntimeHostTraits> m_pRuntimeHost;
    // The status of the last runtime call.
    HRESULT m_hr = 0;
    TString m_assemblyPath;
    TString m_typeName;
    // Null when there was no memory for it: nothing can then be waited for or answered.
    std::unique_ptr<CWBEvent> m_pEvents;
};

// The client process id that the host was constructed with, and the client's window, read from the share by Run.
extern uint32_t g_sharePid;
extern HWND g_hZephWnd;
