#include "bench/BenchSession.h"

#include <windows.h>

#include <cstdint>
#include <cwchar>
#include <exception>
#include <iostream>

// Plays the client of one whole session, for a tool that watches what the workbench does meanwhile.
//     OrvSessionDriver OrvWorkBench64.exe|OrvBareWorkbench.exe load|invoke <number of commands>

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

namespace
{
void RunSession(const wchar_t* program, bool invoke, uint32_t commands)
{
    const BenchClient client(GetCurrentProcessId());
    const BenchWorkbench workbench(client, program, L"session");
    for (uint32_t i = 0; i < commands; ++i)
        invoke ? client.Invoke() : client.Load();
    client.Stop();
    workbench.WaitExit();
}
} // namespace

extern "C" int wmain(int argc, wchar_t** argv)
{
    if (argc != 4)
        return 2;
    try
    {
        RunSession(argv[1], std::wcscmp(argv[2], L"invoke") == 0, std::wcstoul(argv[3], nullptr, 10));
        return 0;
    }
    catch (const std::exception& error)
    {
        std::cerr << "OrvSessionDriver: " << error.what() << '\n';
        return 1;
    }
}
