#include "bench/Ratios.h"
#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/share/ProxyShare.h"

#include <windows.h>

#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace
{
constexpr uint32_t c_id = 0x8B000001;
// Filling so much memory depends on what else uses it: many short turns.
constexpr int c_fillRounds = 41;

// The share of the product and as much bare memory of the same kind.
class BareMapping
{
public:
    BareMapping()
        : m_map(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, c_shareSizeBytes, nullptr)),
          m_view(MapViewOfFile(m_map, FILE_MAP_ALL_ACCESS, 0, 0, 0))
    {
        std::memset(m_view, 0, c_shareSizeBytes);
    }
    ~BareMapping()
    {
        UnmapViewOfFile(m_view);
        CloseHandle(m_map);
    }
    BareMapping(const BareMapping&) = delete;
    BareMapping& operator=(const BareMapping&) = delete;

    ProxyShareData& Data() { return *static_cast<ProxyShareData*>(m_view); }

private:
    HANDLE m_map;
    void* m_view;
};

class BareMutex
{
public:
    BareMutex() : m_mutex(CreateMutexW(nullptr, FALSE, L"Local\\OrvBenchBareMutex")) {}
    ~BareMutex() { CloseHandle(m_mutex); }
    BareMutex(const BareMutex&) = delete;
    BareMutex& operator=(const BareMutex&) = delete;

    void Lock() { WaitForSingleObject(m_mutex, INFINITE); }
    void Unlock() { ReleaseMutex(m_mutex); }

private:
    HANDLE m_mutex;
};

// The lines that the design asks for are part of the operation: the baseline writes as many of the same length.
void WriteBareLines(const wchar_t* first, const wchar_t* second)
{
    OutputDebugStringW(first);
    if (second != nullptr)
        OutputDebugStringW(second);
}

constexpr const wchar_t* c_addLine =
    L"123456 CProxyShare::AddThread Thread name(worker) id(0x00001234) tindex (64)\n";
constexpr const wchar_t* c_addCountLine = L"123456 CProxyShare::AddThread Thread count now 65\n";
// Opening an existing share writes its size and its name, that the client's process is not known (twice), and the
// names of seven mutexes.
constexpr int c_openLines = 11;
constexpr const wchar_t* c_openLine =
    L"123456 CProxySecManager::OrvPCreateMutex Create Mutex Local\\OrvProfiler8b000001_0\n";
constexpr const wchar_t* c_recordLine = L"123456 CProxyShare::Record tindex(64) RecordMode(Manual Recording)\n";
} // namespace

TEST_CASE("share memory")
{
    CProxyShare share;
    REQUIRE(share.Create(c_id));
    BareMapping bare;
    BareMutex mutex;
    // The same memory: how fast a mapping is filled depends on the pages that it got.
    auto* const bytes = static_cast<uint8_t*>(share.GetView());
    const auto clearAll = [&] {
        share.ClearAll();
        return 0;
    };
    const auto fillAll = [&] { return *static_cast<uint8_t*>(std::memset(bytes, 0, c_shareSizeBytes)); };
    const auto resetRunData = [&] {
        share.ResetRunData();
        return 0;
    };
    const auto fillRunData = [&] {
        std::memset(bytes + 0x28B578, 0, size_t{128} * 882696);
        std::memset(bytes + 0x254F70, 0, 222728);
        return *static_cast<uint8_t*>(std::memset(bytes + 0x36F68, 0, 2220040));
    };
    const auto underMutex = [&mutex](const auto& fill) {
        return [&] {
            mutex.Lock();
            const uint8_t last = fill();
            mutex.Unlock();
            return last;
        };
    };
    CompareRatio("ClearAll", 1.02, clearAll, fillAll, c_fillRounds);
    CompareRatio("ClearAll, against the same under a mutex", c_stated, clearAll, underMutex(fillAll), c_fillRounds);
    CompareRatio("ResetRunData", 1.02, resetRunData, fillRunData, c_fillRounds);
    CompareRatio("ResetRunData, against the same under a mutex", c_stated, resetRunData, underMutex(fillRunData),
                 c_fillRounds);
    for (const int32_t others : {0, 63, 126})
    {
        share.ClearAll();
        std::memset(&bare.Data(), 0, c_shareSizeBytes);
        int32_t tindex = 0;
        for (int32_t i = 0; i < others; ++i)
            share.AddThread(&tindex, 0x1000, L"detail", L"other");
        ProxyShareData& data = bare.Data();
        CompareRatio(
            "AddThread and RemoveThread, thread " + std::to_string(others + 1), 1.15,
            [&] {
                share.AddThread(&tindex, 0x1234, L"detail", L"worker");
                return share.RemoveThread(tindex, false);
            },
            [&] {
                mutex.Lock();
                ThreadSlot& slot = data.threads[others];
                std::memset(&slot, 0, sizeof slot);
                slot.threadId = 0x1234;
                WriteBareLines(c_addLine, c_addCountLine);
                mutex.Unlock();
                mutex.Lock();
                std::memset(&slot, 0, sizeof slot);
                std::memset(&data.threadBlocks[others], 0, sizeof(ThreadBlock));
                WriteBareLines(c_addLine, c_addCountLine);
                mutex.Unlock();
                return slot.threadId;
            });
    }
    int32_t tindex = 0;
    share.AddThread(&tindex, 0x1234, L"detail", L"worker");
    CompareRatio(
        "Record", 1.15, [&] { return share.Record(0, c_recordManual); },
        [&] {
            mutex.Lock();
            WriteBareLines(c_recordLine, nullptr);
            bare.Data().threads[0].recordMode = c_recordManual;
            mutex.Unlock();
            return 0;
        });
}

TEST_CASE("share open")
{
    // Another object keeps the share alive, as the client does.
    const std::wstring name = L"Local\\" + std::wstring(FormatSlot(L"%s%8.8x", c_shareBaseName, c_id));
    HANDLE const keeper =
        CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, c_shareSizeBytes, name.c_str());
    std::vector<std::wstring> mutexNames;
    mutexNames.reserve(7);
    for (int i = 0; i < 7; ++i)
        mutexNames.push_back(name + L"_" + std::to_wstring(i));
    const auto openProduct = [] {
        CProxyShare share;
        share.Create(c_id);
        return share.GetClientWindow();
    };
    const auto openBare = [&] {
        HANDLE const map = OpenFileMappingW(FILE_MAP_READ | FILE_MAP_WRITE, FALSE, name.c_str());
        void* const view = MapViewOfFile(map, FILE_MAP_ALL_ACCESS, 0, 0, 0);
        HANDLE mutexes[7];
        for (size_t i = 0; i < 7; ++i)
            mutexes[i] = CreateMutexW(nullptr, FALSE, mutexNames[i].c_str());
        const uint64_t window = static_cast<ProxyShareData*>(view)->control.clientWindow;
        UnmapViewOfFile(view);
        CloseHandle(map);
        for (HANDLE mutex : mutexes)
            CloseHandle(mutex);
        return window;
    };
    CompareRatio("opening an existing share, to the window read", 1.10, openProduct, openBare);
    // The same with the lines that the opening has to write and the two questions for the client's session.
    CompareRatio("the same, against bare calls that write the lines", c_stated, openProduct, [&] {
        for (int i = 0; i < c_openLines; ++i)
            OutputDebugStringW(c_openLine);
        for (int i = 0; i < 2; ++i)
            CloseHandle(OpenProcess(PROCESS_QUERY_INFORMATION, FALSE, c_id));
        return openBare();
    });
    CloseHandle(keeper);
}
