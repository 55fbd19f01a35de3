#include "tests/support/processes/InProcessClient.h"

#include "OrvProfiler/security/ProxySecurity.h"

#include <windows.h>

#include <algorithm>
#include <cstring>
#include <iterator>
#include <stdexcept>

namespace
{
constexpr const wchar_t* c_windowClass = L"OrvInProcessClient";

bool HasBreakpoint(unsigned slot)
{
    const auto* const command = std::find_if(std::begin(contract::c_commands), std::end(contract::c_commands),
                                             [slot](const contract::Command& one) { return one.slot == slot; });
    return command != std::end(contract::c_commands) && command->breaks;
}

// Whether the message being handled was sent rather than posted.
bool IsSent()
{
    return (InSendMessageEx(nullptr) & (ISMEX_SEND | ISMEX_NOTIFY | ISMEX_CALLBACK)) != 0;
}

LRESULT CALLBACK OnWindowMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    const bool isWorkbenchs = message == contract::c_readyMessage || message == contract::c_idleMessage ||
                              message == contract::c_exitingMessage;
    auto* const handler = reinterpret_cast<NotificationWindow::Handler*>(GetWindowLongPtrW(window, GWLP_USERDATA));
    if (isWorkbenchs && handler != nullptr)
        return static_cast<LRESULT>((*handler)(message, wParam, lParam, IsSent()));
    if (message == WM_CLOSE)
        PostQuitMessage(0);
    return DefWindowProcW(window, message, wParam, lParam);
}
} // namespace

NotificationWindow::NotificationWindow(Handler handler)
    : m_handler(std::move(handler)), m_ready(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
      m_thread(CreateThread(nullptr, 0, Serve, this, 0, nullptr))
{
    if (WaitForSingleObject(m_ready.Get(), InProcessClient::c_timeoutMs) != WAIT_OBJECT_0 || m_window == 0)
        throw std::runtime_error("no notification window");
}

NotificationWindow::~NotificationWindow()
{
    PostMessageW(reinterpret_cast<HWND>(m_window), WM_CLOSE, 0, 0);
    WaitForSingleObject(m_thread.Get(), InProcessClient::c_timeoutMs);
}

DWORD __stdcall NotificationWindow::Serve(void* self)
{
    auto* const window = static_cast<NotificationWindow*>(self);
    WNDCLASSEXW type{};
    type.cbSize = sizeof type;
    type.lpfnWndProc = OnWindowMessage;
    type.hInstance = GetModuleHandleW(nullptr);
    type.lpszClassName = c_windowClass;
    RegisterClassExW(&type); // an earlier window of this process may have registered it
    HWND const handle =
        CreateWindowExW(0, c_windowClass, L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, type.hInstance, nullptr);
    if (handle != nullptr)
        SetWindowLongPtrW(handle, GWLP_USERDATA, reinterpret_cast<LONG_PTR>(&window->m_handler));
    window->m_window = reinterpret_cast<uintptr_t>(handle);
    SetEvent(window->m_ready.Get());
    MSG message{};
    while (handle != nullptr && GetMessageW(&message, nullptr, 0, 0) > 0)
        DispatchMessageW(&message);
    DestroyWindow(handle);
    return 0;
}

InProcessClient::InProcessClient(uint32_t id)
    : m_id(id), m_events(id), m_messageCame(CreateEventW(nullptr, FALSE, FALSE, nullptr))
{
    for (unsigned slot = 0; slot < contract::c_eventCount; ++slot)
        m_peek.emplace_back(g_SecManager.OrvPOpenEvent(c_sessionNone, SYNCHRONIZE | EVENT_MODIFY_STATE,
                                                       CWBEvent::EventName(static_cast<int32_t>(slot), id)));
    WhenIdle([this] { Clear(contract::c_success); });
}

InProcessClient::~InProcessClient() = default;

uint32_t InProcessClient::OwnId()
{
    return GetCurrentProcessId();
}

void InProcessClient::MakeShare()
{
    m_mapping.Reset(g_SecManager.OrvPCreateFileMapping(c_sessionNone, INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE,
                                                       0, contract::c_shareBytes, ShareName().c_str()));
    m_share = std::make_unique<CProxyShare>();
    if (!m_share->Create(m_id))
        throw std::runtime_error("the client's share cannot be had");
}

void InProcessClient::MakeWindow()
{
    m_window =
        std::make_unique<NotificationWindow>([this](unsigned message, uint64_t wParam, int64_t lParam, bool sent) {
            return OnMessage(message, wParam, lParam, sent);
        });
    StoreWindow(m_window->Handle());
}

void InProcessClient::MakeShareAndWindow()
{
    MakeShare();
    MakeWindow();
}

void InProcessClient::StoreWindow(uint64_t window)
{
    m_share->GetControl()->clientWindow = window;
}

void InProcessClient::WriteText(const std::wstring& text)
{
    std::memcpy(TextField(), text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

wchar_t* InProcessClient::TextField()
{
    return m_share->GetControl()->commandText;
}

void InProcessClient::Signal(unsigned slot)
{
    if (m_events.Set(slot) == 0)
        throw std::runtime_error("an event cannot be signalled");
}

bool InProcessClient::IsSignalled(unsigned slot) const
{
    return WaitForSingleObject(m_peek.at(slot).Get(), 0) == WAIT_OBJECT_0;
}

void InProcessClient::Clear(unsigned slot)
{
    ResetEvent(m_peek.at(slot).Get());
}

unsigned InProcessClient::WaitForResponse(unsigned timeoutMs)
{
    const uint32_t response = m_events.GetResponse(timeoutMs);
    if (response >= contract::c_eventCount)
        throw std::runtime_error("no response came");
    return response;
}

unsigned InProcessClient::Carry(unsigned slot, const std::wstring& text)
{
    const size_t before = Messages().size();
    WriteText(text);
    Signal(slot);
    // The breakpoint step's success is taken while the idle message is handled: look for a response only afterwards.
    if (HasBreakpoint(slot))
        WaitForMessages(before + 1);
    return WaitForResponse();
}

void InProcessClient::AnswerIdleWith(int64_t answer)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_idleAnswer = answer;
}

void InProcessClient::WhenIdle(std::function<void()> action)
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_whenIdle = std::move(action);
}

std::vector<WindowMessage> InProcessClient::Messages() const
{
    const std::lock_guard<std::mutex> lock(m_mutex);
    return m_messages;
}

std::vector<WindowMessage> InProcessClient::WaitForMessages(size_t count, unsigned timeoutMs) const
{
    const ULONGLONG end = GetTickCount64() + timeoutMs;
    for (;;)
    {
        std::vector<WindowMessage> messages = Messages();
        if (messages.size() >= count)
            return messages;
        const ULONGLONG now = GetTickCount64();
        if (now >= end || WaitForSingleObject(m_messageCame.Get(), static_cast<DWORD>(end - now)) != WAIT_OBJECT_0)
            throw std::runtime_error("a message did not come");
    }
}

// A message is noted when it has been handled, so whoever waited for the idle message may wait for a response next.
int64_t InProcessClient::OnMessage(unsigned message, uint64_t wParam, int64_t lParam, bool sent)
{
    const WindowMessage received{
        message, wParam, lParam, sent, IsSignalled(contract::c_success), IsSignalled(contract::c_failed)};
    std::function<void()> whenIdle;
    int64_t answer = 1;
    if (message == contract::c_idleMessage)
    {
        const std::lock_guard<std::mutex> lock(m_mutex);
        whenIdle = m_whenIdle;
        answer = m_idleAnswer;
    }
    if (whenIdle)
        whenIdle();
    const std::lock_guard<std::mutex> lock(m_mutex);
    m_messages.push_back(received);
    SetEvent(m_messageCame.Get());
    return answer;
}
