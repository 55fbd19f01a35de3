#pragma once

#include "OrvProfiler/security/ProxySecurity.h"

#include <new>

// Makes the one security manager anew, so that it sees the system as a test has changed it. The destructor makes it
// anew once more: declare it before the changes, so that they are undone by then.
//     RebuiltManager manager;
//     ExportTable exports;
//     exports.Hide("LookupAccountSidW");
//     manager.Rebuild();
class RebuiltManager
{
public:
    RebuiltManager() = default;
    ~RebuiltManager() { Rebuild(); }
    RebuiltManager(const RebuiltManager&) = delete;
    RebuiltManager& operator=(const RebuiltManager&) = delete;

    void Rebuild()
    {
        g_SecManager.~CProxySecManager();
        new (&g_SecManager) CProxySecManager;
    }
};
