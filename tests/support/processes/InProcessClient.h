#pragma once

#include "OrvProfiler/foundation/UniqueHandle.h"
#include "OrvProfiler/foundation/WinTypes.h"
#include "OrvProfiler/objects/WBEvent.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/support/contract/Contract.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

// A client of a workbench, played by the test's own process and made from the library as a real one: a share and
// events for a process id, and a notification window. It notes what reaches it; the tests say what they expect.

// One message as the notification window received it, in order.
struct WindowMessage
{
    unsigned message;
    uint64_t wParam;
    int64_t lParam;
    // Sent (the sender waits for the answer) rather than posted.
    bool sent;
    // Whether the success and the failed response were signalled when it came.
    bool success;
    bool failed;
};

// A message-only window with a thread of its own.
class NotificationWindow
{
public:
    // Called on the window's thread for each message of the workbench; its result is the answer.
    using Handler = std::function<int64_t(unsigned message, uint64_t wParam, int64_t lParam, bool sent)>;

    // Throws std::runtime_error when no window can be made.
    explicit NotificationWindow(Handler handler);
    ~NotificationWindow();
    NotificationWindow(const NotificationWindow&) = delete;
    NotificationWindow& operator=(const NotificationWindow&) = delete;

    uint64_t Handle() const noexcept { return m_window; }

private:
    static DWORD __stdcall Serve(void* self);

    Handler m_handler;
    uint64_t m_window = 0;
    UniqueHandle m_ready;
    UniqueHandle m_thread;
};

// Used by one thread; one share at a time in a process (see CProxyShare).
class InProcessClient
{
public:
    static constexpr unsigned c_timeoutMs = 30000;

    // Makes the events, neither share nor window. The id is this process's or one that no process has.
    explicit InProcessClient(uint32_t id);
    InProcessClient() : InProcessClient(OwnId()) {}
    ~InProcessClient();
    InProcessClient(const InProcessClient&) = delete;
    InProcessClient& operator=(const InProcessClient&) = delete;

    static uint32_t OwnId();
    uint32_t Id() const noexcept { return m_id; }
    // The id as it stands on the workbench's command line.
    std::wstring HexId() const { return contract::Hex(m_id); }
    std::wstring ShareName() const { return contract::ShareName(m_id); }

    // Creates the share. Throws std::runtime_error when it cannot be had.
    void MakeShare();
    // Opens the notification window and stores it in the share.
    void MakeWindow();
    // Both, as a client does before it starts its workbench.
    void MakeShareAndWindow();
    void StoreWindow(uint64_t window);
    uint64_t Window() const noexcept { return m_window != nullptr ? m_window->Handle() : 0; }
    // The window that the share has, also another client's.
    uint64_t StoredWindow() const noexcept { return m_share->GetControl()->clientWindow; }
    void WriteText(const std::wstring& text);
    // The command text's whole field, to be filled as a test likes.
    wchar_t* TextField();

    // Signals a slot, without a text.
    void Signal(unsigned slot);
    bool IsSignalled(unsigned slot) const;
    // Any thread.
    void Clear(unsigned slot);
    // The next response: 8, 9 or 10, then no longer signalled. Throws std::runtime_error after the time-out.
    unsigned WaitForResponse(unsigned timeoutMs = c_timeoutMs);
    // Writes the text, signals the command and waits for its final response, which it returns: 8 or 9. When the
    // command has a breakpoint step, the window's thread has taken that step's success response before.
    unsigned Carry(unsigned slot, const std::wstring& text);
    void Stop() { Signal(0); }

    // What the window answers to the idle message; 1 when not set.
    void AnswerIdleWith(int64_t answer);
    // Called on the window's thread while the workbench waits for the answer to the idle message. By default the
    // success response of the breakpoint step is taken there, so that one that comes later is the final one.
    void WhenIdle(std::function<void()> action);

    std::vector<WindowMessage> Messages() const;
    // Waits until that many messages have come and returns them. Throws std::runtime_error after the time-out.
    std::vector<WindowMessage> WaitForMessages(size_t count, unsigned timeoutMs = c_timeoutMs) const;

private:
    int64_t OnMessage(unsigned message, uint64_t wParam, int64_t lParam, bool sent);

    uint32_t m_id;
    CWBEvent m_events;
    // Handles of its own on the same events, for a look without a wait.
    std::vector<UniqueHandle> m_peek;
    // The share's memory is made here: the library zeroes a share that it makes itself, and that takes longer than
    // all else in a test.
    UniqueHandle m_mapping;
    std::unique_ptr<CProxyShare> m_share;
    mutable std::mutex m_mutex;
    std::vector<WindowMessage> m_messages;
    UniqueHandle m_messageCame;
    std::function<void()> m_whenIdle;
    int64_t m_idleAnswer = 1;
    // Last: its thread uses the others.
    std::unique_ptr<NotificationWindow> m_window;
};
