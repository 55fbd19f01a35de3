#include "OrvProfiler/PerfTimer.h"

#include <gtest/gtest.h>
