#include "client/session/NotifyWindow.h"

#include "client/base/SessionError.h"
#include "client/base/SystemFailure.h"
#include "OrvProfiler/protocol/WorkbenchMessages.h"

#include <windows.h>

#include <utility>

namespace
{
constexpr const wchar_t* c_className = L"OrvClientNotify";

LRESULT CALLBACK OnMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    switch (message)
    {
    case WM_WORKBENCH_READY:
    case WM_WORKBENCH_IDLE:
    case WM_WORKBENCH_EXITING:
        break;
    default:
        return DefWindowProcW(window, message, wParam, lParam);
    }
    auto* const handler = reinterpret_cast<NotifyWindow::Handler*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (handler != nullptr && *handler)
        (*handler)(message);
    return 1;
}

void RegisterOnce()
{
    WNDCLASSEXW windowClass{};
    windowClass.cbSize = sizeof windowClass;
    windowClass.lpfnWndProc = OnMessage;
    windowClass.hInstance = GetModuleHandleW(nullptr);
    windowClass.lpszClassName = c_className;
    // A second registration fails, which is fine: the class is the same.
    RegisterClassExW(&windowClass);
}
} // namespace

NotifyWindow::NotifyWindow(Handler handler) : m_handler(std::move(handler))
{
    RegisterOnce();
    m_window.Reset(CreateWindowExW(0, c_className, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr,
                                   GetModuleHandleW(nullptr), nullptr));
    const DWORD error = GetLastError();
    if (!m_window)
        throw SessionError(SessionFailure::NoWorkbench,
                           SystemFailure(L"the notification window cannot be made", error));
    SetWindowLongPtrW(m_window.Get(), GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&m_handler));
}

void NotifyWindow::WindowTraits::Close(HWND window) noexcept
{
    const DWORD error = GetLastError();
    DestroyWindow(window);
    SetLastError(error);
}

void NotifyWindow::Pump()
{
    MSG message{};
    while (PeekMessageW(&message, nullptr, 0, 0, PM_REMOVE) != FALSE)
        DispatchMessageW(&message);
}
