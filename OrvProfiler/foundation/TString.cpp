#include "OrvProfiler/foundation/TString.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/PerfTimer.h"
#include "OrvProfiler/foundation/Trace.h"

#include <windows.h>

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <cwchar>
#include <memory>
#include <new>

namespace
{
constexpr const wchar_t* c_source = L"TString";
constexpr uint64_t c_initialUnits = 260;
// The greatest text whose block has a size in bytes.
constexpr uint64_t c_maximumUnits = (SIZE_MAX - sizeof(wchar_t)) / sizeof(wchar_t);
constexpr uint64_t c_replaceStep = 256;
constexpr DWORD c_environmentUnits = 1024;

// What differs between the two widths of text.
template <class Char>
struct Text;

template <>
struct Text<wchar_t>
{
    static bool IsReadable(const wchar_t* text) noexcept { return IsBadStringPtrW(text, 1) == FALSE; }
    static uint64_t Length(const wchar_t* text) noexcept { return wcslen(text); }
    static int Compare(const wchar_t* left, const wchar_t* right) noexcept { return wcscmp(left, right); }
    static int CompareNoCase(const wchar_t* left, const wchar_t* right) noexcept { return _wcsicmp(left, right); }
};

template <>
struct Text<char>
{
    static bool IsReadable(const char* text) noexcept { return IsBadStringPtrA(text, 1) == FALSE; }
    static uint64_t Length(const char* text) noexcept { return strlen(text); }
    static int Compare(const char* left, const char* right) noexcept { return strcmp(left, right); }
    static int CompareNoCase(const char* left, const char* right) noexcept { return _stricmp(left, right); }
};

struct FreeBlock
{
    void operator()(void* block) const noexcept { std::free(block); }
};
template <class Char>
using Block = std::unique_ptr<Char[], FreeBlock>;

template <class Char>
Block<Char> AllocateBlock(uint64_t units) noexcept
{
    return Block<Char>(static_cast<Char*>(std::malloc(units * sizeof(Char))));
}

// Keeps the content. On failure the block is as before.
template <class Char>
bool GrowBlock(Block<Char>& block, uint64_t units) noexcept
{
    auto* const grown = static_cast<Char*>(std::realloc(block.get(), units * sizeof(Char)));
    if (grown == nullptr)
        return false;
    static_cast<void>(block.release());
    block.reset(grown);
    return true;
}

template <class Char>
uint64_t TextLength(const Char* text) noexcept
{
    return Text<Char>::IsReadable(text) ? Text<Char>::Length(text) : 0;
}

template <class Char>
const Char* TextEnd(const Char* text) noexcept
{
    const uint64_t length = TextLength(text);
    return length > 0 ? text + length : nullptr;
}

// Whether sub stands at the start of text. Never reads past the end of text.
template <class Char>
bool BeginsWith(const Char* text, const Char* sub) noexcept
{
    for (; *sub != 0; ++text, ++sub)
    {
        if (*text != *sub)
            return false;
    }
    return true;
}

// For a text that is there. One pass: the length is not counted before.
template <class Char>
const Char* ScanForChar(const Char* text, Char character) noexcept
{
    for (; *text != 0; ++text)
    {
        if (*text == character)
            return text;
    }
    return nullptr;
}

template <class Char>
const Char* FindCharIn(const Char* text, Char character) noexcept
{
    const bool readable = Text<Char>::IsReadable(text);
    DebugAssert(readable, c_source, 504);
    return readable ? ScanForChar(text, character) : nullptr;
}

template <class Char>
const Char* FindCharReverseIn(const Char* begin, const Char* from, Char character) noexcept
{
    const bool beginReadable = Text<Char>::IsReadable(begin);
    const bool fromReadable = Text<Char>::IsReadable(from);
    DebugAssert(beginReadable, c_source, 447);
    DebugAssert(fromReadable, c_source, 448);
    if (!beginReadable || !fromReadable || character == 0)
        return nullptr;
    for (const Char* behind = from + 1; behind > begin; --behind)
    {
        if (behind[-1] == character)
            return behind - 1;
    }
    return nullptr;
}

// For texts that are there; sub is not empty.
template <class Char>
const Char* ScanForSub(const Char* text, const Char* sub) noexcept
{
    const Char first = *sub;
    for (; *text != 0; ++text)
    {
        if (*text == first && BeginsWith(text + 1, sub + 1))
            return text;
    }
    return nullptr;
}

template <class Char>
const Char* FindSubIn(const Char* text, const Char* sub) noexcept
{
    if (TextLength(sub) == 0)
        return TextEnd(text);
    if (!Text<Char>::IsReadable(text))
        return nullptr;
    return ScanForSub(text, sub);
}

template <class Char>
const Char* FindSubReverseIn(const Char* begin, const Char* from, const Char* sub) noexcept
{
    const bool beginReadable = Text<Char>::IsReadable(begin);
    const bool fromReadable = Text<Char>::IsReadable(from);
    DebugAssert(beginReadable, c_source, 461);
    DebugAssert(fromReadable, c_source, 462);
    if (!beginReadable || !fromReadable)
        return nullptr;
    const Char empty = 0;
    if (!Text<Char>::IsReadable(sub))
        sub = &empty;
    for (const Char* behind = from + 1; behind > begin; --behind)
    {
        if (BeginsWith(behind - 1, sub))
            return behind - 1;
    }
    return nullptr;
}

template <class Char>
uint64_t ReplaceCharIn(Char* text, Char oldCharacter, Char newCharacter) noexcept
{
    if (!Text<Char>::IsReadable(text))
        return 0;
    uint64_t count = 0;
    for (; *text != 0; ++text)
    {
        if (*text == oldCharacter)
        {
            *text = newCharacter;
            ++count;
        }
    }
    return count;
}

// The text that a replacement builds, in a block that grows in steps.
template <class Char>
class ReplacedText
{
public:
    // False when memory is short.
    bool Begin() noexcept
    {
        m_block = AllocateBlock<Char>(m_size);
        return m_block != nullptr;
    }
    // Both keep room for a NUL, and grow in steps: step by step for the text between two matches, at once for a
    // replacement, with one unit more. False, with nothing added, when memory is short.
    bool AddText(const Char* units, uint64_t length) noexcept
    {
        while (m_size <= m_used + length)
        {
            if (!GrowTo(m_size + c_replaceStep))
                return false;
        }
        Put(units, length);
        return true;
    }
    bool AddReplacement(const Char* units, uint64_t length) noexcept
    {
        uint64_t size = m_size;
        while (size <= m_used + length + 1)
            size += c_replaceStep;
        if (size != m_size && !GrowTo(size))
            return false;
        Put(units, length);
        return true;
    }
    void End() noexcept { m_block[m_used] = 0; }
    const Char* Units() const noexcept { return m_block.get(); }
    uint64_t Length() const noexcept { return m_used; }

private:
    bool GrowTo(uint64_t size) noexcept
    {
        if (!GrowBlock(m_block, size))
            return false;
        m_size = size;
        return true;
    }
    void Put(const Char* units, uint64_t length) noexcept
    {
        std::memcpy(m_block.get() + m_used, units, length * sizeof(Char));
        m_used += length;
        DebugAssert(m_used < m_size, c_source, 670);
    }

    uint64_t m_size = c_replaceStep;
    uint64_t m_used = 0;
    Block<Char> m_block;
};

// Returns the number replaced; the new text is complete then.
template <class Char>
uint64_t BuildReplaced(const Char* text, const Char* from, const Char* to, ReplacedText<Char>& replaced) noexcept
{
    const uint64_t fromLength = TextLength(from);
    DebugAssert(fromLength > 0, c_source, 606);
    if (fromLength == 0 || !Text<Char>::IsReadable(text) || !Text<Char>::IsReadable(to))
        return 0;
    const uint64_t toLength = Text<Char>::Length(to);
    uint64_t count = 0;
    if (!replaced.Begin())
        return 0;
    for (const Char* match = ScanForSub(text, from); match != nullptr; match = ScanForSub(text, from))
    {
        const bool hasText = replaced.AddText(text, static_cast<uint64_t>(match - text));
        DebugAssert(hasText, c_source, 662);
        if (!hasText)
            return 0;
        const bool hasReplacement = replaced.AddReplacement(to, toLength);
        DebugAssert(hasReplacement, c_source, 635);
        if (!hasReplacement)
            return 0;
        ++count;
        text = match + fromLength;
        DebugAssert(text[-1] != 0, c_source, 671);
    }
    if (count == 0)
        return 0;
    const bool hasRest = replaced.AddText(text, Text<Char>::Length(text));
    DebugAssert(hasRest, c_source, 662);
    if (!hasRest)
        return 0;
    replaced.End();
    return count;
}

template <class Char>
void LowerIn(Char* text) noexcept
{
    if (!Text<Char>::IsReadable(text))
        return;
    for (; *text != 0; ++text)
    {
        if (*text >= 'A' && *text <= 'Z')
            *text = static_cast<Char>(*text - 'A' + 'a');
    }
}

template <class Char>
void CopyText(Char* destination, const Char* source) noexcept
{
    if (!Text<Char>::IsReadable(destination) || !Text<Char>::IsReadable(source))
        return;
    std::memmove(destination, source, (Text<Char>::Length(source) + 1) * sizeof(Char));
}

template <class Char>
int CompareTexts(const Char* left, const Char* right, bool caseSensitive) noexcept
{
    const bool hasLeft = Text<Char>::IsReadable(left);
    const bool hasRight = Text<Char>::IsReadable(right);
    if (!hasLeft || !hasRight)
        return (hasLeft ? 1 : 0) - (hasRight ? 1 : 0);
    return caseSensitive ? Text<Char>::Compare(left, right) : Text<Char>::CompareNoCase(left, right);
}

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

// Keeps the content. On failure the string is without a buffer.
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
    const wchar_t* const found = ScanForChar(m_buffer + start, character);
    return found != nullptr ? static_cast<uint64_t>(found - m_buffer) : npos;
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
    Trace(L"%6.0f %s before:%s\n", TickMs(), L"TString::StripQuotes", m_buffer);
    wchar_t* const end = m_buffer + GetLength();
    wchar_t* const rest = std::find_if_not(m_buffer, end, IsBlankOrControl);
    if (rest != end)
        *std::remove_copy_if(rest, end, m_buffer, IsQuote) = L'\0';
    Trace(L"%6.0f %s after:%s\n", TickMs(), L"TString::StripQuotes", m_buffer);
    return m_buffer;
}

bool TString::NextToken(const wchar_t*& cursor, wchar_t separator, TString& token) noexcept
{
    token.Empty();
    if (!Text<wchar_t>::IsReadable(cursor) || *cursor == L'\0')
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
        // Every token gets its place at once: a list that grows copies its strings.
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
    Block<wchar_t> block = AllocateBlock<wchar_t>(limit);
    if (block == nullptr)
        return false;
    // An empty value gives 0 like a failure does: only the error tells them apart, so an old one must not be there.
    block[0] = L'\0';
    SetLastError(ERROR_SUCCESS);
    DWORD length = GetEnvironmentVariableW(name, block.get(), limit);
    DWORD error = GetLastError();
    if (length > limit)
    {
        limit = length;
        block = AllocateBlock<wchar_t>(uint64_t{limit} + 1);
        if (block == nullptr)
            return false;
        block[0] = L'\0';
        SetLastError(ERROR_SUCCESS);
        length = GetEnvironmentVariableW(name, block.get(), limit);
        error = GetLastError();
    }
    // A value that has grown between the two calls is given up.
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
    // The result may be this string itself.
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

uint64_t SafeLength(const wchar_t* text) noexcept
{
    return TextLength(text);
}

uint64_t SafeLength(const char* text) noexcept
{
    return TextLength(text);
}

const wchar_t* EndOf(const wchar_t* text) noexcept
{
    return TextEnd(text);
}

const char* EndOf(const char* text) noexcept
{
    return TextEnd(text);
}

const wchar_t* FindChar(const wchar_t* text, wchar_t character) noexcept
{
    return FindCharIn(text, character);
}

const char* FindChar(const char* text, char character) noexcept
{
    return FindCharIn(text, character);
}

const wchar_t* FindCharReverse(const wchar_t* begin, const wchar_t* from, wchar_t character) noexcept
{
    return FindCharReverseIn(begin, from, character);
}

const char* FindCharReverse(const char* begin, const char* from, char character) noexcept
{
    return FindCharReverseIn(begin, from, character);
}

const wchar_t* FindSub(const wchar_t* text, const wchar_t* sub) noexcept
{
    return FindSubIn(text, sub);
}

const char* FindSub(const char* text, const char* sub) noexcept
{
    return FindSubIn(text, sub);
}

const wchar_t* FindSubReverse(const wchar_t* begin, const wchar_t* from, const wchar_t* sub) noexcept
{
    return FindSubReverseIn(begin, from, sub);
}

const char* FindSubReverse(const char* begin, const char* from, const char* sub) noexcept
{
    return FindSubReverseIn(begin, from, sub);
}

uint64_t ReplaceChar(wchar_t* text, wchar_t oldCharacter, wchar_t newCharacter) noexcept
{
    return ReplaceCharIn(text, oldCharacter, newCharacter);
}

uint64_t ReplaceChar(char* text, char oldCharacter, char newCharacter) noexcept
{
    return ReplaceCharIn(text, oldCharacter, newCharacter);
}

uint64_t ReplaceSub(const wchar_t* text, TString& target, const wchar_t* from, const wchar_t* to) noexcept
{
    ReplacedText<wchar_t> replaced;
    const uint64_t count = BuildReplaced(text, from, to, replaced);
    if (count > 0)
        target.AssignUnits(replaced.Units(), replaced.Length());
    return count;
}

uint64_t ReplaceSub(const char* text, std::string& target, const char* from, const char* to) noexcept
{
    ReplacedText<char> replaced;
    const uint64_t count = BuildReplaced(text, from, to, replaced);
    if (count == 0)
        return 0;
    try
    {
        target.assign(replaced.Units(), replaced.Length());
    }
    catch (const std::bad_alloc&)
    {
        return 0;
    }
    return count;
}

void Lower(wchar_t* text) noexcept
{
    LowerIn(text);
}

void Lower(char* text) noexcept
{
    LowerIn(text);
}

void SafeCopy(wchar_t* destination, const wchar_t* source) noexcept
{
    CopyText(destination, source);
}

void SafeCopy(char* destination, const char* source) noexcept
{
    CopyText(destination, source);
}

bool Equal(const wchar_t* left, const wchar_t* right, bool caseSensitive) noexcept
{
    return CompareTexts(left, right, caseSensitive) == 0;
}

bool Equal(const char* left, const char* right, bool caseSensitive) noexcept
{
    return CompareTexts(left, right, caseSensitive) == 0;
}

int Compare(const wchar_t* left, const wchar_t* right, bool caseSensitive) noexcept
{
    return CompareTexts(left, right, caseSensitive);
}

int Compare(const char* left, const char* right, bool caseSensitive) noexcept
{
    return CompareTexts(left, right, caseSensitive);
}
