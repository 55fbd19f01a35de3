#include "OrvProfiler/OrvWorkbench/AssemblyPath.h"

TString AssemblyPathOf(const TString& programPath)
{
    const uint64_t backslash = programPath.ReverseFind(L'\\', 0);
    const uint64_t start = backslash == TString::npos ? 0 : backslash + 1;
    const uint64_t dot = programPath.ReverseFind(L'.', 0);
    const bool hasExtension = dot != TString::npos && dot >= start;
    TString assembly = programPath.Mid(start, hasExtension ? dot - start : TString::npos);
    assembly += L".dll";
    return assembly;
}
