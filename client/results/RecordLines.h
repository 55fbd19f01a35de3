#pragma once

#include "client/results/CommandRecord.h"
#include "client/results/ListEntries.h"

#include <string>
#include <vector>

// What the dispatcher told of a command, in lines much like those that it prints: for a user who does not see what
// the workbench prints. None when nothing was told.
std::vector<std::wstring> LinesOf(const CommandRecord& record);

// An entry of a list, or a value that is shown.
std::wstring LineOf(const ListEntry& entry);
