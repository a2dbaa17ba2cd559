// What happens when memory runs out: the process says so and exits, to be restarted. Half-done
// requests, or a null pointer in a library that does not check, would be worse.
#pragma once

/// Covers `new`, and the C allocations of this program's own objects, which the linker redirects
/// here. The process exits with the given status.
void end_without_memory(int status);
