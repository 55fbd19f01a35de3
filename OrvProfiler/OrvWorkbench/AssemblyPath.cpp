#include "OrvProfiler/OrvWorkbench/AssemblyPath.h"

#include "OrvProfiler/protocol/WorkbenchFiles.h"

#include <string_view>

TString AssemblyPathOf(const TString& programPath)
{
    const wchar_t* const text = programPath.GetBuffer();
    const std::wstring_view path = text != nullptr ? text : L"";
    const std::wstring_view name = ProgramBaseName(path);
    TString assembly = programPath.Mid(static_cast<uint64_t>(name.data() - path.data()), name.size());
    assembly += c_dispatcherExtension;
    return assembly;
}
