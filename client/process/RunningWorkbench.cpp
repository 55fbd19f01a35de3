#include "client/process/RunningWorkbench.h"

#include "client/base/SessionError.h"
#include "OrvProfiler/protocol/WorkbenchCommandLine.h"
#include "OrvProfiler/security/ProxyProcess.h"
#include "OrvProfiler/security/ProxySecurity.h"

#include <windows.h>

#include <shellapi.h>

#include <memory>
#include <string>

namespace
{
std::wstring CommandLineOf(uint32_t processId)
{
    // A workbench may run under another account, whose name this process may not be allowed to ask.
    CProxySecManager::s_allowNoUser = true;
    const std::unique_ptr<CProxySecManager::CProcess> process(g_SecManager.OpenProcessObject(processId));
    if (process == nullptr)
        throw SessionError(SessionFailure::NoWorkbench,
                           L"there is no process " + std::to_wstring(processId) + L", or it cannot be looked at");
    return process->GetCommandLineText().GetBuffer();
}

struct LocalFreeDeleter
{
    void operator()(wchar_t** memory) const noexcept { LocalFree(memory); }
};
} // namespace

RunningWorkbench FindWorkbench(uint32_t processId, std::optional<uint32_t> clientId)
{
    if (clientId)
        return {processId, *clientId};
    const std::wstring commandLine = CommandLineOf(processId);
    int count = 0;
    const std::unique_ptr<wchar_t*, LocalFreeDeleter> arguments(
        commandLine.empty() ? nullptr : CommandLineToArgvW(commandLine.c_str(), &count));
    if (arguments == nullptr || count < c_workbenchArgumentCount)
        throw SessionError(SessionFailure::BadRequest,
                           L"process " + std::to_wstring(processId) +
                               L" is no workbench: its command line names no client id (--client "
                               L"gives one)");
    return {processId, ClientIdOf(arguments.get()[c_clientIdArgument])};
}
