#include "OrvProfiler/foundation/DevicePath.h"

#include "tests/support/faults/AllocationProbe.h"
#include "tests/support/faults/CallRecorder.h"
#include "tests/support/faults/PageEdge.h"
#include "tests/support/processes/ChildProcess.h"

#include <windows.h>

#include <cstring>
#include <cwchar>
#include <gtest/gtest.h>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace
{
// A system with these drive strings and device names. Asking for a drive without a name fails.
// GetLongPathNameW answers <path> for a path, and fails for one with a question mark in it.
class DosDevices
{
public:
    using Devices = std::vector<std::pair<std::wstring, std::wstring>>;

    explicit DosDevices(Devices devices)
        : m_devices(std::move(devices)), m_strings("GetLogicalDriveStringsW", DriveStrings),
          m_query("QueryDosDeviceW", Query), m_longPath("GetLongPathNameW", LongPath)
    {
        s_self = this;
        for (const auto& device : m_devices)
            m_driveStrings += device.first + L'\0';
    }
    ~DosDevices() { s_self = nullptr; }
    DosDevices(const DosDevices&) = delete;
    DosDevices& operator=(const DosDevices&) = delete;

    void FailDriveStrings(DWORD result) { m_driveStringsResult = result; }
    void RepairDriveStrings() { m_driveStringsResult.reset(); }
    unsigned DriveStringsCalls() const { return m_driveStringsCalls; }
    unsigned QueryCalls() const { return m_queryCalls; }

private:
    static DWORD WINAPI DriveStrings(DWORD units, wchar_t* buffer)
    {
        ++s_self->m_driveStringsCalls;
        if (s_self->m_driveStringsResult)
            return *s_self->m_driveStringsResult;
        if (units != 512)
            return 0;
        const std::wstring& all = s_self->m_driveStrings;
        std::wmemcpy(buffer, all.c_str(), all.size() + 1);
        return static_cast<DWORD>(all.size());
    }
    static DWORD WINAPI Query(const wchar_t* drive, wchar_t* buffer, DWORD units)
    {
        ++s_self->m_queryCalls;
        for (const auto& [driveString, name] : s_self->m_devices)
        {
            if (units != 1048 || driveString.compare(0, 2, drive) != 0 || name == L"?")
                continue;
            std::wmemcpy(buffer, name.c_str(), name.size() + 1);
            return static_cast<DWORD>(name.size() + 2);
        }
        return 0;
    }
    static DWORD WINAPI LongPath(const wchar_t* path, wchar_t* buffer, DWORD units)
    {
        const size_t length = wcslen(path) + 2;
        if (wcschr(path, L'?') != nullptr)
            return 0;
        if (length >= units)
            return static_cast<DWORD>(length + 1);
        wcscpy(buffer, L"<");
        wcscat(buffer, path);
        wcscat(buffer, L">");
        return static_cast<DWORD>(length);
    }

    static inline DosDevices* s_self = nullptr;

    Devices m_devices;
    std::wstring m_driveStrings;
    std::optional<DWORD> m_driveStringsResult;
    unsigned m_driveStringsCalls = 0;
    unsigned m_queryCalls = 0;
    Redirect<decltype(GetLogicalDriveStringsW)> m_strings;
    Redirect<decltype(QueryDosDeviceW)> m_query;
    Redirect<decltype(GetLongPathNameW)> m_longPath;
};

std::string Narrow(const std::wstring& text)
{
    std::string narrow;
    for (const wchar_t unit : text)
        narrow += static_cast<char>(unit);
    return narrow;
}

// What a child process expects; the text is shown when it is not so.
void Require(bool condition, const std::string& what)
{
    if (!condition)
        throw std::runtime_error(what);
}

void RequireTranslation(const std::wstring& path, const std::wstring& expected)
{
    const std::wstring actual = DeviceToDrivePath(path.c_str());
    Require(actual == expected, Narrow(path + L" became " + actual + L" and not " + expected));
}

// Expects the argument itself as the result.
void RequireUnchanged(const std::wstring& path)
{
    Require(DeviceToDrivePath(path.c_str()) == path.c_str(), Narrow(path + L" did not come back"));
}

const DosDevices::Devices& UsualDevices()
{
    static const DosDevices::Devices devices = {
        {L"A:\\", L"?"},
        {L"C:\\", L"\\Device\\HarddiskVolume2"},
        {L"D:\\", L"\\Device\\HarddiskVolume20"},
        {L"N:\\", L"\\Device\\Odd\\;N:123"},
        {L"S:\\", L"\\??\\C:\\work"},
        {L"X:\\", L"\\Device\\LanmanRedirector\\;X:0000000000012345\\srv\\share"},
        {L"Y:\\", L"\\Device\\Mup\\;LanmanRedirector\\;Y:0\\Srv2\\s$"},
        {L"Z:\\", L"\\Device\\;Z:\\srv3\\share"},
    };
    return devices;
}
} // namespace

// The drives are looked up once per process, so each of these tests runs its body in a child process.
#define ORV_TEST_IN_OWN_PROCESS(suite, name)                                                                         \
    static void OwnProcess##suite##name();                                                                           \
    ORV_CHILD_ROLE(suite##name)                                                                                      \
    {                                                                                                                \
        OwnProcess##suite##name();                                                                                   \
        return 0;                                                                                                    \
    }                                                                                                                \
    TEST(suite, name)                                                                                                \
    {                                                                                                                \
        EXPECT_EQ(0U, ChildProcess::StartRole(L"" #suite #name).WaitForExit());                                      \
    }                                                                                                                \
    static void OwnProcess##suite##name()

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, FindsTheDriveOfADevice)
{
    const DosDevices world(UsualDevices());
    RequireTranslation(L"\\Device\\HarddiskVolume2\\dir\\a.exe", L"C:\\dir\\a.exe");
    RequireTranslation(L"\\DEVICE\\harddiskVOLUME2\\Dir", L"C:\\Dir");
    RequireTranslation(L"\\Device\\HarddiskVolume2\\", L"C:\\");
    RequireTranslation(L"\\Device\\HarddiskVolume2", L"C:\\");
    RequireTranslation(L"\\??\\C:\\work\\f", L"S:\\f");
    RequireTranslation(L"\\Device\\Odd\\;N:123\\f", L"N:\\f");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, TheLetterAloneIsNoLogonMarker)
{
    const DosDevices world(DosDevices::Devices{{L"O:\\", L"\\Device\\Even\\;Other\\b"}});
    RequireTranslation(L"\\Device\\Even\\;Other\\b\\f", L"O:\\f");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, TheFirstDriveWinsEvenInTheMiddleOfAName)
{
    const DosDevices world(UsualDevices());
    // D's device begins with C's; the unit behind the match is taken for the separator.
    RequireTranslation(L"\\Device\\HarddiskVolume20\\a", L"C:\\\\a");
    RequireTranslation(L"\\Device\\HarddiskVolume27", L"C:\\");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, TheOrderIsThatOfTheDriveStrings)
{
    const DosDevices world(
        DosDevices::Devices{{L"D:\\", L"\\Device\\HarddiskVolume20"}, {L"C:\\", L"\\Device\\HarddiskVolume2"}});
    RequireTranslation(L"\\Device\\HarddiskVolume20\\a", L"D:\\a");
    RequireTranslation(L"\\Device\\HarddiskVolume2\\a", L"C:\\a");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, FindsTheDriveOfAShare)
{
    const DosDevices world(UsualDevices());
    RequireTranslation(L"\\Device\\Mup\\srv\\share\\a.txt", L"X:\\a.txt");
    RequireTranslation(L"\\DEVICE\\MUP\\SRV\\SHARE\\a.txt", L"X:\\a.txt");
    RequireTranslation(L"\\\\srv\\share\\a.txt", L"X:\\a.txt");
    RequireTranslation(L"\\Device\\Mup\\srv2\\S$\\dir\\b", L"Y:\\dir\\b");
    RequireTranslation(L"\\\\srv3\\share", L"Z:\\");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, WithoutADriveThePathGetsItsLongForm)
{
    const DosDevices world(UsualDevices());
    RequireTranslation(L"\\Device\\Mup\\other\\share\\a.txt", L"<\\\\other\\share\\a.txt>");
    RequireTranslation(L"c:\\progra~1", L"<c:\\progra~1>");
    // A drive whose device the system does not name is left out.
    RequireTranslation(L"A:\\f", L"<A:\\f>");
    RequireTranslation(L"\\Device\\Mup", L"<\\Device\\Mup>");
    RequireTranslation(L"\\Device\\Mup\\", L"<\\\\>");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, WithoutALongFormThePathComesBack)
{
    const DosDevices world(UsualDevices());
    RequireUnchanged(L"\\Device\\Unknown\\?");
    RequireUnchanged(L"\\Device\\Mup\\other\\?");
    // The long form has to fit into 260 units with its NUL. It is two units longer than the path here.
    const std::wstring fits(257, L'f');
    RequireTranslation(fits, L"<" + fits + L">");
    RequireUnchanged(fits + L"f");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, TranslatesUpTo260Units)
{
    const DosDevices world(UsualDevices());
    const std::wstring device = L"\\Device\\HarddiskVolume2\\";
    const std::wstring name(260 - device.size(), L'n');
    RequireTranslation(device + name, L"C:\\" + name);
    RequireUnchanged(device + name + L"n");
    RequireUnchanged(device + std::wstring(5000, L'n'));
    const std::wstring network = L"\\Device\\Mup\\srv\\share\\";
    const std::wstring rest(260 - network.size(), L'r');
    RequireTranslation(network + rest, L"X:\\" + rest);
    RequireUnchanged(network + rest + L"r");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, ADrivePathTooLongForTheResultComesBack)
{
    const DosDevices world(DosDevices::Devices{{L"C:\\", L"\\"}});
    RequireTranslation(L"\\" + std::wstring(258, L'n'), L"C:\\" + std::wstring(257, L'n'));
    RequireUnchanged(L"\\" + std::wstring(259, L'n'));
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, EmptyAndUnreadablePathsComeBack)
{
    const DosDevices world(UsualDevices());
    const PageEdge<wchar_t> page(L"\\Device\\HarddiskVolume2");
    Require(DeviceToDrivePath(nullptr) == nullptr, "null changed");
    RequireUnchanged(L"");
    Require(DeviceToDrivePath(page.Unreadable()) == page.Unreadable(), "an unreadable path changed");
    RequireTranslation(page.Text(), L"C:\\");
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, AsksForTheDrivesOnceAndReusesItsBuffer)
{
    const DosDevices world(UsualDevices());
    const wchar_t* const first = DeviceToDrivePath(L"\\Device\\HarddiskVolume2\\one");
    const wchar_t* const second = DeviceToDrivePath(L"\\Device\\HarddiskVolume2\\two");
    Require(first == second, "two buffers");
    RequireTranslation(second, L"<C:\\two>");
    Require(world.DriveStringsCalls() == 1, "the drives were asked for again");
    Require(world.QueryCalls() == 8, "a device was asked for again");
}

// The argument is what the system answers when it is asked for the drives.
ORV_CHILD_ROLE(AskWithoutDriveStrings)
{
    DosDevices world(UsualDevices());
    world.FailDriveStrings(std::stoul(arguments.at(0)));
    RequireTranslation(L"\\Device\\HarddiskVolume2\\a", L"<\\Device\\HarddiskVolume2\\a>");
    world.RepairDriveStrings();
    RequireTranslation(L"\\Device\\HarddiskVolume2\\a", L"<\\Device\\HarddiskVolume2\\a>");
    Require(world.DriveStringsCalls() == 1, "the drives were asked for again");
    return 0;
}

TEST(DeviceToDrivePath, WithoutDriveStringsThereAreNoDrivesForGood)
{
    for (const wchar_t* const answer : {L"0", L"513", L"4294967295"})
        EXPECT_EQ(0U, ChildProcess::StartRole(L"AskWithoutDriveStrings", {answer}).WaitForExit()) << answer;
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, ADriveWithoutADeviceNameIsLeftOut)
{
    const DosDevices world(
        DosDevices::Devices{{L"A:\\", L""}, {L"B:\\", L"?"}, {L"C:\\", L"\\Device\\HarddiskVolume2"}});
    RequireTranslation(L"\\Device\\HarddiskVolume2\\a", L"C:\\a");
}

// The argument is the number of the request for memory that fails. Returns 1 when there is no such request.
ORV_CHILD_ROLE(AskWithoutMemory)
{
    const DosDevices world(UsualDevices());
    const std::wstring path = L"\\Device\\Mup\\srv2\\s$\\f";
    AllocationProbe heap;
    heap.FailRequest(std::stoul(arguments.at(0)));
    DeviceToDrivePath(path.c_str());
    heap.StopFailing();
    if (!heap.HasFailed())
        return 1;
    const bool nothingStayed = heap.LiveBlocks() == 0;
    Require(nothingStayed, "a half table stayed");
    RequireTranslation(path, L"<\\\\srv2\\s$\\f>");
    Require(world.DriveStringsCalls() == 1, "the drives were asked for again");
    return 0;
}

TEST(DeviceToDrivePath, AFailedAllocationLeavesNoHalfTable)
{
    // Three arrays, and for each of seven drives three elements and two texts.
    constexpr unsigned requests = 3 + 7 * 5;
    for (unsigned n = 1; n <= requests + 1; ++n)
    {
        const ChildProcess child = ChildProcess::StartRole(L"AskWithoutMemory", {std::to_wstring(n)});
        EXPECT_EQ(n <= requests ? 0U : 1U, child.WaitForExit()) << n;
    }
}

ORV_TEST_IN_OWN_PROCESS(DeviceToDrivePath, KnowsTheSystemsOwnDrives)
{
    wchar_t device[1048]{};
    Require(QueryDosDeviceW(L"C:", device, 1048) != 0, "drive C has no device");
    RequireTranslation(std::wstring(device) + L"\\windows\\system32\\kernel32.dll",
                       L"C:\\windows\\system32\\kernel32.dll");
    wchar_t windows[MAX_PATH]{};
    GetWindowsDirectoryW(windows, MAX_PATH);
    wchar_t shortForm[MAX_PATH]{};
    Require(GetShortPathNameW(windows, shortForm, MAX_PATH) != 0, "the system folder has no short form");
    wchar_t longForm[MAX_PATH]{};
    Require(GetLongPathNameW(shortForm, longForm, MAX_PATH) != 0, "the system folder has no long form");
    RequireTranslation(shortForm, longForm);
    RequireUnchanged(L"C:\\no such folder\\at all");
}
