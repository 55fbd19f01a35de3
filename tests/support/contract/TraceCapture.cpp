#include "tests/support/contract/TraceCapture.h"

#include "tests/support/faults/AllocationProbe.h"

#include <algorithm>
#include <cwctype>
#include <mutex>

namespace
{
std::mutex g_mutex;
std::vector<std::wstring> g_lines;

void Collect(const wchar_t* line)
{
    const AllocationProbe::Unwatched unwatched;
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.emplace_back(line);
}
} // namespace

TraceCapture::TraceCapture() : m_redirect("OutputDebugStringW", Collect)
{
    Clear();
}

TraceCapture::~TraceCapture()
{
    Clear();
}

std::vector<std::wstring> TraceCapture::Raw() const
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    return g_lines;
}

std::vector<std::wstring> TraceCapture::Lines() const
{
    std::vector<std::wstring> lines = Raw();
    std::transform(lines.begin(), lines.end(), lines.begin(), WithoutTime);
    return lines;
}

void TraceCapture::Clear()
{
    const std::lock_guard<std::mutex> lock(g_mutex);
    g_lines.clear();
}

std::wstring WithoutTime(const std::wstring& line)
{
    size_t end = line.find_first_not_of(L' ');
    const size_t digits = end;
    while (end < line.size() && std::iswdigit(line[end]) != 0)
        ++end;
    if (end == digits || end < 6 || end >= line.size() || line[end] != L' ')
        throw std::runtime_error("a trace line does not begin with its time");
    return line.substr(end + 1);
}
