#pragma once

#include "client/results/CommandRecord.h"

#include <map>
#include <string>
#include <vector>

// An entry of a list that the dispatcher gave as the answer to a question: texts by their names.
using ListEntry = std::map<std::string, std::wstring>;

// Empty when it gave none.
std::vector<ListEntry> EntriesOf(const CommandRecord& record);

// The text of that name; empty when there is none.
std::wstring TextOf(const ListEntry& entry, const char* name);
