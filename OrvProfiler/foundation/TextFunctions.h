#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

class TString;

// Functions over plain NUL-terminated texts, wide and 8-bit. Each checks that its texts can be read. A null or
// unreadable text is called absent here; where nothing else is said, it counts as empty. They keep no state: any
// thread.

// The length, 0 for an absent text.
uint64_t SafeLength(const wchar_t* text) noexcept;
uint64_t SafeLength(const char* text) noexcept;

// The terminating NUL; null for an absent or empty text.
const wchar_t* EndOf(const wchar_t* text) noexcept;
const char* EndOf(const char* text) noexcept;

// The first such character, or null. The terminating NUL is not found.
const wchar_t* FindChar(const wchar_t* text, wchar_t character) noexcept;
const char* FindChar(const char* text, char character) noexcept;

// The last such character between begin and from, both included, or null. Both point into one text; from may point to
// its NUL. NUL is not found.
const wchar_t* FindCharReverse(const wchar_t* begin, const wchar_t* from, wchar_t character) noexcept;
const char* FindCharReverse(const char* begin, const char* from, char character) noexcept;

// The first occurrence of a text, or null; an empty sub gives EndOf(text).
const wchar_t* FindSub(const wchar_t* text, const wchar_t* sub) noexcept;
const char* FindSub(const char* text, const char* sub) noexcept;

// The last occurrence that begins between begin and from, both included, or null; an empty text gives from. Both
// point into one text; from may point to its NUL.
const wchar_t* FindSubReverse(const wchar_t* begin, const wchar_t* from, const wchar_t* sub) noexcept;
const char* FindSubReverse(const char* begin, const char* from, const char* sub) noexcept;

// Replaces one character by another in place. Returns how many were changed.
uint64_t ReplaceChar(wchar_t* text, wchar_t oldCharacter, wchar_t newCharacter) noexcept;
uint64_t ReplaceChar(char* text, char oldCharacter, char newCharacter) noexcept;

// Replaces every occurrence of from in text by to, going on behind each match. The result goes to target, if anything
// was replaced. Returns how many were replaced: 0, with target unchanged, also when text or to is absent, from is
// empty or memory is short.
uint64_t ReplaceSub(const wchar_t* text, TString& target, const wchar_t* from, const wchar_t* to) noexcept;
uint64_t ReplaceSub(const char* text, std::string& target, const char* from, const char* to) noexcept;

// Lowers A to Z in place.
void Lower(wchar_t* text) noexcept;
void Lower(char* text) noexcept;

// Copies source with its NUL. The destination must have room for it. Does nothing when either is absent.
void SafeCopy(wchar_t* destination, const wchar_t* source) noexcept;
void SafeCopy(char* destination, const char* source) noexcept;

// Whether two texts are the same. Two null texts are the same; a null text and any other are not. One that cannot be
// read counts as empty.
bool Equal(const wchar_t* left, const wchar_t* right, bool caseSensitive) noexcept;
bool Equal(const char* left, const char* right, bool caseSensitive) noexcept;

// Below 0, 0 or above 0: left is smaller than, equal to or greater than right. A null text equals another null one
// and is smaller than all others, the empty one included. One that cannot be read counts as empty.
int Compare(const wchar_t* left, const wchar_t* right, bool caseSensitive) noexcept;
int Compare(const char* left, const char* right, bool caseSensitive) noexcept;

// A literal nullptr is an absent wide text.
inline uint64_t SafeLength(std::nullptr_t) noexcept
{
    return 0;
}
inline const wchar_t* EndOf(std::nullptr_t) noexcept
{
    return nullptr;
}
inline void Lower(std::nullptr_t) noexcept {}
inline bool Equal(std::nullptr_t, std::nullptr_t, bool /*caseSensitive*/) noexcept
{
    return true;
}
inline int Compare(std::nullptr_t, std::nullptr_t, bool /*caseSensitive*/) noexcept
{
    return 0;
}
