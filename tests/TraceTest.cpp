#include "OrvProfiler/Trace.h"

#include <gtest/gtest.h>
