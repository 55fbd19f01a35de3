#include "OrvProfiler/foundation/Trace.h"
#include "OrvProfiler/share/ProxyShare.h"
#include "tests/OrvWorkbench/HostFixture.h"
#include "tests/support/contract/Contract.h"
#include "tests/support/contract/LogFile.h"
#include "tests/support/faults/FuzzSource.h"
#include "tests/support/worlds/Files.h"
#include "tests/support/worlds/ForeignMapping.h"
#include "tests/support/worlds/FreshNames.h"

#include <algorithm>
#include <atomic>
#include <cstring>
#include <iterator>
#include <limits>
#include <memory>
#include <optional>
#include <stdexcept>
#include <thread>

using contract::c_controlBytes;
using contract::c_controlOffset;
using contract::c_shareBytes;
using contract::c_textUnits;
using contract::c_threadBlockBytes;
using contract::c_threadBlocksOffset;
using contract::c_threadCountOffset;
using contract::c_threadOrderOffset;
using contract::c_threadSlotBytes;
using contract::c_threadSlotsOffset;
using contract::Command;
using testing::ElementsAreArray;

// Another process may write anything into the shared memory at any time: every operation must still have a defined
// result and stay within that memory. The product's view lies between pages that cannot be accessed, so going past
// its ends is an access violation. The test has a second view for itself.

namespace
{
constexpr size_t c_tableBytes = c_threadBlocksOffset - c_threadCountOffset;
constexpr size_t c_lastOffset = 0x6E4B978;
constexpr size_t c_privateHeaderBytes = 18376;

// Makes the product map a block of that size at a chosen place, with nothing mapped around it.
class LonelyViews
{
public:
    explicit LonelyViews(size_t sizeBytes)
        : m_map("MapViewOfFile", Map), m_viewBytes((sizeBytes + c_granularity - 1) / c_granularity * c_granularity),
          m_before(static_cast<unsigned char*>(
              VirtualAlloc(nullptr, m_viewBytes + 2 * c_granularity, MEM_RESERVE, PAGE_NOACCESS)))
    {
        s_self = this;
        VirtualFree(m_before, 0, MEM_RELEASE);
        Reserve(m_before, c_granularity);
        Reserve(m_before + c_granularity + m_viewBytes, c_granularity);
        // Reserved until the view is mapped there.
        Reserve(View(), m_viewBytes);
    }
    ~LonelyViews()
    {
        VirtualFree(m_before, 0, MEM_RELEASE);
        VirtualFree(m_before + c_granularity + m_viewBytes, 0, MEM_RELEASE);
        VirtualFree(View(), 0, MEM_RELEASE);
        s_self = nullptr;
    }
    LonelyViews(const LonelyViews&) = delete;
    LonelyViews& operator=(const LonelyViews&) = delete;

    unsigned char* View() const noexcept { return m_before + c_granularity; }

private:
    static constexpr size_t c_granularity = 0x10000;

    static void* WINAPI Map(HANDLE mapping, DWORD access, DWORD high, DWORD low, SIZE_T size)
    {
        VirtualFree(s_self->View(), 0, MEM_RELEASE);
        return MapViewOfFileEx(mapping, access, high, low, size, s_self->View());
    }

    static void Reserve(void* address, size_t sizeBytes)
    {
        if (VirtualAlloc(address, sizeBytes, MEM_RESERVE, PAGE_NOACCESS) == nullptr)
            throw std::runtime_error("no room for a view");
    }

    static inline LonelyViews* s_self = nullptr;

    Redirect<decltype(MapViewOfFile)> m_map;
    size_t m_viewBytes;
    unsigned char* m_before;
};

template <class Value>
Value Read(const unsigned char* address)
{
    Value value{};
    std::memcpy(&value, address, sizeof value);
    return value;
}

template <class Value>
void Write(unsigned char* address, Value value)
{
    std::memcpy(address, &value, sizeof value);
}

std::string SeedText(unsigned round)
{
    return "ORV_FUZZ_SEED=" + std::to_string(FuzzSeed(round));
}

std::wstring Digits(uint32_t id)
{
    return (id != 0 ? L"0x" : L"") + contract::PaddedHex(id);
}

// A model of the thread table: what its bytes ought to become. A count below 0 is taken as 0, one above 128 as 128.
class TableModel
{
public:
    static constexpr int32_t c_slots = 128;

    explicit TableModel(const unsigned char* table) : m_bytes(table, table + c_tableBytes) {}

    const std::vector<unsigned char>& Bytes() const { return m_bytes; }
    const std::vector<std::wstring>& Lines() const { return m_lines; }

    int32_t Believed() const { return std::min(std::max(RawCount(), 0), c_slots); }
    bool InUse(int32_t tindex) { return tindex >= 0 && tindex < c_slots && Read<uint32_t>(Slot(tindex)) != 0; }

    bool AddText(int32_t* tindex, uint32_t id, const std::wstring& detail, const std::wstring& name)
    {
        const int32_t index = Free();
        if (index == c_slots || Believed() == c_slots)
            return false;
        std::memset(Slot(index), 0, c_threadSlotBytes);
        Write(Slot(index), id);
        Write<uint32_t>(Slot(index) + 152, 0x110);
        PutText(Slot(index) + 160, name);
        PutText(Slot(index) + 682, detail);
        return Added(tindex, index);
    }
    bool AddRecord(int32_t* tindex, const unsigned char* record)
    {
        const int32_t index = Free();
        if (index == c_slots || Believed() == c_slots)
            return false;
        std::memcpy(Slot(index), record, c_threadSlotBytes);
        Write<uint32_t>(Slot(index) + 152, Read<uint32_t>(record + 152) | 0x110);
        return Added(tindex, index);
    }
    bool Remove(int32_t tindex)
    {
        if (!InUse(tindex))
            return false;
        std::memset(Slot(tindex), 0, c_threadSlotBytes);
        RemoveFromOrder(tindex);
        TraceThread(L"CProxyShare::RemoveThread", tindex);
        return true;
    }
    void SetAll(uint32_t state)
    {
        for (int32_t i = 0; i < Believed(); ++i)
            Write(Slot(i) + 152, state);
        m_lines.emplace_back(L"CProxyShare::SetAllThreadsState all threads running\n\n");
    }
    void Record(int32_t tindex, uint32_t mode, const wchar_t* modeName)
    {
        if (tindex < 0 || tindex >= Believed())
            return;
        Write(Slot(tindex) + 148, mode);
        m_lines.push_back(L"CProxyShare::Record tindex(" + std::to_wstring(tindex) + L") RecordMode(" + modeName +
                          L")\n");
    }
    int32_t AddToOrder(int32_t tindex)
    {
        int32_t count = Believed();
        if (count < c_slots)
            Write(Order(count++), tindex);
        Write(m_bytes.data(), count);
        return count;
    }
    int32_t RemoveFromOrder(int32_t tindex)
    {
        const int32_t count = Believed();
        int32_t place = 0;
        while (place < count && Read<int32_t>(Order(place)) != tindex)
            ++place;
        if (place == count)
            return count;
        for (; place + 1 < count; ++place)
            Write(Order(place), Read<int32_t>(Order(place + 1)));
        Write(m_bytes.data(), count - 1);
        return count - 1;
    }

private:
    int32_t RawCount() const { return Read<int32_t>(m_bytes.data()); }
    unsigned char* Order(int32_t place) { return m_bytes.data() + 4 + sizeof(int32_t) * static_cast<size_t>(place); }
    unsigned char* Slot(int32_t tindex)
    {
        return m_bytes.data() + (c_threadSlotsOffset - c_threadCountOffset) +
               c_threadSlotBytes * static_cast<size_t>(tindex);
    }
    int32_t Free()
    {
        int32_t index = 0;
        while (index < c_slots && Read<uint32_t>(Slot(index)) != 0)
            ++index;
        return index;
    }
    static void PutText(unsigned char* field, const std::wstring& text)
    {
        std::copy_n(reinterpret_cast<const unsigned char*>(text.data()),
                    std::min<size_t>(text.size(), 260) * sizeof(wchar_t), field);
    }
    bool Added(int32_t* tindex, int32_t index)
    {
        *tindex = index;
        AddToOrder(index);
        TraceThread(L"CProxyShare::AddThread", index);
        return true;
    }
    void TraceThread(const std::wstring& function, int32_t tindex)
    {
        std::wstring name(261, L'\0');
        std::memcpy(name.data(), Slot(tindex) + 160, 522);
        name.resize(std::min(name.find(L'\0'), name.size()));
        m_lines.push_back(function + L" Thread name(" + name + L") id(" + Digits(Read<uint32_t>(Slot(tindex))) +
                          L") tindex (" + std::to_wstring(tindex) + L")\n");
        m_lines.push_back(function + L" Thread count now " + std::to_wstring(RawCount()) + L"\n");
    }

    std::vector<unsigned char> m_bytes;
    std::vector<std::wstring> m_lines;
};

// A share that another process has made, and a CProxyShare that has opened it in a view with nothing around it.
class HostileShare : public testing::Test
{
protected:
    HostileShare() : m_foreign(m_id), m_views(c_shareBytes)
    {
        if (!m_share.Open(m_id))
            throw std::runtime_error("the share cannot be opened");
        m_trace.Clear();
    }

    unsigned char* Theirs(size_t offset) const { return m_foreign.Bytes() + offset; }
    unsigned char* Table() const { return Theirs(c_threadCountOffset); }
    unsigned char* Block(int32_t tindex) const
    {
        return Theirs(c_threadBlocksOffset + c_threadBlockBytes * static_cast<size_t>(tindex));
    }
    // An address of the test's view, as the product's view has it.
    const void* Ours(const void* theirs) const
    {
        return m_views.View() + (static_cast<const unsigned char*>(theirs) - m_foreign.Bytes());
    }

    void FillTable(FuzzSource& source);
    void DoOne(FuzzSource& source);

    const uint32_t m_id = FreshId();
    TraceCapture m_trace;
    ClientShare m_foreign;
    LonelyViews m_views;
    CProxyShare m_share;

private:
    void Add(FuzzSource& source, TableModel& model);
    void AddRecord(FuzzSource& source, TableModel& model);
    void Remove(FuzzSource& source, TableModel& model);
    void LookUp(FuzzSource& source, TableModel& model);
};

void HostileShare::FillTable(FuzzSource& source)
{
    source.Fill(Table(), c_tableBytes);
    Write(Table(), source.Number());
    for (size_t place = 0; place < 128; ++place)
        Write(Theirs(c_threadOrderOffset + 4 * place), source.Number());
    const uint32_t freeOnes = source.Below(4); // none, all, or some
    for (size_t slot = 0; slot < 128; ++slot)
    {
        unsigned char* const bytes = Theirs(c_threadSlotsOffset + c_threadSlotBytes * slot);
        if (freeOnes == 1 || (freeOnes > 1 && source.OneIn(freeOnes)))
            Write<uint32_t>(bytes, 0);
        else if (Read<uint32_t>(bytes) == 0)
            Write<uint32_t>(bytes, 1);
        if (source.OneIn(8))
            std::memcpy(bytes + 160, source.Text(522).data(), 1044);
        Write(Block(static_cast<int32_t>(slot)) + 4, source.Number());
    }
}

void HostileShare::Add(FuzzSource& source, TableModel& model)
{
    const uint32_t id = source.OneIn(8) ? 0 : static_cast<uint32_t>(source.Number());
    const std::wstring detail = source.Text(source.OneIn(8) ? 35000 : source.Below(300));
    const std::wstring name = source.Text(source.OneIn(8) ? 35000 : source.Below(300));
    int32_t expected = -7;
    int32_t found = -7;
    const bool added = model.AddText(&expected, id, detail, name);
    EXPECT_EQ(added, m_share.AddThread(&found, id, detail.c_str(), name.c_str()));
    EXPECT_EQ(expected, found);
}

void HostileShare::AddRecord(FuzzSource& source, TableModel& model)
{
    ThreadSlot record{};
    source.Fill(&record, sizeof record);
    if (source.OneIn(4))
        std::memcpy(record.name, source.Text(261).data(), 522);
    if (source.OneIn(8))
        record.threadId = 0;
    int32_t expected = -7;
    int32_t found = -7;
    const bool added = model.AddRecord(&expected, reinterpret_cast<const unsigned char*>(&record));
    EXPECT_EQ(added, m_share.AddThread(&found, record));
    EXPECT_EQ(expected, found);
}

void HostileShare::Remove(FuzzSource& source, TableModel& model)
{
    const int32_t tindex = source.Number();
    const bool inUse = model.InUse(tindex);
    if (inUse)
    {
        // The block is cleared, its neighbours are not. Before the first block lies the table, which is compared as
        // a whole.
        std::memset(Block(tindex), 0x5A, 8);
        std::memset(Block(tindex) + c_threadBlockBytes - 8, 0x5A, 16);
        if (tindex > 0)
            std::memset(Block(tindex) - 8, 0x5A, 8);
    }
    EXPECT_EQ(model.Remove(tindex), m_share.RemoveThread(tindex, source.OneIn(2)));
    if (!inUse)
        return;
    EXPECT_EQ(0U, Read<uint64_t>(Block(tindex)));
    EXPECT_EQ(0U, Read<uint64_t>(Block(tindex) + c_threadBlockBytes - 8));
    EXPECT_EQ(0x5A5A5A5A5A5A5A5AU, Read<uint64_t>(Block(tindex) + c_threadBlockBytes));
    if (tindex > 0)
    {
        EXPECT_EQ(0x5A5A5A5A5A5A5A5AU, Read<uint64_t>(Block(tindex) - 8));
    }
}

void HostileShare::LookUp(FuzzSource& source, TableModel& model)
{
    const int32_t tindex = source.Number();
    const int32_t entry = source.Number();
    const ThreadSlot* const slot = m_share.GetThread(tindex);
    const unsigned char* const theirSlot =
        Theirs(c_threadSlotsOffset) + static_cast<ptrdiff_t>(c_threadSlotBytes) * tindex;
    EXPECT_EQ(model.InUse(tindex) ? Ours(theirSlot) : nullptr, slot);
    const bool isBlock = tindex >= 0 && tindex < 128;
    const bool isEntry = isBlock && entry >= 0 && entry < 256 && entry < Read<int32_t>(Block(tindex) + 4);
    EXPECT_EQ(isEntry ? Ours(Block(tindex) + 8 + 3448 * static_cast<size_t>(entry)) : nullptr,
              m_share.GetThreadEntry(tindex, entry));
}

// One operation, compared with the model in its result, its lines and every byte of the table.
void HostileShare::DoOne(FuzzSource& source)
{
    TableModel model(Table());
    m_trace.Clear();
    switch (source.Below(8))
    {
    case 0:
        Add(source, model);
        break;
    case 1:
        AddRecord(source, model);
        break;
    case 2:
        Remove(source, model);
        break;
    case 3: {
        const auto state = static_cast<uint32_t>(source.Number());
        model.SetAll(state);
        EXPECT_TRUE(m_share.SetAllThreadsState(state));
        break;
    }
    case 4: {
        const int32_t tindex = source.Number();
        const uint32_t mode = source.Below(2) == 0 ? 0xFFFFFFFF : 12;
        model.Record(tindex, mode, mode == 12 ? L"Silent Auto Recording" : L"Not Recording");
        EXPECT_TRUE(m_share.Record(tindex, mode));
        break;
    }
    case 5: {
        const int32_t tindex = source.Number();
        EXPECT_EQ(model.AddToOrder(tindex), m_share.AddToOrder(tindex));
        break;
    }
    case 6: {
        const int32_t tindex = source.Number();
        EXPECT_EQ(model.RemoveFromOrder(tindex), m_share.RemoveFromOrder(tindex));
        break;
    }
    default:
        LookUp(source, model);
    }
    EXPECT_THAT(m_trace.Lines(), ElementsAreArray(model.Lines()));
    EXPECT_TRUE(std::equal(model.Bytes().begin(), model.Bytes().end(), Table()));
}

// A block of private data that another process has made, and the product's view of it with nothing around it.
class HostilePrivate : public testing::Test
{
protected:
    // The block's whole size.
    void Make(size_t sizeBytes)
    {
        m_foreign.emplace(contract::LocalName(L"Hostile" + contract::PaddedHex(m_id)), sizeBytes, PAGE_READWRITE);
        m_views.emplace(sizeBytes);
    }

    const uint32_t m_id = FreshId();
    TraceCapture m_trace;
    std::optional<ForeignMapping> m_foreign;
    std::optional<LonelyViews> m_views;
    CProxyPrivate m_private{L"Hostile"};
};

// A host with a stand-in for the runtime, whose client writes anything.
class HostileClient : public CHostWithStandIns
{
protected:
    // In one run of the host.
    static constexpr unsigned c_commandsAtOnce = 150;

    HostileClient()
    {
        ClientIsThere();
        m_views.emplace(c_shareBytes);
    }

    void Serve()
    {
        CHost host(m_id, c_assembly, c_type);
        m_trace.Clear();
        m_calls.clear();
        EXPECT_EQ(1, host.Run());
    }
    std::vector<std::wstring> CommandLines() const
    {
        std::vector<std::wstring> lines;
        for (const std::wstring& line : m_trace.Raw())
        {
            // Behind the time.
            if (line.find(L"CHost::Run Command is ") < 20)
                lines.push_back(line);
        }
        return lines;
    }
    // The trace line of a command, with the time of the line that was found.
    static std::wstring CommandLine(const std::wstring& found, const wchar_t* word, const std::wstring& text)
    {
        const std::wstring time = found.substr(0, found.find(L"CHost"));
        return (time + L"CHost::Run Command is " + word + L": " + text + L"\n").substr(0, 1024);
    }
    void FillControl(uint64_t seed)
    {
        FuzzSource source(seed);
        source.Fill(Client().Bytes() + c_controlOffset, c_controlBytes + 64);
        wchar_t* const field = Client().TextField();
        const size_t length = source.OneIn(4) ? c_textUnits + 20 : source.Below(3000);
        std::memcpy(field, source.Text(length).data(), length * sizeof(wchar_t));
        field[length] = L'\0';
        Client().StoreWindow(c_window); // read once for each run
    }
    // The text of a field: up to its NUL or to the end of the control block.
    std::wstring TextOfField()
    {
        const wchar_t* const text = Client().TextField();
        return std::wstring(text, std::find(text, text + c_textUnits, L'\0'));
    }

    void ExpectServed(const std::vector<std::pair<Command, std::wstring>>& expected) const
    {
        std::vector<std::wstring> arguments;
        for (const ManagedCall& call : m_calls)
        {
            if (call.method != L"OrvBreakPoint")
                arguments.push_back(call.argument);
        }
        const std::vector<std::wstring> lines = CommandLines();
        ASSERT_EQ(expected.size(), arguments.size());
        ASSERT_EQ(expected.size(), lines.size());
        for (size_t i = 0; i < expected.size(); ++i)
        {
            const auto& [command, text] = expected[i];
            EXPECT_TRUE(arguments[i] == (command.takesText ? text : L"")) << "command " << i;
            EXPECT_TRUE(lines[i] == CommandLine(lines[i], command.word, text)) << "command " << i;
        }
    }

private:
    std::optional<LonelyViews> m_views;
};
} // namespace

TEST_F(HostileShare, ThreadTableOperationsHaveDefinedResultsOnAnyBytes)
{
    const unsigned rounds = FuzzRounds(400);
    for (unsigned round = 0; round < rounds && !HasFailure(); ++round)
    {
        SCOPED_TRACE(SeedText(round));
        FuzzSource source(FuzzSeed(round));
        FillTable(source);
        for (int operation = 0; operation < 6; ++operation)
            DoOne(source);
        m_trace.Clear();
    }
}

TEST_F(HostileShare, TouchesNothingAroundTheThreadTable)
{
    // The client's own data lie before the table, and behind the last thread block.
    unsigned char* const before = Table() - 4096;
    unsigned char* const behind = Theirs(c_lastOffset);
    FuzzSource source(5);
    source.Fill(before, 4096);
    source.Fill(behind, c_shareBytes - c_lastOffset);
    const std::vector<unsigned char> wasBefore(before, before + 4096);
    const std::vector<unsigned char> wasBehind(behind, Theirs(c_shareBytes));
    for (int round = 0; round < 20; ++round)
    {
        FillTable(source);
        for (int32_t tindex = -1; tindex < 129; tindex += 1 + static_cast<int32_t>(source.Below(8)))
        {
            int32_t added = 0;
            static_cast<void>(m_share.RemoveThread(tindex, false));
            static_cast<void>(m_share.AddThread(&added, 1, L"", L""));
            static_cast<void>(m_share.AddToOrder(source.Number()));
            static_cast<void>(m_share.RemoveFromOrder(source.Number()));
            static_cast<void>(m_share.Record(source.Number(), 2));
            static_cast<void>(m_share.SetAllThreadsState(1));
        }
        static_cast<void>(m_share.RemoveThread(127, false));
    }
    EXPECT_TRUE(std::equal(wasBefore.begin(), wasBefore.end(), before));
    EXPECT_TRUE(std::equal(wasBehind.begin(), wasBehind.end(), behind));
}

TEST_F(HostileShare, ControlBlockIsReadAndWrittenWhateverItsBytes)
{
    FuzzSource source(6);
    std::vector<unsigned char> block(c_controlBytes);
    for (int round = 0; round < 200; ++round)
    {
        source.Fill(Theirs(c_controlOffset), c_controlBytes);
        const int32_t count = source.Number();
        Write(Theirs(c_controlOffset + 4), count);
        EXPECT_EQ(count > 0 && count < 256 ? count : 256, m_share.GetControlCount());
        EXPECT_EQ(Read<uintptr_t>(Theirs(c_controlOffset + 16)),
                  reinterpret_cast<uintptr_t>(m_share.GetClientWindow()));
        EXPECT_EQ(Ours(Theirs(c_controlOffset)), m_share.GetControl());
        source.Fill(block.data(), block.size());
        std::memset(Theirs(c_controlOffset) - 8, 0x5A, 8);
        std::memset(Theirs(c_controlOffset + c_controlBytes), 0x5A, 8);
        EXPECT_TRUE(m_share.SetControl(block.data()));
        EXPECT_TRUE(std::equal(block.begin(), block.end(), Theirs(c_controlOffset)));
        EXPECT_EQ(0x5A5A5A5A5A5A5A5AU, Read<uint64_t>(Theirs(c_controlOffset) - 8));
        EXPECT_EQ(0x5A5A5A5A5A5A5A5AU, Read<uint64_t>(Theirs(c_controlOffset + c_controlBytes)));
    }
}

TEST_F(HostileShare, WholeShareOperationsStayInTheMapping)
{
    FuzzSource source(7);
    FillTable(source);
    // The rest of the last page belongs to the mapping, but not to the share.
    unsigned char* const rest = Theirs(c_shareBytes);
    const size_t restBytes = 4096 - c_shareBytes % 4096;
    std::memset(rest, 0x5A, restBytes);
    m_share.ResetRunData();
    EXPECT_TRUE(std::all_of(Table(), Table() + c_tableBytes, [](unsigned char value) { return value == 0; }));
    source.Fill(Theirs(c_lastOffset), c_shareBytes - c_lastOffset);
    m_share.ClearAll();
    EXPECT_TRUE(std::all_of(Theirs(c_lastOffset), rest, [](unsigned char value) { return value == 0; }));
    EXPECT_TRUE(std::all_of(rest, rest + restBytes, [](unsigned char value) { return value == 0x5A; }));
}

TEST_F(HostileShare, ThreadTableMayChangeWhileItIsUsed)
{
    std::atomic<bool> stop{false};
    std::memset(Table() - 64, 0x5A, 64);
    std::memset(Theirs(c_lastOffset), 0x5A, 64);
    std::thread writer([&] {
        FuzzSource source(8);
        while (!stop)
        {
            Write(Table(), source.Number());
            for (int i = 0; i < 64; ++i)
            {
                const size_t slot = source.Below(128);
                Write(Theirs(c_threadOrderOffset) + 4 * slot, source.Number());
                Write(Theirs(c_threadSlotsOffset) + c_threadSlotBytes * slot, source.Below(2));
                Write(Block(static_cast<int32_t>(slot)) + 4, source.Number());
                source.Fill(Theirs(c_threadSlotsOffset) + c_threadSlotBytes * slot + 160, 530);
            }
        }
    });
    FuzzSource source(9);
    const unsigned rounds = FuzzRounds(300);
    for (unsigned round = 0; round < rounds; ++round)
    {
        int32_t tindex = -7;
        if (m_share.AddThread(&tindex, 5, L"%s%n", L"%d%s%n"))
            EXPECT_TRUE(tindex >= 0 && tindex < 128) << tindex;
        else
            EXPECT_EQ(-7, tindex);
        static_cast<void>(m_share.RemoveThread(static_cast<int32_t>(source.Below(129)) - 1, false));
        EXPECT_TRUE(m_share.SetAllThreadsState(1));
        EXPECT_TRUE(m_share.Record(source.Number(), 2));
        const int32_t added = m_share.AddToOrder(source.Number());
        EXPECT_TRUE(added >= 1 && added <= 128) << added;
        const int32_t left = m_share.RemoveFromOrder(static_cast<int32_t>(source.Below(128)));
        EXPECT_TRUE(left >= 0 && left <= 128) << left;
        const ThreadBlockEntry* const entry = m_share.GetThreadEntry(127, source.Number());
        EXPECT_TRUE(entry == nullptr || (entry >= Ours(Block(127)) && entry < Ours(Theirs(c_lastOffset))));
        m_trace.Clear();
    }
    stop = true;
    writer.join();
    const std::vector<unsigned char> untouched(64, 0x5A);
    EXPECT_TRUE(std::equal(untouched.begin(), untouched.end(), Table() - 64));
    EXPECT_TRUE(std::equal(untouched.begin(), untouched.end(), Theirs(c_lastOffset)));
}

TEST_F(HostileShare, PercentSignsOfANameStayText)
{
    const std::wstring name = L"%s%s%n%d%%%p %1$s %*d \xD800 \xDFFF";
    int32_t tindex = 0;
    EXPECT_TRUE(m_share.AddThread(&tindex, 0x1A2B, name.c_str(), name.c_str()));
    EXPECT_THAT(m_trace.Lines(),
                testing::ElementsAre(L"CProxyShare::AddThread Thread name(" + name + L") id(0x00001a2b) tindex (0)\n",
                                     L"CProxyShare::AddThread Thread count now 1\n"));
}

TEST_F(HostilePrivate, ASizeThatLiesIsBoundedByTheBlock)
{
    const unsigned rounds = FuzzRounds(60);
    for (unsigned round = 0; round < rounds && !HasFailure(); ++round)
    {
        SCOPED_TRACE(SeedText(round));
        FuzzSource source(FuzzSeed(round));
        m_private.Close();
        m_views.reset();
        m_foreign.reset();
        const size_t size = c_privateHeaderBytes + source.Below(30000);
        Make(size);
        source.Fill(m_foreign->Bytes(), size);
        const auto announced = static_cast<uint32_t>(source.Number());
        m_foreign->At<uint32_t>(0) = announced;
        EXPECT_TRUE(round % 2 == 0 ? m_private.Open(m_id) : m_private.Create(m_id, 77));
        // A mapping is made of whole pages.
        const auto room = static_cast<uint32_t>((size + 4095) / 4096 * 4096 - c_privateHeaderBytes);
        EXPECT_EQ(std::min(announced, room), m_private.GetDataSize());
        void* const data = m_private.LockData();
        ASSERT_EQ(m_views->View() + c_privateHeaderBytes, data);
        std::memset(data, 0, m_private.GetDataSize());
        m_private.UnlockData();
        EXPECT_EQ(m_foreign->At<uint32_t>(4), m_private.GetValue4());
        EXPECT_EQ(m_foreign->At<uint64_t>(18360), m_private.GetValue18360());
        EXPECT_EQ(m_foreign->At<uint32_t>(18368), m_private.GetValue18368());
        EXPECT_EQ(announced, m_foreign->At<uint32_t>(0)) << "the other's header stays as it is";
    }
}

TEST_F(HostilePrivate, ABlockTooSmallForItsHeaderIsRefused)
{
    for (const size_t size : {size_t{1}, size_t{4096}, size_t{16384}})
    {
        m_views.reset();
        m_foreign.reset();
        Make(size);
        std::memset(m_foreign->Bytes(), 0xFF, size);
        EXPECT_FALSE(m_private.Open(m_id)) << size;
        EXPECT_FALSE(m_private.Create(m_id, 100)) << size;
        EXPECT_EQ(nullptr, m_private.GetView());
        EXPECT_EQ(nullptr, m_private.GetText());
        EXPECT_EQ(0U, m_private.GetValue4());
        EXPECT_FALSE(m_private.SetText(L"x"));
    }
}

TEST_F(HostilePrivate, TextsAreWrittenWithinTheirFieldsWhateverStoodThere)
{
    Make(c_privateHeaderBytes + 100);
    ASSERT_TRUE(m_private.Open(m_id));
    const unsigned rounds = FuzzRounds(200);
    for (unsigned round = 0; round < rounds && !HasFailure(); ++round)
    {
        SCOPED_TRACE(SeedText(round));
        FuzzSource source(FuzzSeed(round));
        unsigned char* const bytes = m_foreign->Bytes();
        source.Fill(bytes, c_privateHeaderBytes + 100);
        std::vector<unsigned char> expected(bytes, bytes + c_privateHeaderBytes + 100);
        const bool isShort = source.OneIn(2);
        const size_t capacity = isShort ? 261 : 8912;
        const size_t length = source.OneIn(8)   ? 35000
                              : source.OneIn(3) ? capacity - 2 + source.Below(5)
                                                : source.Below(static_cast<uint32_t>(capacity));
        const std::wstring text = source.Text(length);
        unsigned char* const field = expected.data() + (isShort ? 17834 : 8);
        const bool fits = length <= capacity;
        const size_t kept = fits ? std::min(length, capacity - 1) : 0;
        std::memcpy(field, text.data(), kept * sizeof(wchar_t));
        Write(field + kept * sizeof(wchar_t), L'\0');
        EXPECT_EQ(fits || isShort, isShort ? m_private.SetShortText(text.c_str()) : m_private.SetText(text.c_str()));
        EXPECT_TRUE(std::equal(expected.begin(), expected.end(), bytes)) << length;
    }
}

TEST_F(HostileClient, TextsOfAnyBytesArriveAsTheyAre)
{
    const unsigned rounds = FuzzRounds(150);
    for (unsigned round = 0; round < rounds && !HasFailure(); round += c_commandsAtOnce)
    {
        SCOPED_TRACE(SeedText(round));
        std::vector<std::pair<Command, std::wstring>> expected;
        for (unsigned i = round; i < std::min(rounds, round + c_commandsAtOnce); ++i)
        {
            NextWait(contract::c_commands[i % 7].slot, [this, &expected, i] {
                FillControl(FuzzSeed(i));
                expected.emplace_back(contract::c_commands[i % 7], TextOfField());
            });
        }
        Serve();
        ExpectServed(expected);
    }
}

TEST_F(HostileClient, TextsOf70000BytesArriveWhole)
{
    std::vector<std::pair<Command, std::wstring>> expected;
    for (const Command& command : contract::c_commands)
    {
        for (const wchar_t* const pattern : {L"%s", L"%n", L"\xD800", L"\xDC00x", L"\r\n"})
        {
            std::wstring text;
            while (text.size() < 35000)
                text += pattern;
            text.resize(35000);
            expected.emplace_back(command, text);
            NextWait(command.slot, [this, text] { Client().WriteText(text); });
        }
    }
    Serve();
    ExpectServed(expected);
}

TEST_F(HostileClient, EveryTextReachesTheLogFileAsText)
{
    const TemporaryFolder folder;
    const std::wstring path = folder.PathOf(L"hostile.log");
    TraceOpen(path.c_str());
    const std::wstring texts[] = {
        L"%s %S %n %p %c %.999999d %% \xD83D\xDE00 \xD800 %",
        L"\x1A\x1\xFEFF\xFFFE end of file, byte-order marks",
        L"\xFFFF\xFFFF what the C runtime takes for its end \xFFFF",
    };
    for (const std::wstring& text : texts)
        NextWait(1, [this, text] { Client().WriteText(text); });
    Serve(); // closes the log
    const std::vector<std::wstring> lines = LogLines(FileBytes(path));
    for (const std::wstring& text : texts)
    {
        const auto line = std::find(lines.begin(), lines.end(), L"CHost::Run Command is Load: " + text);
        ASSERT_LT(2, lines.end() - line) << testing::PrintToString(text);
        EXPECT_EQ(L"CHost::Run command succeeded, result = ActionSuccess", line[2]) << testing::PrintToString(text);
    }
}

TEST_F(HostileClient, AnyWindowHandleIsUsedAsItStands)
{
    for (const uint64_t window : {uint64_t{1}, uint64_t{0xFFFFFFFF}, uint64_t{0x8000000000000000}, ~uint64_t{0}})
    {
        Client().StoreWindow(window);
        NextWait(3);
        Serve();
        EXPECT_EQ(2U, m_calls.size());
        EXPECT_EQ(reinterpret_cast<HWND>(window), g_hZephWnd);
    }
}

TEST_F(HostileClient, ServesWhileEveryByteOfTheControlBlockChanges)
{
    std::fill_n(Client().TextField(), c_textUnits, L'a');
    std::fill_n(Client().TextField() + c_textUnits, 1000, L'z');
    std::atomic<bool> stop{false};
    std::thread writer([&] {
        FuzzSource source(12);
        volatile wchar_t* const text = Client().TextField();
        while (!stop)
        {
            for (uint32_t i = source.Below(64); i < c_textUnits; i += 1 + source.Below(256))
                text[i] = source.OneIn(512) ? L'\0' : static_cast<wchar_t>(L'a' + source.Below(25));
        }
    });
    const unsigned rounds = FuzzRounds(c_commandsAtOnce) / c_commandsAtOnce + 1;
    for (unsigned round = 0; round < rounds; ++round)
    {
        for (unsigned i = 0; i < c_commandsAtOnce; ++i)
            NextWait(contract::c_commands[i % 7].slot);
        Serve();
        EXPECT_EQ(c_commandsAtOnce, CommandLines().size());
        for (const ManagedCall& call : m_calls)
        {
            EXPECT_LE(call.argument.size(), c_textUnits);
            EXPECT_EQ(std::wstring::npos, call.argument.find(L'z'));
        }
    }
    stop = true;
    writer.join();
}
