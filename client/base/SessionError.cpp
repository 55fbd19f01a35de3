#include "client/base/SessionError.h"

#include "client/base/Text.h"

#include <utility>

SessionError::SessionError(SessionFailure failure, std::wstring message)
    : std::runtime_error(ToUtf8(message)), m_failure(failure), m_message(std::move(message))
{
}
