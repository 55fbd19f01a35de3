#pragma once

#include "tests/support/faults/ImportRedirect.h"

#include <string>
#include <vector>

// Collects the lines that the product traces while it lives, in place of the debugger output, as full UTF-16 text.
// One at a time; lines may come from any thread.
class TraceCapture
{
public:
    TraceCapture();
    ~TraceCapture();
    TraceCapture(const TraceCapture&) = delete;
    TraceCapture& operator=(const TraceCapture&) = delete;

    // The lines as they were written, "\n" included.
    std::vector<std::wstring> Raw() const;
    // The lines without the time at their head, as "CWBEvent::Wait Waiting\n\n".
    std::vector<std::wstring> Lines() const;
    void Clear();

private:
    // The type of OutputDebugStringW, spelled out so that this header does not need <windows.h>.
    Redirect<void(const wchar_t*)> m_redirect;
};

// A trace line without its time ("%6.0f "): throws std::runtime_error when the line does not begin with one.
std::wstring WithoutTime(const std::wstring& line);
