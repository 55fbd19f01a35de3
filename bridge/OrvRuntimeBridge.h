#pragma once

#include <cstdint>

// The calls between the Windows half of the bridge (mscoree.dll, Mscoree.cpp) and its Unix half
// (OrvRuntimeBridge.dll.so, OrvRuntimeBridge.cpp). Included by both: no Windows and no Mono header here.
// File names are Unix paths; they and names are UTF-8, the argument is UTF-16. The results are HRESULTs.

#ifdef _WIN32
#define ORV_BRIDGE_CALL
#else
#define ORV_BRIDGE_CALL __attribute__((ms_abi, visibility("default")))
#endif

extern "C"
{
    // A variable for the environment in which managed code runs, which is not that of Windows programs. To be called
    // before the start.
    ORV_BRIDGE_CALL void OrvBridgeSetVariable(const char* name, const char* value);

    // Starts the runtime. The application base is the folder in which it looks for assemblies by name; configFile is
    // the program's configuration, which need not exist. Returns 0, also when it runs already, or a failing status.
    ORV_BRIDGE_CALL int32_t OrvBridgeStart(const char* applicationBase, const char* configFile);

    // Calls the static method "int method(string)" and waits for its end; concurrent calls queue up. workingFolder
    // becomes the current directory of managed code. The argument may be null. *returnValue is written only with
    // result 0.
    ORV_BRIDGE_CALL int32_t OrvBridgeExecute(const char* workingFolder, const char* assemblyPath,
                                             const char* typeName, const char* methodName, const char16_t* argument,
                                             uint32_t* returnValue);

    // From now on what is written to that descriptor (1 or 2) is caught. Returns the descriptor to read it from, or
    // -1.
    ORV_BRIDGE_CALL int32_t OrvBridgeCatchOutput(int32_t descriptor);

    // Blocks until something was caught.
    ORV_BRIDGE_CALL void OrvBridgeAwaitOutput(int32_t source);

    // Takes what was caught, at most size bytes, without blocking. Returns the number of bytes, 0 for none.
    ORV_BRIDGE_CALL int32_t OrvBridgeTakeOutput(int32_t source, char* bytes, int32_t size);
}
