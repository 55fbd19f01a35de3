#pragma once

#include <cstdint>

// The events through which a client and its workbench signal each other: slots, names and roles.

// The slots of the workbench event set: the names under which the kernel objects are known. From EV_SUCCESS on, a
// slot's name and its role are deliberately two apart; the roles are the constants below.
enum CWBEventIndex : uint32_t
{
    EV_STOP = 0,
    EV_LOAD = 1,
    EV_CREATE = 2,
    EV_INVOKE = 3,
    EV_DELETE = 4,
    EV_RESET = 5,
    EV_SUCCESS = 6,
    EV_FAILED = 7,
    EV_BREAKPOINT = 8,
    EV_PROPERTY_GET = 9,
    EV_PROPERTY_SET = 10,
};

constexpr uint32_t c_workbenchEventCount = 11;
// The first slots are the commands: the client sets them, the workbench waits for them.
constexpr uint32_t c_workbenchCommandCount = 8;
constexpr uint32_t c_commandGetProperty = EV_SUCCESS;
constexpr uint32_t c_commandSetProperty = EV_FAILED;
// The last slots are the responses: the workbench sets them, the client waits for them.
constexpr uint32_t c_responseSuccess = EV_BREAKPOINT;
constexpr uint32_t c_responseFailed = EV_PROPERTY_GET;
constexpr uint32_t c_responseBreakpoint = EV_PROPERTY_SET;
constexpr uint32_t c_workbenchResponseCount = c_workbenchEventCount - c_responseSuccess;

// The names by slot. A kernel object's name is the slot's name and the client id's text (ClientId.h), as
// "EV_LOAD1a2b". The last entry is no slot's; nothing reads it.
inline constexpr const wchar_t* c_workbenchEventNames[c_workbenchEventCount + 1] = {
    L"EV_STOP",    L"EV_LOAD",   L"EV_CREATE",     L"EV_INVOKE",       L"EV_DELETE",       L"EV_RESET",
    L"EV_SUCCESS", L"EV_FAILED", L"EV_BREAKPOINT", L"EV_PROPERTY_GET", L"EV_PROPERTY_SET", L"BAD WBEVENT INDEX !!!!!",
};
