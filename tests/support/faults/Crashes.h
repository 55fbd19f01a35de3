#pragma once

// What faulty programs do. Each raises the processor's exception, if the compiler does not see it coming.

inline void WriteNowhere()
{
    static int* volatile nowhere = nullptr;
    // NOLINTNEXTLINE(clang-analyzer-core.NullDereference): on purpose
    *nowhere = 1; // cppcheck-suppress nullPointer ; on purpose
}

inline void DivideByZero()
{
    static volatile int number = 1000;
    static volatile int zero = 0;
    // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): on purpose
    number = number / zero; // cppcheck-suppress zerodiv ; on purpose
}

// NOLINTNEXTLINE(misc-no-recursion): that is what it is for
inline int UseUpTheStack(int depth = 0)
{
    static const volatile bool endless = true;
    volatile char page[4096];
    page[0] = static_cast<char>(depth);
    return endless ? UseUpTheStack(depth + 1) + page[0] : 0;
}
