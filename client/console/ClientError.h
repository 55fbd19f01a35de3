#pragma once

#include "client/base/SessionError.h"
#include "client/console/ExitStatus.h"

#include <string>
#include <utility>

// What keeps the client program from going on: a message for the user (without a line end) and the exit status.
class ClientError
{
public:
    ClientError(ExitStatus status, std::wstring message) : m_status(status), m_message(std::move(message)) {}
    explicit ClientError(const SessionError& error);

    ExitStatus Status() const noexcept { return m_status; }
    const std::wstring& Message() const noexcept { return m_message; }

private:
    ExitStatus m_status;
    std::wstring m_message;
};
