#pragma once

#include <string>

// The path of this test program.
const std::wstring& OwnProgram();

// Where the build put what a test starts or copies, in the configuration that this test program is of. Both throw
// std::runtime_error when the program does not lie in a build folder.

// A folder of the build, as "bin" or "tests\\fake".
std::wstring BuildFolder(const std::wstring& name);
// A file of the build with its folder, as "bin\\OrvClient.exe".
std::wstring BuildFile(const std::wstring& name);
