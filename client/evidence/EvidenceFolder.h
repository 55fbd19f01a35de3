#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

// The files of which the evidence of a lost call can consist.
constexpr const wchar_t* c_evidenceReportFile = L"report.txt";
constexpr const wchar_t* c_evidenceStacksFile = L"stacks.txt";
constexpr const wchar_t* c_evidenceDumpFile = L"workbench.dmp";
constexpr const wchar_t* c_evidenceLogFile = L"trace.log";
constexpr const wchar_t* c_evidenceOutputFile = L"output.txt";

// A new folder for the evidence of one lost call. Of its like in the same place the newest are kept.
class EvidenceFolder
{
public:
    static constexpr size_t c_keptFolders = 10;

    // Makes "2026-11-22_13-30-12_5120" (the time in UTC, the workbench's process id) in that place, a folder that is
    // made as well when it is not there; then removes the oldest until no more than c_keptFolders are left. Of those
    // only the files above go: a folder that holds others stays. When it cannot be made Path is empty, and Failure
    // tells why.
    EvidenceFolder(const std::wstring& place, uint32_t workbenchId);

    // With a separator at its end.
    const std::wstring& Path() const noexcept { return m_path; }
    const std::wstring& Failure() const noexcept { return m_failure; }

    // Null when the file cannot be made.
    UniqueHandle Create(const wchar_t* file) const noexcept;
    // False when it could not be written whole; what there is of it stays.
    bool Write(const wchar_t* file, std::string_view bytes) const noexcept;
    void Remove(const wchar_t* file) const noexcept;

private:
    std::wstring m_path;
    std::wstring m_failure;
};
