// What becomes of a process that gets no memory: it says so and ends, to be started again. Half of
// a request, or a null pointer in a library that does not look, would do worse.
#pragma once

/// For `new`, and for the allocations in C of this program's own objects, which the linker sends
/// here. The end has the status given.
void end_without_memory(int status);
