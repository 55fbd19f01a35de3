#include "OrvProfiler/ThreadLock.h"

#include <gtest/gtest.h>
