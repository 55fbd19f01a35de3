#pragma once

// What this process holds of the system, for tests that nothing is lost.

// How many kernel handles it has open.
unsigned OpenHandleCount();
// How many views of file mappings it has.
unsigned MappedViewCount();
// Whether the heaps of the C runtime and of the process are undamaged.
bool HeapIsConsistent();
