#pragma once

#include "OrvProfiler/protocol/WorkbenchEvents.h"

// The managed dispatcher's type, and its static methods, each taking one string and returning an ActionResult.
constexpr const wchar_t* c_dispatcherType = L"OrvWorkBench.CInvoke";
constexpr const wchar_t* c_methodLoadAssembly = L"LoadAssembly";
constexpr const wchar_t* c_methodCreateType = L"CreateType";
constexpr const wchar_t* c_methodInvoke = L"Invoke";
constexpr const wchar_t* c_methodDelete = L"Delete";
constexpr const wchar_t* c_methodReset = L"Reset";
constexpr const wchar_t* c_methodGetProperty = L"GetProperty";
constexpr const wchar_t* c_methodSetProperty = L"SetProperty";
constexpr const wchar_t* c_methodBreakpoint = L"OrvBreakPoint";

// What the workbench does for a command event.
struct WorkbenchCommand
{
    // The command's name in the log.
    const wchar_t* name;
    // Called with the command text, or with the empty string when it does not take that. Null: no method.
    const wchar_t* method;
    bool takesText;
    // The breakpoint step comes between the call and the command's own response.
    bool passesBreakpoint;
};

// By slot. The stop event has no method.
inline constexpr WorkbenchCommand c_workbenchCommands[c_workbenchCommandCount] = {
    {nullptr, nullptr, false, false},
    {L"Load", c_methodLoadAssembly, true, false},
    {L"Create", c_methodCreateType, true, true},
    {L"Invoke", c_methodInvoke, true, true},
    {L"Delete", c_methodDelete, true, false},
    {L"Reset", c_methodReset, false, false},
    {L"Get", c_methodGetProperty, true, true},
    {L"Set", c_methodSetProperty, true, true},
};
