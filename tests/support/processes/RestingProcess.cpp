#include "tests/support/processes/RestingProcess.h"

#include "tests/support/worlds/FreshNames.h"

#include <windows.h>

#include <string>

ORV_CHILD_ROLE(Rest)
{
    Meeting(arguments.at(0)).Signal();
    Sleep(INFINITE);
    return 0;
}

ChildProcess StartRestingProcess()
{
    const std::wstring name = FreshName(L"rest");
    const Meeting started(name);
    ChildProcess child = ChildProcess::StartRole(L"Rest", {name});
    started.Wait();
    return child;
}
