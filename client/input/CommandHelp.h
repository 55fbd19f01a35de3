#pragma once

#include <string>

// The commands and the client's own words, one per line, for help.
std::wstring CommandHelp();
