#include "OrvProfiler/foundation/TString.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/HeapBlock.h"
#include "OrvProfiler/foundation/Trace.h"

#include <windows.h>

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <cwchar>
#include <memory>
#include <new>

namespace
{
constexpr const wchar_t* c_source = L"TString";
constexpr uint64_t c_initialUnits = 260;
// The longest text whose block size in bytes can still be expressed.
constexpr uint64_t c_maximumUnits = (SIZE_MAX - sizeof(wchar_t)) / sizeof(wchar_t);
constexpr DWORD c_environmentUnits = 1024;

bool IsBlankOrControl(wchar_t character) noexcept
{
    return character <= L' ';
}

bool IsQuote(wchar_t character) noexcept
{
    return character == L'"' || character == L'\'';
}
} // namespace

TString::TString() noexcept
{
    static_assert(sizeof(TString) == 16 && offsetof(TString, m_capacity) == 0 && offsetof(TString, m_buffer) == 8,
                  "strings lie by value in records of a fixed layout");
    Reserve(c_initialUnits);
}

TString::TString(const wchar_t* text) noexcept : TString()
{
    Assign(text);
}

TString::TString(const TString& other) noexcept : TString()
{
    AssignUnits(other.m_buffer, other.GetLength());
}

TString::TString(wchar_t character) noexcept : TString()
{
    const wchar_t text[] = {character, L'\0'};
    Assign(text);
}

TString::~TString()
{
    Release();
}

TString& TString::operator=(const TString& other) noexcept
{
    if (this != &other)
        AssignUnits(other.m_buffer, other.GetLength());
    return *this;
}

TString& TString::operator=(const wchar_t* text) noexcept
{
    DebugAssert(text != m_buffer, c_source, 1016);
    if (text != m_buffer)
        Assign(text);
    return *this;
}

void TString::Assign(const wchar_t* text) noexcept
{
    AssignUnits(text, SafeLength(text));
}

void TString::AssignUnits(const wchar_t* text, uint64_t length) noexcept
{
    DebugAssert(m_buffer != nullptr, c_source, 888);
    const bool own = Holds(text);
    const auto offset = own ? text - m_buffer : 0;
    const uint64_t needed = length + GetLength();
    if (needed > m_capacity)
    {
        const bool grown = Reallocate(needed);
        DebugAssert(grown, c_source, 898);
    }
    if (m_buffer == nullptr)
        return;
    if (length > 0)
        std::wmemmove(m_buffer, own ? m_buffer + offset : text, length);
    m_buffer[length] = L'\0';
}

void TString::Append(const wchar_t* text) noexcept
{
    AppendUnits(text, SafeLength(text));
}

void TString::Append(wchar_t character) noexcept
{
    const wchar_t text[] = {character, L'\0'};
    Append(text);
}

void TString::AppendUnits(const wchar_t* text, uint64_t length) noexcept
{
    DebugAssert(m_buffer != nullptr, c_source, 914);
    if (length == 0 || m_buffer == nullptr)
        return;
    const bool own = Holds(text);
    const auto offset = own ? text - m_buffer : 0;
    const uint64_t oldLength = GetLength();
    const uint64_t needed = length + oldLength;
    if (needed > m_capacity)
    {
        const bool grown = Reallocate(needed);
        DebugAssert(grown, c_source, 926);
        if (!grown)
            return;
    }
    std::wmemmove(m_buffer + oldLength, own ? m_buffer + offset : text, length);
    m_buffer[needed] = L'\0';
}

TString& TString::operator+=(const wchar_t* text) noexcept
{
    Append(text);
    return *this;
}

TString& TString::operator+=(const TString& other) noexcept
{
    AppendUnits(other.m_buffer, other.GetLength());
    return *this;
}

TString& TString::operator+=(wchar_t character) noexcept
{
    Append(character);
    return *this;
}

void TString::Reserve(uint64_t units) noexcept
{
    if (units <= m_capacity)
        return;
    const bool reserved = Reallocate(units);
    DebugAssert(reserved, c_source, 1155);
    if (!reserved)
        return;
    DebugAssert(m_buffer != nullptr, c_source, 1168);
    m_buffer[0] = L'\0';
}

// Keeps the content. On failure the string has no buffer.
bool TString::Reallocate(uint64_t units) noexcept
{
    void* block = nullptr;
    if (units <= c_maximumUnits)
    {
        const size_t sizeBytes = (units + 1) * sizeof(wchar_t);
        block = m_buffer != nullptr ? std::realloc(m_buffer, sizeBytes) : std::malloc(sizeBytes);
    }
    if (block == nullptr)
    {
        Release();
        return false;
    }
    m_capacity = units;
    m_buffer = static_cast<wchar_t*>(block);
    return true;
}

void TString::Release() noexcept
{
    std::free(m_buffer);
    m_buffer = nullptr;
    m_capacity = 0;
}

bool TString::Holds(const wchar_t* text) const noexcept
{
    return m_buffer != nullptr && text >= m_buffer && text <= m_buffer + m_capacity;
}

uint64_t TString::GetLength() const noexcept
{
    return m_buffer != nullptr ? wcslen(m_buffer) : 0;
}

void TString::Empty() noexcept
{
    if (m_buffer != nullptr)
        m_buffer[0] = L'\0';
}

bool TString::HasUnit(uint64_t index) const noexcept
{
    if (m_buffer == nullptr || index >= m_capacity)
        return false;
    wchar_t* const behind = m_buffer + index + 1;
    return std::find(m_buffer, behind, L'\0') == behind;
}

wchar_t TString::GetAt(uint64_t index) const noexcept
{
    return HasUnit(index) ? m_buffer[index] : L'\0';
}

void TString::SetAt(uint64_t index, wchar_t character) noexcept
{
    if (HasUnit(index))
        m_buffer[index] = character;
}

wchar_t TString::First() const noexcept
{
    return GetAt(0);
}

wchar_t TString::Last() const noexcept
{
    const uint64_t length = GetLength();
    return length > 0 ? m_buffer[length - 1] : L'\0';
}

uint64_t TString::Count(wchar_t character) const noexcept
{
    return static_cast<uint64_t>(std::count(m_buffer, m_buffer + GetLength(), character));
}

bool TString::Equals(const wchar_t* text, bool caseSensitive) const noexcept
{
    return Equal(m_buffer, text, caseSensitive);
}

uint64_t TString::Find(wchar_t character, uint64_t start) const noexcept
{
    if (!HasUnit(start))
        return npos;
    const wchar_t* found = m_buffer + start;
    while (*found != L'\0' && *found != character)
        ++found;
    return *found != L'\0' ? static_cast<uint64_t>(found - m_buffer) : npos;
}

uint64_t TString::Find(const wchar_t* sub, uint64_t start) const noexcept
{
    if (!HasUnit(start))
        return npos;
    const wchar_t* const found = FindSub(m_buffer + start, sub);
    return found != nullptr ? static_cast<uint64_t>(found - m_buffer) : npos;
}

uint64_t TString::ReverseFind(wchar_t character, uint64_t fromEnd) const noexcept
{
    const uint64_t length = GetLength();
    if (fromEnd >= length)
        return npos;
    const wchar_t* const found = FindCharReverse(m_buffer, m_buffer + (length - fromEnd), character);
    return found != nullptr ? static_cast<uint64_t>(found - m_buffer) : npos;
}

uint64_t TString::ReverseFind(const wchar_t* sub, uint64_t fromEnd) const noexcept
{
    const uint64_t length = GetLength();
    if (fromEnd >= length)
        return npos;
    const wchar_t* const found = FindSubReverse(m_buffer, m_buffer + (length - fromEnd), sub);
    return found != nullptr ? static_cast<uint64_t>(found - m_buffer) : npos;
}

bool TString::Contains(const wchar_t* sub) const noexcept
{
    return !IsEmpty() && FindSub(m_buffer, sub) != nullptr;
}

bool TString::StartsWith(const wchar_t* sub) const noexcept
{
    return Find(sub, 0) == 0;
}

TString TString::Mid(uint64_t start, uint64_t count) const noexcept
{
    TString result;
    if (!HasUnit(start))
        return result;
    const wchar_t* const text = m_buffer + start;
    count = count == npos ? wcslen(text) : wcsnlen(text, count);
    result.Reserve(count);
    result.AssignUnits(text, count);
    return result;
}

uint64_t TString::Replace(wchar_t from, wchar_t to) noexcept
{
    return ReplaceChar(m_buffer, from, to);
}

uint64_t TString::Replace(const wchar_t* from, const wchar_t* to) noexcept
{
    return ReplaceSub(m_buffer, *this, from, to);
}

void TString::MakeLower() noexcept
{
    Lower(m_buffer);
}

uint64_t TString::Trim(const wchar_t* set) noexcept
{
    const uint64_t oldLength = GetLength();
    const TString left = TrimLeft(m_buffer, set);
    if (left.m_buffer == nullptr)
        return 0;
    const TString trimmed = TrimRight(left.m_buffer, set);
    if (trimmed.m_buffer == nullptr)
        return 0;
    Assign(trimmed.m_buffer);
    return oldLength - GetLength();
}

TString TString::TrimLeft(const wchar_t* text, const wchar_t* set) noexcept
{
    if (SafeLength(text) == 0 || SafeLength(set) == 0)
        return {text};
    return {text + std::wcsspn(text, set)};
}

TString TString::TrimRight(const wchar_t* text, const wchar_t* set) noexcept
{
    uint64_t length = SafeLength(text);
    if (length == 0 || SafeLength(set) == 0)
        return {text};
    while (length > 0 && FindChar(set, text[length - 1]) != nullptr)
        --length;
    TString result;
    result.AssignUnits(text, length);
    return result;
}

const wchar_t* TString::StripQuotes() noexcept
{
    if (IsEmpty())
        return L"";
    TraceLine(L"%6.0f %s before:%s\n", L"TString::StripQuotes", m_buffer);
    wchar_t* const end = m_buffer + GetLength();
    wchar_t* const rest = std::find_if_not(m_buffer, end, IsBlankOrControl);
    if (rest != end)
    {
        const auto kept = static_cast<size_t>(std::remove_if(rest, end, IsQuote) - rest);
        std::wmemmove(m_buffer, rest, kept);
        m_buffer[kept] = L'\0';
    }
    TraceLine(L"%6.0f %s after:%s\n", L"TString::StripQuotes", m_buffer);
    return m_buffer;
}

bool TString::NextToken(const wchar_t*& cursor, wchar_t separator, TString& token) noexcept
{
    token.Empty();
    if (IsBadStringPtrW(cursor, 1) != FALSE || *cursor == L'\0')
        return false;
    const wchar_t* const start = cursor;
    while (*cursor != L'\0' && *cursor != separator)
        ++cursor;
    token.AssignUnits(start, static_cast<uint64_t>(cursor - start));
    if (*cursor != L'\0')
        ++cursor;
    return true;
}

bool TString::NextToken(wchar_t*& cursor, wchar_t separator, TString& token) noexcept
{
    const wchar_t* start = cursor;
    const bool taken = NextToken(start, separator, token);
    if (taken)
        cursor += start - cursor;
    return taken;
}

std::vector<TString>* TString::Split(wchar_t separator) const noexcept
{
    if (Find(separator, 0) == npos)
        return nullptr;
    std::unique_ptr<std::vector<TString>> list(new (std::nothrow) std::vector<TString>);
    if (list == nullptr || !Split(separator, *list))
        return nullptr;
    return list.release();
}

bool TString::Split(wchar_t separator, std::vector<TString>& list) const noexcept
{
    list.clear();
    if (IsEmpty())
        return false;
    try
    {
        // Room for every token at once: a list that grows copies its strings.
        list.reserve(Count(separator) + 1);
    }
    catch (const std::bad_alloc&)
    {
        return false;
    }
    for (const wchar_t* cursor = m_buffer; *cursor != L'\0';)
    {
        TString& token = list.emplace_back();
        NextToken(cursor, separator, token);
        if (token.m_buffer != nullptr)
            continue;
        list.clear();
        return false;
    }
    return true;
}

bool TString::GetEnv(const wchar_t* name, TString& value) noexcept
{
    if (SafeLength(name) == 0)
        name = L"";
    DWORD limit = c_environmentUnits;
    HeapBlock<wchar_t> block = AllocateBlock<wchar_t>(limit);
    if (block == nullptr)
        return false;
    // An empty value gives 0, as a failure does. Only the last error tells them apart, so it must not be an old one.
    block[0] = L'\0';
    SetLastError(ERROR_SUCCESS);
    DWORD length = GetEnvironmentVariableW(name, block.get(), limit);
    DWORD error = GetLastError();
    if (length > limit)
    {
        limit = length;
        block.reset(); // not two at once
        block = AllocateBlock<wchar_t>(uint64_t{limit} + 1);
        // cppcheck-suppress knownConditionTrueFalse ; there may be a block
        if (block == nullptr)
            return false;
        block[0] = L'\0';
        SetLastError(ERROR_SUCCESS);
        length = GetEnvironmentVariableW(name, block.get(), limit);
        error = GetLastError();
    }
    // Not tried again when the value has grown between the two calls.
    if (length > limit || error == ERROR_ENVVAR_NOT_FOUND)
        return false;
    value.Assign(block.get());
    return true;
}

int32_t TString::ExpandEnvironment(TString& result) const noexcept
{
    const uint64_t signs = Count(L'%');
    if (signs < 1)
        return -2;
    if (signs % 2 != 0)
        return -1;
    // result may be this string itself.
    const TString copy = &result == this ? TString(*this) : TString(L"");
    const TString& text = &result == this ? copy : *this;
    if (text.m_buffer == nullptr)
        return -3;
    uint64_t position = 0;
    for (uint64_t sign = text.Find(L'%', 0); sign != npos; sign = text.Find(L'%', position))
    {
        result.AppendUnits(text.m_buffer + position, sign - position);
        const uint64_t closing = text.Find(L'%', sign + 1);
        const TString name = text.Mid(sign + 1, closing - sign - 1);
        DebugAssert(!name.IsEmpty(), c_source, 278);
        TString value;
        if (!GetEnv(name, value) || value.m_buffer == nullptr)
            return -3;
        result.Append(value);
        position = closing + 1;
    }
    result.Append(text.m_buffer + position);
    result.Replace(L");;", L");");
    return 1;
}

bool operator==(const TString& left, const TString& right) noexcept
{
    return &left == &right || Equal(left.m_buffer, right.m_buffer, true);
}

bool operator==(const TString& left, const wchar_t* right) noexcept
{
    return Equal(left.m_buffer, right, true);
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): deliberately a copy
bool operator<(const TString& left, TString right) noexcept
{
    return !left.IsEmpty() && !right.IsEmpty() && wcscmp(left.m_buffer, right.m_buffer) < 0;
}

// NOLINTNEXTLINE(performance-unnecessary-value-param): deliberately a copy
bool operator>(const TString& left, TString right) noexcept
{
    return !left.IsEmpty() && !right.IsEmpty() && wcscmp(left.m_buffer, right.m_buffer) > 0;
}
