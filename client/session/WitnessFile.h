#pragma once

#include "client/base/PassingFile.h"
#include "OrvProfiler/foundation/WinTypes.h"

#include <cstdint>
#include <optional>
#include <string>

// In the environment of a workbench: the full path of a file to which the dispatcher adds, in UTF-8, a line about the
// runtime and one about each assembly as it is loaded, "assembly: " with name, tab and path; and, once, when a file
// of the same name with c_askEnding is there during a command, or the process ends in a command, what each thread
// does: a line "command: ", a line "method: " with the user's method that the command is in, the stacks, and a line
// "end".
constexpr const wchar_t* c_witnessFileVariable = L"ORV_WORKBENCH_EVIDENCE";
constexpr const wchar_t* c_askEnding = L".ask";

// While a command is under way the dispatcher takes away a file of that name with this ending: so one sees that its
// own thread runs, which it does not while a debugger holds the process.
constexpr const wchar_t* c_callEnding = L".call";

// Whether a debugger holds a workbench. One thread.
class HoldCheck
{
public:
    // By the path of the workbench's WitnessFile; empty: nobody can tell. Nor can a dispatcher that does not write to
    // it.
    explicit HoldCheck(std::wstring witness);
    ~HoldCheck();
    HoldCheck(const HoldCheck&) = delete;
    HoldCheck& operator=(const HoldCheck&) = delete;

    // Whether the dispatcher has not answered the call that the last Ask left, and leaves the next. The first time
    // false. Calls must be at least half a second apart.
    bool Ask();

private:
    const std::wstring m_witness;
    const std::wstring m_path;
    bool m_hasCalled = false;
};

// The client's side of that file, which goes with this object. One thread.
class WitnessFile
{
public:
    // Makes an empty file. When that fails Path is empty, and nothing is ever told.
    WitnessFile();
    // The file that another client has made for its workbench, by the client's process id. Nothing when there is
    // none, or more than one.
    static std::optional<WitnessFile> OfOther(uint32_t clientId);

    const std::wstring& Path() const noexcept { return m_file.Path(); }

    // Asks what each thread of the workbench does, and waits until it was told, for at most so long, or the process
    // has ended. Does not wait where no dispatcher has begun to write. False when nothing was told in that time.
    bool Ask(HANDLE workbench, uint32_t limitMs);
    // All that was told so far.
    std::string Told() const;

private:
    explicit WitnessFile(PassingFile&& file) noexcept;

    bool HasToldStacks() const;

    PassingFile m_file;
};
