#pragma once

#include <string>
#include <utility>

// The exit status of the client, also in its help. Of several failures the first one counts.
enum class ExitStatus : int
{
    Success = 0,
    CommandFailed = 1,
    Usage = 2,
    WorkbenchLost = 3,
    TimedOut = 4,
    Interrupted = 5,
    Deviation = 6,
};

// What keeps the client from going on: a message for the user (without a line end) and the exit status. Thrown by the
// client's classes, caught by those that run commands and by the entry.
class ClientError
{
public:
    ClientError(ExitStatus status, std::wstring message) : m_status(status), m_message(std::move(message)) {}

    ExitStatus Status() const noexcept { return m_status; }
    const std::wstring& Message() const noexcept { return m_message; }

private:
    ExitStatus m_status;
    std::wstring m_message;
};

// "what: the system's text for the error code (the code)".
std::wstring SystemFailure(const std::wstring& what, unsigned long error);
