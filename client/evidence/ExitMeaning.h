#pragma once

#include <cstdint>
#include <string>

// A workbench's exit code with what it means, where that is known: "its exit code is 1: it ended by itself, in
// order". wasInCommand: it ended in a command, which can end the process with any code.
std::wstring ExitCodeText(uint32_t exitCode, bool wasInCommand);
