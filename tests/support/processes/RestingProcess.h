#pragma once

#include "tests/support/processes/ChildProcess.h"

// A second process of this program that has begun, and does nothing until it is ended.
ChildProcess StartRestingProcess();
