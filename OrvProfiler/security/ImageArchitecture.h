#pragma once

#include <cstdint>

// Answers of ReadImageArchitecture other than 32 and 64.
constexpr uint32_t c_architectureUnreadable = 0;
constexpr uint32_t c_architectureUnknown = 0xFFFFFFFF;

// 32 or 64: the word length of an executable file, by its header. c_architectureUnknown when the file is no
// executable or one of another kind. c_architectureUnreadable when it is too short, cannot be read, is no file on a
// disk or, with one trace line of CProxySecManager::GetArchitecture, cannot be opened. The path may come from another
// process: it is opened as DiskFile.h says, and nothing but a file on a disk is read. Any thread.
uint32_t ReadImageArchitecture(const wchar_t* path) noexcept;
