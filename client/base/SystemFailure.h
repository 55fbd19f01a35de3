#pragma once

#include <cstdint>
#include <string>

// "what: the system's text for the error code (the code)".
std::wstring SystemFailure(const std::wstring& what, uint32_t error);
