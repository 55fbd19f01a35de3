#include "tests/client/ScriptedClient.h"

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <windows.h>

#include <sstream>

namespace
{
std::string ReadRecord(const std::wstring& path)
{
    const UniqueHandle file = UniqueHandle::FromFile(CreateFileW(
        path.c_str(), GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr, OPEN_EXISTING, 0, nullptr));
    std::string text;
    char buffer[4096];
    DWORD size = 0;
    while (file && ReadFile(file.Get(), buffer, sizeof buffer, &size, nullptr) != FALSE && size != 0)
        text.append(buffer, size);
    return text;
}
} // namespace

const WorkbenchFolder& ScriptedFolder()
{
    static const WorkbenchFolder folder(
        {{L"bin\\OrvWorkBench64.exe", L"OrvWorkBench64.exe"}, {L"tests\\scripted\\mscoree.dll", L"mscoree.dll"}});
    return folder;
}

ClientRun::Setup Scripted(const std::vector<std::wstring>& arguments, const std::string& input)
{
    ClientRun::Setup setup;
    setup.workbenchFolder = ScriptedFolder().Path();
    setup.arguments = arguments;
    setup.input = input;
    return setup;
}

ClientResult Finish(const ClientRun::Setup& setup)
{
    const ClientRun run(setup);
    const int status = run.Wait();
    const std::string output = run.Output();
    return {status, Masked(output), output, run.Errors()};
}

std::vector<std::string> LinesOf(const std::string& text)
{
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);)
        lines.push_back(line);
    return lines;
}

std::vector<std::string> ScriptRecord::Calls() const
{
    std::vector<std::string> calls;
    for (const std::string& line : LinesOf(ReadRecord(m_file.Path())))
    {
        constexpr const char* methodMark = " method=\"";
        constexpr const char* argumentMark = "\" argument=\"";
        const size_t method = line.find(methodMark);
        const size_t argument = line.find(argumentMark);
        if (method == std::string::npos || argument == std::string::npos)
            continue;
        const size_t methodStart = method + std::string(methodMark).size();
        const size_t argumentStart = argument + std::string(argumentMark).size();
        const std::string name = line.substr(methodStart, argument - methodStart);
        if (name != "OrvBreakPoint")
            calls.push_back(name + ": " + line.substr(argumentStart, line.size() - 1 - argumentStart));
    }
    return calls;
}
