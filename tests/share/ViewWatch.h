#pragma once

#include "tests/support/faults/CallScript.h"
#include "tests/support/faults/ImportRedirect.h"

#include <windows.h>

// Watches the first page of each view that is made.
class ViewWatch
{
public:
    explicit ViewWatch(CallScript& script) : m_redirect("MapViewOfFile", Map)
    {
        s_script = &script;
        s_real = m_redirect.Real();
    }

private:
    static void* Map(HANDLE mapping, DWORD access, DWORD high, DWORD low, SIZE_T size)
    {
        void* const view = s_real(mapping, access, high, low, size);
        s_script->WatchWrites(view, L"{view}");
        return view;
    }

    static inline CallScript* s_script = nullptr;
    static inline decltype(&MapViewOfFile) s_real = nullptr;
    Redirect<decltype(MapViewOfFile)> m_redirect;
};
