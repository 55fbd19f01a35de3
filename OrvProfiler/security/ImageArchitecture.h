#pragma once

#include <cstdint>

// The answers of ReadImageArchitecture, beside 32 and 64.
constexpr uint32_t c_architectureUnreadable = 0;
constexpr uint32_t c_architectureUnknown = 0xFFFFFFFF;

// The word length, 32 or 64, of an executable file by its header; c_architectureUnknown when the file is no such
// image or of another kind; c_architectureUnreadable when it ends too early, cannot be read or, with one trace line
// of CProxySecManager::GetArchitecture, cannot be opened. Any thread.
uint32_t ReadImageArchitecture(const wchar_t* path) noexcept;
