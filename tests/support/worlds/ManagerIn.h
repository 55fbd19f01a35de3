#pragma once

#include "OrvProfiler/security/ProxySecurity.h"

#include <new>
#include <optional>

// Makes the process's one security manager again within a changed system (see NamespaceWorld.h), so that everything
// that names kernel objects finds itself there, and once more in the real one afterwards.
//     ManagerIn<NamespaceWorld> world;
template <class World>
class ManagerIn
{
public:
    template <class... Arguments>
    explicit ManagerIn(const Arguments&... arguments)
    {
        m_world.emplace(arguments...);
        Restart();
    }
    ~ManagerIn()
    {
        // Leaves while the world is still there to be left.
        g_SecManager.~CProxySecManager();
        m_world.reset();
        new (&g_SecManager) CProxySecManager;
    }
    ManagerIn(const ManagerIn&) = delete;
    ManagerIn& operator=(const ManagerIn&) = delete;

private:
    static void Restart()
    {
        g_SecManager.~CProxySecManager();
        new (&g_SecManager) CProxySecManager;
    }

    std::optional<World> m_world;
};
