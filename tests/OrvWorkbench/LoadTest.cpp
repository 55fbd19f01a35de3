#include "OrvProfiler/foundation/UniqueHandle.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/processes/InProcessClient.h"
#include "tests/support/processes/WorkbenchRun.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <psapi.h>

#include <array>
#include <atomic>
#include <cstdlib>
#include <deque>
#include <gtest/gtest.h>
#include <memory>
#include <stdexcept>
#include <thread>

using contract::c_failed;
using contract::c_success;

// Many busy sessions side by side, each a workbench of its own and a client's thread in this process. A client here
// is a mapping, events and a window, but no CProxyShare: a process can have only one.
//   ORV_LOAD_SESSIONS  how many (20)
//   ORV_LOAD_COMMANDS  commands of each (1000); what is held is measured after the first 100 and after the last

namespace
{
constexpr DWORD c_timeoutMs = 60000;
constexpr unsigned c_firstCommands = 100;
constexpr size_t c_allowedBytes = 65536;
unsigned FromEnvironment(const char* name, unsigned usual)
{
    const char* const text = std::getenv(name);
    return text != nullptr && *text != '\0' ? static_cast<unsigned>(std::strtoul(text, nullptr, 10)) : usual;
}

// What a process holds.
struct Held
{
    unsigned handles;
    size_t privateBytes;
    size_t residentBytes;
};

// By trying to duplicate each possible handle (see OpenHandleCount).
unsigned HandleCountOf(HANDLE process)
{
    unsigned count = 0;
    uintptr_t handle = 4;
    for (unsigned free = 0; free < 256; handle += 4)
    {
        HANDLE copy = nullptr;
        const bool isOpen = DuplicateHandle(process, reinterpret_cast<HANDLE>(handle), GetCurrentProcess(), &copy, 0,
                                            FALSE, DUPLICATE_SAME_ACCESS) != FALSE;
        if (isOpen)
            CloseHandle(copy);
        count += isOpen ? 1U : 0U;
        free = isOpen ? 0 : free + 1;
    }
    return count;
}

// The memory that a process has committed for itself: heaps and stacks. The system's own counter of it is 0 under
// Wine.
size_t PrivateBytesOf(HANDLE process)
{
    size_t bytes = 0;
    MEMORY_BASIC_INFORMATION region{};
    const unsigned char* address = nullptr;
    while (VirtualQueryEx(process, address, &region, sizeof region) != 0)
    {
        if (region.State == MEM_COMMIT && region.Type == MEM_PRIVATE)
            bytes += region.RegionSize;
        address = static_cast<const unsigned char*>(region.BaseAddress) + region.RegionSize;
    }
    return bytes;
}

Held HeldBy(HANDLE process)
{
    PROCESS_MEMORY_COUNTERS memory{};
    if (!GetProcessMemoryInfo(process, &memory, sizeof memory))
        throw std::runtime_error("a process's memory cannot be measured");
    return {HandleCountOf(process), PrivateBytesOf(process), memory.WorkingSetSize};
}

class BusySession
{
public:
    explicit BusySession(unsigned number)
        : m_number(number), m_id(FreshId() & 0x7FFFFFFF), m_share(m_id),
          m_idleSeen(CreateEventW(nullptr, FALSE, FALSE, nullptr)),
          m_readySeen(CreateEventW(nullptr, FALSE, FALSE, nullptr)), m_workbench(WorkbenchRuntime::Scripted)
    {
        for (unsigned slot = 0; slot < contract::c_eventCount; ++slot)
        {
            const std::wstring kernelName = contract::KernelName(contract::EventName(slot, m_id));
            m_events.emplace_back(CreateEventW(nullptr, TRUE, FALSE, kernelName.c_str()));
        }
        m_window = std::make_unique<NotificationWindow>(
            [this](unsigned message, uint64_t, int64_t, bool) { return OnMessage(message); });
        m_share.StoreWindow(m_window->Handle());
        m_workbench.Start(L"workbench " + contract::Hex(m_id));
    }
    void AwaitReady() const { Await(m_readySeen.Get()); }

    // Runs the commands one after the other and measures what the workbench holds after the first of them and after
    // the last. Stops at the first that goes wrong.
    void Serve(unsigned commands)
    {
        try
        {
            for (unsigned i = 0; i < commands; ++i)
            {
                Carry(i);
                if (i + 1 == c_firstCommands)
                    m_early = HeldBy(m_workbench.Handle());
            }
            m_late = HeldBy(m_workbench.Handle());
        }
        catch (const std::exception& failure)
        {
            m_failure = failure.what();
        }
    }

    void Stop()
    {
        SetEvent(m_events[0].Get());
        EXPECT_EQ(1U, m_workbench.WaitForExit());
    }

    void ExpectAllWell(unsigned commands) const
    {
        EXPECT_EQ("", m_failure);
        EXPECT_EQ(m_expectedIdles, m_idles);
        EXPECT_EQ(1U, m_exits);
        EXPECT_FALSE(IsSignalled(c_success));
        EXPECT_FALSE(IsSignalled(c_failed));
        // Each command once, in order, with this session's text: nothing lost, nothing doubled, nobody else's.
        const std::vector<std::string> record = m_workbench.Record();
        ASSERT_EQ(m_expectedCalls.size() + 3, record.size());
        for (size_t i = 0; i < m_expectedCalls.size(); ++i)
            ASSERT_EQ(m_expectedCalls[i], record[i + 2]) << "call " << i;
        if (commands <= c_firstCommands)
            return;
        EXPECT_EQ(m_early.handles, m_late.handles);
        // Memory comes from the system in larger pieces; the resident part also grows by code that is first used.
        EXPECT_LE(m_late.privateBytes, m_early.privateBytes + c_allowedBytes);
        EXPECT_LE(m_late.residentBytes, m_early.residentBytes + 4 * c_allowedBytes);
        EXPECT_NE(0U, m_early.privateBytes);
    }
    void Tell() const
    {
        std::printf("session %2u: handles %u then %u, private KiB %u then %u, resident KiB %u then %u\n", m_number,
                    m_early.handles, m_late.handles, Kib(m_early.privateBytes), Kib(m_late.privateBytes),
                    Kib(m_early.residentBytes), Kib(m_late.residentBytes));
    }

private:
    static unsigned Kib(size_t bytes) { return static_cast<unsigned>(bytes / 1024); }
    static void Await(HANDLE event)
    {
        if (WaitForSingleObject(event, c_timeoutMs) != WAIT_OBJECT_0)
            throw std::runtime_error("something did not come");
    }
    bool IsSignalled(unsigned slot) const { return WaitForSingleObject(m_events[slot].Get(), 0) == WAIT_OBJECT_0; }

    int64_t OnMessage(unsigned message)
    {
        if (message == contract::c_idleMessage)
        {
            // The breakpoint's success is signalled; the command's outcome is not yet.
            m_idleWasRight = IsSignalled(c_success) && !IsSignalled(c_failed);
            ResetEvent(m_events[c_success].Get());
            ++m_idles;
            SetEvent(m_idleSeen.Get());
        }
        else if (message == contract::c_exitingMessage)
            ++m_exits;
        else
            SetEvent(m_readySeen.Get());
        return 1;
    }

    // A text that no other session and no other command has, of a length of its own.
    std::wstring TextOf(unsigned i, int result) const
    {
        std::wstring text = L"result=" + std::to_wstring(result) + L"; session " + std::to_wstring(m_number) +
                            L" command " + std::to_wstring(i) + L" ";
        text.append((i * 37 + m_number * 11) % 500, static_cast<wchar_t>(L'a' + (i + m_number) % 26));
        return text;
    }

    void Carry(unsigned i)
    {
        const unsigned slot = 1 + (i * 5 + m_number) % 7;
        const contract::Command& command = contract::c_commands[slot - 1];
        const int result = static_cast<int>((i * 3 + m_number) % 14);
        const std::wstring text = TextOf(i, result);
        m_share.WriteText(text);
        const std::string argument = command.takesText ? std::string(text.begin(), text.end()) : "";
        Expect(command.method, argument);
        if (IsSignalled(c_success) || IsSignalled(c_failed))
            throw std::runtime_error("a response too many before command " + std::to_string(i));
        SetEvent(m_events[slot].Get());
        if (command.breaks)
        {
            ++m_expectedIdles;
            Expect("OrvBreakPoint", "");
            Await(m_idleSeen.Get());
            if (!m_idleWasRight)
                throw std::runtime_error("an idle message without its success at command " + std::to_string(i));
        }
        AwaitResponse(i, command.takesText && result < 5 ? c_failed : c_success);
    }

    void AwaitResponse(unsigned i, unsigned expected)
    {
        const std::array<HANDLE, 2> both{m_events[c_success].Get(), m_events[c_failed].Get()};
        const DWORD came = WaitForMultipleObjects(2, both.data(), FALSE, c_timeoutMs);
        if (came != expected - c_success)
            throw std::runtime_error("wait result " + std::to_string(came) + " for the response to command " +
                                     std::to_string(i));
        ResetEvent(both[came]);
    }

    void Expect(const std::string& method, const std::string& argument)
    {
        m_expectedCalls.push_back("execute assembly=\"OrvWorkBench64.dll\" type=\"OrvWorkBench.CInvoke\" method=\"" +
                                  method + "\" argument=\"" + argument + "\"");
    }

    const unsigned m_number;
    const uint32_t m_id;
    ClientShare m_share;
    std::vector<UniqueHandle> m_events;
    UniqueHandle m_idleSeen;
    UniqueHandle m_readySeen;
    WorkbenchRun m_workbench;
    std::atomic<bool> m_idleWasRight{false};
    std::atomic<unsigned> m_idles{0};
    std::atomic<unsigned> m_exits{0};
    unsigned m_expectedIdles = 0;
    std::vector<std::string> m_expectedCalls;
    Held m_early{};
    Held m_late{};
    std::string m_failure;
    // Last: its thread uses the others.
    std::unique_ptr<NotificationWindow> m_window;
};
} // namespace

TEST(Load, SessionsSideBySideLoseMixAndKeepNothing)
{
    const unsigned sessionCount = FromEnvironment("ORV_LOAD_SESSIONS", 20);
    const unsigned commands = FromEnvironment("ORV_LOAD_COMMANDS", 1000);
    std::deque<BusySession> sessions;
    for (unsigned number = 0; number < sessionCount; ++number)
        sessions.emplace_back(number);
    for (const BusySession& session : sessions)
        session.AwaitReady();
    std::vector<std::thread> clients;
    for (BusySession& session : sessions)
        clients.emplace_back([&session, commands] { session.Serve(commands); });
    for (std::thread& client : clients)
        client.join();
    for (BusySession& session : sessions)
    {
        session.Stop();
        session.Tell();
        session.ExpectAllWell(commands);
    }
}
