#include "OrvProfiler/BitMask.h"

#include <gtest/gtest.h>
