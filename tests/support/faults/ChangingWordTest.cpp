#include "tests/support/faults/ChangingWord.h"

#include <windows.h>

#include <cstdint>
#include <gmock/gmock.h>
#include <new>

namespace
{
struct Words
{
    int32_t before = 1;
    int32_t watched = 2;
    int32_t behind = 3;
};

// A page that belongs to the test alone: what else lies in the page of a variable would be stepped through, too.
class OwnPage
{
public:
    OwnPage() : m_words(new (VirtualAlloc(nullptr, 1, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE)) Words) {}
    ~OwnPage() { VirtualFree(m_words, 0, MEM_RELEASE); }
    OwnPage(const OwnPage&) = delete;
    OwnPage& operator=(const OwnPage&) = delete;

    // For the test's own accesses: each of them is made.
    volatile Words* operator->() const noexcept { return m_words; }
    int32_t& Watched() const noexcept { return m_words->watched; }

private:
    Words* m_words;
};
} // namespace

TEST(ChangingWord, ChangesBehindTheFirstReadAndCounts)
{
    const OwnPage words;
    {
        const ChangingWord changing(words.Watched(), 200);
        words->before = words->behind;
        EXPECT_EQ(0U, changing.Reads()) << "the page's other words are not counted";
        words->watched = 20;
        EXPECT_EQ(0U, changing.Reads());
        EXPECT_EQ(1U, changing.Writes());
        EXPECT_EQ(20, words->watched);
        EXPECT_EQ(200, words->watched);
        EXPECT_EQ(2U, changing.Reads());
        words->watched = 21;
        EXPECT_EQ(21, words->watched) << "only the first read changes it";
        EXPECT_EQ(2U, changing.Writes());
    }
    EXPECT_EQ(3, words->before);
    EXPECT_EQ(21, words->watched);
}
