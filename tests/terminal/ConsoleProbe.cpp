// Reads lines as the client's prompt does, and tells what the console did: for what a console lacks.
#include <windows.h>

#include <string>

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain();

namespace
{
constexpr ULONG c_wakeupMask = 1U << L'\t' | 1U << 0x1A;
constexpr wchar_t c_prompt[] = L"probe> ";

void Write(const std::wstring& text)
{
    DWORD written = 0;
    WriteConsoleW(GetStdHandle(STD_OUTPUT_HANDLE), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

SHORT CursorColumn()
{
    CONSOLE_SCREEN_BUFFER_INFO info = {};
    GetConsoleScreenBufferInfo(GetStdHandle(STD_OUTPUT_HANDLE), &info);
    return info.dwCursorPosition.X;
}

BOOL WINAPI Ignore(DWORD /*control*/)
{
    return TRUE;
}
} // namespace

extern "C" int wmain()
{
    SetConsoleCtrlHandler(Ignore, TRUE);
    for (;;)
    {
        Write(c_prompt);
        wchar_t line[1000];
        DWORD size = 0;
        CONSOLE_READCONSOLE_CONTROL control = {sizeof control, 0, c_wakeupMask, 0};
        SetLastError(ERROR_SUCCESS);
        const BOOL hasRead = ReadConsoleW(GetStdHandle(STD_INPUT_HANDLE), line, 1000, &size, &control);
        const bool isAborted = GetLastError() == ERROR_OPERATION_ABORTED;
        const std::wstring text(line, size);
        const SHORT column = CursorColumn();
        if (isAborted)
            Write(L"\naborted\n");
        else if (hasRead == FALSE || text == L"quit\r\n")
            return 0;
        else if (text.find(L'\x1A') != std::wstring::npos)
            Write(L"\nCtrl-Z\n");
        else if (text.find(L'\t') != std::wstring::npos)
            Write(L"\nTab, column " + std::to_wstring(column) + L", keys " +
                  std::to_wstring(control.dwControlKeyState) + L"\n");
        else
            Write(L"line\n");
    }
}
