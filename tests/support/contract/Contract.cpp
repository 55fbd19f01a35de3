#include "tests/support/contract/Contract.h"

#include "OrvProfiler/security/ProxySecurity.h"

#include <ostream>

namespace contract
{
namespace
{
std::wstring Digits(uint64_t value, size_t leastDigits, const wchar_t* digits)
{
    std::wstring text;
    for (; value != 0 || text.size() < leastDigits; value >>= 4)
        text.insert(text.begin(), digits[value & 15]);
    return text;
}
} // namespace

void PrintTo(const Command& command, std::ostream* stream)
{
    *stream << command.method;
}

std::wstring Hex(uint64_t value, size_t leastDigits)
{
    return Digits(value, leastDigits, L"0123456789abcdef");
}

std::wstring PaddedHex(uint32_t id)
{
    return Hex(id, 8);
}

std::wstring PointerText(uint64_t value)
{
    return Digits(value, 16, L"0123456789ABCDEF");
}

std::wstring EventName(unsigned slot, uint32_t id)
{
    return c_eventNames[slot] + Hex(id);
}

std::wstring ShareName(uint32_t id)
{
    return L"OrvProfiler" + PaddedHex(id);
}

std::wstring ShareMutexName(uint32_t id, unsigned index)
{
    return ShareName(id) + L"_" + std::to_wstring(index);
}

std::wstring LocalName(const std::wstring& name)
{
    return L"Local\\" + name;
}

std::wstring NamespaceName(const std::wstring& name)
{
    return L"OrvP\\" + name;
}

std::wstring KernelName(const std::wstring& name)
{
    return g_SecManager.UsePrivateNamespace() ? NamespaceName(name) : LocalName(name);
}
} // namespace contract
