#include "client/evidence/EvidenceFolder.h"

#include "client/base/Folders.h"
#include "client/base/SystemFailure.h"
#include "client/base/UniqueFileSearch.h"
#include "OrvProfiler/foundation/Trace.h"

#include <windows.h>

#include <algorithm>
#include <vector>

namespace
{
constexpr const wchar_t* c_files[] = {c_evidenceStacksFile, c_evidenceDumpFile, c_evidenceLogFile,
                                      c_evidenceOutputFile, c_evidenceReportFile};
constexpr std::wstring_view c_pattern = L"dddd-dd-dd_dd-dd-dd_";

std::wstring NameFor(uint32_t workbenchId)
{
    SYSTEMTIME now{};
    GetSystemTime(&now);
    return FormatSlot(L"%04u-%02u-%02u_%02u-%02u-%02u_%u", now.wYear, now.wMonth, now.wDay, now.wHour, now.wMinute,
                      now.wSecond, workbenchId);
}

bool IsDigit(wchar_t unit) noexcept
{
    return unit >= L'0' && unit <= L'9';
}

bool IsOurs(std::wstring_view name) noexcept
{
    return name.size() > c_pattern.size() &&
           std::equal(c_pattern.begin(), c_pattern.end(), name.begin(),
                      [](wchar_t mark, wchar_t unit) { return mark == L'd' ? IsDigit(unit) : mark == unit; }) &&
           std::all_of(name.begin() + c_pattern.size(), name.end(), IsDigit);
}

// By their names, so the oldest first.
std::vector<std::wstring> FoldersIn(const std::wstring& place)
{
    std::vector<std::wstring> names;
    WIN32_FIND_DATAW found{};
    const UniqueFileSearch find(FindFirstFileW((place + L"*").c_str(), &found));
    for (bool isThere = static_cast<bool>(find); isThere; isThere = FindNextFileW(find.Get(), &found) != FALSE)
        if ((found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0 && IsOurs(found.cFileName))
            names.emplace_back(found.cFileName);
    std::sort(names.begin(), names.end());
    return names;
}

void RemoveOldest(const std::wstring& place, const std::wstring& kept)
{
    const std::vector<std::wstring> names = FoldersIn(place);
    for (size_t i = 0; i + EvidenceFolder::c_keptFolders < names.size(); ++i)
    {
        if (names[i] == kept)
            continue;
        const std::wstring folder = place + names[i] + L"\\";
        for (const wchar_t* file : c_files)
            DeleteFileW((folder + file).c_str());
        RemoveDirectoryW(folder.c_str());
    }
}
} // namespace

EvidenceFolder::EvidenceFolder(const std::wstring& place, uint32_t workbenchId)
{
    const std::wstring name = NameFor(workbenchId);
    if (!MakeFolders(place) || !MakeFolders(place + name))
    {
        m_failure = SystemFailure(place + name + L" cannot be made", GetLastError());
        return;
    }
    m_path = place + name + L"\\";
    RemoveOldest(place, name);
}

UniqueHandle EvidenceFolder::Create(const wchar_t* file) const noexcept
{
    return UniqueHandle::FromFile(CreateFileW((m_path + file).c_str(), GENERIC_READ | GENERIC_WRITE, FILE_SHARE_READ,
                                              nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool EvidenceFolder::Write(const wchar_t* file, std::string_view bytes) const noexcept
{
    const UniqueHandle created = Create(file);
    DWORD written = 0;
    return created &&
           WriteFile(created.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr) != FALSE &&
           written == bytes.size();
}

void EvidenceFolder::Remove(const wchar_t* file) const noexcept
{
    DeleteFileW((m_path + file).c_str());
}
