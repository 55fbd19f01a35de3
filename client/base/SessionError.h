#pragma once

#include <stdexcept>
#include <string>

// Why the client's side of a workbench cannot go on.
enum class SessionFailure
{
    // What was asked for cannot be done, for example a command that there is not. Nothing has changed.
    BadRequest,
    // There is no workbench: it could not be started or found, or has ended.
    NoWorkbench,
    TimedOut,
    Interrupted,
};

// What the session library throws.
class SessionError : public std::runtime_error
{
public:
    SessionError(SessionFailure failure, std::wstring message);

    SessionFailure Failure() const noexcept { return m_failure; }
    // For the user, without a line end; what() is the same in UTF-8.
    const std::wstring& Message() const noexcept { return m_message; }

private:
    SessionFailure m_failure;
    std::wstring m_message;
};
