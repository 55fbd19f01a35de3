#pragma once

#include <string>

// "what: the system's text for the error code (the code)".
std::wstring SystemFailure(const std::wstring& what, unsigned long error);
