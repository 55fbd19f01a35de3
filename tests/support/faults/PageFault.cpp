#include "tests/support/faults/PageFault.h"

#include <windows.h>

#include <atomic>
#include <cstdint>
#include <stdexcept>

namespace
{
constexpr uintptr_t c_pageSize = 4096;
constexpr DWORD64 c_stackAlignment = 16;

std::atomic<uintptr_t> g_page{0};

[[noreturn]] void ThrowPageFault()
{
    throw PageFault();
}

bool IsInThisProgram(DWORD64 instruction)
{
    DWORD64 base = 0;
    RtlPcToFileHeader(reinterpret_cast<void*>(instruction), reinterpret_cast<void**>(&base));
    return base == reinterpret_cast<DWORD64>(GetModuleHandleW(nullptr));
}

// Makes the context return from the function that it is in, to behind the call.
void ReturnFromFunction(CONTEXT& context)
{
    DWORD64 base = 0;
    RUNTIME_FUNCTION* const function = RtlLookupFunctionEntry(context.Rip, &base, nullptr);
    if (function == nullptr)
    {
        context.Rip = *reinterpret_cast<DWORD64*>(context.Rsp);
        context.Rsp += sizeof(DWORD64);
        return;
    }
    void* handlerData = nullptr;
    DWORD64 frame = 0;
    RtlVirtualUnwind(UNW_FLAG_NHANDLER, base, context.Rip, function, &context, &handlerData, &frame, nullptr);
}

// Makes the context call ThrowPageFault. The unwinder subtracts one from a return address to find the instruction of
// the call; here that has to be the faulting instruction itself, so its address plus one is pushed.
void CallThrow(CONTEXT& context)
{
    DWORD64 returnAddress = context.Rip + 1;
    // Functions of the system are left, and so are functions without a stack frame, which cannot catch anything.
    while (!IsInThisProgram(context.Rip) || context.Rsp % c_stackAlignment != 0)
    {
        ReturnFromFunction(context);
        returnAddress = context.Rip;
    }
    context.Rsp -= sizeof returnAddress;
    *reinterpret_cast<DWORD64*>(context.Rsp) = returnAddress;
    context.Rip = reinterpret_cast<DWORD64>(&ThrowPageFault);
}

LONG CALLBACK Handle(EXCEPTION_POINTERS* fault)
{
    const EXCEPTION_RECORD& record = *fault->ExceptionRecord;
    if (record.ExceptionCode != EXCEPTION_ACCESS_VIOLATION || record.NumberParameters < 2)
        return EXCEPTION_CONTINUE_SEARCH;
    if (record.ExceptionInformation[1] / c_pageSize != g_page / c_pageSize)
        return EXCEPTION_CONTINUE_SEARCH;
    CallThrow(*fault->ContextRecord);
    return EXCEPTION_CONTINUE_EXECUTION;
}
} // namespace

UnreadablePage::UnreadablePage(void* address) : m_page(address)
{
    if (VirtualProtect(m_page, 1, PAGE_NOACCESS, &m_protection) == FALSE)
        throw std::runtime_error("a page cannot be protected");
    g_page = reinterpret_cast<uintptr_t>(m_page);
    m_handler = AddVectoredExceptionHandler(1, Handle);
}

UnreadablePage::~UnreadablePage()
{
    RemoveVectoredExceptionHandler(m_handler);
    VirtualProtect(m_page, 1, m_protection, &m_protection);
}
