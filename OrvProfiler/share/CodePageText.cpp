#include "OrvProfiler/share/CodePageText.h"

#include "OrvProfiler/foundation/DebugAssert.h"

#include <windows.h>

#include <memory>
#include <new>

namespace
{
// The source that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"ProxyShare";

template <class Char>
bool IsEmptyText(const Char* text, int32_t length) noexcept
{
    return text == nullptr || length <= 0 || *text == 0;
}

// convert(buffer, capacity) answers the units needed when capacity is 0, else the units written.
template <class Char, class Convert>
int32_t ConvertText(Char** result, const Convert& convert)
{
    const int needed = convert(nullptr, 0);
    DebugAssert(needed > 0, c_source, 171);
    if (needed <= 0)
        return 0;
    std::unique_ptr<Char[]> buffer(new (std::nothrow) Char[static_cast<size_t>(needed) + 1]);
    if (buffer == nullptr)
        return 0;
    const int written = convert(buffer.get(), needed);
    DebugAssert(written > 0, c_source, 171);
    if (written <= 0)
        return 0;
    buffer[static_cast<size_t>(written)] = 0;
    *result = buffer.release();
    return written;
}
} // namespace

int32_t ToWide(const char* text, int32_t length, wchar_t** result, uint32_t codePage)
{
    *result = nullptr;
    if (IsEmptyText(text, length))
        return 0;
    return ConvertText(result, [=](wchar_t* buffer, int capacity) {
        return MultiByteToWideChar(codePage, 0, text, length, buffer, capacity);
    });
}

int32_t ToNarrow(const wchar_t* text, int32_t length, char** result, uint32_t codePage)
{
    *result = nullptr;
    if (IsEmptyText(text, length))
        return 0;
    return ConvertText(result, [=](char* buffer, int capacity) {
        return WideCharToMultiByte(codePage, 0, text, length, buffer, capacity, nullptr, nullptr);
    });
}
