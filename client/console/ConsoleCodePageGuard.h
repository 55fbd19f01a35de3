#pragma once

// Restores the console's output code page when it is destroyed: managed code in the workbench may change it, and the
// change would outlive both programs.
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
