#include "tests/support/faults/ChangingWord.h"

#include <windows.h>

#include <cstring>
#include <stdexcept>

namespace
{
constexpr uintptr_t c_pageSize = 4096;
constexpr DWORD c_trapFlag = 0x100;
constexpr ULONG_PTR c_isWrite = 1;

// An access to the page faults; the page is opened for that one instruction, and closed again behind it.
struct Watch
{
    unsigned char* word = nullptr;
    size_t sizeBytes = 0;
    unsigned char next[sizeof(uint64_t)]{};
    DWORD protection = 0;
    unsigned reads = 0;
    unsigned writes = 0;
    bool isStepping = false;
    bool isChangeDue = false;
};

Watch g_watch;

uintptr_t PageOf(ULONG_PTR address)
{
    return address / c_pageSize;
}

bool IsInPage(ULONG_PTR address)
{
    return g_watch.word != nullptr && PageOf(address) == PageOf(reinterpret_cast<ULONG_PTR>(g_watch.word));
}

void Protect(DWORD protection)
{
    DWORD old = 0;
    VirtualProtect(g_watch.word, 1, protection, &old);
}

void Count(ULONG_PTR kind, ULONG_PTR address)
{
    const ULONG_PTR offset = address - reinterpret_cast<ULONG_PTR>(g_watch.word);
    if (offset >= g_watch.sizeBytes)
        return;
    if (kind == c_isWrite)
        ++g_watch.writes;
    else if (++g_watch.reads == 1)
        g_watch.isChangeDue = true;
}

LONG OnAccess(const EXCEPTION_RECORD& record, CONTEXT& context)
{
    if (record.NumberParameters < 2 || !IsInPage(record.ExceptionInformation[1]))
        return EXCEPTION_CONTINUE_SEARCH;
    Count(record.ExceptionInformation[0], record.ExceptionInformation[1]);
    Protect(g_watch.protection);
    g_watch.isStepping = true;
    context.EFlags |= c_trapFlag;
    return EXCEPTION_CONTINUE_EXECUTION;
}

LONG OnStep(CONTEXT& context)
{
    if (!g_watch.isStepping)
        return EXCEPTION_CONTINUE_SEARCH;
    g_watch.isStepping = false;
    if (g_watch.isChangeDue)
        std::memcpy(g_watch.word, g_watch.next, g_watch.sizeBytes);
    g_watch.isChangeDue = false;
    Protect(PAGE_NOACCESS);
    context.EFlags &= ~c_trapFlag;
    return EXCEPTION_CONTINUE_EXECUTION;
}

LONG CALLBACK Handle(EXCEPTION_POINTERS* exception)
{
    switch (exception->ExceptionRecord->ExceptionCode)
    {
    case EXCEPTION_ACCESS_VIOLATION:
        return OnAccess(*exception->ExceptionRecord, *exception->ContextRecord);
    case EXCEPTION_SINGLE_STEP:
        return OnStep(*exception->ContextRecord);
    default:
        return EXCEPTION_CONTINUE_SEARCH;
    }
}
} // namespace

ChangingWord::ChangingWord(void* word, const void* next, size_t sizeBytes)
    : m_page(word), m_handler(AddVectoredExceptionHandler(1, Handle))
{
    g_watch = {};
    g_watch.word = static_cast<unsigned char*>(word);
    g_watch.sizeBytes = sizeBytes;
    std::memcpy(g_watch.next, next, sizeBytes);
    if (VirtualProtect(m_page, 1, PAGE_NOACCESS, &m_protection) == FALSE)
    {
        RemoveVectoredExceptionHandler(m_handler);
        throw std::runtime_error("a page cannot be protected");
    }
    g_watch.protection = m_protection;
}

ChangingWord::~ChangingWord()
{
    Protect(m_protection);
    RemoveVectoredExceptionHandler(m_handler);
    g_watch.word = nullptr;
}

unsigned ChangingWord::Reads() const noexcept
{
    return g_watch.reads;
}

unsigned ChangingWord::Writes() const noexcept
{
    return g_watch.writes;
}
