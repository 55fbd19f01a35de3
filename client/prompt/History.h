#pragma once

#include <cstddef>
#include <string>
#include <vector>

// The commands that a user has given, the oldest first, kept in a file from session to session. Sessions side by side
// each add to the file. Without a file, or with one that cannot be written, there is this session's part alone.
class History
{
public:
    static constexpr size_t c_keptLines = 1000;

    // A file in UTF-8, one command per line; empty: none. It is made, with its folder, when there is something for
    // it; when it has grown to twice what is kept, it is cut.
    explicit History(std::wstring path);

    const std::vector<std::wstring>& Lines() const noexcept { return m_lines; }
    // Unless it is the same as the last one.
    void Add(const std::wstring& line);

private:
    std::wstring m_path;
    std::vector<std::wstring> m_lines;
};

// The file that the environment variable ORV_CLIENT_HISTORY names; without it one in the user's local application
// data. Empty when the variable says "off", or the user has no such folder.
std::wstring HistoryPath();
