#pragma once

#include "client/base/PassingFile.h"

#include <cstdint>
#include <optional>
#include <string>

// In the environment of a workbench: the full path of a file to which the dispatcher adds one line of JSON, in UTF-8,
// about each command, before the command's method returns.
constexpr const wchar_t* c_resultFileVariable = L"ORV_WORKBENCH_RESULTS";

// The client's side of that file, which lies among the user's temporary files and goes with the object that made it,
// also when the process is killed. One thread.
class ResultFile
{
public:
    // Makes an empty file. When that fails Path is empty, and nothing is ever told.
    ResultFile();
    // The file that another client has made for its workbench, by the client's process id, from its end on.
    // Nothing when there is none, or more than one.
    static std::optional<ResultFile> OfOther(uint32_t clientId);

    const std::wstring& Path() const noexcept { return m_file.Path(); }

    // The last whole line that was added since the last call, without its end; empty when there is none.
    std::string TakeLine();
    // Takes all that was added up to now, unread.
    void SkipLines() noexcept { m_taken = m_file.Size(); }

private:
    explicit ResultFile(PassingFile&& file) noexcept;

    PassingFile m_file;
    uint64_t m_taken = 0;
};
