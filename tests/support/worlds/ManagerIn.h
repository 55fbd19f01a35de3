#pragma once

#include "OrvProfiler/security/ProxySecurity.h"

#include <new>
#include <optional>

// Makes the process's one security manager anew inside a changed system (see NamespaceWorld.h), so that everything
// that names kernel objects does so as that system has it. The destructor makes it anew in the real system.
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
        // The manager closes its namespace, which is the world's: it goes first.
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
