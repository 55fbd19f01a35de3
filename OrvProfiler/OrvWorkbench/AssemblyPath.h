#pragma once

#include "OrvProfiler/foundation/TString.h"

// The file name of the managed assembly that ships with a program: the program's base name, without folder and
// extension, and ".dll". A program name without a dot is taken whole; a dot in the folder alone is no extension.
// "C:\any\dir\OrvWorkBench64.exe" gives "OrvWorkBench64.dll".
TString AssemblyPathOf(const TString& programPath);
