#pragma once

#include "tests/support/contract/TraceCapture.h"
#include "tests/support/faults/CallScript.h"
#include "tests/support/worlds/ErrorTextStandIn.h"

#include <gtest/gtest.h>

// A test that compares scripts: lines are caught, error texts are "<error N>", and calls are recorded from the start.
//     EXPECT_TRUE(m_script.Is({L"SetEvent {event}"}));
class ScriptTest : public testing::Test
{
protected:
    // The session of the process that is named "{id}" is asked for, and there is no such process.
    inline static const Script c_askSession = {
        L"OpenProcess 400 0 {id}", L"FormatMessageW 87",
        L"trace CProxySecManager::GetSessionForProcess OpenProcess Failed\n<error 87>\n"};
    // The attributes that let everybody in.
    inline static const Script c_letEverybodyIn = {L"InitializeSecurityDescriptor 1",
                                                   L"SetSecurityDescriptorDacl 1 null 0"};

    const ErrorTextStandIn m_errorTexts;
    const TraceCapture m_trace;
    CallScript m_script;
};
