#pragma once

#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <stdexcept>
#include <string>

// A named pipe of the test's own, which one client can open like a file, and to which nobody ever writes.
class OwnPipe
{
public:
    // Throws std::runtime_error when it cannot be had.
    OwnPipe()
        : m_path(L"\\\\.\\pipe\\" + FreshName(L"pipe")),
          m_pipe(
              CreateNamedPipeW(m_path.c_str(), PIPE_ACCESS_OUTBOUND, PIPE_TYPE_BYTE | PIPE_WAIT, 1, 0, 0, 0, nullptr))
    {
        if (m_pipe == INVALID_HANDLE_VALUE)
            throw std::runtime_error("no pipe");
    }
    ~OwnPipe() { CloseHandle(m_pipe); }
    OwnPipe(const OwnPipe&) = delete;
    OwnPipe& operator=(const OwnPipe&) = delete;

    const wchar_t* Path() const noexcept { return m_path.c_str(); }

private:
    std::wstring m_path;
    HANDLE m_pipe;
};
