// What a process holds, from /proc: memory, descriptors, threads. For tests of growth.
#pragma once

#include <sys/types.h>

namespace test {

/// Sanitizers keep what is freed, and slow a process down.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
inline constexpr bool sanitized = true;
#else
inline constexpr bool sanitized = false;
#endif

struct process_figures {
  double resident_mib = 0.0;
  unsigned descriptors = 0;
  unsigned threads = 0;
};

/// Throws std::runtime_error when the process is gone.
process_figures figures_of(pid_t process);

/// What this process has allocated and not freed; not what the allocator keeps for later.
double heap_in_use_mib();

}  // namespace test
