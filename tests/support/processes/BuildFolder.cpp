#include "tests/support/processes/BuildFolder.h"

#include <windows.h>

#include <stdexcept>

// Test programs lie in "tests", or in a folder below it that bears the configuration's name; what lies in the other
// folders has the same folder below them.
std::wstring BuildFolder(const std::wstring& name)
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    path.resize(path.rfind(L'\\'));
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
