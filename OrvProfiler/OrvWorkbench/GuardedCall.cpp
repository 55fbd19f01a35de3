#include "OrvProfiler/OrvWorkbench/GuardedCall.h"

#include <windows.h>

#include <malloc.h>

namespace
{
// What a stack overflow leaves for the system's search for a handler and for the handlers.
constexpr ULONG c_handlerStackBytes = 64 * 1024;

// Sets the guard page before that much of the thread's stack. A stack overflow has used it up; Wine's lies at the
// stack's very end until it is set anew. On Windows nothing happens to one that is in its place.
void GuardStack() noexcept
{
    // Wine then begins with the page of the call, which must not be one of the callers': other threads may read
    // those.
    volatile char distance[2 * 4096];
    distance[0] = 0;
    static_cast<void>(distance[0]);
    ULONG bytes = c_handlerStackBytes;
    SetThreadStackGuarantee(&bytes);
    _resetstkoflw();
}
} // namespace

#ifdef _MSC_VER

namespace
{
bool CallInFrame(void (*body)(void*), void* context)
{
    __try
    {
        body(context);
        return true;
    }
    __except (EXCEPTION_EXECUTE_HANDLER)
    {
        return false;
    }
}
} // namespace

#else

// MinGW's compiler has no __try. The frame is a function in assembler with a handler of its own: when the body
// returns it returns 1; the handler lets it return 0, from the label behind the call.
extern "C"
{
    int CallInHandledFrame(void (*body)(void*), void* context);
    void HandledFrameLeft();
    EXCEPTION_DISPOSITION LeaveHandledFrame(EXCEPTION_RECORD* exception, void* frame, CONTEXT* context,
                                            DISPATCHER_CONTEXT* dispatcher);
}

asm(R"(
    .text
    .p2align 4
    .globl CallInHandledFrame
    .def CallInHandledFrame; .scl 2; .type 32; .endef
    .seh_proc CallInHandledFrame
CallInHandledFrame:
    subq $40, %rsp
    .seh_stackalloc 40
    .seh_endprologue
    .seh_handler LeaveHandledFrame, @except
    movq %rcx, %rax
    movq %rdx, %rcx
    call *%rax
    movl $1, %eax
    .globl HandledFrameLeft
HandledFrameLeft:
    addq $40, %rsp
    ret
    .seh_endproc
)");

extern "C" EXCEPTION_DISPOSITION LeaveHandledFrame(EXCEPTION_RECORD* exception, void* frame, CONTEXT* /*context*/,
                                                   DISPATCHER_CONTEXT* dispatcher)
{
    // The language's exceptions, by the compiler's own code: the catch outside takes them.
    constexpr DWORD languageThrow = 0x20474343;
    if (exception->ExceptionCode != languageThrow)
        RtlUnwindEx(frame, reinterpret_cast<void*>(HandledFrameLeft), exception, nullptr, dispatcher->ContextRecord,
                    static_cast<UNWIND_HISTORY_TABLE*>(dispatcher->HistoryTable));
    return ExceptionContinueSearch;
}

namespace
{
bool CallInFrame(void (*body)(void*), void* context)
{
    return CallInHandledFrame(body, context) != 0;
}
} // namespace

#endif

bool CallGuarded(void (*body)(void*), void* context) noexcept
{
    GuardStack();
    try
    {
        return CallInFrame(body, context);
    }
    catch (...)
    {
        return false;
    }
}

void EndProcess(uint32_t exitCode) noexcept
{
    for (;;)
        TerminateProcess(GetCurrentProcess(), exitCode);
}
