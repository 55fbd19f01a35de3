#pragma once
// The workbench with a real managed runtime, the dispatcher and the sample beside it.

#include "tests/support/processes/ClientRun.h"

inline const WorkbenchFolder& ManagedFolder()
{
    static const WorkbenchFolder folder({{L"bin\\OrvWorkBench64.exe", L"OrvWorkBench64.exe"},
                                         {L"bin\\OrvWorkBench64.dll", L"OrvWorkBench64.dll"},
                                         {L"bin\\OrvSample.dll", L"OrvSample.dll"},
                                         {L"bridge\\mscoree.dll", L"mscoree.dll"}});
    return folder;
}
