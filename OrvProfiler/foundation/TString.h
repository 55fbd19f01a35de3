#pragma once

#include "OrvProfiler/foundation/TextFunctions.h" // IWYU pragma: export

#include <cstdint>
#include <vector>

// A growable NUL-terminated string of UTF-16 code units on the C heap. Nothing here raises. After an allocation
// failure a string has no buffer: it reads as empty, Append does nothing, and Assign starts anew. A null or
// unreadable text argument counts as an empty text. Belongs to one thread.
//
// Indices and counts are 64 bits wide and count code units. The length is never stored: every operation counts it.
// Strings are copied, never moved: each keeps its own buffer, and the growth rules hold for every assignment.
class TString
{
public:
    // "Not found" and "to the end". Only the low 32 bits are ones.
    static constexpr uint64_t npos = 0xFFFFFFFF;

    // "" with room for 260 units.
    TString() noexcept;
    // Room for 260 units, or for the text when it is longer; a null text gives "".
    TString(const wchar_t* text) noexcept; // NOLINT(google-explicit-constructor)
    TString(const TString& other) noexcept;
    TString(wchar_t character) noexcept; // NOLINT(google-explicit-constructor)
    ~TString();

    // Like Assign; assigning a string, or its own buffer, to itself does nothing.
    TString& operator=(const TString& other) noexcept;
    TString& operator=(const wchar_t* text) noexcept;
    // Replaces the content; null gives "". The text may lie in this string. When the old and the new content together
    // are longer than the capacity, the block grows to exactly that length. The old content counts on purpose, though
    // it goes: a string that is assigned again and again soon stops reallocating.
    void Assign(const wchar_t* text) noexcept;
    // Adds at the end; null adds nothing. The text may lie in this string. Grows to exactly the length needed.
    void Append(const wchar_t* text) noexcept;
    void Append(wchar_t character) noexcept;
    TString& operator+=(const wchar_t* text) noexcept;
    TString& operator+=(const TString& other) noexcept;
    TString& operator+=(wchar_t character) noexcept;
    // Makes room for the given number of units. A string that has to grow is emptied, on purpose: for fresh strings.
    void Reserve(uint64_t units) noexcept;

    // The text, owned by the string and valid until its next change; null only after an allocation failure. The
    // writable form has room for GetCapacity() units and the NUL that must end them.
    const wchar_t* GetBuffer() const noexcept { return m_buffer; }
    wchar_t* GetBuffer() noexcept { return m_buffer; }
    operator const wchar_t*() const noexcept { return m_buffer; } // NOLINT(google-explicit-constructor)
    // How many units the buffer can hold, the NUL not counted.
    uint64_t GetCapacity() const noexcept { return m_capacity; }
    uint64_t GetLength() const noexcept;
    bool IsEmpty() const noexcept { return m_buffer == nullptr || *m_buffer == L'\0'; }
    // Makes the string "". The capacity stays.
    void Empty() noexcept;
    // The unit at an index, 0 beyond the end.
    wchar_t GetAt(uint64_t index) const noexcept;
    // Ignored beyond the end.
    void SetAt(uint64_t index, wchar_t character) noexcept;
    // The first and the last unit; 0 for an empty string.
    wchar_t First() const noexcept;
    wchar_t Last() const noexcept;
    uint64_t Count(wchar_t character) const noexcept;

    // Like the free function Equal.
    bool Equals(const wchar_t* text, bool caseSensitive) const noexcept;

    // Searches return an index, or npos: also in an empty string, and when start (or fromEnd) is not below the
    // length. The terminating NUL is not found as a character. The first one at or after start.
    uint64_t Find(wchar_t character, uint64_t start = 0) const noexcept;
    // An empty text is found at the end: the index is the length.
    uint64_t Find(const wchar_t* sub, uint64_t start = 0) const noexcept;
    // The last one that begins at or before the position length - fromEnd; an empty text is found at that position.
    uint64_t ReverseFind(wchar_t character, uint64_t fromEnd = 0) const noexcept;
    uint64_t ReverseFind(const wchar_t* sub, uint64_t fromEnd = 0) const noexcept;
    // False for an empty string. Every other string contains the empty text.
    bool Contains(const wchar_t* sub) const noexcept;
    // Whether the first occurrence is at index 0; so no string starts with an empty text, which is found at the end.
    bool StartsWith(const wchar_t* sub) const noexcept;

    // The count units from start, at most to the end; empty when start is at or beyond the end.
    TString Mid(uint64_t start, uint64_t count = npos) const noexcept;
    // Both return how many were replaced. The second scans from left to right and goes on behind each match; it
    // changes nothing when from is empty, to is unreadable, nothing matches or memory is short.
    uint64_t Replace(wchar_t from, wchar_t to) noexcept;
    uint64_t Replace(const wchar_t* from, const wchar_t* to) noexcept;
    // A to Z only.
    void MakeLower() noexcept;
    // Removes the units that occur in set from both ends. Returns how many were removed.
    uint64_t Trim(const wchar_t* set) noexcept;
    static TString TrimLeft(const wchar_t* text, const wchar_t* set) noexcept;
    static TString TrimRight(const wchar_t* text, const wchar_t* set) noexcept;
    // Removes blanks and control characters (codes up to 32) at the start, and single and double quotes everywhere. A
    // string of nothing but blanks and control characters stays as it is. Returns the text, "" for an empty string.
    // Traces the text before and after, unless it is empty.
    const wchar_t* StripQuotes() noexcept;

    // Takes the next token of a text: the units up to the separator, or to the end. The cursor moves behind the
    // separator, or to the NUL at the end. Between two separators in a row is an empty token; behind a separator at
    // the end is none. False, with an empty token, when nothing is left. The text is not changed; it must not be the
    // token's own.
    static bool NextToken(const wchar_t*& cursor, wchar_t separator, TString& token) noexcept;
    static bool NextToken(wchar_t*& cursor, wchar_t separator, TString& token) noexcept;
    // All tokens, in a new list that the caller deletes. Null when the string is empty, holds no separator, or memory
    // is short.
    std::vector<TString>* Split(wchar_t separator) const noexcept;
    // Fills the list with all tokens; a string without a separator is one. Returns whether there are any. When memory
    // is short, the list is empty.
    bool Split(wchar_t separator, std::vector<TString>& list) const noexcept;

    // Reads an environment variable. False, with value unchanged, when there is none or memory is short.
    static bool GetEnv(const wchar_t* name, TString& value) noexcept;
    // Appends this string to result, with every %name% replaced by the variable's value; then makes every ");;" in
    // result ");". Returns
    //    1  when done
    //   -1  with an odd number of percent signs; result is unchanged
    //   -2  without any; result is unchanged
    //   -3  when a variable is missing, or memory is short to read it; result ends with what came before it
    int32_t ExpandEnvironment(TString& result) const noexcept;

    // By code units, case-sensitive. A string without a buffer equals only another one, or null.
    friend bool operator==(const TString& left, const TString& right) noexcept;
    friend bool operator==(const TString& left, const wchar_t* right) noexcept;
    friend bool operator==(const wchar_t* left, const TString& right) noexcept { return right == left; }
    friend bool operator!=(const TString& left, const TString& right) noexcept { return !(left == right); }
    friend bool operator!=(const TString& left, const wchar_t* right) noexcept { return !(left == right); }
    friend bool operator!=(const wchar_t* left, const TString& right) noexcept { return !(right == left); }

    // By code units; a string is greater than one that it begins with. An empty string is neither smaller nor greater
    // than any other, on purpose: sorting code has to treat it apart. The right side is a copy.
    friend bool operator<(const TString& left, TString right) noexcept;
    friend bool operator>(const TString& left, TString right) noexcept;

private:
    friend uint64_t ReplaceSub(const wchar_t* text, TString& target, const wchar_t* from, const wchar_t* to) noexcept;

    bool Reallocate(uint64_t units) noexcept;
    void Release() noexcept;
    void AssignUnits(const wchar_t* text, uint64_t length) noexcept;
    void AppendUnits(const wchar_t* text, uint64_t length) noexcept;
    bool Holds(const wchar_t* text) const noexcept;
    // Whether the index is below the length. Counts only as far as the index.
    bool HasUnit(uint64_t index) const noexcept;

    uint64_t m_capacity = 0;
    wchar_t* m_buffer = nullptr;
};
