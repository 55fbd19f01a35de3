#pragma once

// Puts the console's output code page back at its end: managed code sets it, and it outlives the program.
class ConsoleCodePageGuard
{
public:
    ConsoleCodePageGuard();
    ~ConsoleCodePageGuard();
    ConsoleCodePageGuard(const ConsoleCodePageGuard&) = delete;
    ConsoleCodePageGuard& operator=(const ConsoleCodePageGuard&) = delete;

private:
    unsigned m_codePage;
};
