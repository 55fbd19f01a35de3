#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <string>

// What a client and its workbench have agreed on, as literals of the tests' own. They are never taken from the
// product: a constant that changes there must fail a test.
namespace contract
{
// The workbench's events, by slot: 0 to 7 are commands, 8 to 10 responses. The names are those of an old table and do
// not always say what a slot is for.
constexpr const wchar_t* c_eventNames[] = {
    L"EV_STOP",    L"EV_LOAD",   L"EV_CREATE",     L"EV_INVOKE",       L"EV_DELETE",       L"EV_RESET",
    L"EV_SUCCESS", L"EV_FAILED", L"EV_BREAKPOINT", L"EV_PROPERTY_GET", L"EV_PROPERTY_SET",
};
constexpr unsigned c_eventCount = 11;
constexpr unsigned c_success = 8;
constexpr unsigned c_failed = 9;

// What a command slot makes of the workbench, the stop aside.
struct Command
{
    unsigned slot;
    const wchar_t* eventName;
    // As the log calls it.
    const wchar_t* word;
    // The dispatcher's method.
    const char* method;
    // Whether the method gets the command text.
    bool takesText;
    // Whether the breakpoint step follows.
    bool breaks;
};
constexpr Command c_commands[] = {
    {1, L"EV_LOAD", L"Load", "LoadAssembly", true, false}, {2, L"EV_CREATE", L"Create", "CreateType", true, true},
    {3, L"EV_INVOKE", L"Invoke", "Invoke", true, true},    {4, L"EV_DELETE", L"Delete", "Delete", true, false},
    {5, L"EV_RESET", L"Reset", "Reset", false, false},     {6, L"EV_SUCCESS", L"Get", "GetProperty", true, true},
    {7, L"EV_FAILED", L"Set", "SetProperty", true, true},
};
// For failures and the names of tests, which must not carry addresses.
void PrintTo(const Command& command, std::ostream* stream);

// The messages to the client's notification window.
constexpr unsigned c_readyMessage = 0x83F0;
constexpr unsigned c_idleMessage = 0x8407;
constexpr unsigned c_exitingMessage = 0x83EB;

// The share: sizes and offsets in bytes.
constexpr size_t c_shareBytes = 116197744;
constexpr unsigned c_shareMutexCount = 7;
constexpr size_t c_controlOffset = 0x1CB20;
constexpr size_t c_controlBytes = 71520;
constexpr size_t c_windowOffset = 0x1CB30;
constexpr size_t c_textOffset = 0x1CF4C;
// The room of the command text, in UTF-16 units without a NUL.
constexpr size_t c_textUnits = 35226;
constexpr size_t c_threadCountOffset = 0x254F70;
constexpr size_t c_threadOrderOffset = 0x254F74;
constexpr size_t c_threadSlotsOffset = 0x255178;
constexpr size_t c_threadSlotBytes = 1736;
constexpr size_t c_threadBlocksOffset = 0x28B578;
constexpr size_t c_threadBlockBytes = 882696;

// A number in lower-case hexadecimal digits, with leading zeros up to that many: without them an id stands in the
// names of the events and on the workbench's command line, with 8 digits in the other names.
std::wstring Hex(uint64_t value, size_t leastDigits = 1);
std::wstring PaddedHex(uint32_t id);
// A pointer or a window as the log writes it: 16 upper-case digits.
std::wstring PointerText(uint64_t value);

// Names without the prefix that tells where the kernel looks for them.
std::wstring EventName(unsigned slot, uint32_t id);
std::wstring ShareName(uint32_t id);
std::wstring ShareMutexName(uint32_t id, unsigned index);
// The same in the session, as every system without private namespaces has it, and in the private namespace.
std::wstring LocalName(const std::wstring& name);
std::wstring NamespaceName(const std::wstring& name);
// Whichever of the two this process uses for objects that belong to no session.
std::wstring KernelName(const std::wstring& name);
} // namespace contract
