#pragma once

#include "tests/support/contract/Contract.h"
#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/CallScript.h"
#include "tests/support/worlds/ErrorTextStandIn.h"

#include <gtest/gtest.h>
#include <string>

// The seven mutexes of the share that is named "{share}" are made.
inline Script MakeMutexes()
{
    Script script;
    for (unsigned i = 0; i < contract::c_shareMutexCount; ++i)
    {
        const std::wstring name = L"Local\\{share}_" + std::to_wstring(i);
        script.insert(script.end(), {L"InitializeCriticalSection", L"InitializeSecurityDescriptor 1",
                                     L"SetSecurityDescriptorDacl 1 null 0",
                                     L"trace CProxySecManager::OrvPCreateMutex Create Mutex " + name + L"\n",
                                     L"CreateMutexW everybody 0 " + name});
    }
    return script;
}

// A test that compares scripts: lines are caught, error texts are "<error N>", and calls are recorded from the start.
//     EXPECT_TRUE(m_script.Is({L"SetEvent {event}"}));
class ScriptTest : public testing::Test
{
protected:
    // The session of the process that is named "{id}" is asked for, and there is no such process.
    inline static const Script c_askSession = {
        L"OpenProcess 400 0 {id}", L"FormatMessageW 87",
        L"trace CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 87>\n"};
    // What follows when the mapping that is to be opened does not exist.
    inline static const Script c_nothingToOpen = {
        L"FormatMessageW 2", L"trace CProxySecManager::OrvPOpenFileMapping Failed with <error 2>\n",
        L"FormatMessageW 2", L"trace CProxyMap::OpenMap Open returned: <error 2>\n"};
    // The attributes that let everybody in.
    inline static const Script c_letEverybodyIn = {L"InitializeSecurityDescriptor 1",
                                                   L"SetSecurityDescriptorDacl 1 null 0"};

    const ErrorTextStandIn m_errorTexts;
    const TraceCapture m_trace;
    CallScript m_script;
};
