#pragma once

#include <string>
#include <string_view>

// The words that a line can begin with, for help, one line each.
std::wstring CommandHelp();

// The line of one of them, in any case, and for the client's own words an example; empty for an unknown word.
std::wstring WordHelp(std::wstring_view word);

// "  for example: get t.Target", with a line end.
std::wstring ExampleLine(std::wstring_view example);
