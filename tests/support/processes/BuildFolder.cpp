#include "tests/support/processes/BuildFolder.h"

#include <windows.h>

#include <stdexcept>

const std::wstring& OwnProgram()
{
    static const std::wstring program = [] {
        std::wstring path(32768, L'\0');
        path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
        return path;
    }();
    return program;
}

// Test programs lie in "tests", or in a folder below it that bears the configuration's name; what lies in the other
// folders has the same folder below them.
std::wstring BuildFolder(const std::wstring& name)
{
    const std::wstring path = OwnProgram().substr(0, OwnProgram().rfind(L'\\'));
    const std::wstring tests = L"\\tests";
    const size_t root = path.rfind(tests);
    if (root == std::wstring::npos)
        throw std::runtime_error("the test program does not lie in the build folder");
    return path.substr(0, root + 1) + name + path.substr(root + tests.size());
}

std::wstring BuildFile(const std::wstring& name)
{
    const size_t end = name.rfind(L'\\');
    return BuildFolder(name.substr(0, end)) + name.substr(end);
}
