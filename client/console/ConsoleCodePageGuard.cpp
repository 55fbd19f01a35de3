#include "client/console/ConsoleCodePageGuard.h"

#include <windows.h>

ConsoleCodePageGuard::ConsoleCodePageGuard() : m_codePage(GetConsoleOutputCP()) {}

ConsoleCodePageGuard::~ConsoleCodePageGuard()
{
    if (m_codePage != 0 && m_codePage != GetConsoleOutputCP())
        SetConsoleOutputCP(m_codePage);
}
