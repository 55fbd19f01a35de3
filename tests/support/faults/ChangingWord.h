#pragma once

#include "OrvProfiler/foundation/WinTypes.h"

#include <cstddef>
#include <cstdint>

// A word of memory that another process changes at the worst moment: right after it was read. Once the calling thread
// has read it, it holds the other value; every read and write of it is counted. Whoever checks a word and then reads
// it anew so meets a value that was never checked. One at a time; x86-64 only. Everything else in the word's page
// works as ever, only slowly; the system must not be made to read or write in it.
class ChangingWord
{
public:
    // Throws std::runtime_error when the word's page cannot be protected.
    template <class Word>
    ChangingWord(Word& word, Word next) : ChangingWord(&word, &next, sizeof word)
    {
        static_assert(sizeof(Word) <= sizeof(uint64_t));
    }
    ~ChangingWord();
    ChangingWord(const ChangingWord&) = delete;
    ChangingWord& operator=(const ChangingWord&) = delete;

    unsigned Reads() const noexcept;
    unsigned Writes() const noexcept;

private:
    ChangingWord(void* word, const void* next, size_t sizeBytes);

    void* m_page = nullptr;
    DWORD m_protection = 0;
    void* m_handler = nullptr;
};
