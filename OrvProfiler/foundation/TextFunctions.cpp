#include "OrvProfiler/foundation/TextFunctions.h"

#include "OrvProfiler/foundation/DebugAssert.h"
#include "OrvProfiler/foundation/HeapBlock.h"
#include "OrvProfiler/foundation/TString.h"

#include <windows.h>

#include <cstring>
#include <cwchar>
#include <new>

namespace
{
// The source that the assertions here are known by: fixed like their numbers, wherever the code lies.
constexpr const wchar_t* c_source = L"TString";
constexpr uint64_t c_replaceStep = 256;

// The functions that differ between the two widths.
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

// The text itself, or an empty one where it cannot be read.
template <class Char>
const Char* ReadableOrEmpty(const Char* text) noexcept
{
    static constexpr Char empty = 0;
    return Text<Char>::IsReadable(text) ? text : &empty;
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

// The text must be readable. One pass: the length is not counted first.
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

// Both texts must be readable, and sub not empty.
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
    sub = ReadableOrEmpty(sub);
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

// The result of a replacement, built in a block that grows in steps.
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
    // Both keep room for a NUL. The text between two matches makes the block grow one step at a time; a replacement
    // makes it grow once, and needs one spare unit more. False, with nothing added, when memory is short.
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
        if (!ResizeBlock(m_block, size))
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
    HeapBlock<Char> m_block;
};

// Returns how many were replaced. If any, the new text is complete.
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
    if (left == nullptr || right == nullptr)
        return (left != nullptr ? 1 : 0) - (right != nullptr ? 1 : 0);
    left = ReadableOrEmpty(left);
    right = ReadableOrEmpty(right);
    return caseSensitive ? Text<Char>::Compare(left, right) : Text<Char>::CompareNoCase(left, right);
}
} // namespace

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
