#pragma once

#include "OrvProfiler/security/ProxySecurity.h"

#include <new>

// Makes the one security manager anew, so that it finds the system as a test has changed it; the destructor does so
// once more, so declare it before the changes, which are then undone first:
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
