#pragma once

#include "tests/support/processes/ClientRun.h"

#include <string>

// The workbench that does what the environment variable ORV_FAKE tells it to.
inline std::wstring FakeProgram()
{
    return BuildFile(L"tests\\fake\\OrvWorkBench64.exe");
}
