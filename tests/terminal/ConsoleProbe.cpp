// Reads lines as the client's prompt does, and tells what the console did: for what a console lacks. The line "break"
// presses Ctrl-Break.
//
// With the path of a file it keeps that file from all others, tells "kept", and goes with its input.
#include <windows.h>

#include <string>

// Called by the C runtime, which declares it nowhere.
extern "C" int wmain(int argc, wchar_t** argv);

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

int KeepFile(const wchar_t* path)
{
    if (CreateFileW(path, GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0, nullptr) == INVALID_HANDLE_VALUE)
        return 1;
    DWORD size = 0;
    char end = 0;
    WriteFile(GetStdHandle(STD_OUTPUT_HANDLE), "kept\n", 5, &size, nullptr);
    ReadFile(GetStdHandle(STD_INPUT_HANDLE), &end, 1, &size, nullptr);
    return 0;
}
} // namespace

extern "C" int wmain(int argc, wchar_t** argv)
{
    if (argc == 2)
        return KeepFile(argv[1]);
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
        else if (text == L"break\r\n")
            Write(GenerateConsoleCtrlEvent(CTRL_BREAK_EVENT, 0) != FALSE ? L"pressed\n" : L"refused\n");
        else
            Write(L"line " + text);
    }
}
